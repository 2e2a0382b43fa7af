// Loading and saving a schedule's nine settings in a canvas file section.

#include "settings/ini.h"
#include "settings/numbers.h"
#include "time/schedule.h"

namespace tess {

void Schedule::LoadSettings(INI& ini, std::string_view section) {
    IniBatch batch(ini);
    auto get = [&](std::string_view key) {
        return ini.GetKey(section, key, WriteDefault::Yes, "0");
    };
    SetScheduleMode(Str2LngNI(get("ScheduleMode")));
    SetStartMode(Str2LngNI(get("StartMode")));
    SetStopMode(Str2LngNI(get("StopMode")));
    SetStartAbsoluteTime(Str2DateNI(get("StartAbsoluteTime")));
    SetStartSunriseOffset(Str2DblNI(get("StartSunriseOffset")));
    SetStartSunsetOffset(Str2DblNI(get("StartSunsetOffset")));
    SetStopAbsoluteTime(Str2DateNI(get("StopAbsoluteTime")));
    SetStopSunriseOffset(Str2DblNI(get("StopSunriseOffset")));
    SetStopSunsetOffset(Str2DblNI(get("StopSunsetOffset")));
    SetNeedsSaving(false);
}

void Schedule::SaveSettings(INI& ini, std::string_view section) const {
    IniBatch batch(ini);
    ini.SetKey(section, "ScheduleMode", CStrNI(ScheduleMode()));
    ini.SetKey(section, "StartMode", CStrNI(StartMode()));
    ini.SetKey(section, "StopMode", CStrNI(StopMode()));
    ini.SetKey(section, "StartAbsoluteTime", FormatNI(StartAbsoluteTime(), "HH:MM:SS"));
    ini.SetKey(section, "StartSunriseOffset", CStrNI(StartSunriseOffset()));
    ini.SetKey(section, "StartSunsetOffset", CStrNI(StartSunsetOffset()));
    ini.SetKey(section, "StopAbsoluteTime", FormatNI(StopAbsoluteTime(), "HH:MM:SS"));
    ini.SetKey(section, "StopSunriseOffset", CStrNI(StopSunriseOffset()));
    ini.SetKey(section, "StopSunsetOffset", CStrNI(StopSunsetOffset()));
}

} // namespace tess
