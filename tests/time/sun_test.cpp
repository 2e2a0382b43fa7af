#include "settings/format.h"
#include "settings/vb_date.h"
#include "support/scoped_time_zone.h"
#include "time/clock.h"
#include "time/dates.h"
#include "time/sun.h"
#include "time/sun_event.h"
#include "time/sun_reference.h"
#include "time/time_zone.h"

#include <cmath>
#include <limits>
#include <numbers>

#include <gtest/gtest.h>

namespace tess {
namespace {

using test::At;

// Minutes between two times of day, the short way round midnight.
double MinutesApart(double a_minutes, double b_minutes) {
    double d = std::fmod(std::fabs(a_minutes - b_minutes), 1440);
    return std::min(d, 1440 - d);
}

struct Place {
    const char* name;
    double latitude, longitude, offset;
};

TEST(SunEventTime, AgreesWithAnIndependentComputationWithinTwoMinutes) {
    const Place places[] = {
        {"equator", 0, 30, 0},        {"52 N", 52, 5, 0},  {"52 N on CET", 52.52, 13.4, -1},
        {"45 S", -45, 170.5, -12},    {"63 N", 63, 10, 0}, {"63 S", -63, -60, 3},
        {"40 N, 74 W", 40.7, -74, 5},
    };
    const double days[] = {DateSerial(2024, 3, 20), DateSerial(2024, 6, 20),
                           DateSerial(2024, 9, 22), DateSerial(2024, 12, 21),
                           DateSerial(2031, 2, 14)};
    for (const Place& p : places) {
        for (double day : days) {
            for (bool sunrise : {true, false}) {
                const double ours =
                    SunEventTime(p.latitude, p.longitude, p.offset, sunrise ? "R" : "s", day + 0.7);
                EXPECT_GT(ours, 0);
                EXPECT_LT(ours, 1);
                // The computation runs on UTC days: where the event lies near midnight UTC
                // (far from Greenwich) it may be the neighbouring day's.
                double nearest = 1440;
                for (int neighbour = -1; neighbour <= 1; ++neighbour) {
                    double utc = 0;
                    ASSERT_TRUE(test::ReferenceSunEvent(p.latitude, p.longitude, day + neighbour,
                                                        sunrise, utc));
                    nearest = std::min(nearest, MinutesApart(ours * 1440, utc - p.offset * 60));
                }
                EXPECT_LT(nearest, 2) << p.name << (sunrise ? " sunrise " : " sunset ")
                                      << FormatDate(day, "yyyy-mm-dd");
            }
        }
    }
}

TEST(SunEventTime, NothingBeyondSixtyThreeDegreesOrWhenTheSunStaysUp) {
    const double june = DateSerial(2024, 6, 21);
    EXPECT_GT(SunEventTime(63.0, 0, 0, "S", june), 0);
    EXPECT_GT(SunEventTime(-63.0, 0, 0, "R", june), 0);
    for (double latitude : {63.0001, -63.0001, 70.0, 89.9}) {
        EXPECT_EQ(SunEventTime(latitude, 0, 0, "R", june), 0) << latitude;
        EXPECT_EQ(SunEventTime(latitude, 0, 0, "S", june), 0) << latitude;
    }
    // Today's sun never stays up below 63 degrees, but the formula's tilt of the earth's axis
    // grows into the far past: 100,000 years ago it gives a midnight sun at 60 degrees north.
    // Those days must come out as 0, not as garbage from the failed square root.
    const double far_past = 36526.5 - 1000 * 36525.0;
    int days_without_sunset = 0;
    for (int i = 0; i < 366; ++i) {
        const double set = SunEventTime(60, 0, 0, "S", far_past + i);
        ASSERT_TRUE(set == 0 || (set > 0 && set < 1)) << set;
        days_without_sunset += set == 0;
    }
    EXPECT_GT(days_without_sunset, 20);
    EXPECT_LT(days_without_sunset, 200);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(SunEventTime(nan, 0, 0, "R", june), 0);
    EXPECT_EQ(SunEventTime(45, 0, 0, "R", nan), 0);
}

TEST(SunEventTime, HourAngleKeepsTheExactZeroBranchAndSwallowsFailures) {
    bool failed = false;
    EXPECT_EQ(HourAngle(0, 1.0, failed), 0); // not pi/2: only an exact 0 takes this branch
    EXPECT_NEAR(HourAngle(0.5, 1.0, failed), std::numbers::pi / 3, 1e-12);
    EXPECT_NEAR(HourAngle(-0.5, 1.0, failed), 2 * std::numbers::pi / 3, 1e-12);
    EXPECT_FALSE(failed);
    EXPECT_EQ(HourAngle(1.5, 0.25, failed), 0.25); // no event: the previous value stays
    EXPECT_TRUE(failed);

    EXPECT_NEAR(NormalizeAngle(-0.5), 6.28318530717958 - 0.5, 1e-12);
    EXPECT_NEAR(NormalizeAngle(7), 7 - 6.28318530717958, 1e-12);
    EXPECT_EQ(NormalizeAngle(0), 0);
}

TEST(Sun, ComputesOncePerDayWithTheOffsetInForceThen) {
    test::ScopedTimeZone tz(test::kCentralEurope);
    double now = At(2024, 3, 30, 0, 0, 30);
    Clock clock([&now] { return now; });
    TimeZone zone(clock);
    Sun sun(clock, zone);
    sun.SetStation(52.5, 13.4);
    const double day1 = DateSerial(2024, 3, 30);
    const double rise1 = SunEventTime(52.5, 13.4, -1, "R", day1);
    const double set1 = SunEventTime(52.5, 13.4, -1, "S", day1);
    EXPECT_EQ(sun.Sunrise(), rise1);

    // A new position during the day shows from the next day on.
    sun.SetStation(-45, 170);
    now = At(2024, 3, 30, 23, 59, 59);
    EXPECT_EQ(sun.Sunset(), set1);
    EXPECT_EQ(sun.GetSunrise(), rise1);

    // The first call after midnight renews both; the clocks went forward in the night, so
    // the new day uses summer time.
    now = At(2024, 3, 31, 12, 0, 0);
    const double day2 = DateSerial(2024, 3, 31);
    EXPECT_EQ(sun.GetSunset(), SunEventTime(-45, 170, -2, "S", day2));
    EXPECT_EQ(sun.Sunrise(), SunEventTime(-45, 170, -2, "R", day2));

    // A day without sun times keeps its 0 like any other value.
    sun.SetStation(70, 0);
    now = At(2024, 4, 1, 8, 0, 0);
    EXPECT_EQ(sun.Sunrise(), 0);
    sun.SetStation(52.5, 13.4);
    EXPECT_EQ(sun.Sunset(), 0);
}

} // namespace
} // namespace tess
