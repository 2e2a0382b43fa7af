#pragma once

// Where a rotated item goes so that the point chosen by its alignment stays put.

namespace tess {

// Alignment codes: which point of the item keeps its place when the item is rotated.
enum Alignment : int {
    kTopLeft = 0,
    kTopCenter = 1,
    kTopRight = 2,
    kMiddleLeft = 3,
    kCenter = 4,
    kMiddleRight = 5,
    kBottomLeft = 6,
    kBottomCenter = 7,
    kBottomRight = 8,
};

// For each anchor: where it lands in the rotated bitmap minus where it was on the unrotated
// item, in whole pixels. The item is drawn shifted back by these, so the anchor stays where
// the unrotated item had it.
struct AlignmentOffsets {
    int x[9] = {};
    int y[9] = {};
};

// width x height: the unrotated item; rotated_width x rotated_height: its rotated bitmap.
// Angle 0 gives all zeros.
AlignmentOffsets ComputeAlignmentOffsets(int width, int height, int rotated_width,
                                         int rotated_height, float degrees);

} // namespace tess
