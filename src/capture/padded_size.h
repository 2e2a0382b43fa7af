#pragma once

#include <cstdint>

namespace tess {

// The bytes of a frame of rows padded to 4 bytes; bytes per pixel may be fractional (1.5
// for 12-bit frames): the row's bytes are truncated before the padding.
inline std::int64_t PaddedSize(std::int64_t width, std::int64_t height, double bytes_per_pixel) {
    std::int64_t row = static_cast<std::int64_t>(static_cast<double>(width) * bytes_per_pixel);
    if (row % 4 != 0) row += 4 - row % 4;
    return row * height;
}

} // namespace tess
