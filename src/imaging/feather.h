#pragma once

// The generated opacity of a feathered item: the item becomes a rounded rectangle whose
// edges fade out.
//
// Recipe: for each pixel centre, d is its distance inside the item's outline, where the
// outline is the item's rectangle with its corners rounded to `radius` (limited to half the
// shorter side). The opacity is d / `width`, clamped to 0..1, so it rises from transparent at
// the outline to opaque at `width` pixels in. A width of 0 gives a hard edge, smoothed over
// one pixel where the rounded corners cut through pixels.

#include "imaging/dib.h"

namespace tess {

// A grey bitmap of width x height, white where opaque.
void CreateFeatherOpacity(DIB& opacity, int width, int height, int feather_width,
                          int feather_radius);

} // namespace tess
