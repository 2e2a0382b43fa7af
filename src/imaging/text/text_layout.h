#pragma once

// Lays a decoded text out as placed glyphs: lines split at line breaks and left-aligned, each
// line shaped by HarfBuzz, the trend markers turned into arrows, and characters the text's
// font lacks taken from the fallback font.

#include "imaging/text/font_face.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tess {

// A glyph's pen position in whole pixels, from the top left of the text's box (the first
// line's ascent above the first baseline, the left end of the lines).
struct PlacedGlyph {
    const FontFace* face;
    std::uint32_t glyph;
    int x;
    int baseline;
};

struct TextLayout {
    std::vector<PlacedGlyph> glyphs;
    int width = 0;  // the longest line's advance
    int height = 0; // the lines' boxes, from the first ascent to the last descent
};

// The markers that weather tags leave in a text, each drawn as one arrow from the fallback
// font (DejaVu Sans has all three).
struct TrendMarker {
    std::u32string_view tag;
    char32_t arrow;
};
inline constexpr TrendMarker kTrendMarkers[] = {
    {U"<trendup>", U'\u2191'},     // upwards arrow
    {U"<trenddown>", U'\u2193'},   // downwards arrow
    {U"<trendsteady>", U'\u2192'}, // rightwards arrow
};

class TextShaper {
public:
    TextShaper();
    ~TextShaper();
    TextShaper(const TextShaper&) = delete;
    TextShaper& operator=(const TextShaper&) = delete;

    // Both faces must already be at the text's size; `fallback` may be null or equal `main`.
    // Glyphs and lines that start beyond `max_extent` pixels are left out: they would be cut
    // off anyway, and an endless text must neither take endless time nor overflow the pen.
    void LayOut(std::u32string_view text, FontFace& main, FontFace* fallback, int max_extent,
                TextLayout& out);

private:
    struct Run {
        FontFace* face;
        std::size_t begin;
        std::size_t end;
    };

    void PrepareLine(std::u32string_view line, FontFace& main, FontFace* fallback);
    // Returns the line's advance in pixels.
    int ShapeLine(int baseline, int max_extent, TextLayout& out);

    hb_buffer_t* buffer_;
    std::u32string chars_;         // one line, markers replaced by their arrows
    std::vector<FontFace*> faces_; // the face of each character of chars_
    std::vector<Run> runs_;
};

} // namespace tess
