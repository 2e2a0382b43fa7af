#include "imaging/kernels_reference.h"

#include "imaging/kernel_support.h"
#include "imaging/kernels.h"

#include <cstring>
#include <vector>

namespace tess::reference {

namespace {

using kernel::RowBytes;

std::uint8_t* PixelAt(std::uint8_t* base, int width, int x, int y_from_bottom) {
    return base + static_cast<std::ptrdiff_t>(y_from_bottom) * RowBytes(width) + x * 3;
}
const std::uint8_t* PixelAt(const std::uint8_t* base, int width, int x, int y_from_bottom) {
    return base + static_cast<std::ptrdiff_t>(y_from_bottom) * RowBytes(width) + x * 3;
}

} // namespace

void Cls(std::uint8_t* pixels, int width, int height, std::uint32_t color) {
    if (!pixels || width <= 0 || height <= 0) return;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            std::uint8_t* p = PixelAt(pixels, width, x, y);
            p[0] = static_cast<std::uint8_t>(color >> 16);
            p[1] = static_cast<std::uint8_t>(color >> 8);
            p[2] = static_cast<std::uint8_t>(color);
        }
    }
}

void ColorProcess(std::uint8_t* pixels, int width, int height, int code) {
    if (!pixels || width <= 0 || height <= 0) return;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            std::uint8_t* p = PixelAt(pixels, width, x, y);
            switch (code) {
            case kColorGrayscale:
                kernel::Recolor<kColorGrayscale>(p);
                break;
            case kColorSepia:
                kernel::Recolor<kColorSepia>(p);
                break;
            case kColorOldPhotograph:
                kernel::Recolor<kColorOldPhotograph>(p);
                break;
            case kColorBlueEnhancement:
                kernel::Recolor<kColorBlueEnhancement>(p);
                break;
            default:
                break;
            }
        }
    }
}

void DIB1624(std::uint8_t* buffer, int width, int height) {
    if (!buffer || width <= 0 || height <= 0) return;
    const int pitch16 = (width * 2 + 3) & ~3;
    std::vector<std::uint8_t> frame(buffer, buffer + static_cast<std::size_t>(pitch16) * height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const std::uint8_t* in = frame.data() + y * pitch16 + x * 2;
            const unsigned v = in[0] | (in[1] << 8);
            const unsigned c[3] = {v & 31, (v >> 5) & 31, (v >> 10) & 31};
            std::uint8_t* out = PixelAt(buffer, width, x, y);
            for (int k = 0; k < 3; ++k)
                out[k] = static_cast<std::uint8_t>((c[k] * 33) >> 2); // 5 bits repeated
        }
    }
}

void Blur(const std::uint8_t* source, std::uint8_t* destination, int height, int width,
          int radius) {
    if (!source || !destination || width <= 0 || height <= 0) return;
    radius = std::clamp(radius, 1, kMaxBlurRadius);
    const int area = (2 * radius + 1) * (2 * radius + 1);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            for (int c = 0; c < 3; ++c) {
                int sum = 0;
                for (int dy = -radius; dy <= radius; ++dy) {
                    for (int dx = -radius; dx <= radius; ++dx) {
                        sum += PixelAt(source, width, std::clamp(x + dx, 0, width - 1),
                                       std::clamp(y + dy, 0, height - 1))[c];
                    }
                }
                PixelAt(destination, width, x, y)[c] =
                    static_cast<std::uint8_t>((sum + area / 2) / area);
            }
        }
    }
}

void Diff(const std::uint8_t* current, const std::uint8_t* previous, std::uint8_t* difference,
          int width, int height, std::uint32_t* histogram) {
    if (!current || !previous || !difference || width <= 0 || height <= 0) return;
    if (histogram) std::fill(histogram, histogram + 256, 0u);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            for (int c = 0; c < 3; ++c) {
                int v = 128 + PixelAt(current, width, x, y)[c] - PixelAt(previous, width, x, y)[c];
                v = std::clamp(v, 0, 255);
                PixelAt(difference, width, x, y)[c] = static_cast<std::uint8_t>(v);
                if (histogram) ++histogram[v];
            }
        }
    }
}

