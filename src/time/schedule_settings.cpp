// Loading and saving a schedule's nine settings in a canvas file section.

#include "settings/ini.h"
#include "settings/ini_section.h"
#include "settings/numbers.h"
#include "time/schedule.h"

namespace tess {

void Schedule::LoadSettings(INI& ini, std::string_view section) {
    IniBatch batch(ini);
    IniSection keys(ini, section);
    SetScheduleMode(keys.Long("ScheduleMode", "0"));
    SetStartMode(keys.Long("StartMode", "0"));
    SetStopMode(keys.Long("StopMode", "0"));
    SetStartAbsoluteTime(keys.Date("StartAbsoluteTime", "0"));
    SetStartSunriseOffset(keys.Double("StartSunriseOffset", "0"));
    SetStartSunsetOffset(keys.Double("StartSunsetOffset", "0"));
    SetStopAbsoluteTime(keys.Date("StopAbsoluteTime", "0"));
    SetStopSunriseOffset(keys.Double("StopSunriseOffset", "0"));
    SetStopSunsetOffset(keys.Double("StopSunsetOffset", "0"));
    SetNeedsSaving(false);
}

bool Schedule::SaveSettings(INI& ini, std::string_view section) const {
    IniBatch batch(ini);
    IniSection keys(ini, section);
    keys.SetLong("ScheduleMode", ScheduleMode());
    keys.SetLong("StartMode", StartMode());
    keys.SetLong("StopMode", StopMode());
    // Fractions of a day, as numbers: files written with a time of day read back as well.
    keys.SetDouble("StartAbsoluteTime", StartAbsoluteTime());
    keys.SetDouble("StartSunriseOffset", StartSunriseOffset());
    keys.SetDouble("StartSunsetOffset", StartSunsetOffset());
    keys.SetDouble("StopAbsoluteTime", StopAbsoluteTime());
    keys.SetDouble("StopSunriseOffset", StopSunriseOffset());
    keys.SetDouble("StopSunsetOffset", StopSunsetOffset());
    return keys.WritesOk();
}

} // namespace tess
