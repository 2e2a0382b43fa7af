#pragma once

// Where an item lands on a canvas. Settings files may hold any 32-bit location (and some hold
// -2147483648), while a bitmap is at most kMaxDimension wide; positions are held within a
// range that no sum of a position, an offset and a size can overflow, and that still lies
// wholly off any canvas.

#include "imaging/dib.h"

#include <algorithm>
#include <cstdint>

namespace tess {

inline constexpr std::int64_t kMaxPosition = std::int64_t{1} << 28;
static_assert(kMaxPosition > 4 * DIB::kMaxDimension);

inline int ClampPosition(std::int64_t value) {
    return static_cast<int>(std::clamp(value, -kMaxPosition, kMaxPosition));
}

} // namespace tess
