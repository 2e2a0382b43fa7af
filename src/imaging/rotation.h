#pragma once

// What a caller of the Rotate kernel works out first: the kernel's angle and shear factors
// for an angle in degrees, and the size of the bitmap that holds the result.

namespace tess {

struct RotationParams {
    int angle = 0;   // whole degrees
    int shear_a = 0; // 16.16: -tan(rest / 2)
    int shear_b = 0; // 16.16: sin(rest)
};

// `degrees` in 0..360; the rest is what remains after taking 90 away while above 45.
RotationParams RotationFor(float degrees);

struct RotatedSize {
    int width = 0;
    int height = 0;
};

// The bounding box of the sheared corners plus 2 pixels each way, never smaller than the
// quarter-turned picture, and differing from it by an even number so both centres fall on
// the same pixel. Whole quarter turns (no shear) fit exactly: 90 degrees swaps the sides.
RotatedSize RotatedSizeFor(int width, int height, const RotationParams& params);

} // namespace tess
