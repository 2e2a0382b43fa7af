#pragma once

// The decoders behind Picture, one per file format. Each takes the whole file in memory,
// checks the declared size against the DIB limits before taking pixel memory, and never
// throws: bad bytes give a status. `opacity` stays empty (0 x 0) unless the file has
// transparency worth keeping; when it is filled, it has the picture's size, grey, white for
// opaque.

#include "imaging/dib.h"

#include <cstdint>
#include <span>

namespace tess {

enum class PictureStatus {
    Ok,
    Missing,       // no such file
    Unreadable,    // the file exists but could not be read
    Empty,         // no bytes, or a picture of no pixels
    UnknownFormat, // not PNG, GIF, WebP, BMP or JPEG
    Unsupported,   // a variant of a known format that we do not read (such as RLE bitmaps)
    Corrupt,       // damaged or truncated
    TooLarge,      // more pixels than MaxPicturePixels allows
};

// The most pixels a picture file may have. Each full-size copy of a picture takes three bytes
// a pixel, so the default (32 million, a 6960 x 4640 photograph: 96 MB a copy) leaves a
// 2 GB machine room for the copies an item keeps; Tessarolle.INI's MaxPicturePixels changes
// it for the whole program, up to what a bitmap may hold.
inline constexpr std::int64_t kDefaultMaxPicturePixels = 32'000'000;
std::int64_t MaxPicturePixels();
void SetMaxPicturePixels(std::int64_t pixels);

const char* PictureStatusText(PictureStatus status);

using Bytes = std::span<const std::uint8_t>;

PictureStatus DecodeBmp(Bytes file, DIB& pixels, DIB& opacity);
PictureStatus DecodePng(Bytes file, DIB& pixels, DIB& opacity);
PictureStatus DecodeGif(Bytes file, DIB& pixels, DIB& opacity);
PictureStatus DecodeWebp(Bytes file, DIB& pixels, DIB& opacity);

// Any of the above, chosen by the file's first bytes (JPEG too).
PictureStatus DecodePicture(Bytes file, DIB& pixels, DIB& opacity);

// Shared by the decoders whose libraries hand out top-down BGRA rows: the colour goes to
// `pixels`, the alpha to `opacity` (left empty when every pixel is opaque).
void SplitBgra(const std::uint8_t* bgra, std::size_t row_bytes, int width, int height, DIB& pixels,
               DIB& opacity);

// Checks a declared size before decoding: Empty, TooLarge or Ok. With `file_bytes`, a file
// that claims more pixels than its format could pack into that many bytes (at most
// `pixels_per_byte`) is Corrupt: a few bytes must not make us take hundreds of megabytes.
PictureStatus CheckDeclaredSize(std::int64_t width, std::int64_t height);
PictureStatus CheckDeclaredSize(std::int64_t width, std::int64_t height, std::size_t file_bytes,
                                std::int64_t pixels_per_byte);

// The best packing each format can reach on a flat picture, with room to spare.
inline constexpr std::int64_t kPngPixelsPerByte = 8 * 1032; // 1-bit rows, deflate at its best
inline constexpr std::int64_t kGifPixelsPerByte = 3000;     // 12-bit codes of 4096 pixels
inline constexpr std::int64_t kWebpPixelsPerByte = 20000;   // long back-references

} // namespace tess
