#include "imaging/dib.h"
#include "imaging/kernels.h"

#include <cstring>

namespace tess {

void Cls(std::uint8_t* pixels, int width, int height, std::uint32_t color) {
    if (!pixels || width <= 0 || height <= 0) return;
    const std::uint8_t b = (color >> 16) & 0xFF, g = (color >> 8) & 0xFF, r = color & 0xFF;
    const int pitch = DIB::RowBytes(width);
    std::uint8_t* first = pixels;
    if (b == g && g == r) {
        std::memset(first, r, static_cast<std::size_t>(pitch) * height);
        return;
    }
    for (int x = 0; x < width; ++x) {
        first[x * 3] = b;
        first[x * 3 + 1] = g;
        first[x * 3 + 2] = r;
    }
    for (int y = 1; y < height; ++y)
        std::memcpy(first + y * pitch, first, pitch);
}

} // namespace tess
