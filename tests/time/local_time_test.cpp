#include "support/scoped_time_zone.h"
#include "time/dates.h"
#include "time/local_time.h"

#include <gtest/gtest.h>

namespace tess {
namespace {

using test::At;
using test::SecondsBetween;
using test::Utc;

TEST(LocalTime, SystemTimeBecomesTheLocalWallClockWithItsFraction) {
    test::ScopedTimeZone tz(test::kCentralEurope);
    // Winter is UTC+1; the fraction of a second survives.
    EXPECT_NEAR(SecondsBetween(At(2024, 1, 15, 13, 0, 0.25),
                               DateFromTimespec(Utc(2024, 1, 15, 12, 0, 0, 250000000))),
                0, 1e-5);
    // New Year's Eve in UTC is already the next year here.
    EXPECT_NEAR(
        SecondsBetween(At(2025, 1, 1, 0, 59, 59), DateFromTimespec(Utc(2024, 12, 31, 23, 59, 59))),
        0, 1e-5);

    test::ScopedTimeZone new_york("EST5EDT,M3.2.0,M11.1.0");
    EXPECT_NEAR(
        SecondsBetween(At(2024, 1, 15, 7, 0, 0), DateFromTimespec(Utc(2024, 1, 15, 12, 0, 0))), 0,
        1e-5);
}

TEST(LocalTime, DatesGoBackToTheSystemTimeAcrossDaylightSavingChanges) {
    test::ScopedTimeZone tz(test::kCentralEurope);
    const timespec t = TimespecFromDate(At(2024, 7, 1, 14, 15, 30.5));
    EXPECT_EQ(t.tv_sec, Utc(2024, 7, 1, 12, 15, 30).tv_sec);
    EXPECT_NEAR(t.tv_nsec, 500000000, 1000);
    for (int minute = 0; minute < 24 * 60; minute += 7) { // every wall-clock time of a day
        const double date = At(2024, 1, 20, minute / 60, minute % 60, 0);
        EXPECT_NEAR(SecondsBetween(date, DateFromTimespec(TimespecFromDate(date))), 0, 1e-5);
    }
    // 02:30 does not exist on the spring-forward night: counted on from the change it is
    // 03:30 summer time. On the autumn night 02:30 happens twice; the first one is taken.
    EXPECT_EQ(TimespecFromDate(At(2024, 3, 31, 2, 30, 0)).tv_sec,
              Utc(2024, 3, 31, 1, 30, 0).tv_sec);
    EXPECT_EQ(TimespecFromDate(At(2024, 10, 27, 2, 30, 0)).tv_sec,
              Utc(2024, 10, 27, 0, 30, 0).tv_sec);
    EXPECT_EQ(TimespecFromDate(At(2024, 10, 27, 3, 30, 0)).tv_sec,
              Utc(2024, 10, 27, 2, 30, 0).tv_sec);
}

} // namespace
} // namespace tess
