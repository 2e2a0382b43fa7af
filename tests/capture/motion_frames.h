#pragma once

// Synthetic frames for the motion tests.

#include "imaging/dib.h"

#include <cstdint>
#include <cstring>

namespace tess::test {

// Every channel of every pixel at `level`.
inline DIB Flat(int width, int height, std::uint8_t level) {
    DIB frame(width, height);
    std::memset(frame.DIBPtr(), level, frame.BufferSize());
    return frame;
}

// The first `channels` colour channels of the picture (from its top-left corner, row by row)
// set to `level`.
inline DIB WithChannels(DIB frame, long channels, std::uint8_t level) {
    for (int y = 0; y < frame.Height() && channels > 0; ++y) {
        const long n = std::min<long>(channels, frame.Width() * 3L);
        std::memset(frame.scanline(y), level, static_cast<std::size_t>(n));
        channels -= n;
    }
    return frame;
}

// A w x h block at (x, y) from the top-left set to `level`.
inline DIB WithBlock(DIB frame, int x, int y, int w, int h, std::uint8_t level) {
    for (int row = y; row < y + h; ++row)
        std::memset(frame.scanline(row) + x * 3, level, static_cast<std::size_t>(w) * 3);
    return frame;
}

} // namespace tess::test
