#include "imaging/text/glyph_cache.h"

namespace tess {

namespace {
// What an entry costs besides its pixels: the list node, the index and the bitmap header.
constexpr std::size_t kEntryOverhead = 96;
} // namespace

const GlyphBitmap& GlyphCache::Get(const FontFace& face, std::uint32_t glyph) {
    Key key{face.Id(), static_cast<std::uint32_t>(face.PixelsPerEm()), glyph};
    if (const GlyphBitmap* found = cache_.Find(key)) {
        ++hits_;
        return *found;
    }
    ++rasterized_;
    GlyphBitmap bitmap = face.Rasterize(glyph);
    std::size_t cost = bitmap.coverage.size() + kEntryOverhead;
    return cache_.Insert(key, std::move(bitmap), cost);
}

} // namespace tess
