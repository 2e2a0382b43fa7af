#include "imaging/text/text_style.h"

#include "settings/limit.h"

#include <cmath>

namespace tess {

int PixelsPerEm(double points) {
    if (std::isnan(points)) points = kMinFontPoints;
    Limit(points, kMinFontPoints, kMaxFontPoints);
    return static_cast<int>(std::lround(points * 96.0 / 72.0));
}

} // namespace tess
