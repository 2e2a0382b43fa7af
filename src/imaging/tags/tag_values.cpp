// The value of each kind of tag.

#include "imaging/tags/process_text.h"
#include "imaging/tags/tag_table.h"
#include "imaging/tags/tag_words.h"
#include "settings/numbers.h"
#include "settings/vb_date.h"
#include "time/sun_times.h"
#include "time/time_zone.h"
#include "weather/karvell.h"

#include <cmath>

#include <fmt/format.h>

namespace tess {

namespace {

// "Now" as the whole second that has begun and the milliseconds into it. Clocks show the
// second that has begun: rounding would show 12:00:01 at 12:00:00.7, a second early, and a
// date a day early in the last half second before midnight.
struct NowParts {
    double whole = 0;
    int millis = 0;
};

NowParts SplitNow(double now) {
    if (!std::isfinite(now) || std::fabs(now) > 3.0e6) return {};
    const auto ms = static_cast<long long>(std::llround(now * 86400000.0));
    long long seconds = ms / 1000;
    if (ms % 1000 < 0) --seconds;
    return {static_cast<double>(seconds) / 86400.0, static_cast<int>(ms - seconds * 1000)};
}

// A date-and-time pattern with the fraction after its seconds ("HH:MM:SS.5 PM"), the
// fraction quoted so that the rest keeps its 12- or 24-hour meaning.
std::string NowWithFraction(const NowParts& now, std::string_view pattern, int digits) {
    const std::size_t after_seconds = pattern.find("SS") + 2;
    const std::string fraction =
        digits == 1 ? fmt::format("{}", now.millis / 100) : fmt::format("{:02}", now.millis / 10);
    const std::string full = fmt::format("{}\".{}\"{}", pattern.substr(0, after_seconds), fraction,
                                         pattern.substr(after_seconds));
    return FormatNI(now.whole, full);
}

// Station date and time columns that show as words or in 12-hour form.
std::string StationWord(const Karvell& k, TagKind kind, int upper) {
    const double month = k.CSVData(rec::kYear + 1);
    const double hour = k.CSVData(rec::kYear + 3);
    switch (kind) {
    case TagKind::StationMonthName:
        if (month == kNoValue) return "-1000";
        return month >= 1 && month <= 12 ? std::string(MonthName(static_cast<int>(month))) : "";
    case TagKind::StationHour12: {
        if (hour == kNoValue) return "-1000";
        const double h = std::fmod(std::round(hour), 12.0);
        return FormatNI(h == 0 ? 12 : h, "0");
    }
    case TagKind::StationAmPm:
        if (hour == kNoValue) return "-1000";
        if (hour < 12) return upper ? "AM" : "am";
        return upper ? "PM" : "pm";
    default:
        break;
    }
    return {};
}

std::string WeatherValue(const Karvell& k, const TagDef& tag) {
    const double v = k.CSVData(tag.a);
    switch (tag.kind) {
    case TagKind::Value:
        return FormatI(v, GetFormatI(k.CSVDataS(tag.b)));
    case TagKind::Compass:
        return v == kNoValue ? "-1000" : std::string(CompassPoint(v));
    case TagKind::Condition:
        return v == kNoValue ? "-1000" : std::string(ConditionWord(v));
    case TagKind::TrendWord:
        return std::string(TrendWord(v));
    case TagKind::TrendMarker:
        return std::string(TrendMarker(v));
    case TagKind::StationNumber:
        return FormatNI(v, tag.pattern);
    case TagKind::StationYear2:
        return v == kNoValue ? "-1000" : FormatNI(std::fmod(std::round(v), 100.0), "00");
    default:
        return StationWord(k, tag.kind, tag.a);
    }
}

std::string NowValue(const TagDef& tag, double now) {
    const NowParts parts = SplitNow(now);
    switch (tag.kind) {
    case TagKind::NowFraction:
        return NowWithFraction(parts, tag.pattern, tag.a);
    case TagKind::NowFormalDay: {
        const int day = SplitDate(parts.whole).day;
        return fmt::format("{}{}", day, OrdinalSuffix(day));
    }
    default:
        return FormatNI(parts.whole, tag.pattern);
    }
}

} // namespace

bool TagValue(const TagDef& tag, int feed, const TagContext& context, std::string& out) {
    switch (tag.kind) {
    case TagKind::ZoneName:
    case TagKind::ZoneLookup:
        if (!context.zone) return false;
        out = tag.kind == TagKind::ZoneName ? context.zone->GetTimeZone(context.now)
                                            : context.zone->ConvertedTimeZone(context.now);
        return true;
    case TagKind::Sunrise:
    case TagKind::Sunset:
        if (!context.sun) return false;
        out =
            FormatNI(tag.kind == TagKind::Sunrise ? context.sun->Sunrise() : context.sun->Sunset(),
                     tag.pattern);
        return true;
    case TagKind::Now:
    case TagKind::NowFraction:
    case TagKind::NowFormalDay:
        out = NowValue(tag, context.now);
        return true;
    case TagKind::Motion:
        out = NowValue(tag, context.motion_time ? context.motion_time(feed) : 0.0);
        return true;
    default:
        if (!context.karvell) return false;
        out = WeatherValue(*context.karvell, tag);
        return true;
    }
}

} // namespace tess
