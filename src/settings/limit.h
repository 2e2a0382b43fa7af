#pragma once

#include <cmath>
#include <cstdint>
#include <utility>

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

// Stores a new value and tells whether it differs from the old one, so that a setter marks
// its object as needing saving only on a real change.
template <typename T, typename V>
bool StoreIfChanged(T& field, V&& value) {
    if (field == value) return false;
    field = std::forward<V>(value);
    return true;
}

// The same for a setting with a range: the value is clamped first, so writing something out
// of range that clamps to the stored value changes nothing.
template <typename T, typename Lo, typename Hi>
bool StoreLimited(T& field, T value, Lo minimum, Hi maximum) {
    Limit(value, minimum, maximum);
    return StoreIfChanged(field, value);
}

// A mode kept as an enum and given as its number, from a file or a script: numbers past
// either end take the nearest mode.
template <typename E>
bool StoreMode(E& field, std::int64_t number, E last) {
    Limit(number, std::int64_t{0}, static_cast<std::int64_t>(last));
    return StoreIfChanged(field, static_cast<E>(number));
}

} // namespace tess
