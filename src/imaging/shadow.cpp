#include "imaging/kernel_support.h"
#include "imaging/kernels.h"

#include <vector>

namespace tess {

namespace {

// The shape at one byte a pixel over the work area, rows bottom-up as in the bitmap, with a
// margin of zeros around it as wide as any filter reaches. The filters then need no bounds
// tests, and their loops run over contiguous bytes, which the compiler vectorises.
class Plane {
public:
    static constexpr int kMargin = 2;

    Plane(int width, int height)
        : width_(width), height_(height), stride_(width + 2 * kMargin),
          bytes_(static_cast<std::size_t>(stride_) * (height + 2 * kMargin)) {}

    int Width() const { return width_; }
    int Height() const { return height_; }
    // Row y of the area, y from -kMargin to Height() + kMargin - 1; columns likewise.
    std::uint8_t* Row(int y) {
        return bytes_.data() + static_cast<std::ptrdiff_t>(y + kMargin) * stride_ + kMargin;
    }
    const std::uint8_t* Row(int y) const { return const_cast<Plane*>(this)->Row(y); }

private:
    int width_, height_, stride_;
    std::vector<std::uint8_t> bytes_;
};

// A box of Before + 1 + After taps along each row; "before" is to the left. Zeros beyond the
// area count as taps, so the edges fade.
template <int Before, int After>
TESS_VECTOR_CLONES void Horizontal(const Plane& in, Plane& out) {
    constexpr int taps = Before + After + 1;
    const int width = in.Width(); // kept in a register: byte stores may alias anything
    for (int y = 0; y < in.Height(); ++y) {
        const std::uint8_t* __restrict from = in.Row(y);
        std::uint8_t* __restrict to = out.Row(y);
        for (int x = 0; x < width; ++x) {
            unsigned sum = 0;
            for (int k = -Before; k <= After; ++k)
                sum += from[x + k];
            to[x] = static_cast<std::uint8_t>((sum + taps / 2) / taps);
        }
    }
}

// The same down the columns. Rows are stored bottom-up, so "before" (above) is row y + 1.
template <int Before, int After>
TESS_VECTOR_CLONES void Vertical(const Plane& in, Plane& out) {
    constexpr int taps = Before + After + 1;
    const int width = in.Width();
    for (int y = 0; y < in.Height(); ++y) {
        const std::uint8_t* rows[taps];
        for (int k = 0; k < taps; ++k)
            rows[k] = in.Row(y - After + k);
        std::uint8_t* __restrict to = out.Row(y);
        for (int x = 0; x < width; ++x) {
            unsigned sum = 0;
            for (int k = 0; k < taps; ++k)
                sum += rows[k][x];
            to[x] = static_cast<std::uint8_t>((sum + taps / 2) / taps);
        }
    }
}

// Each visible source pixel's weight: the level, times its opacity when there is a bitmap.
void DrawShape(Plane& shape, int area_x, int area_y, const std::uint8_t* source, int source_width,
               int source_height, int offset_x, int offset_y, const kernel::Transparency& visible,
               int level, const std::uint8_t* opacity) {
    const int source_pitch = kernel::RowBytes(source_width);
    const int x0 = std::max(0, offset_x - area_x);
    const int x1 = std::min(shape.Width(), offset_x + source_width - area_x);
    for (int y = 0; y < shape.Height(); ++y) {
        const int sy = area_y + y - offset_y;
        if (sy < 0 || sy >= source_height) continue;
        std::uint8_t* row = shape.Row(y);
        for (int x = x0; x < x1; ++x) {
            const std::ptrdiff_t at =
                static_cast<std::ptrdiff_t>(sy) * source_pitch + (area_x + x - offset_x) * 3;
            if (visible.Test(source + at)) continue;
            row[x] = static_cast<std::uint8_t>(opacity ? fixed::MulDiv255(opacity[at + 1], level)
                                                       : level);
        }
    }
}

// Grey: the finished shape in all three channels of the shadow bitmap.
TESS_VECTOR_CLONES void WriteGrey(const Plane& shape, std::uint8_t* shadow, int pitch, int x0,
                                  int y0) {
    const int width = shape.Width();
    for (int y = 0; y < shape.Height(); ++y) {
        const std::uint8_t* __restrict from = shape.Row(y);
        std::uint8_t* __restrict to = shadow + static_cast<std::ptrdiff_t>(y0 + y) * pitch + x0 * 3;
        for (int x = 0; x < width; ++x)
            to[x * 3] = to[x * 3 + 1] = to[x * 3 + 2] = from[x];
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
    const int x0 = std::max(0, offset_x - spread);
    const int x1 = std::min(shadow_width, offset_x + source_width + spread);
    const int y0 = std::max(0, offset_y - spread);
    const int y1 = std::min(shadow_height, offset_y + source_height + spread);
    if (x0 >= x1 || y0 >= y1) return;

    const kernel::Transparency transparency(transparent_color, color_table, color_count,
                                            transparent_enabled);
    Plane shape(x1 - x0, y1 - y0), spare(x1 - x0, y1 - y0);
    DrawShape(shape, x0, y0, source, source_width, source_height, offset_x, offset_y, transparency,
              std::clamp(opacity_level, 0, 255), opacity);
    switch (shadow_size) { // each pass pair leaves the result back in `shape`
    case kShadow3x3:
        Horizontal<1, 1>(shape, spare);
        Vertical<1, 1>(spare, shape);
        break;
    case kShadow3x3Plus:
        Horizontal<1, 1>(shape, spare);
        Vertical<1, 1>(spare, shape);
        Horizontal<1, 1>(shape, spare);
        Vertical<1, 1>(spare, shape);
        break;
    case kShadow4x4:
        Horizontal<2, 1>(shape, spare); // reaches two pixels right, one left
        Vertical<2, 1>(spare, shape);   // and two down, one up
        break;
    default:
        break;
    }
    WriteGrey(shape, shadow, kernel::RowBytes(shadow_width), x0, y0);
}

} // namespace tess
