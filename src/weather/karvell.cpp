#include "weather/karvell.h"

#include "settings/limit.h"

namespace tess {

// A day holds every sensible polling phase.
void Karvell::SetCSVBaseTime(std::int32_t value) {
    Limit(value, 0, 86400);
    Store(csv_base_time_, value);
}

// Negative delays make no sense; a day between reads is the longest useful one.
void Karvell::SetCSVDelay(double value) {
    Limit(value, 0.0, 86400.0);
    Store(csv_delay_, value);
}

void Karvell::SetCSVWindStatisticsInterval(std::int32_t value) {
    Limit(value, 0, 86400);
    Store(wind_statistics_interval_, value);
}

void Karvell::SetCSVAltitudeUnits(std::int32_t value) {
    Limit(value, 0, 1);
    Store(altitude_units_, value);
}

void Karvell::SetCSVTemperatureUnits(std::int32_t value) {
    Limit(value, 0, 1);
    Store(temperature_units_, value);
}

} // namespace tess
