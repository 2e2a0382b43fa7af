#include "time/local_time.h"

#include "settings/vb_date.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace tess {

namespace {

constexpr double kSecondsPerDay = 86400.0;
constexpr long kUnixEpochDate = 25569; // 1970-01-01 as a date

// Seconds east of UTC in force at `t`; 0 when the C library cannot say.
long OffsetAt(time_t t) {
    std::tm tm{};
    return localtime_r(&t, &tm) ? tm.tm_gmtoff : 0;
}

// The offset from UTC of the last moment turned into a date. In the hour that the autumn
// change repeats, a date names two moments; the one whose offset matches the last clock
// reading is meant, so a tick in the second pass reads winter time.
thread_local long last_offset = 0;
thread_local time_t last_moment = 0;
thread_local bool have_last_offset = false;

} // namespace

double DateFromTimespec(const timespec& time) {
    std::tm tm{};
    const time_t seconds = time.tv_sec;
    if (!localtime_r(&seconds, &tm)) { // only for times far outside any calendar we use
        return kUnixEpochDate +
               (static_cast<double>(time.tv_sec) + time.tv_nsec / 1e9) / kSecondsPerDay;
    }
    last_offset = tm.tm_gmtoff;
    last_moment = seconds;
    have_last_offset = true;
    // One read of the system clock gives whole seconds and their fraction together, so the
    // second cannot tick over between reading the two parts.
    const double day = DateSerial(tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday);
    const double second_of_day = tm.tm_hour * 3600.0 + tm.tm_min * 60.0 + tm.tm_sec;
    return (day * kSecondsPerDay + second_of_day + time.tv_nsec / 1e9) / kSecondsPerDay;
}

timespec TimespecFromDate(double date) {
    const double day = std::floor(date);
    // A date near today carries about a microsecond of precision; rounding to it keeps
    // 02:30:00 from coming out as 02:29:59.999999.
    const long long micros = std::llround((date - day) * kSecondsPerDay * 1e6);
    const long long whole = micros / 1000000;
    const long nanos = static_cast<long>(micros % 1000000) * 1000;
    // The wall-clock reading as if local time were UTC; the local offset then has to be
    // found, and near a daylight-saving change there may be two answers or none.
    const auto wall =
        static_cast<time_t>((day - kUnixEpochDate) * kSecondsPerDay) + static_cast<time_t>(whole);
    const long before = OffsetAt(wall - 86400);
    const long after = OffsetAt(wall + 86400);
    const time_t with_before = wall - before;
    const time_t with_after = wall - after;
    const bool before_fits = OffsetAt(with_before) == before;
    const bool after_fits = OffsetAt(with_after) == after;
    time_t t = with_before; // also for a skipped wall-clock time: counted on from the change
    if (before_fits && after_fits) {
        // A repeated hour: the pass the clock was last read in, else the first.
        const bool read_in_the_hour =
            have_last_offset && std::llabs(static_cast<long long>(last_moment - with_after)) <=
                                    static_cast<long long>(std::labs(before - after));
        if (read_in_the_hour && last_offset == after)
            t = with_after;
        else
            t = std::min(with_before, with_after);
    } else if (after_fits) {
        t = with_after;
    }
    return timespec{t, nanos};
}

bool LocalTmAt(double date, std::tm& out) {
    const time_t t = TimespecFromDate(date).tv_sec;
    return localtime_r(&t, &out) != nullptr;
}

timespec SystemTimeNow() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return now;
}

} // namespace tess
