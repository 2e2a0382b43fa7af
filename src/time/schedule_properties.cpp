#include "time/schedule_properties.h"

namespace tess {

namespace {

using P = Property<Schedule>;
using T = PropertyType;

constexpr std::string_view kMinutes = "minutes";

P Mode(std::string_view name, double last, std::string_view meaning) {
    return P(name, "", name, T::Integer, "0").Range(0, last).Means(meaning);
}

P Time(std::string_view name, std::string_view meaning) {
    return P(name, "", name, T::Date, "0")
        .Range(0, Schedule::kLatestTime)
        .Units("days")
        .Means(meaning);
}

P Offset(std::string_view name, std::string_view meaning) {
    return P(name, "", name, T::Double, "0")
        .Range(-Schedule::kMaxOffset, Schedule::kMaxOffset)
        .Units(kMinutes)
        .Means(meaning);
}

PropertyTable<Schedule> MakeTable() {
    return PropertyTable<Schedule>({
        Mode("ScheduleMode", 1, "0 on all day (\"24-hours\"), 1 on from the start to the stop")
            .Access(&Schedule::ScheduleMode, &Schedule::SetScheduleMode),
        Mode("StartMode", 2, "start at 0 StartAbsoluteTime, 1 sunrise + offset, 2 sunset + offset")
            .Access(&Schedule::StartMode, &Schedule::SetStartMode),
        Mode("StopMode", 2, "stop at 0 StopAbsoluteTime, 1 sunrise + offset, 2 sunset + offset")
            .Access(&Schedule::StopMode, &Schedule::SetStopMode),
        Time("StartAbsoluteTime", "start as a fraction of a day (0.25 is 06:00)")
            .Access(&Schedule::StartAbsoluteTime, &Schedule::SetStartAbsoluteTime),
        Offset("StartSunriseOffset", "added to sunrise when StartMode is 1")
            .Access(&Schedule::StartSunriseOffset, &Schedule::SetStartSunriseOffset),
        Offset("StartSunsetOffset", "added to sunset when StartMode is 2")
            .Access(&Schedule::StartSunsetOffset, &Schedule::SetStartSunsetOffset),
        Time("StopAbsoluteTime", "stop as a fraction of a day (0.75 is 18:00)")
            .Access(&Schedule::StopAbsoluteTime, &Schedule::SetStopAbsoluteTime),
        Offset("StopSunriseOffset", "added to sunrise when StopMode is 1")
            .Access(&Schedule::StopSunriseOffset, &Schedule::SetStopSunriseOffset),
        Offset("StopSunsetOffset", "added to sunset when StopMode is 2")
            .Access(&Schedule::StopSunsetOffset, &Schedule::SetStopSunsetOffset),
    });
}

} // namespace

const PropertyTable<Schedule>& ScheduleProperties() {
    static const PropertyTable<Schedule> table = MakeTable();
    return table;
}

} // namespace tess
