#pragma once

// One opened font file: the FreeType face that draws glyphs and the HarfBuzz font that
// shapes text with it, kept together so both always use the same size.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <ft2build.h>
#include FT_FREETYPE_H
#include <hb.h>

namespace tess {

// Which file to open, and what fontconfig asked us to fake because the family lacks it.
struct FaceSource {
    std::string file;
    int index = 0; // face within a collection file
    bool embolden = false;
    bool oblique = false;

    bool operator==(const FaceSource&) const = default;
};

struct FaceSourceHash {
    std::size_t operator()(const FaceSource& source) const;
};

// A glyph's antialiased coverage, 0 (none) to 255 (full), rows top-down.
struct GlyphBitmap {
    int left = 0; // from the pen position to the first column, pixels rightwards
    int top = 0;  // from the baseline up to the first row, pixels
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> coverage;
};

class FontFace {
public:
    // Null when FreeType cannot open the file.
    static std::unique_ptr<FontFace> Open(FT_Library library, const FaceSource& source,
                                          std::uint32_t id);
    ~FontFace();
    FontFace(const FontFace&) = delete;
    FontFace& operator=(const FontFace&) = delete;

    // Every glyph cached from this face carries the id; a face opened again gets a new one.
    std::uint32_t Id() const { return id_; }
    const FaceSource& Source() const { return source_; }
    hb_font_t* Shaper() const { return hb_; }

    // The size for the next shaping and rendering; cheap when it is already set.
    void SetPixelsPerEm(int ppem);
    int PixelsPerEm() const { return ppem_; }

    bool HasChar(char32_t c) const { return FT_Get_Char_Index(face_, c) != 0; }

    // Line metrics at the current size, whole pixels.
    int Ascent() const;
    int Descent() const;
    int LineHeight() const;

    // Extra advance a synthetic bold glyph needs, 26.6 fixed point; 0 for a real bold.
    int EmboldenAdvance() const;

    // Renders a glyph at the current size; an empty bitmap for a glyph without ink.
    GlyphBitmap Rasterize(std::uint32_t glyph) const;

private:
    FontFace(FT_Face face, const FaceSource& source, std::uint32_t id);
    int EmboldenStrength() const;
    int Scaled(FT_Short design, FT_Pos hinted) const;

    FT_Face face_;
    hb_font_t* hb_ = nullptr;
    FaceSource source_;
    std::uint32_t id_;
    int ppem_ = 0;
};

} // namespace tess
