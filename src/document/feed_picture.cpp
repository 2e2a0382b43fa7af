#include "document/feed_picture.h"

#include "capture/video_feed.h"
#include "imaging/kernels.h"
#include "imaging/text/text_renderer.h"
#include "settings/ini_section.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace tess {

namespace {

constexpr double kSecondsPerDay = 86400;
constexpr std::uint64_t kStaleMark = std::uint64_t{1} << 63; // a revision of its own

} // namespace

double FeedPicture::StaleTime(const VideoFeed& feed, double now, double limit) {
    if (!feed.Enabled() || !feed.Valid()) return limit;
    // A little after the limit, so that the tick finds the picture stale.
    const double stale = feed.LastFrameTime() + (kStaleSeconds + 0.01) / kSecondsPerDay;
    return stale > now ? std::min(limit, stale) : limit;
}

namespace {

bool Stale(const VideoFeed& feed, double now) {
    return (now - feed.LastFrameTime()) * kSecondsPerDay > FeedPicture::kStaleSeconds;
}

} // namespace

std::uint64_t FeedPicture::Revision(const VideoFeed& feed, double now) {
    if (!feed.Valid() || !feed.HasPicture()) return 0;
    return Stale(feed, now) ? feed.FrameRevision() | kStaleMark : feed.FrameRevision();
}

FeedPlanes FeedPicture::Planes(const VideoFeed& feed, double now, bool decoded) {
    if (!feed.Valid() || !feed.HasPicture() || Stale(feed, now)) return {};
    return {feed.Jpeg(), decoded ? feed.Planes() : nullptr, feed.FrameRevision()};
}

SharedPicture FeedPicture::Picture(const VideoFeed& feed, double now, TextRenderer* text) {
    if (!feed.Valid() || !feed.HasPicture()) return {};
    if (!Stale(feed, now)) return {&feed.DIB(), feed.FrameRevision()};
    if (dimmed_revision_ != feed.FrameRevision()) MakeDimmed(feed, text);
    return {&dimmed_, feed.FrameRevision() | kStaleMark};
}

void FeedPicture::MakeDimmed(const VideoFeed& feed, TextRenderer* text) {
    const DIB& frame = feed.DIB();
    dimmed_revision_ = feed.FrameRevision();
    if (!dimmed_.SetWidthHeight(frame.Width(), frame.Height())) return;
    const std::uint8_t* in = frame.DIBPtr();
    std::uint8_t* out = dimmed_.DIBPtr();
    for (std::size_t i = 0, n = frame.BufferSize(); i < n; ++i)
        out[i] = static_cast<std::uint8_t>(in[i] * 2 / 5);
    if (!text) return;
    const double seconds = std::fmod(feed.LastFrameTime(), 1.0) * kSecondsPerDay;
    const std::string label =
        feed.FeedName() + ": last frame at " + TimeOfDayText(std::round(seconds));
    TextStyle style;
    style.color = 0xFFFFFF;
    style.font_size = std::clamp(frame.Height() / 24.0, 8.0, 28.0);
    DIB letters, opacity;
    text->Render(label, style, letters, opacity);
    if (!letters.HasBitmap()) return;
    const int margin = std::max(2, frame.Height() / 60);
    Merge(dimmed_.DIBPtr(), dimmed_.Width(), dimmed_.Height(), letters.DIBPtr(), letters.Width(),
          letters.Height(), margin, margin, kOpacityPerPixel, kNoColor, 255, opacity.DIBPtr(), 0, 0,
          nullptr, 0, 0);
}

} // namespace tess
