#include "imaging/kernel_support.h"
#include "imaging/kernels.h"

#include <cstring>

namespace tess {

namespace {

template <int Code>
TESS_VECTOR_CLONES void RecolorRow(std::uint8_t* __restrict row, int width) {
    for (int x = 0; x < width; ++x)
        kernel::Recolor<Code>(row + x * 3);
}

template <int Code>
void RecolorAll(std::uint8_t* pixels, int width, int height) {
    const int pitch = kernel::RowBytes(width);
    for (int y = 0; y < height; ++y)
        RecolorRow<Code>(pixels + static_cast<std::ptrdiff_t>(y) * pitch, width);
}

} // namespace

void ColorProcess(std::uint8_t* pixels, int width, int height, int code) {
    if (!pixels || width <= 0 || height <= 0) return;
    switch (code) { // chosen once, not per pixel
    case kColorGrayscale:
        RecolorAll<kColorGrayscale>(pixels, width, height);
        break;
    case kColorSepia:
        RecolorAll<kColorSepia>(pixels, width, height);
        break;
    case kColorOldPhotograph:
        RecolorAll<kColorOldPhotograph>(pixels, width, height);
        break;
    case kColorBlueEnhancement:
        RecolorAll<kColorBlueEnhancement>(pixels, width, height);
        break;
    default:
        break;
    }
}

namespace {

constexpr int kPiece = 64; // pixels widened at a time

// Five bits to eight by repeating the top bits: 0 stays 0 and 31 becomes 255. In 16-bit lanes,
// since x86 has no byte shifts: the compiler vectorises both loops.
TESS_VECTOR_CLONES void WidenPiece(const std::uint16_t* __restrict in, std::uint8_t* __restrict out,
                                   int count) {
    std::uint8_t b[kPiece], g[kPiece], r[kPiece];
    for (int i = 0; i < count; ++i) {
        const std::uint16_t v = in[i]; // little-endian 0RRRRRGGGGGBBBBB
        b[i] = static_cast<std::uint8_t>(((v & 31) * 33) >> 2);
        g[i] = static_cast<std::uint8_t>((((v >> 5) & 31) * 33) >> 2);
        r[i] = static_cast<std::uint8_t>((((v >> 10) & 31) * 33) >> 2);
    }
    for (int i = 0; i < count; ++i) {
        out[i * 3] = b[i];
        out[i * 3 + 1] = g[i];
        out[i * 3 + 2] = r[i];
    }
}

} // namespace

// Widening walks backwards, last row and last pixel first: each 3-byte pixel lands at or
// after where its 2-byte self was read, so nothing is overwritten before it is read. Pieces
// of a row are read into a local copy first so the widening loop cannot alias.
void DIB1624(std::uint8_t* buffer, int width, int height) {
    if (!buffer || width <= 0 || height <= 0) return;
    const int pitch16 = (width * 2 + 3) & ~3, pitch24 = kernel::RowBytes(width);
    std::uint16_t piece[kPiece];
    for (int y = height - 1; y >= 0; --y) {
        std::uint8_t* in = buffer + static_cast<std::ptrdiff_t>(y) * pitch16;
        std::uint8_t* out = buffer + static_cast<std::ptrdiff_t>(y) * pitch24;
        for (int end = width; end > 0; end -= kPiece) {
            const int start = std::max(0, end - kPiece), count = end - start;
            std::memcpy(piece, in + start * 2, static_cast<std::size_t>(count) * 2);
            WidenPiece(piece, out + start * 3, count);
        }
    }
}

} // namespace tess
