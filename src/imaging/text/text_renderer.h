#pragma once

// Draws the text of Text items. The result of a text is two bitmaps of exactly the text's
// extent: the picture, filled with the text colour, and the opacity, whose grey level is the
// antialiased glyph coverage (white opaque, black transparent, the three channels equal), so
// that the pipeline's per-pixel opacity merge blends the letters' edges into the layer.
//
// Fonts are found through fontconfig ("Arial" finds Liberation Sans), shaped by HarfBuzz
// and rasterised by FreeType, at 96 pixels per inch. One renderer serves every Text item of
// the program; it keeps the opened fonts and the rendered glyphs, within the limits given.
// It is not thread-safe: the program draws on its one loop thread.

#include "imaging/dib.h"
#include "imaging/text/text_style.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace tess {

struct TextCacheLimits {
    std::size_t faces = 16;            // open font files
    std::size_t glyphs = 16384;        // rendered glyphs...
    std::size_t glyph_bytes = 8 << 20; // ...and the memory they may take
};

// Where the text's own box starts inside the bitmaps: (0, 0) unless ink reaches left of the
// first letter's pen position or above the first line (an italic j, a tall accent), which
// the bitmaps include rather than cut off. An item placed at (X, Y) draws its bitmaps at
// (X - x, Y - y) to keep its text exactly where a plain text would stand.
struct TextOrigin {
    int x = 0;
    int y = 0;
    bool operator==(const TextOrigin&) const = default;
};

struct TextRendererStats {
    std::uint64_t renders = 0;           // texts laid out and rasterised
    std::uint64_t glyphs_rasterized = 0; // glyphs FreeType had to draw
    std::uint64_t glyph_cache_hits = 0;
    std::size_t glyph_cache_entries = 0;
    std::size_t glyph_cache_bytes = 0;
    std::size_t open_faces = 0;
    std::uint64_t font_lookups = 0; // fontconfig queries
};

class TextRenderer {
public:
    // Results are cut to this many pixels each way, whatever the text asks for.
    static constexpr int kMaxExtent = 4096;

    explicit TextRenderer(const TextCacheLimits& limits = {});
    ~TextRenderer();
    TextRenderer(const TextRenderer&) = delete;
    TextRenderer& operator=(const TextRenderer&) = delete;

    // Draws a text (bytes in UTF-8, or Windows-1252 where they are not UTF-8) into the two
    // bitmaps, resizing them to the text's extent. Lines break at CR LF, LF or CR and are
    // left-aligned; "<trendup>", "<trenddown>" and "<trendsteady>" draw as up, down and right
    // arrows. An empty text, or one without any width, leaves both bitmaps 0 x 0.
    TextOrigin Render(std::string_view text, const TextStyle& style, DIB& picture, DIB& opacity);

    // Drops every rendered glyph: memory back after a burst of large texts, or glyphs
    // drawn again from scratch. Nothing else changes.
    void ForgetGlyphs();

    // The font file a font name and style resolve to; empty when there is none.
    std::string FontFile(std::string_view name, bool bold, bool italic);

    TextRendererStats Stats() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace tess
