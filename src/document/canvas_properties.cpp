#include "document/canvas_properties.h"

#include "publish/publish_properties.h"
#include "settings/numbers.h"
#include "time/schedule_properties.h"

namespace tess {

namespace {

using T = PropertyType;
using P = Property<Canvas>;
using C = Canvas;

constexpr std::string_view kSeconds = "seconds";

P Rate(std::string_view name, std::string_view meaning, auto get, auto set) {
    return P(name, "Capture", name, T::Double, "60")
        .Range(0, C::kMaxRate)
        .Units(kSeconds)
        .Means(meaning)
        .Access(get, set);
}

P BaseTime(std::string_view name, std::string_view meaning, auto get, auto set) {
    return P(name, "Capture", name, T::TimeOfDay, "00:00:00")
        .Range(0, C::kMaxBaseTime)
        .Means(meaning)
        .Access(get, set);
}

P Quality(std::string_view name, std::string_view meaning, auto get, auto set) {
    return P(name, "Capture", name, T::Integer, "80").Range(0, 100).Means(meaning).Access(get, set);
}

template <typename Child>
P Schedule(std::string_view name, std::string_view section, Child child) {
    return P(name, section, "", T::Group, "")
        .Means("daily window of the output")
        .Group(ScheduleProperties(), child);
}

std::vector<P> GeneralRows() {
    return {
        P("Name", "General", "Name", T::String, "New Canvas")
            .Means("window caption; scripts and web paths know the canvas by it")
            // A name given before loading (a new canvas's name) stands in for a missing one.
            .DefaultFrom([](const C& c) { return c.Name().empty() ? "New Canvas" : c.Name(); })
            .Access(&C::Name, &C::SetName),
        P("Width", "General", "Width", T::Integer, "320")
            .Range(1, C::kMaxDimension)
            .Units("pixels")
            .Means("picture width")
            .Access(&C::Width, [](C& c, std::int32_t v) { c.SetWidthHeight(v, c.Height()); }),
        P("Height", "General", "Height", T::Integer, "240")
            .Range(1, C::kMaxDimension)
            .Units("pixels")
            .Means("picture height")
            .Access(&C::Height, [](C& c, std::int32_t v) { c.SetWidthHeight(c.Width(), v); }),
        P("SizeLocked", "General", "SizeLocked", T::Boolean, "False")
            .Means("the window may not resize the picture")
            .Access(&C::SizeLocked, &C::SetSizeLocked),
        P("WindowState", "General", "WindowState", T::Integer, "2")
            .Range(0, 2)
            .Means("canvas window: 0 normal, 1 minimized, 2 maximized")
            .Access(&C::WindowState, &C::SetWindowState),
        P("Left", "General", "PosX", T::Integer, "(the canvas's left)")
            .Means("window left")
            .DefaultFrom([](const C& c) { return CStrNI(c.Left()); })
            .Access(&C::Left, &C::SetLeft),
        P("Top", "General", "PosY", T::Integer, "(the canvas's top)")
            .Means("window top")
            .DefaultFrom([](const C& c) { return CStrNI(c.Top()); })
            .Access(&C::Top, &C::SetTop),
        P("ShadowIntensity", "General", "ShadowIntensity", T::Integer, "30")
            .Range(0, 100)
            .Units("percent")
            .Means("darkness of the items' shadows")
            .Access(&C::ShadowIntensity, &C::SetShadowIntensity),
        P("FormType", "General", "FormType", T::Integer, "0")
            .Range(0, 1)
            .Means("0 a window inside the main window, 1 a free-standing window")
            .Access(&C::FormType, &C::SetFormType),
        P("BackgroundColor", "Background", "BackgroundColor", T::Colour, "&HFFFFFF")
            .Range(0, 0xFFFFFF)
            .Means("the picture is cleared to this colour before the items are drawn")
            .Access(&C::BackgroundColor, &C::SetBackgroundColor),
    };
}

std::vector<P> CaptureRows() {
    return {
        P("FixedEnabled", "Capture", "FixedEnabled", T::Boolean, "False")
            .Means("save a JPEG to one fixed file")
            .Access(&C::FixedEnabled, &C::SetFixedEnabled),
        Rate("FixedRate", "between fixed saves", &C::FixedRate, &C::SetFixedRate),
        BaseTime("FixedBaseTime", "anchor of the fixed-save grid after midnight", &C::FixedBaseTime,
                 &C::SetFixedBaseTime),
        P("FixedFileName", "Capture", "FixedFileName", T::Path, "images\\fixed.jpg")
            .Means("the fixed file")
            .Access(&C::FixedFileName, &C::SetFixedFileName),
        Quality("FixedQuality", "JPEG quality of fixed saves", &C::FixedQuality,
                &C::SetFixedQuality),
        P("CascadeEnabled", "Capture", "CascadeEnabled", T::Boolean, "False")
            .Means("keep older fixed files in a numbered cascade")
            .Access(&C::CascadeEnabled, &C::SetCascadeEnabled),
        P("CascadeCount", "Capture", "CascadeCount", T::Integer, "100")
            .Range(1, C::kMaxCascadeCount)
            .Means("number of cascade files")
            .Access(&C::CascadeCount, &C::SetCascadeCount),
        P("CascadeMode", "Capture", "CascadeMode", T::Integer, "0")
            .Range(0, C::kLastCascadeMode)
            .Means("0 the newest copy is the previous picture, 1 it is the current one")
            .Access(&C::CascadeMode, &C::SetCascadeMode),
        Schedule(
            "FixedSchedule", "FixedCaptureSchedule",
            [](auto& c) -> auto& { return c.FixedSchedule(); }),
        P("SequentialEnabled", "Capture", "SequentialEnabled", T::Boolean, "False")
            .Means("save a new JPEG file each time")
            .Access(&C::SequentialEnabled, &C::SetSequentialEnabled),
        Rate("SequentialRate", "between sequential saves", &C::SequentialRate,
             &C::SetSequentialRate),
        BaseTime("SequentialBaseTime", "anchor of the sequential-save grid after midnight",
                 &C::SequentialBaseTime, &C::SetSequentialBaseTime),
        P("SequentialDirectory", "Capture", "SequentialDirectory", T::Path, "sequential\\")
            .Means("folder of the sequential files")
            .Access(&C::SequentialDirectory, &C::SetSequentialDirectory),
        P("SequentialType", "Capture", "SequentialType", T::Integer, "0")
            .Range(0, C::kLastSequentialType)
            .Means("file names: 0 time-stamped, 1 numbered")
            .Access(&C::SequentialType, &C::SetSequentialType),
        P("SequentialNumber", "Capture", "SequentialNumber", T::Integer, "0")
            .Range(0, C::kMaxSequentialNumber)
            .Means("next number of the numbered names; written back after each save")
            .Access(&C::SequentialNumber, &C::SetSequentialNumber),
        Quality("SequentialQuality", "JPEG quality of sequential saves", &C::SequentialQuality,
                &C::SetSequentialQuality),
        Schedule(
            "SequentialSchedule", "SequentialCaptureSchedule",
            [](auto& c) -> auto& { return c.SequentialSchedule(); }),
    };
}

std::vector<P> OutputRows() {
    return {
        P("BackgroundEnabled", "Background", "BackgroundEnabled", T::Boolean, "False")
            .Means("the picture is the desktop background")
            .Access(&C::BackgroundEnabled, &C::SetBackgroundEnabled),
        P("BackgroundRate", "Background", "BackgroundRate", T::Double, "60")
            .Range(0, C::kMaxRate)
            .Units(kSeconds)
            .Means("between desktop background updates")
            .Access(&C::BackgroundRate, &C::SetBackgroundRate),
        P("BackgroundBaseTime", "Background", "BackgroundBaseTime", T::TimeOfDay, "00:00:00")
            .Range(0, C::kMaxBaseTime)
            .Means("anchor of the desktop background grid after midnight")
            .Access(&C::BackgroundBaseTime, &C::SetBackgroundBaseTime),
        Schedule(
            "BackgroundSchedule", "BackgroundSchedule",
            [](auto& c) -> auto& { return c.BackgroundSchedule(); }),
        P("FTPPush", "FTPPush", "", T::Group, "")
            .Means("upload of the picture to an FTP server")
            .Group(
                FTPPushProperties(), [](auto& c) -> auto& { return c.FTPPush(); }),
        P("CanvasWebServer", "WebServer", "", T::Group, "")
            .Means("the picture served by the built-in web server")
            .Group(
                CanvasWebServerProperties(), [](auto& c) -> auto& { return c.CanvasWebServer(); }),
    };
}

PropertyTable<Canvas> MakeTable() {
    std::vector<P> rows = GeneralRows();
    for (auto* part : {CaptureRows, OutputRows}) {
        for (P& row : part())
            rows.push_back(std::move(row));
    }
    std::vector<std::string_view> order = {
        "Name", "Width",       "Height",          "SizeLocked",      "Left",
        "Top",  "WindowState", "ShadowIntensity", "BackgroundColor", "FormType"};
    for (std::size_t i = order.size(); i < rows.size(); ++i)
        order.push_back(rows[i].Info().name);
    return PropertyTable<Canvas>(std::move(rows), std::move(order));
}

} // namespace

const PropertyTable<Canvas>& CanvasProperties() {
    static const PropertyTable<Canvas> table = MakeTable();
    return table;
}

} // namespace tess
