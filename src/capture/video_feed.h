#pragma once

// The settings of one camera source, as the portfolio file stores them, and its motion
// detector. Opening the device and grabbing frames work on these values; a feed is opened
// when Enabled becomes true and closed when it becomes false.

#include "capture/capture_driver.h"
#include "capture/motion_detect.h"
#include "imaging/dib.h"
#include "imaging/ycbcr_planes.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tess {

class DriverCatalog;

// What an open feed reaches outside itself: the capture drivers, the program's clock and
// the user interface's message box.
struct CaptureServices {
    const DriverCatalog* drivers = nullptr;
    std::function<double()> now; // the program clock, as a date
    std::function<void(std::string_view text, std::string_view caption)> message;
};

class VideoFeed {
public:
    static constexpr std::int32_t kNoInput = -1;
    static constexpr std::int32_t kMaxInput = 9;
    static constexpr double kMinRate = 1.0 / 60; // one frame a minute

    // Nothing happens while no driver index is chosen (VfWInput -1).
    bool Enabled() const { return enabled_; }
    void SetEnabled(bool value);

    // The capture driver index 0..9, or -1 for none. It cannot change while the feed is
    // enabled; an index out of range means none.
    std::int32_t VfWInput() const { return vfw_input_; }
    void SetVfWInput(std::int32_t value);

    // Frames per second wanted, never below one a minute.
    double Rate() const { return rate_; }
    void SetRate(double value);

    // The user asked for a preview window.
    bool ShowPreview() const { return show_preview_; }
    void SetShowPreview(bool value) { needs_saving_ |= StoreIfChanged(show_preview_, value); }

    // The device's description as shown to the user; the portfolio file remembers it, so
    // that settings are only restored for a feed that had a device.
    const std::string& FeedName() const { return vfw_input_ == kNoInput ? kNoName : feed_name_; }
    void SetFeedName(std::string value);

    tess::MotionDetect& MotionDetect() { return motion_; }
    const tess::MotionDetect& MotionDetect() const { return motion_; }

    bool NeedsSaving() const { return needs_saving_ || motion_.NeedsSaving(); }
    void SetNeedsSaving(bool value);

    // ---- Capture (video_feed_capture.cpp) ----
    static constexpr double kWatchdogSeconds = 5; // a grab re-issued after a lost frame
    static constexpr std::int32_t kFrameWrap = 10000000;

    VideoFeed();
    ~VideoFeed();
    VideoFeed(const VideoFeed&) = delete;
    VideoFeed& operator=(const VideoFeed&) = delete;

    // Without services (the file commands) Enabled is only a setting; with them, enabling
    // opens the feed.
    void SetCaptureServices(const CaptureServices* services) { services_ = services; }
    void OpenFeed();
    void CloseFeed();
    bool ConnectDriver();
    // The driver's description, "(2) " in front when another index has the same one.
    std::string GetFeedName() const;
    bool IsOpen() const { return driver_ != nullptr; }

    // One tick of the update loop for an enabled feed: a grab is issued when the last one
    // was answered and NextTime has come, or when no frame came for kWatchdogSeconds; a
    // frame waiting for the grab is delivered at once.
    void Grab(double now);
    // The earliest time the feed needs a tick, or `limit`.
    double NextDue(double limit) const;
    // The driver delivered a frame; `now` is the tick's time.
    void FrameCallback(const VideoHeader& header, double now);
    void ErrorCallback(int id, std::string_view text);

