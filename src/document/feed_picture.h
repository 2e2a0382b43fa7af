#pragma once

// What graphic items of a video feed draw: the feed's newest frame while frames come. When
// none has come for kStaleSeconds (a camera unplugged, a network down), the last good frame
// dimmed, with the feed's name and the time of that frame written on it, so a viewer sees
// the picture is old instead of trusting a frozen one. It turns live again with the next
// frame.

#include "document/composition_services.h"
#include "imaging/dib.h"

#include <cstdint>

namespace tess {

class TextRenderer;
class VideoFeed;

class FeedPicture {
public:
    static constexpr double kStaleSeconds = 10;

    // Null picture while the feed has no frame.
    SharedPicture Picture(const VideoFeed& feed, double now, TextRenderer* text);
    // The revision Picture would give, without making the frame's bitmap; 0 without a frame.
    static std::uint64_t Revision(const VideoFeed& feed, double now);
    // The frame's JPEG (and when `decoded` its planes) while it is live and came that way.
    static FeedPlanes Planes(const VideoFeed& feed, double now, bool decoded);
    // When, after `now`, the picture turns stale if no frame comes; else `limit`.
    static double StaleTime(const VideoFeed& feed, double now, double limit);

private:
    void MakeDimmed(const VideoFeed& feed, TextRenderer* text);

    DIB dimmed_;
    std::uint64_t dimmed_revision_ = 0; // the frame it was made from; 0 none
};

} // namespace tess
