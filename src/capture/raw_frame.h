#pragma once

// One frame as a capture backend hands it over: bottom-up rows padded to 4 bytes, of
// 3-byte BGR pixels or, from a raw 16-bit device, 2-byte 5-5-5 pixels.

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace tess {

struct RawFrame {
    std::vector<std::uint8_t> bytes;
    int width = 0;
    int height = 0;
    int bytes_per_pixel = 3;
    std::uint32_t time_captured = 0; // milliseconds since the driver connected
    // An MJPEG frame that came while nobody waited for a picture is kept as it came, in
    // `jpeg`, with the stream's size in width and height: only the frame that is taken is
    // decoded, and the ones a newer frame replaces first never are.
    bool held = false;
    std::vector<std::uint8_t> jpeg;
    // An MJPEG frame kept undecoded in `jpeg` for a consumer that takes the camera's JPEG
    // itself (or its YCbCr planes): a 24-bit picture whose rows are made only if something
    // asks for them.
    bool as_jpeg = false;

    // An MJPEG frame, with its size: kept as it came when `keep_jpeg` and its sampling lets
    // its planes be had (`jpeg` then holds it), else decoded into `bytes`. False when it
    // cannot be decoded. `frame` may be `jpeg` itself.
    bool DecodeMjpeg(std::span<const std::uint8_t> frame, bool keep_jpeg, int& width, int& height);

    static std::size_t Pitch(int width, int bytes_per_pixel) {
        return (static_cast<std::size_t>(width) * bytes_per_pixel + 3) & ~std::size_t{3};
    }
    std::size_t Pitch() const { return Pitch(width, bytes_per_pixel); }
    std::size_t Size() const { return Pitch() * static_cast<std::size_t>(height); }
};

} // namespace tess
