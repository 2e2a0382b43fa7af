#pragma once

// The row loops behind the fast Rotate, shared by its scalar and AVX2 files and reachable by
// the tests, which pin each loop against the reference. Not for callers of the kernels.

#include <cstddef>
#include <cstdint>

namespace tess::kernel {

// What every destination row needs to find its source pixels.
struct RotateFrame {
    const std::uint8_t* source = nullptr;
    std::ptrdiff_t source_bytes = 0;                   // RowBytes(source_width) * source_height
    std::ptrdiff_t origin = 0, step_x = 0, step_y = 0; // TurnedSource
    int turned_width = 0, turned_height = 0;
    int center_x = 0, center_y = 0; // of the turned picture
    int shear_a = 0, shear_b = 0;
};

// Fills `count` destination pixels from `out` on, the first one at x1 (after undoing the last
// horizontal shear) on the row y2; pixels whose source lies outside are left as they were.
using RotateRowFn = void (*)(const RotateFrame& frame, std::uint8_t* out, int x1, int y2,
                             int count);

void RotateRowScalar(const RotateFrame& frame, std::uint8_t* out, int x1, int y2, int count);
#if defined(__x86_64__)
// Only for machines with AVX2; the sums stay in 32-bit lanes (see RotateFitsInt32).
void RotateRowAvx2(const RotateFrame& frame, std::uint8_t* out, int x1, int y2, int count);
#endif

// True when every sum the AVX2 loop would form for this call surely fits in 32 bits.
bool RotateFitsInt32(int source_width, int source_height, int destination_width,
                     int destination_height, int angle, int shear_a, int shear_b);

enum class RotateLoop { kFastest, kScalar };

// tess::Rotate with the row loop named: kFastest is the one Rotate takes on this machine.
void RotateWith(RotateLoop loop, const std::uint8_t* source, int source_width, int source_height,
                std::uint8_t* destination, int destination_width, int destination_height, int angle,
                int shear_a, int shear_b);

// True when kFastest means the AVX2 loop here.
bool RotateHasAvx2();

} // namespace tess::kernel
