#pragma once

// The picture the web benchmarks serve: a 1280 x 720 camera-like frame (gradients, hard-edged
// boxes, a little noise), so its JPEG has a realistic size rather than that of a flat test
// card.

#include "imaging/dib.h"

#include <algorithm>
#include <cstdint>
#include <random>

namespace tess::bench {

inline void FillCameraFrame(DIB& dib, int width = 1280, int height = 720) {
    dib.SetWidthHeight(width, height);
    std::mt19937 rng(7);
    for (int y = 0; y < height; ++y) {
        std::uint8_t* row = dib.scanline(y);
        for (int x = 0; x < width; ++x) {
            int noise = static_cast<int>(rng() % 13) - 6;
            bool box = (x / 160 + y / 120) % 3 == 0;
            int b = (x * 255) / width, g = (y * 255) / height, r = (x + 2 * y) % 256;
            if (box) std::swap(b, r);
            row[3 * x] = static_cast<std::uint8_t>(std::clamp(b + noise, 0, 255));
            row[3 * x + 1] = static_cast<std::uint8_t>(std::clamp(g + noise, 0, 255));
            row[3 * x + 2] = static_cast<std::uint8_t>(std::clamp(r + noise, 0, 255));
        }
    }
}

} // namespace tess::bench
