#include "imaging/text/font_face.h"

#include <algorithm>
#include <cstring>

#include FT_SYNTHESIS_H
#include <hb-ft.h>

namespace tess {

namespace {

// Full hinting puts stems and advances on whole pixels, which keeps small text on a webcam
// picture crisp; shaping uses the same flags so its advances match the drawn glyphs.
constexpr FT_Int32 kLoadFlags = FT_LOAD_DEFAULT;

const std::uint8_t* BitmapRow(const FT_Bitmap& bitmap, unsigned y) {
    // A negative pitch means the rows are stored bottom-up.
    if (bitmap.pitch >= 0) return bitmap.buffer + static_cast<std::size_t>(y) * bitmap.pitch;
    return bitmap.buffer + static_cast<std::size_t>(bitmap.rows - 1 - y) * -bitmap.pitch;
}

void CopyCoverage(const FT_Bitmap& bitmap, GlyphBitmap& out) {
    out.width = static_cast<int>(bitmap.width);
    out.height = static_cast<int>(bitmap.rows);
    out.coverage.assign(static_cast<std::size_t>(out.width) * out.height, 0);
    for (unsigned y = 0; y < bitmap.rows; ++y) {
        const std::uint8_t* src = BitmapRow(bitmap, y);
        std::uint8_t* dst = out.coverage.data() + static_cast<std::size_t>(y) * out.width;
        if (bitmap.pixel_mode == FT_PIXEL_MODE_GRAY) {
            std::memcpy(dst, src, bitmap.width);
        } else {
            // Bitmap-only fonts come one bit per pixel.
            for (unsigned x = 0; x < bitmap.width; ++x) {
                dst[x] = (src[x >> 3] & (0x80 >> (x & 7))) ? 255 : 0;
            }
        }
    }
}

} // namespace

std::size_t FaceSourceHash::operator()(const FaceSource& source) const {
    std::size_t h = std::hash<std::string>()(source.file);
    h ^= static_cast<std::size_t>(source.index) * 0x9E3779B97F4A7C15ull;
    return h ^ (source.embolden ? 0x51 : 0) ^ (source.oblique ? 0xA2 : 0);
}

std::unique_ptr<FontFace> FontFace::Open(FT_Library library, const FaceSource& source,
                                         std::uint32_t id) {
    FT_Face face = nullptr;
    if (FT_New_Face(library, source.file.c_str(), source.index, &face) != 0) return nullptr;
    if (FT_Select_Charmap(face, FT_ENCODING_UNICODE) != 0 && face->num_charmaps > 0) {
        FT_Set_Charmap(face, face->charmaps[0]);
    }
    return std::unique_ptr<FontFace>(new FontFace(face, source, id));
}

FontFace::FontFace(FT_Face face, const FaceSource& source, std::uint32_t id)
    : face_(face), source_(source), id_(id) {
    SetPixelsPerEm(16);
    hb_ = hb_ft_font_create_referenced(face_);
    hb_ft_font_set_load_flags(hb_, kLoadFlags);
}

FontFace::~FontFace() {
    hb_font_destroy(hb_); // drops its own reference to the face
    FT_Done_Face(face_);
}

void FontFace::SetPixelsPerEm(int ppem) {
    if (ppem == ppem_) return;
    if (FT_Set_Pixel_Sizes(face_, 0, static_cast<FT_UInt>(ppem)) != 0 &&
        face_->num_fixed_sizes > 0) {
        // A bitmap-only font offers a few sizes; take its first rather than nothing.
        FT_Select_Size(face_, 0);
    }
    ppem_ = ppem;
    if (hb_) hb_ft_font_changed(hb_);
}

// FreeType rounds its size metrics outwards, which adds up to two pixels to every line
// box; the font's own design values, rounded to the nearest pixel, space lines as designed.
int FontFace::Scaled(FT_Short design, FT_Pos hinted) const {
    if (!FT_IS_SCALABLE(face_)) return static_cast<int>((hinted + 32) >> 6);
    return static_cast<int>((FT_MulFix(design, face_->size->metrics.y_scale) + 32) >> 6);
}

int FontFace::Ascent() const {
    return Scaled(face_->ascender, face_->size->metrics.ascender);
}

int FontFace::Descent() const {
    return -Scaled(face_->descender, face_->size->metrics.descender);
}

int FontFace::LineHeight() const {
    return std::max(Scaled(face_->height, face_->size->metrics.height), Ascent() + Descent());
}

int FontFace::EmboldenStrength() const {
    // The strength FreeType's own emboldening uses: a 24th of the em.
    return static_cast<int>(FT_MulFix(face_->units_per_EM, face_->size->metrics.y_scale) / 24);
}

int FontFace::EmboldenAdvance() const {
    if (!source_.embolden) return 0;
    // Whole pixels, so that pen positions stay on the pixel grid like the hinted advances.
    return std::max(64, (EmboldenStrength() + 32) & ~63);
}

GlyphBitmap FontFace::Rasterize(std::uint32_t glyph) const {
    GlyphBitmap out;
    if (FT_Load_Glyph(face_, glyph, kLoadFlags) != 0) return out;
    FT_GlyphSlot slot = face_->glyph;
    if (source_.oblique) FT_GlyphSlot_Oblique(slot);
    if (source_.embolden) FT_GlyphSlot_Embolden(slot);
    if (slot->format != FT_GLYPH_FORMAT_BITMAP &&
        FT_Render_Glyph(slot, FT_RENDER_MODE_NORMAL) != 0) {
        return out;
    }
    const FT_Bitmap& bitmap = slot->bitmap;
    if (bitmap.pixel_mode != FT_PIXEL_MODE_GRAY && bitmap.pixel_mode != FT_PIXEL_MODE_MONO) {
        return out; // colour emoji and the like: not drawn
    }
    out.left = slot->bitmap_left;
    out.top = slot->bitmap_top;
    CopyCoverage(bitmap, out);
    return out;
}

} // namespace tess
