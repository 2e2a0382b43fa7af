#pragma once

// Rendered glyphs by (face, pixel size, glyph), so a text that changes every second only
// rasterises the glyphs it has never drawn before.

#include "imaging/text/font_face.h"
#include "imaging/text/lru_cache.h"

#include <cstdint>

namespace tess {

class GlyphCache {
public:
    GlyphCache(std::size_t max_entries, std::size_t max_bytes) : cache_(max_entries, max_bytes) {}

    // The glyph at the face's current size. The reference is good until the next call, which
    // may forget it to stay within budget.
    const GlyphBitmap& Get(const FontFace& face, std::uint32_t glyph);

    void Clear() { cache_.Clear(); }
    std::size_t Entries() const { return cache_.Size(); }
    std::size_t Bytes() const { return cache_.Cost(); }
    std::uint64_t Rasterized() const { return rasterized_; }
    std::uint64_t Hits() const { return hits_; }

private:
    struct Key {
        std::uint32_t face;
        std::uint32_t ppem;
        std::uint32_t glyph;
        bool operator==(const Key&) const = default;
    };
    struct KeyHash {
        std::size_t operator()(const Key& k) const {
            return (static_cast<std::size_t>(k.face) * 0x9E3779B97F4A7C15ull) ^
                   (static_cast<std::size_t>(k.ppem) << 32) ^ k.glyph;
        }
    };

    LruCache<Key, GlyphBitmap, KeyHash> cache_;
    std::uint64_t rasterized_ = 0;
    std::uint64_t hits_ = 0;
};

} // namespace tess
