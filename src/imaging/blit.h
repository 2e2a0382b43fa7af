#pragma once

// Copies and stretches between whole bitmaps, the work a desktop program hands to its
// window system's blits. Positions here are counted from the top-left corner, as a user
// sees the picture; the bottom-up storage is the DIB's business.

#include "imaging/dib.h"

namespace tess {

// How a stretch makes its pixels (the numbers are the classic stretch-mode values).
enum class StretchMode {
    ColorOnColor = 3, // each pixel taken from the nearest source pixel: dropped or repeated
    Halftone = 4,     // shrinking averages the covered area, enlarging interpolates linearly
};

// Copies a width x height rectangle of `src` at (src_x, src_y) to `dst` at (dst_x, dst_y).
// Whatever falls outside either bitmap is left out.
void CopyRect(DIB& dst, int dst_x, int dst_y, const DIB& src, int src_x, int src_y, int width,
              int height);

// The whole of `src` resized into the whole of `dst` (both must have their size already).
void StretchCopy(DIB& dst, const DIB& src, StretchMode mode);

} // namespace tess
