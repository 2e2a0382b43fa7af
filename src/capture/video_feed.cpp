#include "capture/video_feed.h"

namespace tess {

const std::string VideoFeed::kNoName;

void VideoFeed::SetEnabled(bool value) {
    if (vfw_input_ == kNoInput) return;
    const bool changed = StoreIfChanged(enabled_, value);
    needs_saving_ |= changed;
    // The file commands only edit settings; the running program opens the device.
    if (!changed || !services_) return;
    if (value)
        OpenFeed();
    else
        CloseFeed();
}

void VideoFeed::SetVfWInput(std::int32_t value) {
    if (enabled_) return; // a driver cannot be swapped under an open feed
    if (value < 0 || value > kMaxInput) value = kNoInput;
    vfw_input_ = value;
    motion_.SetFeedNumber(value);
}

// Slower than a frame a minute would leave a camera's picture looking dead.
void VideoFeed::SetRate(double value) {
    if (value < kMinRate) value = kMinRate;
    needs_saving_ |= StoreIfChanged(rate_, value);
}

void VideoFeed::SetFeedName(std::string value) {
    needs_saving_ |= StoreIfChanged(feed_name_, std::move(value));
}

void VideoFeed::SetNeedsSaving(bool value) {
    needs_saving_ = value;
    if (!value) motion_.SetNeedsSaving(false);
}

} // namespace tess
