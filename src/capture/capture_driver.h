#pragma once

// One capture driver as a video feed drives it: connect, ask for a frame, take the frame on
// the loop thread. A backend reads its camera on a thread of its own and keeps only the
// newest frame; a grab takes that frame, so a slow tick never builds up latency.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace tess {

// The description of one delivered frame, laid out as the feed reads it: `data` holds
// `bytes_used` bytes of bottom-up rows padded to 4 bytes, of 3-byte BGR pixels or, from a
// raw 16-bit device, 2-byte 5-5-5 pixels.
struct VideoHeader {
    const std::uint8_t* data = nullptr;
    std::uint32_t buffer_length = 0;
    std::uint32_t bytes_used = 0;
    std::uint32_t time_captured = 0; // milliseconds since the driver connected
    std::uint32_t flags = 0;
    // A 24-bit frame may come instead as the camera's JPEG, undecoded (`data` null,
    // `bytes_used` the size of its BGR rows). The feed takes it over, leaving the driver the
    // buffer it held before.
    std::vector<std::uint8_t>* jpeg = nullptr;
};

// The frame format as a bitmap header states it.
struct VideoFormat {
    std::uint32_t size = 40;
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::uint16_t planes = 1;
    std::uint16_t bit_count = 0;
    std::uint32_t compression = 0; // 0 for plain RGB
    std::uint32_t size_image = 0;
    std::uint32_t color_used = 0;
    std::uint32_t color_important = 0;
};

struct DriverCaps {
    bool has_dialog_video_source = false;
    bool has_dialog_video_format = false;
    bool has_dialog_video_display = false;
};

class CaptureDriver {
public:
    using FrameCallback = std::function<void(const VideoHeader&)>;

    virtual ~CaptureDriver() = default;

    // Starts reading the camera. False when the source cannot be used at all (a junk URL);
    // a camera that is only unreachable for now connects and is retried in the background.
    virtual bool Connect() = 0;
    virtual void Disconnect() = 0;
    virtual DriverCaps Caps() const { return {}; }
    // The size of the frames being delivered (0 x 0 before the first).
    virtual void Status(int& width, int& height) const = 0;
    virtual VideoFormat Format() const = 0;
    // A grab is issued: the next frame to arrive is for the feed.
    virtual void RequestFrame() = 0;
    // On the loop thread: when a grab is outstanding and a frame newer than the last one
    // delivered is waiting, calls `callback` with it (synchronously) and returns true.
    virtual bool DeliverFrame(const FrameCallback& callback) = 0;
    // What the driver is doing, in words, for the feed's log and `tessarolle feeds`.
    virtual std::string StateText() const = 0;
    // Whether the feed would rather have MJPEG frames kept as the camera's JPEGs (nothing
    // needed their BGR rows lately). Drivers without MJPEG ignore it.
    virtual void SetJpegWanted(bool /*wanted*/) {}
};

} // namespace tess