DiffCounts DiffCount(const std::uint8_t* current, const std::uint8_t* previous, int width,
                     int height, int darker_limit, int brighter_limit) {
    DiffCounts out;
    if (!current || !previous || width <= 0 || height <= 0) return out;
    darker_limit = std::clamp(darker_limit, 0, 255);
    brighter_limit = std::clamp(brighter_limit, 0, 255);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            for (int c = 0; c < 3; ++c) {
                int v = 128 + PixelAt(current, width, x, y)[c] - PixelAt(previous, width, x, y)[c];
                v = std::clamp(v, 0, 255);
                if (v <= darker_limit) ++out.count;
                if (v >= brighter_limit) ++out.count;
                out.lowest = std::min(out.lowest, v);
                out.highest = std::max(out.highest, v);
            }
        }
    }
    return out;
}

void Rotate(const std::uint8_t* source, int source_width, int source_height,
            std::uint8_t* destination, int destination_width, int destination_height, int angle,
            int shear_a, int shear_b, int /*reserved*/) {
    if (!source || !destination || source_width <= 0 || source_height <= 0 ||
        destination_width <= 0 || destination_height <= 0)
        return;
    const int turns = kernel::QuarterTurns(angle, shear_b);
    const int tw = turns % 2 ? source_height : source_width;
    const int th = turns % 2 ? source_width : source_height;
    const int cx = tw / 2, cy = th / 2;
    const int dcx = cx + (destination_width - tw) / 2, dcy = cy + (destination_height - th) / 2;
    for (int row = 0; row < destination_height; ++row) {
        for (int column = 0; column < destination_width; ++column) {
            // Undo the shears: horizontal, vertical, horizontal, in reverse.
            const int y2 = row - dcy;
            const int x1 = column - dcx - kernel::ShiftOf(std::int64_t{shear_a} * y2);
            const int y = y2 - kernel::ShiftOf(std::int64_t{shear_b} * x1);
            const int x = x1 - kernel::ShiftOf(std::int64_t{shear_a} * y);
            const int tx = x + cx, ty = y + cy;
            if (tx < 0 || tx >= tw || ty < 0 || ty >= th) continue;
            int sx = tx, sy = ty; // from the top-left corner of the source
            if (turns == 1) sx = ty, sy = source_height - 1 - tx;
            if (turns == 2) sx = source_width - 1 - tx, sy = source_height - 1 - ty;
            if (turns == 3) sx = source_width - 1 - ty, sy = tx;
            std::memcpy(
                PixelAt(destination, destination_width, column, destination_height - 1 - row),
                PixelAt(source, source_width, sx, source_height - 1 - sy), 3);
        }
    }
}

