// The portfolio file: the canvas list, the video feeds, the weather input, the web server
// and scripting, in the order they are read and written.

#include "base/log.h"
#include "base/text.h"
#include "capture/video_feed_properties.h"
#include "document/portfolio.h"
#include "document/portfolio_properties.h"
#include "publish/publish_properties.h"
#include "weather/karvell_properties.h"

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
std::string FeedPrefix(int index) {
    return fmt::format("Feed{}", index);
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

void Portfolio::LoadFile(tess::Canvas::FileAccess access) {
    if (file_name_.empty()) return;
    const std::string path = PathFromSettings(file_name_);
    const bool read_only = access == tess::Canvas::FileAccess::ReadOnly;
    if (std::error_code ec; !std::filesystem::exists(path, ec) && !read_only)
        LogWarning("portfolio file '{}' does not exist; it is created with the defaults", path);
    ini_.SetFile(path);
    if (read_only) ini_.SetReadOnly();
    {
        IniBatch batch(ini_);
        WarnIfNoPortfolioIn(ini_, path);
        LoadKarvell();
        LoadCanvases(access);
        LoadVideoFeeds();
        LoadWebServer();
        LoadScripting();
        WarnUnknownKeys(ini_, KarvellProperties(), kKarvell);
        for (int slot = 1; slot <= kCanvasSlots; ++slot)
            WarnUnknownKeys(ini_, CanvasSlotProperties(), CanvasSection(slot));
        WarnUnknownKeys(ini_, VideoFeedProperties(), kVideoFeedSection, "Feed#");
        WarnUnknownKeys(ini_, WebServerProperties(), kWebServer);
        WarnUnknownKeys(ini_, ScriptSettingsProperties(), kScripting);
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
    KarvellProperties().Load(karvell_, IniPlace{&ini_, kKarvell, {}});
    tess::Karvell& k = karvell_;
    if (!k.CSVEnabled()) return;
    k.SetCSVEnableDatabase(true);
    std::string error;
    if (std::filesystem::exists(k.LastDataPath()) && !k.LoadLastData(&error))
        LogWarning("weather record not restored: {}", error);
}

void Portfolio::SaveKarvell() {
    NoteWrite(KarvellProperties().Save(karvell_, IniPlace{&ini_, kKarvell, {}}));
}

void Portfolio::LoadCanvases(tess::Canvas::FileAccess access) {
    for (int slot = 1; slot <= kCanvasSlots; ++slot) {
        const std::string section = CanvasSection(slot);
        tess::Canvas& canvas = *canvases_[slot];
        CanvasSlotProperties().Load(canvas, IniPlace{&ini_, section, {}});
        if (canvas.FileName().empty()) continue;
        LoadListedCanvas(canvas, slot, access);
        canvas.SetEnabled(true);
        canvas.SetVisible(true);
    }
}

// A canvas file that is missing is an error the user has to see (a portfolio run from
// another folder finds none of its canvases): the canvas runs with its defaults, and no
// file is made for it until the user saves.
void Portfolio::LoadListedCanvas(tess::Canvas& canvas, int slot, tess::Canvas::FileAccess access) {
    const std::string path = PathFromSettings(canvas.FileName());
    if (std::error_code ec; std::filesystem::exists(path, ec)) {
        canvas.LoadFile(access);
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
        const std::string section = CanvasSection(slot);
        NoteWrite(CanvasSlotProperties().Save(*canvases_[slot], IniPlace{&ini_, section, {}}));
    }
}

void Portfolio::LoadVideoFeeds() {
    for (int i = 0; i < kVideoFeeds; ++i) {
        const std::string prefix = FeedPrefix(i);
        VideoFeedProperties().Load(feeds_[i], IniPlace{&ini_, kVideoFeedSection, prefix});
    }
}

void Portfolio::SaveVideoFeeds() {
    for (int i = 0; i < kVideoFeeds; ++i) {
        const std::string prefix = FeedPrefix(i);
        NoteWrite(
            VideoFeedProperties().Save(feeds_[i], IniPlace{&ini_, kVideoFeedSection, prefix}));
    }
}

void Portfolio::LoadWebServer() {
    WebServerProperties().Load(web_server_, IniPlace{&ini_, kWebServer, {}});
}

void Portfolio::SaveWebServer() {
    NoteWrite(WebServerProperties().Save(web_server_, IniPlace{&ini_, kWebServer, {}}));
}

void Portfolio::LoadScripting() {
    ScriptSettingsProperties().Load(script_, IniPlace{&ini_, kScripting, {}});
}

void Portfolio::SaveScripting() {
    NoteWrite(ScriptSettingsProperties().Save(script_, IniPlace{&ini_, kScripting, {}}));
}

} // namespace tess
