// The portfolio file: the canvas list, the video feeds, the weather input, the web server
// and scripting, in the order they are read and written.

#include "base/log.h"
#include "base/text.h"
#include "document/portfolio.h"
#include "settings/ini_section.h"

#include <filesystem>

#include <fmt/format.h>

namespace tess {

namespace {

constexpr const char* kKarvell = "Karvell";
constexpr const char* kVideoFeedSection = "VideoFeeds";
constexpr const char* kWebServer = "WebServer";
constexpr const char* kScripting = "Scripting";

std::string CanvasSection(int slot) {
    return fmt::format("Canvas{:02}", slot);
}

// Feed keys are numbered from 0: "Feed0Name" .. "Feed9MotionShowDiffImageCoverage".
std::string FeedKey(int index, std::string_view name) {
    return fmt::format("Feed{}{}", index, name);
}

// A portfolio file that is there but holds none of a portfolio's sections runs with no
// canvases; the user hears why.
void WarnIfNoPortfolioIn(INI& ini, const std::string& path) {
    std::error_code ec; // missing and unreadable files have messages of their own
    if (!std::filesystem::is_regular_file(path, ec)) return;
    if (!ini.GetKey(kWebServer, "Port", WriteDefault::No, "").empty()) return;
    for (int slot = 1; slot <= Portfolio::kCanvasSlots; ++slot) {
        if (!ini.GetKey(CanvasSection(slot), "FileName", WriteDefault::No, "").empty()) return;
    }
    const bool empty = std::filesystem::file_size(path, ec) == 0 && !ec;
    LogWarning("portfolio file '{}' {}: it names no canvas ([Canvas01] to [Canvas20]) and has no "
               "[WebServer] Port; it runs with no canvases and the defaults are written back to it",
               path, empty ? "is empty" : "holds no portfolio settings");
}

} // namespace

void Portfolio::LoadFile() {
    if (file_name_.empty()) return;
    const std::string path = PathFromSettings(file_name_);
    if (std::error_code ec; !std::filesystem::exists(path, ec))
        LogWarning("portfolio file '{}' does not exist; it is created with the defaults", path);
    ini_.SetFile(path);
    {
        IniBatch batch(ini_);
        WarnIfNoPortfolioIn(ini_, path);
        LoadKarvell();
        LoadCanvases();
        LoadVideoFeeds();
        LoadWebServer();
        LoadScripting();
    }
    SetNeedSaving(false);
}

bool Portfolio::SaveFile() {
    if (file_name_.empty()) return false;
    ini_.SetFile(PathFromSettings(file_name_));
    writes_ok_ = true;
    {
        IniBatch batch(ini_);
        SaveCanvasList();
        SaveVideoFeeds();
        SaveKarvell();
        SaveWebServer();
        SaveScripting();
        NoteWrite(batch.Commit());
    }
    if (writes_ok_) SetNeedSaving(false);
    return writes_ok_;
}

// Polling the station's file switches its history on. The record of the last run comes
// back first (today's extremes, yesterday's values, the trends, the time of the last line
// taken, so an older line is not taken again); the first update tick then reads the file.
void Portfolio::LoadKarvell() {
    IniSection keys(ini_, kKarvell);
    tess::Karvell& k = karvell_;
    k.SetCSVEnabled(keys.Bool("CSVEnabled", false));
    k.SetCSVDelay(keys.Double("CSVDelay", "15"));
    k.SetCSVBaseTime(keys.TimeOfDay("CSVBaseTime"));
    k.SetCSVFile(keys.Text("CSVFile", ""));
    k.SetCSVWindStatisticsInterval(keys.Long("CSVWindStatisticsInterval", "60"));
    k.SetCSVBarometricTrendThreshold(keys.Double("CSVBarometricTrendThreshold", "0.05"));
    k.SetCSVTemperatureTrendThreshold(keys.Double("CSVTemperatureTrendThreshold", "1"));
    k.SetCSVBarometerOffset(keys.Double("CSVBarometerOffset", "0.00"));
    k.SetCSVAltitude(keys.Double("CSVAltitude", "0"));
    k.SetCSVAltitudeUnits(keys.Long("CSVAltitudeUnits", "0"));
    k.SetCSVTemperatureUnits(keys.Long("CSVTemperatureUnits", "0"));
    if (!k.CSVEnabled()) return;
    k.SetCSVEnableDatabase(true);
    std::string error;
    if (std::filesystem::exists(k.LastDataPath()) && !k.LoadLastData(&error))
        LogWarning("weather record not restored: {}", error);
}

void Portfolio::SaveKarvell() {
    IniSection keys(ini_, kKarvell);
    const tess::Karvell& k = karvell_;
    keys.SetDouble("CSVDelay", k.CSVDelay());
    keys.SetBool("CSVEnabled", k.CSVEnabled());
    keys.SetTimeOfDay("CSVBaseTime", k.CSVBaseTime());
    keys.SetText("CSVFile", k.CSVFile());
    keys.SetLong("CSVWindStatisticsInterval", k.CSVWindStatisticsInterval());
    keys.SetDouble("CSVTemperatureTrendThreshold", k.CSVTemperatureTrendThreshold());
    keys.SetDouble("CSVBarometricTrendThreshold", k.CSVBarometricTrendThreshold());
    keys.SetDouble("CSVBarometerOffset", k.CSVBarometerOffset());
    keys.SetDouble("CSVAltitude", k.CSVAltitude());
    keys.SetLong("CSVAltitudeUnits", k.CSVAltitudeUnits());
    keys.SetLong("CSVTemperatureUnits", k.CSVTemperatureUnits());
    NoteWrite(keys.WritesOk());
}

void Portfolio::LoadCanvases() {
    for (int slot = 1; slot <= kCanvasSlots; ++slot) {
        IniSection keys(ini_, CanvasSection(slot));
        tess::Canvas& canvas = *canvases_[slot];
        canvas.SetFileName(keys.Text("FileName", ""));
        if (canvas.FileName().empty()) continue;
        LoadListedCanvas(canvas, slot);
        canvas.SetEnabled(true);
        canvas.SetVisible(true);
    }
}

// A canvas file that is missing is an error the user has to see (a portfolio run from
// another folder finds none of its canvases): the canvas runs with its defaults, and no
// file is made for it until the user saves.
void Portfolio::LoadListedCanvas(tess::Canvas& canvas, int slot) {
    const std::string path = PathFromSettings(canvas.FileName());
    if (std::error_code ec; std::filesystem::exists(path, ec)) {
        canvas.LoadFile();
        return;
    }
    LogError("portfolio '{}': the canvas file '{}' of slot {} does not exist (relative names are "
             "found from the current folder; run in the site's folder, or use -C DIR); the "
             "canvas is blank and no file is made for it",
             file_name_, path, slot);
    canvas.LoadFile(tess::Canvas::FileAccess::ReadOnly);
}

// A canvas that is not enabled is listed with no file, so it is not reopened next time.
void Portfolio::SaveCanvasList() {
    for (int slot = 1; slot <= kCanvasSlots; ++slot) {
        IniSection keys(ini_, CanvasSection(slot));
        const tess::Canvas& canvas = *canvases_[slot];
        keys.SetText("FileName", canvas.Enabled() ? canvas.FileName() : std::string());
        NoteWrite(keys.WritesOk());
    }
}

// A feed without a name had no device when it was saved: its other keys are not read.
void Portfolio::LoadVideoFeeds() {
    IniSection keys(ini_, kVideoFeedSection);
    for (int i = 0; i < kVideoFeeds; ++i) {
        auto key = [i](std::string_view name) { return FeedKey(i, name); };
        tess::VideoFeed& feed = feeds_[i];
        std::string name = keys.Text(key("Name"), "");
        if (name.empty()) continue;
        feed.SetFeedName(std::move(name));
        feed.SetEnabled(keys.Bool(key("Enabled"), false));
        feed.SetRate(keys.Double(key("FrameRate"), "30"));
        feed.SetShowPreview(keys.Bool(key("ShowPreview"), false));
        tess::MotionDetect& m = feed.MotionDetect();
        m.SetBrighterMotionLimit(keys.Long(key("MotionBrighterMotionLimit"), "100"));
        m.SetCoverageLimit(static_cast<float>(keys.Double(key("MotionCoverageLimit"), "100")));
        m.SetDarkerMotionLimit(keys.Long(key("MotionDarkerMotionLimit"), "-100"));
        m.SetDiffPreBlurRadius(keys.Long(key("MotionDiffPreBlurRadius"), "0"));
        m.SetEnabled(keys.Bool(key("MotionEnabled"), false));
        m.SetMotionBeep(keys.Bool(key("MotionBeep"), false));
        m.SetMotionTriggerRestInterval(keys.Long(key("MotionTriggerRestInterval"), "0"));
        m.SetSaveDiff(keys.Bool(key("MotionSaveDiff"), false));
        m.SetSaveFixed(keys.Bool(key("MotionSaveFixed"), false));
        m.SetSaveFixedFileName(keys.Text(key("MotionSaveFixedFileName"), "motion\\motion.jpg"));
        m.SetSaveSequential(keys.Bool(key("MotionSaveSequential"), false));
        m.SetSaveSequentialPath(keys.Text(key("MotionSaveSequentialPath"), "motion\\"));
        m.SetShowDiffImageCoverage(keys.Bool(key("MotionShowDiffImageCoverage"), false));
        m.SetMaskFileName(keys.Text(key("MotionMaskFile"), ""));
        m.SetLightChangeGuard(keys.Long(key("MotionLightChangeGuard"), "0"));
        m.SetTriggerCommand(keys.Text(key("MotionTriggerCommand"), ""));
        m.SetTriggerCommandTimeLimit(keys.Long(key("MotionTriggerCommandTimeLimit"), "30"));
    }
}

void Portfolio::SaveVideoFeeds() {
    IniSection keys(ini_, kVideoFeedSection);
    for (int i = 0; i < kVideoFeeds; ++i) {
        auto key = [i](std::string_view name) { return FeedKey(i, name); };
        const tess::VideoFeed& feed = feeds_[i];
        const tess::MotionDetect& m = feed.MotionDetect();
        keys.SetText(key("Name"), feed.FeedName());
        keys.SetBool(key("Enabled"), feed.Enabled());
        keys.SetDouble(key("FrameRate"), feed.Rate());
        keys.SetBool(key("ShowPreview"), feed.ShowPreview());
        keys.SetLong(key("MotionBrighterMotionLimit"), m.BrighterMotionLimit());
        keys.SetSingle(key("MotionCoverageLimit"), m.CoverageLimit());
        keys.SetLong(key("MotionDarkerMotionLimit"), m.DarkerMotionLimit());
        keys.SetLong(key("MotionDiffPreBlurRadius"), m.DiffPreBlurRadius());
        keys.SetBool(key("MotionEnabled"), m.Enabled());
        keys.SetBool(key("MotionBeep"), m.MotionBeep());
        keys.SetLong(key("MotionTriggerRestInterval"), m.MotionTriggerRestInterval());
        keys.SetBool(key("MotionSaveDiff"), m.SaveDiff());
        keys.SetBool(key("MotionSaveFixed"), m.SaveFixed());
        keys.SetText(key("MotionSaveFixedFileName"), m.SaveFixedFileName());
        keys.SetBool(key("MotionSaveSequential"), m.SaveSequential());
        keys.SetText(key("MotionSaveSequentialPath"), m.SaveSequentialPath());
        keys.SetBool(key("MotionShowDiffImageCoverage"), m.ShowDiffImageCoverage());
        keys.SetText(key("MotionMaskFile"), m.MaskFileName());
        keys.SetLong(key("MotionLightChangeGuard"), m.LightChangeGuard());
        keys.SetText(key("MotionTriggerCommand"), m.TriggerCommand());
        keys.SetLong(key("MotionTriggerCommandTimeLimit"), m.TriggerCommandTimeLimit());
    }
    NoteWrite(keys.WritesOk());
}

// Enabled comes last, so that the server starts with its final port and folder.
void Portfolio::LoadWebServer() {
    IniSection keys(ini_, kWebServer);
    web_server_.SetPort(keys.Long("Port", "80"));
    web_server_.SetWebPath(keys.Text("WebPath", "web"));
    web_server_.SetAllowNonCanvasServes(keys.Bool("AllowNonCanvasServes", false));
    web_server_.SetEnabled(keys.Bool("Enabled", false));
}

void Portfolio::SaveWebServer() {
    IniSection keys(ini_, kWebServer);
    keys.SetBool("Enabled", web_server_.Enabled());
    keys.SetBool("AllowNonCanvasServes", web_server_.AllowNonCanvasServes());
    keys.SetLong("Port", web_server_.Port());
    keys.SetText("WebPath", web_server_.WebPath());
    NoteWrite(keys.WritesOk());
}

// Enabled comes last: enabling loads and starts the script.
void Portfolio::LoadScripting() {
    IniSection keys(ini_, kScripting);
    ScriptSettings& s = script_;
    s.SetFileName(keys.Text("FileName", "script.txt"));
    s.SetAllowInterval(keys.Bool("AllowInterval", false));
    s.SetAllowTextUpdate(keys.Bool("AllowTextUpdate", false));
    s.SetAllowGraphicUpdate(keys.Bool("AllowGraphicUpdate", false));
    s.SetAllowStartup(keys.Bool("AllowStartup", false));
    s.SetAllowShutdown(keys.Bool("AllowShutdown", false));
    s.SetAllowMotionDetected(keys.Bool("AllowMotionDetected", false));
    s.SetAllowNewCSVData(keys.Bool("AllowNewCSVData", false));
    s.SetAllowWebRequest(keys.Bool("AllowWebRequest", false));
    s.SetRate(keys.Double("Rate", "1"));
    s.SetBaseTime(keys.TimeOfDay("BaseTime"));
    s.SetEnabled(keys.Bool("Enabled", false));
}

void Portfolio::SaveScripting() {
    IniSection keys(ini_, kScripting);
    const ScriptSettings& s = script_;
    keys.SetText("FileName", s.FileName());
    keys.SetBool("AllowInterval", s.AllowInterval());
    keys.SetBool("AllowTextUpdate", s.AllowTextUpdate());
    keys.SetBool("AllowGraphicUpdate", s.AllowGraphicUpdate());
    keys.SetBool("AllowStartup", s.AllowStartup());
    keys.SetBool("AllowShutdown", s.AllowShutdown());
    keys.SetBool("AllowMotionDetected", s.AllowMotionDetected());
    keys.SetBool("AllowNewCSVData", s.AllowNewCSVData());
    keys.SetBool("AllowWebRequest", s.AllowWebRequest());
    keys.SetDouble("Rate", s.Rate());
    keys.SetTimeOfDay("BaseTime", s.BaseTime());
    keys.SetBool("Enabled", s.Enabled());
    NoteWrite(keys.WritesOk());
}

} // namespace tess