void Shadow(std::uint8_t* shadow, int shadow_width, int shadow_height, const std::uint8_t* source,
            int source_width, int source_height, int offset_x, int offset_y, int /*opacity_mode*/,
            std::uint32_t transparent_color, int opacity_level, const std::uint8_t* opacity,
            int shadow_size, int /*reserved1*/, int /*reserved2*/,
            const TransparentColor* color_table, int color_count, int transparent_enabled) {
    if (!shadow || !source || shadow_width <= 0 || shadow_height <= 0 || source_width <= 0 ||
        source_height <= 0)
        return;
    shadow_size = std::clamp(shadow_size, 1, 4);
    const int spread = shadow_size == 1 ? 0 : (shadow_size == 2 ? 1 : 2);
    const int x0 = std::max(0, offset_x - spread);
    const int x1 = std::min(shadow_width, offset_x + source_width + spread);
    const int y0 = std::max(0, offset_y - spread);
    const int y1 = std::min(shadow_height, offset_y + source_height + spread);
    if (x0 >= x1 || y0 >= y1) return;
    const int w = x1 - x0, h = y1 - y0;
    // Plane indexed [row from the top][column] over the work area.
    using Plane = std::vector<std::vector<int>>;
    Plane shape(h, std::vector<int>(w, 0));
    const kernel::Transparency transparency(transparent_color, color_table, color_count,
                                            transparent_enabled);
    const int level = std::clamp(opacity_level, 0, 255);
    for (int r = 0; r < h; ++r) {
        for (int c = 0; c < w; ++c) {
            const int sx = x0 + c - offset_x, sy = y1 - 1 - r - offset_y; // sy bottom-up
            if (sx < 0 || sx >= source_width || sy < 0 || sy >= source_height) continue;
            const std::uint8_t* p = PixelAt(source, source_width, sx, sy);
            if (transparency.Test(p)) continue;
            shape[r][c] = opacity
                              ? fixed::MulDiv255(PixelAt(opacity, source_width, sx, sy)[1], level)
                              : level;
        }
    }
    // A box of `left` + 1 + `right` taps across, or `up` + 1 + `down` taps down, zero outside.
    auto across = [&](const Plane& in, int left, int right) {
        Plane out(h, std::vector<int>(w));
        for (int r = 0; r < h; ++r) {
            for (int c = 0; c < w; ++c) {
                int sum = 0;
                for (int k = c - left; k <= c + right; ++k)
                    sum += (k >= 0 && k < w) ? in[r][k] : 0;
                out[r][c] = (sum + (left + right + 1) / 2) / (left + right + 1);
            }
        }
        return out;
    };
    auto down = [&](const Plane& in, int up, int below) {
        Plane out(h, std::vector<int>(w));
        for (int r = 0; r < h; ++r) {
            for (int c = 0; c < w; ++c) {
                int sum = 0;
                for (int k = r - up; k <= r + below; ++k)
                    sum += (k >= 0 && k < h) ? in[k][c] : 0;
                out[r][c] = (sum + (up + below + 1) / 2) / (up + below + 1);
            }
        }
        return out;
    };
    Plane result = shape;
    if (shadow_size == kShadow3x3) result = down(across(shape, 1, 1), 1, 1);
    if (shadow_size == kShadow3x3Plus)
        result = down(across(down(across(shape, 1, 1), 1, 1), 1, 1), 1, 1);
    if (shadow_size == kShadow4x4) result = down(across(shape, 2, 1), 2, 1); // reaches down-right
    for (int r = 0; r < h; ++r) {
        for (int c = 0; c < w; ++c)
            std::memset(PixelAt(shadow, shadow_width, x0 + c, y1 - 1 - r), result[r][c], 3);
    }
}

void Merge(std::uint8_t* destination, int destination_width, int destination_height,
           const std::uint8_t* source, int source_width, int source_height, int x, int y,
           int opacity_mode, std::uint32_t transparent_color, int opacity_level,
           const std::uint8_t* opacity, int /*reserved1*/, int /*reserved2*/,
           const TransparentColor* color_table, int color_count, int transparent_enabled) {
    if (!destination || !source || destination_width <= 0 || destination_height <= 0 ||
        source_width <= 0 || source_height <= 0)
        return;
    const kernel::Transparency transparency(transparent_color, color_table, color_count,
                                            transparent_enabled);
    const std::uint16_t level = static_cast<std::uint16_t>(std::clamp(opacity_level, 0, 255));
    for (int sy = 0; sy < source_height; ++sy) {
        for (int sx = 0; sx < source_width; ++sx) {
            const int dx = x + sx, dy = y + sy;
            if (dx < 0 || dx >= destination_width || dy < 0 || dy >= destination_height) continue;
            const std::uint8_t* s = PixelAt(source, source_width, sx, sy);
            if (transparency.Test(s)) continue;
            std::uint8_t* d = PixelAt(destination, destination_width, dx, dy);
            for (int c = 0; c < 3; ++c) {
                const std::uint16_t a =
                    opacity ? fixed::MulDiv255(PixelAt(opacity, source_width, sx, sy)[c], level)
                            : level;
                if (opacity_mode == kOpacityAdditive)
                    d[c] = fixed::AddScaled(s[c], d[c], a);
                else if (opacity_mode == kOpacityNegative)
                    d[c] = fixed::SubtractScaled(s[c], d[c], a);
                else
                    d[c] = fixed::Mix(s[c], d[c], a);
            }
        }
    }
}

} // namespace tess::reference
