#include "imaging/kernel_support.h"
#include "imaging/kernels.h"

namespace tess {

// Each destination pixel asks where it came from by undoing the three shears in reverse
// order. Each shear moves whole rows or columns by whole pixels, so the three together move
// every source pixel to exactly one destination pixel: no holes, no doubles.
void Rotate(const std::uint8_t* source, int source_width, int source_height,
            std::uint8_t* destination, int destination_width, int destination_height, int angle,
            int shear_a, int shear_b, int /*reserved*/) {
    if (!source || !destination || source_width <= 0 || source_height <= 0 ||
        destination_width <= 0 || destination_height <= 0)
        return;
    const kernel::TurnedSource turned(source_width, source_height,
                                      kernel::QuarterTurns(angle, shear_b));
    const int center_x = turned.width / 2, center_y = turned.height / 2;
    const int dest_center_x = center_x + (destination_width - turned.width) / 2;
    const int dest_center_y = center_y + (destination_height - turned.height) / 2;
    const std::ptrdiff_t pitch = kernel::RowBytes(destination_width);
    const std::uint8_t* origin = source + turned.origin;
    const std::int64_t a = shear_a, b = shear_b;

    for (int row = 0; row < destination_height; ++row) { // row counted from the top
        std::uint8_t* out = destination + (destination_height - 1 - row) * pitch;
        const int y2 = row - dest_center_y;
        const int shift2 = kernel::ShiftOf(a * y2);
        int x1 = -dest_center_x - shift2; // undoes the last horizontal shear
        std::int64_t bx = b * x1 + 32768; // b * x1, rounded, kept as we step x1
        for (int column = 0; column < destination_width; ++column, ++x1, bx += b, out += 3) {
            const int y = y2 - static_cast<int>(bx >> 16); // undoes the vertical shear
            const int x = x1 - kernel::ShiftOf(a * y);     // undoes the first horizontal shear
            const unsigned tx = static_cast<unsigned>(x + center_x);
            const unsigned ty = static_cast<unsigned>(y + center_y);
            if (tx >= static_cast<unsigned>(turned.width) ||
                ty >= static_cast<unsigned>(turned.height))
                continue;
            const std::uint8_t* p = origin + tx * turned.step_x + ty * turned.step_y;
            out[0] = p[0];
            out[1] = p[1];
            out[2] = p[2];
        }
    }
}

} // namespace tess
