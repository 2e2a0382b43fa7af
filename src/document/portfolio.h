#pragma once

// The open document: twenty canvas slots, ten video feeds, the weather input, the web server
// and the script's settings, kept in one portfolio file (".por"). Exactly one is open at a
// time; the file commands create, load, save and release it.

#include "capture/video_feed.h"
#include "document/canvas.h"
#include "document/composition_services.h"
#include "document/feed_picture.h"
#include "document/output_services.h"
#include "publish/web_server.h"
#include "settings/ini.h"
#include "settings/script_events.h"
#include "weather/karvell.h"

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace tess {

class SunTimes;

class Portfolio {
public:
    static constexpr int kCanvasSlots = 20; // slots 1..20; slot 0 exists but is never offered
    static constexpr int kVideoFeeds = 10;  // feeds 0..9, one per capture driver index

    explicit Portfolio(SunTimes& sun);
    ~Portfolio();
    Portfolio(const Portfolio&) = delete;
    Portfolio& operator=(const Portfolio&) = delete;

    // The portfolio file, as given; empty for a portfolio never saved.
    const std::string& FileName() const { return file_name_; }
    void SetFileName(std::string file_name) { file_name_ = std::move(file_name); }

    // Reads the file: the weather input first, then the canvases (each canvas file loaded),
    // the video feeds that name a device, the web server, and the script settings last, so
    // that scripting starts with everything else in place. A missing file gives all defaults
    // and no canvases. NeedSaving is false afterwards. With `Canvas::FileAccess::ReadOnly`
    // neither the portfolio file nor a canvas file is written (a check of the files).
    void LoadFile(tess::Canvas::FileAccess access = tess::Canvas::FileAccess::ReadWrite);
    // Writes the portfolio file (not the canvases); false when it could not be written.
    bool SaveFile();
    // Saves every canvas in use that is enabled and has changes; false when one of them
    // could not be written.
    bool SaveCanvases();
    // A fresh canvas with its defaults in the slot.
    void ResetCanvas(int slot);
    // Releases everything the portfolio owns; it is not used afterwards.
    void Unload();

    // Slot 0..20; anything else raises a subscript error.
    tess::Canvas& Canvas(int slot);
    const tess::Canvas& Canvas(int slot) const;
    // The first slot 1..`allowed` whose canvas has no file, or 0 when all are in use.
    int FreeSlot(int allowed) const;

    // Feed 0..9; anything else raises a subscript error.
    tess::VideoFeed& VideoFeed(int index);
    tess::Karvell& Karvell() { return karvell_; }
    tess::WebServer& WebServer() { return web_server_; }
    // The web server's view of the canvases: the first slot 1..20 that serves its picture
    // under `file_name`, compared without regard to case; null when none does.
    tess::CanvasWebServer* FindServedCanvas(std::string_view file_name);
    ScriptSettings& Script() { return script_; }
    // Where every object of the portfolio raises its script events; the script host plugs
    // itself in here.
    ScriptEvents& Events() { return events_; }

    // True after any change to the portfolio, its canvases or the objects it owns.
    bool NeedSaving() const;
    void SetNeedSaving(bool value);

    std::int32_t CanvasesOpen() const { return canvases_open_; }
    void SetCanvasesOpen(std::int32_t value) { canvases_open_ = value; }
    // The slot 1..20 the canvas commands act on.
    std::int32_t ActiveCanvas() const { return active_canvas_; }
    void SetActiveCanvas(std::int32_t value) {
        StoreLimited(active_canvas_, value, 1, kCanvasSlots);
    }
    std::int32_t ShadowIntensity() const { return shadow_intensity_; }
    void SetShadowIntensity(std::int32_t value) { shadow_intensity_ = value; }
    // The "now" of the current update tick; every decision of the tick uses it.
    double CaptureTime() const { return capture_time_; }
    void SetCaptureTime(double value) { capture_time_ = value; }
    // When the latest video frame arrived.
    double FrameTime() const { return frame_time_; }

    // ---- The update tick ----
    // What the tick reaches outside the portfolio: the running program fills these in.
    CompositionServices& Composition() { return composition_; }
    OutputServices& Outputs() { return outputs_; }
    // The capture drivers and what the feeds reach through them; until this is called the
    // feeds' settings are only settings. Call it before the portfolio loads.
    void SetCapture(std::shared_ptr<const DriverCatalog> drivers, CaptureServices services);
    const DriverCatalog* Drivers() const { return drivers_.get(); }

    // One tick at `now`: CaptureTime, then the four steps below, the running flag tested
    // between them. False when the flag was found cleared: the program is to quit.
    bool Tick(double now);
    // The script's interval event and the weather input, when due.
    void UpdateOtherPre();
    // Each enabled canvas's composition pass, in slot order.
    void UpdateImages();
    // Grabs frames from the enabled feeds whose time has come (see VideoFeed::Grab).
    void UpdateVideoFeeds();
    // Each enabled canvas's file and desktop outputs, then its FTP push.
    void UpdateOtherPost();
    // The earliest time something comes due after the last tick, or `limit`.
    double NextDue(double limit) const;
    // A camera frame came after this tick's composition: the next tick draws it.
    bool FramesWaiting() const { return frames_waiting_; }

private:
    void LoadKarvell();
    void SaveKarvell();
    void LoadCanvases(tess::Canvas::FileAccess access);
    void LoadListedCanvas(tess::Canvas& canvas, int slot, tess::Canvas::FileAccess access);
    void SaveCanvasList();
    void LoadVideoFeeds();
    void SaveVideoFeeds();
    void LoadWebServer();
    void SaveWebServer();
    void LoadScripting();
    void SaveScripting();
    void NoteWrite(bool ok) { writes_ok_ &= ok; }
    bool Running() const { return composition_.Running(); }
    bool InUse(int slot) const;
    SharedPicture FeedFrame(std::string_view feed_name);
    const tess::VideoFeed* FindFeed(std::string_view feed_name) const;

    SunTimes* sun_;
    std::string file_name_;
    INI ini_;
    bool writes_ok_ = true;
    std::array<std::unique_ptr<tess::Canvas>, kCanvasSlots + 1> canvases_;
    std::array<tess::VideoFeed, kVideoFeeds> feeds_;
    tess::Karvell karvell_;
    tess::WebServer web_server_;
    ScriptSettings script_;
    ScriptEvents events_{script_};
    bool need_saving_ = false;
    std::int32_t canvases_open_ = 0;
    std::int32_t active_canvas_ = 1;
    std::int32_t shadow_intensity_ = 30;
    double capture_time_ = 0;
    double frame_time_ = 0;

    CompositionServices composition_;
    OutputServices outputs_;
    std::shared_ptr<const DriverCatalog> drivers_;
    CaptureServices capture_;
    std::array<FeedPicture, kVideoFeeds> feed_pictures_;
    bool frames_waiting_ = false; // a frame came after this tick's composition
    double script_next_time_ = 0;
};

} // namespace tess
