#include "settings/vb_date.h"
#include "weather/weather_history.h"

#include <gtest/gtest.h>

namespace tess {
namespace {

WeatherRecord Reading(int second, double speed, double gust, double direction) {
    WeatherRecord r;
    r.fill(kNoValue);
    r[rec::kTime] = DateSerial(2024, 3, 7) + TimeSerial(12, 0, second);
    r[rec::kWind] = speed;
    r[rec::kGust] = gust;
    r[rec::kDirection] = direction;
    return r;
}

TEST(WeatherHistory, RingKeepsTheNewestRecords) {
    WeatherHistory h;
    EXPECT_EQ(h.Value(0, 0), kNoValue);
    h.SetValue(3, rec::kWind, -5); // a script may write ahead of the head
    h.Store(Reading(0, 0, 0, 0));
    EXPECT_EQ(h.Value(3, rec::kWind), -5);
    for (int i = 1; i < WeatherHistory::kCapacity + 5; ++i)
        h.Store(Reading(i, i, 0, 0));
    EXPECT_EQ(h.Count(), WeatherHistory::kCapacity);
    EXPECT_EQ(h.HeadPtr(), 5);
    EXPECT_EQ(h.TailPtr(), 5);
    EXPECT_EQ(h.Value(h.TailPtr(), rec::kWind), 5); // the oldest kept
    EXPECT_EQ(h.Value(4, rec::kWind), WeatherHistory::kCapacity + 4);
}

TEST(WeatherHistory, WindStatisticsCoverTheWindowOnly) {
    WeatherHistory h;
    h.Store(Reading(0, 50, 99, 180)); // 60 s before the newest: outside a 59 s window
    h.Store(Reading(30, 2, 8, 350));
    h.Store(Reading(40, kNoValue, kNoValue, kNoValue));
    h.Store(Reading(60, 4, 6, 10));
    WeatherHistory::Wind w = h.WindStatistics(59);
    EXPECT_DOUBLE_EQ(w.speed, 3);
    EXPECT_EQ(w.gust, 8);
    EXPECT_NEAR(w.direction, 0, 1e-9); // 350 and 10 average to north, not south

    w = h.WindStatistics(60);
    EXPECT_NEAR(w.speed, 56.0 / 3, 1e-12);
    EXPECT_EQ(w.gust, 99);
    w = h.WindStatistics(0);
    EXPECT_EQ(w.speed, 4);
    EXPECT_NEAR(w.direction, 10, 1e-9);

    WeatherHistory quarter;
    quarter.Store(Reading(0, 1, 1, 90));
    quarter.Store(Reading(1, 1, 1, 180));
    EXPECT_NEAR(quarter.WindStatistics(10).direction, 135, 1e-9);
    // Opposite directions cancel: the newest stands for them.
    quarter.Store(Reading(2, 1, 1, 0));
    quarter.Store(Reading(3, 1, 1, 270));
    EXPECT_NEAR(quarter.WindStatistics(1).direction, 315, 1e-9);
    WeatherHistory calm;
    calm.Store(Reading(0, 0, 0, 90));
    calm.Store(Reading(1, 0, 0, 270));
    EXPECT_EQ(calm.WindStatistics(10).direction, 270);
}

} // namespace
} // namespace tess
