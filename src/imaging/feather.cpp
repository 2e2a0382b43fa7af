#include "imaging/feather.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace tess {

void CreateFeatherOpacity(DIB& opacity, int width, int height, int feather_width,
                          int feather_radius) {
    if (!opacity.SetWidthHeight(width, height) || !opacity.HasBitmap()) return;
    const double radius = std::clamp<double>(feather_radius, 0, std::min(width, height) / 2.0);
    for (int y = 0; y < height; ++y) {
        std::uint8_t* row = opacity.scanline(y);
        const double dy = std::min(y + 0.5, height - y - 0.5);
        for (int x = 0; x < width; ++x) {
            const double dx = std::min(x + 0.5, width - x - 0.5);
            double inside = std::min(dx, dy);
            if (dx < radius && dy < radius) inside = radius - std::hypot(radius - dx, radius - dy);
            const double v = feather_width > 0 ? inside / feather_width : inside + 0.5;
            std::memset(row + x * 3, static_cast<int>(std::lround(std::clamp(v, 0.0, 1.0) * 255)),
                        3);
        }
    }
}

} // namespace tess
