#pragma once

// A small picture for the web server tests: four flat quadrants (red, green, blue, white)
// that survive JPEG coding well enough to be told apart after decoding.

#include "imaging/dib.h"
#include "imaging/jpeg.h"

#include <cstdint>
#include <cstdlib>
#include <span>
#include <string_view>

namespace tess::test {

inline void FillQuadrants(DIB& dib, int width, int height) {
    dib.SetWidthHeight(width, height);
    for (int y = 0; y < height; ++y) {
        std::uint8_t* row = dib.scanline(y);
        for (int x = 0; x < width; ++x) {
            bool right = x >= width / 2, bottom = y >= height / 2;
            std::uint8_t b = 0, g = 0, r = 0;
            if (!right && !bottom) r = 255;
            if (right && !bottom) g = 255;
            if (!right && bottom) b = 255;
            if (right && bottom) b = g = r = 255;
            row[3 * x] = b;
            row[3 * x + 1] = g;
            row[3 * x + 2] = r;
        }
    }
}

// True when `bytes` decode to a picture of the quadrants' size whose quadrant centres keep
// their colours within a JPEG's error.
inline bool DecodesToQuadrants(std::string_view bytes, int width, int height) {
    DIB decoded;
    auto span = std::span(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    if (!DecodeJpegIntoDIB(span, decoded)) return false;
    if (decoded.Width() != width || decoded.Height() != height) return false;
    DIB expected;
    FillQuadrants(expected, width, height);
    for (int qy : {height / 4, 3 * height / 4}) {
        for (int qx : {width / 4, 3 * width / 4}) {
            for (int c = 0; c < 3; ++c) {
                int got = decoded.scanline(qy)[3 * qx + c];
                int want = expected.scanline(qy)[3 * qx + c];
                if (std::abs(got - want) > 24) return false;
            }
        }
    }
    return true;
}

inline std::string_view AsText(std::span<const std::uint8_t> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

} // namespace tess::test
