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

} // namespace

void Portfolio::LoadFile() {
    if (file_name_.empty()) return;
    const std::string path = PathFromSettings(file_name_);
    if (std::error_code ec; !std::filesystem::exists(path, ec))
        LogWarning("portfolio file '{}' does not exist; it is created with the defaults", path);
    ini_.SetFile(path);
    {
        IniBatch batch(ini_);
        LoadKarvell();
        LoadCanvases();
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

void Portfolio::LoadCanvases() {
    for (int slot = 1; slot <= kCanvasSlots; ++slot) {
        const std::string section = CanvasSection(slot);
        tess::Canvas& canvas = *canvases_[slot];
        CanvasSlotProperties().Load(canvas, IniPlace{&ini_, section, {}});
        if (canvas.FileName().empty()) continue;
        canvas.LoadFile();
        canvas.SetEnabled(true);
        canvas.SetVisible(true);
    }
}

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
