#include "time/time_zone.h"

#include "base/atomic_file.h"
#include "base/log.h"
#include "base/text.h"
#include "time/clock.h"
#include "time/local_time.h"

#include <ctime>

namespace tess {

namespace {

// A table of zone names is a few lines; anything far bigger is not the file we mean.
constexpr std::size_t kMaxTableBytes = 1u << 20;

} // namespace

std::string TimeZone::GetTimeZone() const {
    return GetTimeZone(clock_->Now());
}

std::string TimeZone::GetTimeZone(double date) const {
    // The C library tells standard from summer time by tm_isdst; when it cannot (a negative
    // value, or a date it cannot convert) the state is "Unknown". A zone that comes without
    // an abbreviation is "Not Available". Zones without summer time are plain standard time
    // here and report their own name ("UTC", "JST").
    std::tm tm{};
    if (!LocalTmAt(date, tm) || tm.tm_isdst < 0) return "Unknown";
    if (!tm.tm_zone || !*tm.tm_zone) return "Not Available";
    return tm.tm_zone;
}

double TimeZone::GMTOffset() const {
    std::tm tm{};
    if (!LocalTmAt(clock_->Now(), tm)) return 0;
    return -static_cast<double>(tm.tm_gmtoff) / 3600.0;
}

void TimeZone::LoadTimeZoneLookup(const std::string& path) {
    rows_.clear();
    std::string text, error;
    switch (ReadWholeFile(path, text, kMaxTableBytes, &error)) {
    case ReadStatus::Missing:
        return;
    case ReadStatus::Unreadable:
    case ReadStatus::TooLarge:
        LogWarning("time-zone names not loaded: {}", error);
        return;
    case ReadStatus::Ok:
        break;
    }
    // Lines end in CR LF when written on Windows; a file edited here may end them in LF alone.
    for (std::string_view line : Split(SkipUtf8Bom(text), '\n')) {
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        const std::size_t comma = line.find(',');
        if (comma == std::string_view::npos) continue;
        rows_.push_back(Row{std::string(Trim(line.substr(0, comma))),
                            std::string(Trim(line.substr(comma + 1)))});
    }
}

std::string TimeZone::ConvertedTimeZone() const {
    return ConvertedTimeZone(clock_->Now());
}

std::string TimeZone::ConvertedTimeZone(double date) const {
    const std::string zone = GetTimeZone(date);
    for (const Row& row : rows_) {
        if (EqualsIgnoreCase(row.name, zone)) return row.text;
    }
    return std::string(kNotDefined);
}

} // namespace tess
