#pragma once

#include <cmath>

namespace tess {

// Clamps a value in place; setters clamp rather than reject.
template <typename T, typename Lo, typename Hi>
void Limit(T& value, Lo minimum, Hi maximum) {
    if (value < minimum) value = static_cast<T>(minimum);
    if (value > maximum) value = static_cast<T>(maximum);
}

// The fractional part, such as the time of day of a date.
inline double FP(double value) {
    return value - std::floor(value);
}

} // namespace tess
