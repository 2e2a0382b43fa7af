#pragma once

#include "settings/vb_date.h"

#include <ctime>

namespace tess::test {

inline constexpr double kSecond = 1.0 / 86400;

// A local date from its calendar fields; seconds may carry a fraction.
inline double At(int year, int month, int day, int hour, int minute, double second) {
    return DateSerial(year, month, day) + (hour * 3600.0 + minute * 60.0 + second) / 86400.0;
}

// The system time of a UTC calendar reading.
inline timespec Utc(int year, int month, int day, int hour, int minute, int second,
                    long nanos = 0) {
    const long days = DaysFromCivil(year, month, day);
    return timespec{static_cast<time_t>(days * 86400L + hour * 3600L + minute * 60L + second),
                    nanos};
}

// Seconds between two dates, for comparisons in units people think in.
inline double SecondsBetween(double from, double to) {
    return (to - from) * 86400.0;
}

} // namespace tess::test
