#pragma once

// A source picture as loaded from a file of any format we read (PNG, GIF, WebP, BMP, JPEG),
// or drawn by its owner: 24-bit pixels plus, when the source has transparency, an opacity
// bitmap of the same size (grey, white for opaque).

#include "imaging/dib.h"
#include "imaging/picture_decoders.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace tess {

class Picture {
public:
    // Loads a file (PictureFile). On any failure the picture is left as it was, so an owner
    // keeps showing its last good picture; the status says what went wrong.
    PictureStatus LoadFile(std::string_view file_name);
    PictureStatus LoadBytes(std::span<const std::uint8_t> bytes);

    int Width() const { return pixels_.Width(); }
    int Height() const { return pixels_.Height(); }

    DIB& Pixels() { return pixels_; }
    const DIB& Pixels() const { return pixels_; }
    bool HasOpacity() const { return opacity_.HasBitmap(); }
    DIB& Opacity() { return opacity_; }
    const DIB& Opacity() const { return opacity_; }

    // A new size for the owner to draw into; drops the opacity, which no longer fits.
    void SetWidthHeight(int width, int height);
    void Clear(std::uint32_t color) { pixels_.Clear(color); }
    // Takes over bitmaps the owner made; an opacity of another size than the pixels is dropped.
    void SetPicture(DIB&& pixels, DIB&& opacity);
    // Drops everything: the picture becomes 0 x 0.
    void FreeMemory();

private:
    DIB pixels_;
    DIB opacity_;
};

} // namespace tess
