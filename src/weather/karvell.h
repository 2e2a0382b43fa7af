#pragma once

// The weather-station input: a one-line CSV file that a weather program rewrites. These are
// its settings, as the portfolio file stores them.

#include <cstdint>
#include <string>

namespace tess {

class Karvell {
public:
    bool CSVEnabled() const { return csv_enabled_; }
    void SetCSVEnabled(bool value) { Store(csv_enabled_, value); }
    const std::string& CSVFile() const { return csv_file_; }
    void SetCSVFile(const std::string& value) { Store(csv_file_, value); }
    // Polling: every CSVDelay seconds on a grid anchored CSVBaseTime seconds after midnight.
    std::int32_t CSVBaseTime() const { return csv_base_time_; }
    void SetCSVBaseTime(std::int32_t value);
    double CSVDelay() const { return csv_delay_; }
    void SetCSVDelay(double value);
    // Station time of the last accepted line.
    double CSVLastTime() const { return csv_last_time_; }
    void SetCSVLastTime(double value) { csv_last_time_ = value; }
    std::int32_t CSVWindStatisticsInterval() const { return wind_statistics_interval_; }
    void SetCSVWindStatisticsInterval(std::int32_t value);
    double CSVBarometricTrendThreshold() const { return barometric_trend_threshold_; }
    void SetCSVBarometricTrendThreshold(double value) { Store(barometric_trend_threshold_, value); }
    double CSVTemperatureTrendThreshold() const { return temperature_trend_threshold_; }
    void SetCSVTemperatureTrendThreshold(double value) {
        Store(temperature_trend_threshold_, value);
    }
    double CSVBarometerOffset() const { return barometer_offset_; }
    void SetCSVBarometerOffset(double value) { Store(barometer_offset_, value); }
    double CSVAltitude() const { return altitude_; }
    void SetCSVAltitude(double value) { Store(altitude_, value); }
    std::int32_t CSVAltitudeUnits() const { return altitude_units_; } // 0 metres, 1 feet
    void SetCSVAltitudeUnits(std::int32_t value);
    std::int32_t CSVTemperatureUnits() const { return temperature_units_; } // 0 C, 1 F
    void SetCSVTemperatureUnits(std::int32_t value);
    bool CSVEnableDatabase() const { return enable_database_; }
    void SetCSVEnableDatabase(bool value) { enable_database_ = value; }

    bool NeedsSaving() const { return needs_saving_; }
    void SetNeedsSaving(bool value) { needs_saving_ = value; }

private:
    template <typename T>
    void Store(T& field, const T& value) {
        if (field == value) return;
        field = value;
        needs_saving_ = true;
    }

    bool csv_enabled_ = false;
    std::string csv_file_;
    std::int32_t csv_base_time_ = 0;
    double csv_delay_ = 0;
    double csv_last_time_ = 0;
    std::int32_t wind_statistics_interval_ = 0;
    double barometric_trend_threshold_ = 0;
    double temperature_trend_threshold_ = 0;
    double barometer_offset_ = 0;
    double altitude_ = 0;
    std::int32_t altitude_units_ = 0;
    std::int32_t temperature_units_ = 0;
    bool enable_database_ = false;
    bool needs_saving_ = false;
};

} // namespace tess
