#pragma once

// What a Text item asks of the text drawing: its font and colour.

#include <cstdint>
#include <string>

namespace tess {

struct TextStyle {
    std::string font_name = "Arial";
    double font_size = 14; // points, at 96 pixels per inch
    bool bold = false;
    bool italic = false;
    std::uint32_t color = 0x808080; // 0x00BBGGRR, red in the low byte

    bool operator==(const TextStyle&) const = default;
};

// Sizes outside this range are clamped: a size of 0 or below would draw nothing at all, and
// 500 points (667 pixels per em) already fills a large canvas with a few letters, while a
// mistyped 50000 would ask for gigabytes of glyphs.
inline constexpr double kMinFontPoints = 1;
inline constexpr double kMaxFontPoints = 500;

// The clamped size in whole pixels per em: hinted glyphs line up on whole pixels, and the
// glyph cache is keyed by it.
int PixelsPerEm(double points);

} // namespace tess