    bool HasSource() const { return has_source_; }
    bool HasFormat() const { return has_format_; }
    bool HasDisplay() const { return has_display_; }
    double NextTime() const { return next_time_; }
    double LastFrameTime() const { return last_frame_time_; }
    double LastFrameInterval() const { return last_frame_interval_; }
    std::int32_t FPS() const { return fps_; }
    std::int32_t FRAME() const { return frame_; }
    std::int32_t Width() const { return width_; }
    std::int32_t Height() const { return height_; }
    void SetWidth(std::int32_t value) { width_ = value; }
    void SetHeight(std::int32_t value) { height_ = value; }
    float BPP() const { return bpp_; }
    bool Valid() const { return valid_; }
    bool NewDIB() const { return new_dib_; }
    void SetNewDIB(bool value) { new_dib_ = value; }
    bool NewPreviewDIB() const { return new_preview_dib_; }
    void SetNewPreviewDIB(bool value) { new_preview_dib_ = value; }
    bool ResetFrame() const { return reset_frame_; }
    void SetResetFrame(bool value) { reset_frame_ = value; }
    bool ShowPreviewInSetup() const { return show_preview_in_setup_; }
    void SetShowPreviewInSetup(bool value) { show_preview_in_setup_ = value; }
    // One-shot: the next frame's header and format go to the log.
    void SetShowDebugInfo(bool value) { show_debug_info_ = value; }
    // The last frame as a 24-bit bitmap, and a number that changes with every new one. A
    // frame kept as its JPEG gets its bitmap here, on the first call; one that will not
    // decode leaves the bitmap of the frame before.
    const tess::DIB& DIB() const;
    // Whether a frame is there to draw, without making its bitmap.
    bool HasPicture() const { return dib_.HasBitmap(); }
    std::uint64_t FrameRevision() const { return revision_; }
    // The last frame as the camera's JPEG when it came that way, else empty. Asking says the
    // JPEG is of use: MJPEG frames keep coming undecoded while nothing needs their bitmaps.
    std::span<const std::uint8_t> Jpeg() const;
    // The same frame's YCbCr planes, decoded on the first call; null when it did not come as
    // a JPEG or will not decode. Asking counts as asking for the JPEG.
    const YCbCrPlanes* Planes() const;
    // When the bitmaps of this many JPEG frames in a row were needed, the next
    // kBitmapFramesAfterUse frames come as bitmaps before planes are tried again: a viewer
    // that needs both must not make every frame be decoded twice. A bitmap needed now and then
    // (a still picture asked for once a second) costs only its own decoding.
    static constexpr int kBitmapStreak = 3;
    static constexpr int kBitmapFramesAfterUse = 100;
    // The driver's state in words ("receiving frames", "lost (...), retrying").
    std::string DriverState() const;

private:
    bool CopyFrame(const VideoHeader& header, double bytes_per_pixel);
    void TakeJpeg(const VideoHeader& header);
    void AskForJpeg();
    void LogFrameInfo(const VideoHeader& header, double bytes_per_pixel) const;
    void CountFrame(double now);
    // Where the motion detector takes each new frame; wired when the detector is built.
    void FeedMotionDetector();
    void Message(std::string_view text, std::string_view caption) const;
    void ReportDriverState();

    static const std::string kNoName;

    bool enabled_ = false;
    std::int32_t vfw_input_ = kNoInput;
    double rate_ = 30;
    bool show_preview_ = false;
    std::string feed_name_;
    tess::MotionDetect motion_;
    bool needs_saving_ = false;

    const CaptureServices* services_ = nullptr;
    std::unique_ptr<CaptureDriver> driver_;
    bool has_source_ = false, has_format_ = false, has_display_ = false;
    double next_time_ = 0;
    double last_frame_time_ = 0;
    double opened_time_ = 0;
    double last_request_time_ = 0;
    double last_frame_interval_ = 0;
    std::int64_t fps_second_ = -1; // the second the frames being counted arrived in
    std::int32_t fps_count_ = 0;
    std::int32_t fps_ = 0;
    std::int32_t frame_ = 0;
    std::int32_t width_ = 0, height_ = 0;
    float bpp_ = 0;
    bool valid_ = false;
    bool new_dib_ = false, new_preview_dib_ = false;
    bool reset_frame_ = true;
    bool show_preview_in_setup_ = false;
    bool show_debug_info_ = false;
    mutable tess::DIB dib_;      // made from jpeg_ on demand
    mutable tess::DIB decoded_;  // where it is decoded first
    mutable YCbCrPlanes planes_; // of jpeg_, on demand
    std::vector<std::uint8_t> jpeg_;
    bool jpeg_current_ = false;           // the newest frame is in jpeg_
    mutable bool dib_pending_ = false;    // dib_ still holds an older frame
    mutable bool planes_pending_ = false; // planes_ are not jpeg_'s yet
    mutable bool planes_ok_ = false;      // planes_ are jpeg_'s
    mutable bool jpeg_asked_ = false;     // since the last frame
    mutable bool bitmap_made_ = false;    // of the newest frame, from its JPEG
    int bitmap_streak_ = 0;
    int bitmap_frames_left_ = 0;
    std::vector<std::uint8_t> buffer_; // 16-bit frames widened here
    std::uint64_t revision_ = 0;
    std::string driver_state_; // as last logged
};

} // namespace tess
