#include "imaging/rotation.h"

#include "imaging/kernel_support.h"

#include <algorithm>
#include <cmath>

#include <climits>

namespace tess {

namespace {
constexpr double kDegreesPerRadian = 57.295779513;
}

RotationParams RotationFor(float degrees) {
    double rest = degrees;
    while (rest > 45)
        rest -= 90;
    const double radians = rest / kDegreesPerRadian;
    RotationParams params;
    params.angle = static_cast<int>(degrees);
    params.shear_a = static_cast<int>(-std::tan(radians / 2) * 65536);
    params.shear_b = static_cast<int>(std::sin(radians) * 65536);
    return params;
}

RotatedSize RotatedSizeFor(int width, int height, const RotationParams& params) {
    const bool swap = kernel::QuarterTurns(params.angle, params.shear_b) % 2 != 0;
    const int tw = swap ? height : width, th = swap ? width : height;
    if (params.shear_a == 0 && params.shear_b == 0) return {tw, th};
    // The corners of the turned picture, around the centre the kernel turns about, sheared
    // forwards exactly as the kernel's inverse undoes them.
    const int cx = tw / 2, cy = th / 2;
    int min_x = INT_MAX, max_x = INT_MIN, min_y = INT_MAX, max_y = INT_MIN;
    for (int corner = 0; corner < 4; ++corner) {
        const int x = (corner & 1 ? tw - 1 : 0) - cx, y = (corner & 2 ? th - 1 : 0) - cy;
        const int x1 = x + kernel::ShiftOf(std::int64_t{params.shear_a} * y);
        const int y2 = y + kernel::ShiftOf(std::int64_t{params.shear_b} * x1);
        const int x3 = x1 + kernel::ShiftOf(std::int64_t{params.shear_a} * y2);
        min_x = std::min(min_x, x3), max_x = std::max(max_x, x3);
        min_y = std::min(min_y, y2), max_y = std::max(max_y, y2);
    }
    // Grow both sides alike by whatever the farther side needs, plus one pixel: the sides
    // then differ from the turned picture's by an even number and the centres coincide.
    const int grow_x = std::max({-min_x - cx, max_x - (tw - 1 - cx), 0}) + 1;
    const int grow_y = std::max({-min_y - cy, max_y - (th - 1 - cy), 0}) + 1;
    return {tw + 2 * grow_x, th + 2 * grow_y};
}

} // namespace tess
