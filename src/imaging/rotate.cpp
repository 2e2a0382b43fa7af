#include "imaging/kernel_support.h"
#include "imaging/kernels.h"
#include "imaging/rotate_rows.h"

#include <climits>

namespace tess {
namespace kernel {

void RotateRowScalar(const RotateFrame& frame, std::uint8_t* out, int x1, int y2, int count) {
    const std::uint8_t* origin = frame.source + frame.origin;
    const std::int64_t a = frame.shear_a, b = frame.shear_b;
    std::int64_t bx = b * x1 + 32768; // b * x1, rounded, kept as we step x1
    for (; count > 0; --count, ++x1, bx += b, out += 3) {
        const int y = y2 - static_cast<int>(bx >> 16); // undoes the vertical shear
        const int x = x1 - ShiftOf(a * y);             // undoes the first horizontal shear
        const unsigned tx = static_cast<unsigned>(x + frame.center_x);
        const unsigned ty = static_cast<unsigned>(y + frame.center_y);
        if (tx >= static_cast<unsigned>(frame.turned_width) ||
            ty >= static_cast<unsigned>(frame.turned_height))
            continue;
        const std::uint8_t* p = origin + tx * frame.step_x + ty * frame.step_y;
        out[0] = p[0];
        out[1] = p[1];
        out[2] = p[2];
    }
}

// Bounds every sum of the AVX2 loop from the extreme rows and columns; any sum that could
// leave 32 bits sends the whole call to the scalar loop, which works in 64.
bool RotateFitsInt32(int source_width, int source_height, int destination_width,
                     int destination_height, int angle, int shear_a, int shear_b) {
    constexpr std::int64_t kMax = INT32_MAX;
    const TurnedSource turned(source_width, source_height, QuarterTurns(angle, shear_b));
    const std::int64_t center_x = turned.width / 2, center_y = turned.height / 2;
    const std::int64_t dest_center_x = center_x + (destination_width - turned.width) / 2;
    const std::int64_t dest_center_y = center_y + (destination_height - turned.height) / 2;
    const std::int64_t a = std::abs(std::int64_t{shear_a}), b = std::abs(std::int64_t{shear_b});
    // +1 for a centre beyond the last row, +1 for each rounding.
    const std::int64_t y2 =
        std::max(std::abs(dest_center_y), std::abs(destination_height - dest_center_y)) + 1;
    const std::int64_t x1 =
        std::max(std::abs(dest_center_x), std::abs(destination_width - dest_center_x)) +
        (a * y2 >> 16) + 2;
    if (x1 > kMax || b * x1 + 32768 > kMax) return false;
    const std::int64_t y = y2 + (b * x1 >> 16) + 1;
    if (y > kMax || a * y + 32768 > kMax) return false;
    const std::int64_t x = x1 + (a * y >> 16) + 1;
    const std::int64_t source_bytes = std::int64_t{RowBytes(source_width)} * source_height;
    return x + center_x <= kMax && y + center_y <= kMax && source_bytes <= kMax;
}

namespace {

RotateRowFn FastestRow() {
#if defined(__x86_64__)
    static const bool avx2 = __builtin_cpu_supports("avx2");
    if (avx2) return RotateRowAvx2;
#endif
    return RotateRowScalar;
}

} // namespace

bool RotateHasAvx2() {
    return FastestRow() != RotateRowScalar;
}

// Each destination pixel asks where it came from by undoing the three shears in reverse
// order. Each shear moves whole rows or columns by whole pixels, so the three together move
// every source pixel to exactly one destination pixel: no holes, no doubles.
void RotateWith(RotateLoop loop, const std::uint8_t* source, int source_width, int source_height,
                std::uint8_t* destination, int destination_width, int destination_height, int angle,
                int shear_a, int shear_b) {
    if (!source || !destination || source_width <= 0 || source_height <= 0 ||
        destination_width <= 0 || destination_height <= 0)
        return;
    const TurnedSource turned(source_width, source_height, QuarterTurns(angle, shear_b));
    RotateFrame frame;
    frame.source = source;
    frame.source_bytes = std::ptrdiff_t{RowBytes(source_width)} * source_height;
    frame.origin = turned.origin, frame.step_x = turned.step_x, frame.step_y = turned.step_y;
    frame.turned_width = turned.width, frame.turned_height = turned.height;
    frame.center_x = turned.width / 2, frame.center_y = turned.height / 2;
    frame.shear_a = shear_a, frame.shear_b = shear_b;
    const int dest_center_x = frame.center_x + (destination_width - turned.width) / 2;
    const int dest_center_y = frame.center_y + (destination_height - turned.height) / 2;

    RotateRowFn row_loop = RotateRowScalar;
    if (loop == RotateLoop::kFastest &&
        RotateFitsInt32(source_width, source_height, destination_width, destination_height, angle,
                        shear_a, shear_b))
        row_loop = FastestRow();

    const std::ptrdiff_t pitch = RowBytes(destination_width);
    for (int row = 0; row < destination_height; ++row) { // row counted from the top
        std::uint8_t* out = destination + (destination_height - 1 - row) * pitch;
        const int y2 = row - dest_center_y;
        // Undoes the last horizontal shear for the row's first pixel.
        const int x1 = -dest_center_x - ShiftOf(std::int64_t{shear_a} * y2);
        row_loop(frame, out, x1, y2, destination_width);
    }
}

} // namespace kernel

void Rotate(const std::uint8_t* source, int source_width, int source_height,
            std::uint8_t* destination, int destination_width, int destination_height, int angle,
            int shear_a, int shear_b, int /*reserved*/) {
    kernel::RotateWith(kernel::RotateLoop::kFastest, source, source_width, source_height,
                       destination, destination_width, destination_height, angle, shear_a, shear_b);
}

} // namespace tess
