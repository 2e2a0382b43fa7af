#include "weather/weather_history.h"

#include <cmath>
#include <numbers>

namespace tess {

namespace {

// Station times are days; two readings a fraction of a millisecond apart count as equal.
constexpr double kTimeSlack = 1e-3 / 86400;

WeatherRecord EmptyRecord() {
    WeatherRecord r;
    r.fill(kNoValue);
    return r;
}

} // namespace

void WeatherHistory::Store(const WeatherRecord& record) {
    if (static_cast<std::size_t>(head_) >= records_.size())
        records_.resize(static_cast<std::size_t>(head_) + 1, EmptyRecord());
    records_[static_cast<std::size_t>(head_)] = record;
    head_ = (head_ + 1) % kCapacity;
    if (count_ == kCapacity) {
        tail_ = head_;
    } else {
        ++count_;
    }
}

double WeatherHistory::Value(int slot, int index) const {
    if (slot < 0 || slot >= static_cast<int>(records_.size()) || index < 0 ||
        index >= kRecordSize) {
        return kNoValue;
    }
    return records_[static_cast<std::size_t>(slot)][static_cast<std::size_t>(index)];
}

void WeatherHistory::SetValue(int slot, int index, double value) {
    if (slot < 0 || slot >= kCapacity || index < 0 || index >= kRecordSize) return;
    if (slot >= static_cast<int>(records_.size()))
        records_.resize(static_cast<std::size_t>(slot) + 1, EmptyRecord());
    records_[static_cast<std::size_t>(slot)][static_cast<std::size_t>(index)] = value;
}

const WeatherRecord& WeatherHistory::FromNewest(int age) const {
    const int slot = ((head_ - 1 - age) % kCapacity + kCapacity) % kCapacity;
    return records_[static_cast<std::size_t>(slot)];
}

WeatherHistory::Wind WeatherHistory::WindStatistics(double window_seconds) const {
    Wind wind;
    if (count_ == 0) return wind;
    const double newest = FromNewest(0)[rec::kTime];
    const double oldest = newest - window_seconds / 86400 - kTimeSlack;
    double speed_sum = 0, north = 0, east = 0;
    int speeds = 0, directions = 0;
    for (int age = 0; age < count_; ++age) {
        const WeatherRecord& r = FromNewest(age);
        if (r[rec::kTime] < oldest) break;
        if (r[rec::kWind] != kNoValue) {
            speed_sum += r[rec::kWind];
            ++speeds;
        }
        if (r[rec::kGust] != kNoValue && (wind.gust == kNoValue || r[rec::kGust] > wind.gust))
            wind.gust = r[rec::kGust];
        if (r[rec::kDirection] != kNoValue) {
            // Unit vectors, so that 350 and 10 average to north rather than to south.
            const double radians = r[rec::kDirection] * std::numbers::pi / 180;
            north += std::cos(radians);
            east += std::sin(radians);
            if (directions++ == 0) wind.direction = r[rec::kDirection];
        }
    }
    // Absurd speeds can add up beyond what a double holds; that is no average either.
    if (speeds > 0 && std::isfinite(speed_sum)) wind.speed = speed_sum / speeds;
    // Directions that cancel out have no average: the newest one stands for them.
    if (std::hypot(north, east) > 1e-9 * directions) {
        double degrees = std::atan2(east, north) * 180 / std::numbers::pi;
        if (degrees < 0) degrees += 360;
        wind.direction = degrees >= 360 ? 0 : degrees;
    }
    return wind;
}

} // namespace tess
