// What we derive from each accepted line: daily extremes, trends, the daily rain total, the
// barometer offset, the sea-level barometer and the wind statistics.

#include "weather/karvell.h"

#include <cmath>

namespace tess {

namespace {

// 1, -1 or 0 as a rate reaches the threshold upwards, downwards, or neither.
double Trend(double rate, double threshold) {
    if (rate >= threshold) return 1;
    if (rate <= -threshold) return -1;
    return 0;
}

} // namespace

double Karvell::TemperatureInCelsius(double value) const {
    return temperature_units_ == 1 ? (value - 32) / 1.8 : value;
}

void Karvell::ProcessNewData() {
    WeatherRecord& r = record_;
    const double temperature = r[rec::kOutTemp];
    if (temperature != kNoValue) {
        if (temperature > r[rec::kMaxTempToday]) r[rec::kMaxTempToday] = temperature;
        if (r[rec::kMinTempToday] == kNoValue || temperature < r[rec::kMinTempToday])
            r[rec::kMinTempToday] = temperature;
    }
    if (r[rec::kGust] != kNoValue && r[rec::kGust] > r[rec::kMaxGustToday])
        r[rec::kMaxGustToday] = r[rec::kGust];
    if (r[rec::kOutTempRate] != kNoValue)
        r[rec::kTempTrend] = Trend(r[rec::kOutTempRate], temperature_trend_threshold_);
    if (r[rec::kBaromRate] != kNoValue)
        r[rec::kBaromTrend] = Trend(r[rec::kBaromRate], barometric_trend_threshold_);
    if (r[rec::kDailyRain] != kNoValue) r[rec::kRainToday] = r[rec::kDailyRain];
    if (r[rec::kBarometer] != kNoValue) {
        r[rec::kBarometer] += barometer_offset_;
        if (!std::isfinite(r[rec::kBarometer])) r[rec::kBarometer] = kNoValue;
    }

    r[rec::kSeaLevelBarometer] = kNoValue;
    if (temperature != kNoValue && r[rec::kBarometer] != kNoValue) {
        const double h = altitude_units_ == 1 ? altitude_ * 0.3048 : altitude_;
        const double t = TemperatureInCelsius(temperature);
        // Keep 0.003255 exactly: figures must match what this formula has always given.
        const double sea_level =
            r[rec::kBarometer] * std::exp(9.81 * h / 287 / (t + 273.15 + 0.003255 * h));
        if (std::isfinite(sea_level)) r[rec::kSeaLevelBarometer] = sea_level;
    }
}

void Karvell::ResetDailyData() {
    WeatherRecord& r = record_;
    r[rec::kMaxTempYesterday] = r[rec::kMaxTempToday];
    r[rec::kMinTempYesterday] = r[rec::kMinTempToday];
    r[rec::kMaxTempToday] = r[rec::kOutTemp];
    r[rec::kMinTempToday] = r[rec::kOutTemp];
    r[rec::kMaxGustYesterday] = r[rec::kMaxGustToday];
    r[rec::kMaxGustToday] = r[rec::kGust];
    r[rec::kRainYesterday] = r[rec::kRainToday];
    r[rec::kRainToday] = r[rec::kDailyRain];
}

void Karvell::ProcessNewDatabaseData() {
    const WeatherHistory::Wind wind = history_.WindStatistics(wind_statistics_interval_);
    record_[rec::kStatWind] = wind.speed;
    record_[rec::kStatDirection] = wind.direction;
    record_[rec::kStatGust] = wind.gust;
}

} // namespace tess
