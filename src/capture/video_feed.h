#pragma once

// The settings of one camera source, as the portfolio file stores them, and its motion
// detector. Opening the device and grabbing frames work on these values; a feed is opened
// when Enabled becomes true and closed when it becomes false.

#include "capture/motion_detect.h"

#include <cstdint>
#include <string>

namespace tess {

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

private:
    static const std::string kNoName;

    bool enabled_ = false;
    std::int32_t vfw_input_ = kNoInput;
    double rate_ = 30;
    bool show_preview_ = false;
    std::string feed_name_;
    tess::MotionDetect motion_;
    bool needs_saving_ = false;
};

} // namespace tess
