#pragma once

// The weather-station input: a one-line CSV file that a weather program rewrites. We keep
// the newest line's columns as numbers and as text, derive daily extremes, yesterday's
// values, trends, the sea-level barometer and wind statistics, and keep the last record in
// "lastdata.csv" so the values survive a restart. The settings are what the portfolio file
// stores.

#include "settings/script_events.h"
#include "weather/csv_status.h"
#include "weather/weather_history.h"
#include "weather/weather_record.h"

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace tess {

class Karvell {
public:
    Karvell();

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

    // The station's values by record index: CSVData 0..119 (0 the station time, 1..99 the
    // columns, 100..119 derived), CSVDataS 0..99 the columns as the line wrote them. Indexes
    // out of range read as kNoValue and "-1000" and are not written.
    double CSVData(int index) const;
    void SetCSVData(int index, double value);
    const std::string& CSVDataS(int index) const;
    void SetCSVDataS(int index, std::string_view text);
    const WeatherRecord& Record() const { return record_; }
    // True once a line of a known version was read (or restored from "lastdata.csv").
    bool CSVDataValid() const { return valid_; }

    // Reads CSVFile and accepts its line when it is newer than CSVLastTime. Bad files and
    // bad lines leave every value as it was and say why. Given the clock's `now`, a line
    // dated more than kMaxDaysAhead after it is refused (0: no such check).
    static constexpr double kMaxDaysAhead = 1.0;
    CSVStatus GetCSVData(double now = 0);
    // The same for a line already in memory (without its line end).
    CSVStatus AcceptLine(std::string_view line, double now = 0);
    // The steps of accepting a line, for those who replay data.
    void ProcessNewData();
    void ResetDailyData();
    void ProcessNewDatabaseData();

    // Polling from the update loop: reads the file when enabled and due (every CSVDelay
    // seconds on the grid anchored at CSVBaseTime; a delay of 0 reads at every call), saves
    // "lastdata.csv" after an accepted line and logs when the file's state changes. True
    // when a line was accepted.
    bool PollCSV(double now);
    double NextPollTime() const { return next_poll_; }
    CSVStatus LastStatus() const { return last_status_; }

    // Every accepted line raises the script's NewCSVData event here; null: none.
    void SetScriptEvents(ScriptEvents* events) { events_ = events; }

    // "lastdata.csv" in the program's folder; the path is settable for other folders.
    static constexpr std::string_view kLastDataFile = "lastdata.csv";
    void SetLastDataPath(std::string path) { last_data_path_ = std::move(path); }
    const std::string& LastDataPath() const { return last_data_path_; }
    // False (values unchanged) when the file is missing or not one we wrote; `error` says why.
    bool LoadLastData(std::string* error = nullptr);
    bool SaveLastData(std::string* error = nullptr) const;

    // The history ring (kept while CSVEnableDatabase is on) and its wind statistics.
    const WeatherHistory& History() const { return history_; }
    double CSVDatabase(int slot, int index) const { return history_.Value(slot, index); }
    void SetCSVDatabase(int slot, int index, double value) {
        history_.SetValue(slot, index, value);
    }
    int CSVDatabaseHeadPtr() const { return history_.HeadPtr(); }
    int CSVDatabaseTailPtr() const { return history_.TailPtr(); }
    int CSVDatabaseBufferSize() const { return history_.BufferSize(); }

private:
    void ForgetTimeAheadOfClock(double now);
    void StoreColumns(const std::array<std::string_view, kCSVColumns>& columns, int last,
                      double time);
    double TemperatureInCelsius(double value) const;
    std::string LastDataText() const;
    bool ReadLastDataText(std::string_view text);

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

    WeatherRecord record_;
    std::array<std::string, kCSVColumns> texts_;
    bool valid_ = false;
    WeatherHistory history_;
    ScriptEvents* events_ = nullptr;
    std::string last_data_path_{kLastDataFile};
    double next_poll_ = 0;
    CSVStatus last_status_ = CSVStatus::NotRead;
    bool save_failed_ = false;
};

} // namespace tess
