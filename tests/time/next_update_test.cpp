#include "settings/vb_date.h"
#include "support/scoped_time_zone.h"
#include "time/dates.h"
#include "time/local_time.h"
#include "time/next_update.h"

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace tess {
namespace {

using test::At;
using test::SecondsBetween;
using test::Utc;

// Due times are compared to a microsecond: well below the hundredths the grid is built on.
constexpr double kTolerance = 1e-6;

TEST(CalcNextUpdate, OnAndJustBeforeGridPoints) {
    const double noon = At(2024, 5, 6, 12, 0, 0);
    const double next_minute = At(2024, 5, 6, 12, 1, 0);
    // A time on a grid point is already served: the next point is due.
    EXPECT_NEAR(SecondsBetween(next_minute, CalcNextUpdate(60, 0, noon)), 0, kTolerance);
    EXPECT_NEAR(SecondsBetween(next_minute, CalcNextUpdate(60, 0, At(2024, 5, 6, 12, 0, 59.99))), 0,
                kTolerance);
    EXPECT_NEAR(SecondsBetween(noon, CalcNextUpdate(60, 0, At(2024, 5, 6, 11, 59, 59.999))), 0,
                kTolerance);
    // Rate 0: due at every request.
    EXPECT_EQ(CalcNextUpdate(0, 0, noon), noon);
    EXPECT_EQ(CalcNextUpdate(0, 1800, noon + 0.123), noon + 0.123);
}

TEST(CalcNextUpdate, BaseTimesShiftTheGrid) {
    EXPECT_NEAR(SecondsBetween(At(2024, 5, 6, 10, 30, 0),
                               CalcNextUpdate(3600, 1800, At(2024, 5, 6, 10, 0, 0))),
                0, kTolerance);
    EXPECT_NEAR(SecondsBetween(At(2024, 5, 6, 11, 30, 0),
                               CalcNextUpdate(3600, 1800, At(2024, 5, 6, 10, 30, 0))),
                0, kTolerance);
    // A day's rate with a base of 06:15 is a daily 06:15.
    EXPECT_NEAR(SecondsBetween(At(2024, 5, 7, 6, 15, 0),
                               CalcNextUpdate(86400, 22500, At(2024, 5, 6, 6, 15, 0))),
                0, kTolerance);
}

TEST(CalcNextUpdate, FractionalRatesStepThroughEveryGridPoint) {
    // 30 frames a second: chaining due times must neither stall on a point (rounding leaves
    // each result a hair below its grid point) nor skip one.
    const double start = At(2024, 5, 6, 12, 0, 0);
    double due = start;
    for (int frame = 1; frame <= 300; ++frame) {
        due = CalcNextUpdate(1.0 / 30, 0, due);
        ASSERT_NEAR(SecondsBetween(start, due), frame / 30.0, 1e-5) << "frame " << frame;
    }
}

TEST(CalcNextUpdate, ResultIsTheFirstGridPointAfterNow) {
    std::mt19937 random(20240506);
    std::uniform_real_distribution<double> day_fraction(0, 1);
    const double day = DateSerial(2024, 12, 31);
    for (double rate : {0.5, 1.0 / 30, 7.0, 60.0, 86400.0, 90000.0}) {
        for (double base : {0.0, 1800.0, 13.25}) {
            for (int i = 0; i < 200; ++i) {
                const double now = day + day_fraction(random); // some cross midnight
                const double due = CalcNextUpdate(rate, base, now);
                const double ahead = SecondsBetween(now, due);
                ASSERT_GT(ahead, 0) << rate << " " << base << " " << now;
                ASSERT_LE(ahead, rate + 1e-5) << rate << " " << base << " " << now;
                const double steps = (due * 86400 - base) / rate;
                ASSERT_NEAR(steps, std::round(steps), 1e-4 / rate) << rate << " " << base;
            }
        }
    }
    // Rates that divide a day meet at midnight.
    EXPECT_NEAR(
        SecondsBetween(DateSerial(2025, 1, 1), CalcNextUpdate(60, 0, At(2024, 12, 31, 23, 59, 30))),
        0, kTolerance);
    EXPECT_NEAR(SecondsBetween(DateSerial(2025, 1, 1),
                               CalcNextUpdate(1.0 / 30, 0, At(2024, 12, 31, 23, 59, 59.99))),
                0, 1e-5);
}

// Drives a minute-rate output through real seconds of system time, as the update loop does:
// whenever the local clock reaches the due time it runs and asks for the next one. Returns
// the local wall-clock times (and the UTC minute) at which it ran.
std::vector<std::string> RunEveryMinute(timespec from, int seconds) {
    std::vector<std::string> runs;
    double due = CalcNextUpdate(60, 0, DateFromTimespec(from));
    for (int i = 0; i <= seconds; ++i) {
        const timespec t{from.tv_sec + i, 0};
        const double now = DateFromTimespec(t);
        if (now < due) continue;
        const DateFields f = SplitDate(now);
        runs.push_back(std::to_string(f.hour) + ":" + std::to_string(f.minute) + ":" +
                       std::to_string(f.second) + " at UTC+" +
                       std::to_string((t.tv_sec % 86400) / 60) + "min");
        due = CalcNextUpdate(60, 0, now);
    }
    return runs;
}

TEST(CalcNextUpdate, TheGridFollowsTheLocalWallClockAcrossDaylightSavingChanges) {
    test::ScopedTimeZone tz(test::kCentralEurope);
    // Spring: 02:00 never comes; the clock shows 03:00 a second after 01:59:59 and the
    // output due at 02:00 runs then.
    EXPECT_EQ(RunEveryMinute(Utc(2024, 3, 31, 0, 57, 30), 5 * 60),
              (std::vector<std::string>{"1:58:0 at UTC+58min", "1:59:0 at UTC+59min",
                                        "3:0:0 at UTC+60min", "3:1:0 at UTC+61min",
                                        "3:2:0 at UTC+62min"}));
    // Autumn: the clock goes back from 03:00 to 02:00 while 03:00 is due, so the output waits
    // for the wall clock to show 03:00 again, an hour later.
    EXPECT_EQ(RunEveryMinute(Utc(2024, 10, 27, 0, 57, 30), 65 * 60),
              (std::vector<std::string>{"2:58:0 at UTC+58min", "2:59:0 at UTC+59min",
                                        "3:0:0 at UTC+120min", "3:1:0 at UTC+121min",
                                        "3:2:0 at UTC+122min"}));
}

} // namespace
} // namespace tess
