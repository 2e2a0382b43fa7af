#include "imaging/kernel_support.h"
#include "imaging/kernels.h"

namespace tess {

namespace {

// The work area inside the shadow bitmap: the source's place and the spread around it.
struct Area {
    std::uint8_t* base;
    int pitch;
    int x0, x1, y0, y1; // columns and (bottom-up) rows, half-open
    std::uint8_t& At(int x, int y, int channel) const {
        return base[static_cast<std::ptrdiff_t>(y) * pitch + x * 3 + channel];
    }
};

// The box filters work in place, each pass reading one colour channel of the shadow bitmap
// and writing another, so no scratch memory is needed. Outside the area the shape is 0.
// `Before` and `After` are the taps on each side: up and left count as before. The taps are
// template arguments, so the division by their count is a multiplication, and the pixels whose
// taps all lie inside the area (nearly all of them) go without any bounds test.
template <int Before, int After>
void Horizontal(const Area& area, int from, int to) {
    constexpr int taps = Before + After + 1;
    const int inner0 = area.x0 + Before, inner1 = area.x1 - After;
    auto edge = [&](int x, int y) {
        int sum = 0;
        for (int k = std::max(area.x0, x - Before); k <= std::min(area.x1 - 1, x + After); ++k)
            sum += area.At(k, y, from);
        area.At(x, y, to) = static_cast<std::uint8_t>((sum + taps / 2) / taps);
    };
    for (int y = area.y0; y < area.y1; ++y) {
        const std::uint8_t* in = &area.At(0, y, from);
        std::uint8_t* out = &area.At(0, y, to);
        int x = area.x0;
        for (; x < std::min(inner0, area.x1); ++x)
            edge(x, y);
        for (; x < inner1; ++x) {
            int sum = 0;
            for (int k = -Before; k <= After; ++k)
                sum += in[(x + k) * 3];
            out[x * 3] = static_cast<std::uint8_t>((sum + taps / 2) / taps);
        }
        for (; x < area.x1; ++x)
            edge(x, y);
    }
}

// Rows are stored bottom-up: "before" (above) is the next row in memory.
template <int Before, int After>
void Vertical(const Area& area, int from, int to) {
    constexpr int taps = Before + After + 1;
    auto edge = [&](int x, int y) {
        int sum = 0;
        for (int k = std::max(area.y0, y - After); k <= std::min(area.y1 - 1, y + Before); ++k)
            sum += area.At(x, k, from);
        area.At(x, y, to) = static_cast<std::uint8_t>((sum + taps / 2) / taps);
    };
    for (int y = area.y0; y < area.y1; ++y) {
        if (y - After < area.y0 || y + Before >= area.y1) {
            for (int x = area.x0; x < area.x1; ++x)
                edge(x, y);
            continue;
        }
        std::uint8_t* out = &area.At(0, y, to);
        for (int x = area.x0; x < area.x1; ++x) {
            int sum = 0;
            for (int k = -After; k <= Before; ++k)
                sum += area.At(x, y + k, from);
            out[x * 3] = static_cast<std::uint8_t>((sum + taps / 2) / taps);
        }
    }
}

} // namespace

void Shadow(std::uint8_t* shadow, int shadow_width, int shadow_height, const std::uint8_t* source,
            int source_width, int source_height, int offset_x, int offset_y, int /*opacity_mode*/,
            std::uint32_t transparent_color, int opacity_level, const std::uint8_t* opacity,
            int shadow_size, int /*reserved1*/, int /*reserved2*/,
            const TransparentColor* color_table, int color_count, int transparent_enabled) {
    if (!shadow || !source || shadow_width <= 0 || shadow_height <= 0 || source_width <= 0 ||
        source_height <= 0)
        return;
    shadow_size = std::clamp(shadow_size, 1, 4);
    const int spread = shadow_size == kShadowSameAsImage ? 0 : (shadow_size == kShadow3x3 ? 1 : 2);
    Area area{shadow,
              kernel::RowBytes(shadow_width),
              std::max(0, offset_x - spread),
              std::min(shadow_width, offset_x + source_width + spread),
              std::max(0, offset_y - spread),
              std::min(shadow_height, offset_y + source_height + spread)};
    if (area.x0 >= area.x1 || area.y0 >= area.y1) return;

    // Blue channel: the shape, the source's visibility at each pixel.
    const kernel::Transparency transparency(transparent_color, color_table, color_count,
                                            transparent_enabled);
    const std::uint16_t level = static_cast<std::uint16_t>(std::clamp(opacity_level, 0, 255));
    const int source_pitch = kernel::RowBytes(source_width);
    for (int y = area.y0; y < area.y1; ++y) {
        const int sy = y - offset_y;
        for (int x = area.x0; x < area.x1; ++x) {
            const int sx = x - offset_x;
            std::uint8_t v = 0;
            if (sx >= 0 && sx < source_width && sy >= 0 && sy < source_height) {
                const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(sy) * source_pitch + sx * 3;
                if (!transparency.Test(source + at))
                    v = static_cast<std::uint8_t>(opacity ? fixed::MulDiv255(opacity[at + 1], level)
                                                          : level);
            }
            area.At(x, y, 0) = v;
        }
    }
    int result = 0; // the channel holding the finished shadow
    switch (shadow_size) {
    case kShadow3x3:
        Horizontal<1, 1>(area, 0, 1);
        Vertical<1, 1>(area, 1, 2);
        result = 2;
        break;
    case kShadow3x3Plus:
        Horizontal<1, 1>(area, 0, 1);
        Vertical<1, 1>(area, 1, 2);
        Horizontal<1, 1>(area, 2, 0);
        Vertical<1, 1>(area, 0, 1);
        result = 1;
        break;
    case kShadow4x4:
        Horizontal<2, 1>(area, 0, 1); // reaches two pixels right, one left
        Vertical<2, 1>(area, 1, 2);   // and two down, one up
        result = 2;
        break;
    default:
        break;
    }
    for (int y = area.y0; y < area.y1; ++y) {
        for (int x = area.x0; x < area.x1; ++x) {
            const std::uint8_t v = area.At(x, y, result);
            area.At(x, y, 0) = area.At(x, y, 1) = area.At(x, y, 2) = v;
        }
    }
}

} // namespace tess
