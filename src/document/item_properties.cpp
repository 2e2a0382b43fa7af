#include "document/item_properties.h"

#include "settings/ini_section.h"
#include "time/schedule_properties.h"

#include <fmt/format.h>

namespace tess {

namespace {

using T = PropertyType;

constexpr std::string_view kPixels = "pixels";
constexpr std::string_view kSeconds = "seconds";

// The rows text and graphic items share, by object-model name.
template <typename Item>
Property<Item> Common(std::string_view name) {
    using P = Property<Item>;
    using I = CanvasItem;
    if (name == "Enabled")
        return P("Enabled", "", "Enabled", T::Boolean, "")
            .SkipOnLoad()
            .Means("drawn; a section without this key is no item")
            .Access(&I::Enabled, &I::SetEnabled);
    if (name == "Layer")
        return P("Layer", "", "Layer", T::Integer, "1")
            .Range(0, I::kTopLayer)
            .Means("0 bottom most .. 3 top most")
            .Access(&I::Layer, &I::SetLayer);
    if (name == "Alignment")
        return P("Alignment", "", "Align", T::Integer, "0")
            .Range(0, I::kLastAlign)
            .Means("point kept at the location: 0 top left, 1 top, 2 top right, 3 left, 4 centre, "
                   "5 right, 6 bottom left, 7 bottom, 8 bottom right")
            .Access(&I::Align, &I::SetAlign);
    if (name == "Opacity")
        return P("Opacity", "", "Opacity", T::Integer, "100")
            .Range(0, 100)
            .Units("percent")
            .Means("0 invisible .. 100 opaque")
            .Access(&I::Opacity, &I::SetOpacity);
    if (name == "OpacityMode")
        return P("OpacityMode", "", "OpacityMode", T::Integer, "2")
            .Range(0, I::kPerPixelOpacity)
            .Means("0 additive, 1 negative, 2 merge, 3 per-pixel from the picture")
            .Access(&I::OpacityMode, &I::SetOpacityMode);
    if (name == "RotationAngle")
        return P("RotationAngle", "", "RotationAngle", T::Single, "0")
            .Range(0, 360)
            .Units("degrees")
            .Means("turn about the alignment point; 360 is 0")
            .Access(&I::RotationAngle, &I::SetRotationAngle);
    if (name == "Schedule")
        return P("Schedule", "", "", T::Group, "")
            .Means("the item's daily window, in its own section")
            .Group(
                ScheduleProperties(), [](auto& item) -> auto& { return item.Schedule(); });
    if (name == "Scripted")
        return P("Scripted", "", "Scripted", T::Boolean, "False")
            .Means("the script's TextUpdate or GraphicUpdate event runs at each refresh")
            .Access(&I::Scripted, &I::SetScripted);
    if (name == "Shadow")
        return P("Shadow", "", "Shadow", T::Boolean, "False")
            .Means("a shadow is drawn under the item")
            .Access(&I::Shadow, &I::SetShadow);
    if (name == "ShadowOffsetX")
        return P("ShadowOffsetX", "", "ShadowOffsetX", T::Integer, "2")
            .Units(kPixels)
            .Means("shadow to the right (negative: left)")
            .Access(&I::ShadowOffsetX, &I::SetShadowOffsetX);
    if (name == "ShadowOffsetY")
        return P("ShadowOffsetY", "", "ShadowOffsetY", T::Integer, "2")
            .Units(kPixels)
            .Means("shadow downwards (negative: up)")
            .Access(&I::ShadowOffsetY, &I::SetShadowOffsetY);
    if (name == "ShadowSize")
        return P("ShadowSize", "", "ShadowSize", T::Integer, "1")
            .Range(1, I::kMaxShadowSize)
            .Means("1 the item's own shape, 2 3x3, 3 3x3+, 4 4x4")
            .Access(&I::ShadowSize, &I::SetShadowSize);
    if (name == "BaseTime")
        return P("BaseTime", "", "UpdateBaseTime", T::TimeOfDay, "00:00:00")
            .Range(0, I::kMaxBaseTime)
            .Means("anchor of the refresh grid after midnight")
            .Access(&I::UpdateBaseTime, &I::SetUpdateBaseTime);
    if (name == "X")
        return P("X", "", "LocationX", T::Integer, "0")
            .Units(kPixels)
            .Means("location from the left edge")
            .Access(&I::LocationX, &I::SetLocationX);
    // "Y"
    return P("Y", "", "LocationY", T::Integer, "0")
        .Units(kPixels)
        .Means("location from the top edge")
        .Access(&I::LocationY, &I::SetLocationY);
}

template <typename Item>
Property<Item> Rate(std::string_view def) {
    return Property<Item>("Rate", "", "Interval", T::Double, def)
        .Range(0, CanvasItem::kMaxInterval)
        .Units(kSeconds)
        .Means("refreshed this often; 0 at every update")
        .Access(&CanvasItem::Interval, &CanvasItem::SetInterval);
}

PropertyTable<TextItem> MakeTextTable() {
    using P = Property<TextItem>;
    auto c = [](std::string_view name) { return Common<TextItem>(name); };
    return PropertyTable<TextItem>(
        {
            c("Enabled"),
            P("Text", "", "Text", T::String, "")
                .Means("the text, with tags such as [Time] and [CSV14]")
                .Access(&TextItem::Text, &TextItem::SetText),
            c("Layer"),
            c("Alignment"),
            P("Color", "", "Color", T::Colour, "&H808080")
                .Range(0, 0xFFFFFF)
                .Means("text colour")
                .Access(&TextItem::Color, &TextItem::SetColor),
            P("FontBold", "", "FontBold", T::Boolean, "False")
                .Means("bold face")
                .Access(&TextItem::FontBold, &TextItem::SetFontBold),
            P("FontItalics", "", "FontItalic", T::Boolean, "False")
                .Means("italic face")
                .Access(&TextItem::FontItalic, &TextItem::SetFontItalic),
            P("FontName", "", "FontName", T::String, "Arial")
                .Means("font family, found through fontconfig")
                .Access(&TextItem::FontName, &TextItem::SetFontName),
            P("FontSize", "", "FontSize", T::Integer, "14")
                .Range(1, TextItem::kMaxFontSize)
                .Units("points")
                .Means("size of the text")
                .Access(&TextItem::FontSize, &TextItem::SetFontSize),
            c("Opacity"),
            c("OpacityMode"),
            Rate<TextItem>("1"),
            c("RotationAngle"),
            c("Schedule"),
            c("Scripted"),
            c("Shadow"),
            c("ShadowOffsetX"),
            c("ShadowOffsetY"),
            c("ShadowSize"),
            c("BaseTime"),
            c("X"),
            c("Y"),
        },
        {"Enabled",       "Alignment",     "Color",    "FontBold", "FontItalics", "FontName",
         "FontSize",      "Layer",         "X",        "Y",        "Rate",        "Opacity",
         "OpacityMode",   "RotationAngle", "Schedule", "Scripted", "Shadow",      "ShadowOffsetX",
         "ShadowOffsetY", "ShadowSize",    "Text",     "BaseTime"});
}

std::string EntryKey(std::string_view name, std::int32_t entry) {
    return fmt::format("{}{:03}", name, entry);
}

// Each entry is a colour under "TransparentColorTable" and its tolerance under
// "TransparentColorTolerance", both numbered from "001", so files that only ever held
// colours read as exact matches.
void LoadTransparentColors(GraphicItem& item, const IniPlace& place) {
    IniSection keys(*place.ini, place.section);
    for (std::int32_t entry = 1; entry <= item.TransparentColorCount(); ++entry) {
        TransparentColor value;
        value.color = keys.Color(EntryKey("TransparentColorTable", entry), "&H000000");
        std::int32_t tolerance = keys.Long(EntryKey("TransparentColorTolerance", entry), "0");
        Limit(tolerance, 0, 255);
        value.tolerance = static_cast<std::uint8_t>(tolerance);
        item.SetTransparentColorEntry(entry, value);
    }
}

bool SaveTransparentColors(const GraphicItem& item, const IniPlace& place) {
    IniSection keys(*place.ini, place.section);
    for (std::int32_t entry = 1; entry <= item.TransparentColorCount(); ++entry) {
        const TransparentColor& value = item.TransparentColorEntry(entry);
        keys.SetColor(EntryKey("TransparentColorTable", entry), value.color);
        keys.SetLong(EntryKey("TransparentColorTolerance", entry), value.tolerance);
    }
    return keys.WritesOk();
}

PropertyTable<GraphicItem> MakeGraphicTable() {
    using P = Property<GraphicItem>;
    using G = GraphicItem;
    auto c = [](std::string_view name) { return Common<GraphicItem>(name); };
    auto crop = [](std::string_view name, std::string_view edge, auto get, auto set) {
        return P(name, "", name, T::Integer, "0")
            .Range(0, G::kMaxCrop)
            .Units(kPixels)
            .Means(edge)
            .Access(get, set);
    };
    return PropertyTable<GraphicItem>(
        {
            c("Enabled"),
            c("Alignment"),
            P("BackgroundColor", "", "BackgroundColor", T::Colour, "&H000000")
                .Range(0, 0xFFFFFF)
                .Means("fill of a rectangle source")
                .Access(&G::BackgroundColor, &G::SetBackgroundColor),
            P("ColorProcessing", "", "ColorProcessing", T::Integer, "0")
                .Range(0, G::kMaxColorProcessing)
                .Means("0 none, 2..5 the colour-processing recipes")
                .Access(&G::ColorProcessing, &G::SetColorProcessing),
            crop("CropBottom", "cut from the bottom of the source", &G::CropBottom,
                 &G::SetCropBottom),
            crop("CropLeft", "cut from the left of the source", &G::CropLeft, &G::SetCropLeft),
            crop("CropRight", "cut from the right of the source", &G::CropRight, &G::SetCropRight),
            crop("CropTop", "cut from the top of the source", &G::CropTop, &G::SetCropTop),
            P("FeatherRadius", "", "FeatherRadius", T::Integer, "0")
                .Range(0, G::kMaxFeather)
                .Units(kPixels)
                .Means("rounding of the faded corners")
                .Access(&G::FeatherRadius, &G::SetFeatherRadius),
            P("FeatherWidth", "", "FeatherWidth", T::Integer, "0")
                .Range(0, G::kMaxFeather)
                .Units(kPixels)
                .Means("width of the faded edge")
                .Access(&G::FeatherWidth, &G::SetFeatherWidth),
            c("Layer"),
            c("Opacity"),
            P("OpacityFileName", "", "OpacityFileName", T::Path, "")
                .Means("picture whose brightness gives each pixel's opacity")
                .Access(&G::OpacityFileName, &G::SetOpacityFileName),
            c("OpacityMode"),
            P("OpacityUseFile", "", "OpacityUseFile", T::Boolean, "False")
                .Means("opacity from OpacityFileName instead of Opacity")
                .Access(&G::OpacityUseFile, &G::SetOpacityUseFile),
            Rate<GraphicItem>("10"),
            c("RotationAngle"),
            c("Schedule"),
            c("Scripted"),
            c("Shadow"),
            c("ShadowSize"),
            c("ShadowOffsetX"),
            c("ShadowOffsetY"),
            P("SourceFileName", "", "SourceFileName", T::Path, "")
                .Means("picture file of a graphic-file source")
                .Access(&G::SourceFileName, &G::SetSourceFileName),
            P("SourceType", "", "SourceType", T::Integer, "3")
                .Range(0, 4)
                .Means("0 video feed, 1 graphic file, 2 URL graphic, 3 rectangle, 4 canvas image")
                .Access(&G::SourceType, &G::SetSourceType),
            P("SourceURL", "", "SourceURL", T::String, "")
                .Means("address of a URL-graphic source")
                .Access(&G::SourceURL, &G::SetSourceURL),
            P("SourceVideoFeed", "", "SourceVideoFeedName", T::String, "")
                .Means("name of the video feed of a video-feed source")
                .Access(&G::SourceVideoFeedName, &G::SetSourceVideoFeedName),
            P("SourceCanvas", "", "SourceCanvas", T::Integer, "1")
                .Range(1, G::kLastCanvas)
                .Means("canvas slot whose picture a canvas-image source shows")
                .Access(&G::SourceCanvas, &G::SetSourceCanvas),
            P("Stretch", "", "Stretched", T::Boolean, "False")
                .Means("the picture is stretched to StretchedWidth x StretchedHeight")
                .Access(&G::Stretched, &G::SetStretched),
            P("StretchHeight", "", "StretchedHeight", T::Integer, "240")
                .Range(1, G::kMaxStretchedHeight)
                .Units(kPixels)
                .Means("height when stretched; also a rectangle's height")
                .Access(&G::StretchedHeight, &G::SetStretchedHeight),
            P("StretchWidth", "", "StretchedWidth", T::Integer, "320")
                .Range(1, G::kMaxStretchedWidth)
                .Units(kPixels)
                .Means("width when stretched; also a rectangle's width")
                .Access(&G::StretchedWidth, &G::SetStretchedWidth),
            // Misspelt, and kept so: years of canvas files hold this name.
            P("StretchedSmoothing", "", "StrechedSmoothing", T::Boolean, "False")
                .Means("blend pixels when stretching")
                .Access(&G::StretchedSmoothing, &G::SetStretchedSmoothing),
            P("TransparentColorCount", "", "TransparentColorCount", T::Integer, "1")
                .Range(1, G::kMaxTransparentColors)
                .Means("entries of the transparent-colour table in use")
                .Access(&G::TransparentColorCount, &G::SetTransparentColorCount),
            P("TransparentEnabled", "", "TransparentColorEnabled", T::Boolean, "False")
                .Means("pixels matching the table are transparent")
                .Access(&G::TransparentColorEnabled, &G::SetTransparentColorEnabled),
            P("TransparentColorTable", "", "TransparentColorTable###,TransparentColorTolerance###",
              T::Custom, "&H000000, 0")
                .Means("entry 001.. : a colour &HBBGGRR and its tolerance 0..255 per channel")
                .Custom(LoadTransparentColors, SaveTransparentColors),
            c("BaseTime"),
            c("X"),
            c("Y"),
        },
        {"Enabled",
         "Alignment",
         "BackgroundColor",
         "ColorProcessing",
         "CropBottom",
         "CropLeft",
         "CropRight",
         "CropTop",
         "FeatherRadius",
         "FeatherWidth",
         "Rate",
         "Layer",
         "Opacity",
         "OpacityFileName",
         "OpacityMode",
         "OpacityUseFile",
         "RotationAngle",
         "Schedule",
         "Scripted",
         "Shadow",
         "ShadowSize",
         "ShadowOffsetX",
         "ShadowOffsetY",
         "SourceFileName",
         "SourceType",
         "SourceURL",
         "SourceVideoFeed",
         "SourceCanvas",
         "Stretch",
         "StretchHeight",
         "StretchWidth",
         "StretchedSmoothing",
         "TransparentColorCount",
         "TransparentEnabled",
         "TransparentColorTable",
         "BaseTime",
         "X",
         "Y"});
}

} // namespace

const PropertyTable<TextItem>& TextItemProperties() {
    static const PropertyTable<TextItem> table = MakeTextTable();
    return table;
}

const PropertyTable<GraphicItem>& GraphicItemProperties() {
    static const PropertyTable<GraphicItem> table = MakeGraphicTable();
    return table;
}

} // namespace tess
