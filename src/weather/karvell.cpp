#include "weather/karvell.h"

#include "base/log.h"
#include "settings/format.h"
#include "settings/limit.h"
#include "time/next_update.h"

#include <cmath>

namespace tess {

namespace {

bool InRecord(int index, int size) {
    return index >= 0 && index < size;
}

} // namespace

Karvell::Karvell() {
    record_.fill(kNoValue);
    record_[rec::kTime] = 0;
    texts_.fill("-1000");
    texts_[rec::kTime] = "0";
}

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

double Karvell::CSVData(int index) const {
    return InRecord(index, kRecordSize) ? record_[static_cast<std::size_t>(index)] : kNoValue;
}

// Scripts may write values; what is not a number is "no value", as in a line.
void Karvell::SetCSVData(int index, double value) {
    if (!InRecord(index, kRecordSize)) return;
    record_[static_cast<std::size_t>(index)] = std::isfinite(value) ? value : kNoValue;
}

const std::string& Karvell::CSVDataS(int index) const {
    static const std::string no_value = "-1000";
    return InRecord(index, kCSVColumns) ? texts_[static_cast<std::size_t>(index)] : no_value;
}

// A line end in a column's text would break "lastdata.csv"; a line never holds one either.
void Karvell::SetCSVDataS(int index, std::string_view text) {
    if (!InRecord(index, kCSVColumns)) return;
    std::string& stored = texts_[static_cast<std::size_t>(index)];
    stored = text;
    for (char& c : stored) {
        if (c == '\r' || c == '\n' || c == '\0') c = ' ';
    }
}

// A last line taken from the future (by an older version, or kept in "lastdata.csv" from
// a station whose clock was wrong) would make every later line "older" for good.
void Karvell::ForgetTimeAheadOfClock(double now) {
    if (csv_last_time_ <= now + kMaxDaysAhead) return;
    LogWarning("weather data '{}': the last line taken is dated {}, more than a day ahead of the "
               "clock; the next line is taken whatever its time",
               csv_file_, FormatDate(csv_last_time_, "yyyy-mm-dd hh:nn:ss"));
    csv_last_time_ = 0;
}

bool Karvell::PollCSV(double now) {
    if (!csv_enabled_ || now < next_poll_) return false;
    next_poll_ = CalcNextUpdate(csv_delay_, csv_base_time_, now);
    ForgetTimeAheadOfClock(now);
    const CSVStatus status = GetCSVData(now);
    const bool accepted = status == CSVStatus::Accepted;
    const bool fine = accepted || status == CSVStatus::NotNewer;
    const bool was_fine = last_status_ == CSVStatus::Accepted ||
                          last_status_ == CSVStatus::NotNewer || last_status_ == CSVStatus::NotRead;
    // Once per change, not once per poll: a station that is down would fill the log.
    if (!fine && status != last_status_) {
        LogWarning("weather data '{}': {}", csv_file_, CSVStatusText(status));
    } else if (fine && !was_fine) {
        LogInfo("weather data '{}': readable again", csv_file_);
    }
    last_status_ = status;
    if (!accepted) return false;
    std::string error;
    const bool saved = SaveLastData(&error);
    if (!saved && !save_failed_) LogWarning("weather data not kept: {}", error);
    save_failed_ = !saved;
    return true;
}

} // namespace tess
