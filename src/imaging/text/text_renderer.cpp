#include "imaging/text/text_renderer.h"

#include "imaging/text/font_library.h"
#include "imaging/text/glyph_cache.h"
#include "imaging/text/text_decode.h"
#include "imaging/text/text_layout.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <vector>

namespace tess {

namespace {

struct Box {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;

    void Include(int l, int t, int r, int b) {
        left = std::min(left, l);
        top = std::min(top, t);
        right = std::max(right, r);
        bottom = std::max(bottom, b);
    }
};

// Where a glyph covers, coverage adds up to at most full: letters that touch (joined
// scripts, tight kerning) must not leave a lighter seam where their edges meet.
void BlitGlyph(const GlyphBitmap& glyph, int x0, int y0, std::uint8_t* coverage, int width,
               int height) {
    int first_row = std::max(0, -y0);
    int last_row = std::min(glyph.height, height - y0);
    int first_col = std::max(0, -x0);
    int last_col = std::min(glyph.width, width - x0);
    for (int y = first_row; y < last_row; ++y) {
        const std::uint8_t* src = glyph.coverage.data() + static_cast<std::size_t>(y) * glyph.width;
        std::uint8_t* dst = coverage + static_cast<std::size_t>(y0 + y) * width + x0;
        for (int x = first_col; x < last_col; ++x) {
            dst[x] = static_cast<std::uint8_t>(std::min(255, dst[x] + src[x]));
        }
    }
}

// One coverage row becomes an opacity row: the same grey in all three channels. Four pixels
// at a time as three 32-bit words, since a compiler will not vectorise a stride of three.
void GreyToBgr(const std::uint8_t* src, std::uint8_t* dst, int width) {
    static_assert(std::endian::native == std::endian::little);
    int x = 0;
    for (; x + 4 <= width; x += 4) {
        std::uint32_t g;
        std::memcpy(&g, src + x, 4);
        const std::uint32_t g0 = g & 0xFF, g1 = (g >> 8) & 0xFF, g2 = (g >> 16) & 0xFF,
                            g3 = g >> 24;
        // Separate stores: one 12-byte copy from a stack array stalls on store forwarding.
        const std::uint32_t a = g0 * 0x010101u | g1 << 24;
        const std::uint32_t b = g1 * 0x0101u | g2 * 0x01010000u;
        const std::uint32_t c = g2 | g3 * 0x01010100u;
        std::memcpy(dst + 3 * x, &a, 4);
        std::memcpy(dst + 3 * x + 4, &b, 4);
        std::memcpy(dst + 3 * x + 8, &c, 4);
    }
    for (; x < width; ++x) {
        dst[3 * x] = dst[3 * x + 1] = dst[3 * x + 2] = src[x];
    }
}

TextOrigin MakeEmpty(DIB& picture, DIB& opacity) {
    picture.SetWidthHeight(0, 0);
    opacity.SetWidthHeight(0, 0);
    return {};
}

} // namespace

struct TextRenderer::Impl {
    explicit Impl(const TextCacheLimits& limits)
        : fonts(limits.faces), glyphs(limits.glyphs, limits.glyph_bytes) {}

    TextOrigin Rasterize(std::uint32_t color, DIB& picture, DIB& opacity);

    FontLibrary fonts;
    GlyphCache glyphs;
    TextShaper shaper;
    // Scratch space kept between renders, so a changing text allocates nothing once warm.
    std::u32string chars;
    TextLayout layout;
    std::vector<std::uint8_t> coverage;
    std::uint64_t renders = 0;
};

TextRenderer::TextRenderer(const TextCacheLimits& limits) : impl_(std::make_unique<Impl>(limits)) {}

TextRenderer::~TextRenderer() = default;

TextOrigin TextRenderer::Render(std::string_view text, const TextStyle& style, DIB& picture,
                                DIB& opacity) {
    Impl& d = *impl_;
    ++d.renders;
    if (text.empty()) return MakeEmpty(picture, opacity);
    // The fallback first: looking up the text's own face cannot then push it out of the
    // face cache, which always holds more than the two.
    FontFace* fallback = d.fonts.Face(kFallbackFamily, style.bold, style.italic);
    FontFace* main = d.fonts.Face(style.font_name, style.bold, style.italic);
    if (!main) main = fallback;
    if (!main) return MakeEmpty(picture, opacity);
    const int ppem = PixelsPerEm(style.font_size);
    main->SetPixelsPerEm(ppem);
    if (fallback) fallback->SetPixelsPerEm(ppem);

    DecodeText(text, d.chars);
    d.shaper.LayOut(d.chars, *main, fallback, kMaxExtent, d.layout);
    return d.Rasterize(style.color, picture, opacity);
}

TextOrigin TextRenderer::Impl::Rasterize(std::uint32_t color, DIB& picture, DIB& opacity) {
    // The extent is the lines' boxes, grown where ink reaches past them (an italic's last
    // letter, a descender below a short line box), so nothing is cut off.
    if (layout.width == 0) return MakeEmpty(picture, opacity);
    Box box{0, 0, layout.width, layout.height};
    for (const PlacedGlyph& g : layout.glyphs) {
        const GlyphBitmap& bitmap = glyphs.Get(*g.face, g.glyph);
        if (bitmap.width == 0 || bitmap.height == 0) continue;
        int x0 = g.x + bitmap.left;
        int y0 = g.baseline - bitmap.top;
        box.Include(x0, y0, x0 + bitmap.width, y0 + bitmap.height);
    }
    const int width = std::min(box.right - box.left, kMaxExtent);
    const int height = std::min(box.bottom - box.top, kMaxExtent);
    if (width <= 0 || height <= 0) return MakeEmpty(picture, opacity);

    coverage.assign(static_cast<std::size_t>(width) * height, 0);
    for (const PlacedGlyph& g : layout.glyphs) {
        // Fetched again rather than kept from the first pass: the cache may have dropped an
        // earlier glyph to make room for a later one.
        const GlyphBitmap& bitmap = glyphs.Get(*g.face, g.glyph);
        if (bitmap.width == 0 || bitmap.height == 0) continue;
        BlitGlyph(bitmap, g.x + bitmap.left - box.left, g.baseline - bitmap.top - box.top,
                  coverage.data(), width, height);
    }

    if (!picture.SetWidthHeight(width, height) || !opacity.SetWidthHeight(width, height)) {
        return MakeEmpty(picture, opacity);
    }
    picture.Clear(color);
    for (int y = 0; y < height; ++y) {
        GreyToBgr(coverage.data() + static_cast<std::size_t>(y) * width, opacity.scanline(y),
                  width);
    }
    return {-box.left, -box.top};
}

void TextRenderer::ForgetGlyphs() {
    impl_->glyphs.Clear();
}

std::string TextRenderer::FontFile(std::string_view name, bool bold, bool italic) {
    return impl_->fonts.Resolve(name, bold, italic).file;
}

TextRendererStats TextRenderer::Stats() const {
    TextRendererStats s;
    s.renders = impl_->renders;
    s.glyphs_rasterized = impl_->glyphs.Rasterized();
    s.glyph_cache_hits = impl_->glyphs.Hits();
    s.glyph_cache_entries = impl_->glyphs.Entries();
    s.glyph_cache_bytes = impl_->glyphs.Bytes();
    s.open_faces = impl_->fonts.OpenFaces();
    s.font_lookups = impl_->fonts.FontconfigLookups();
    return s;
}

} // namespace tess
