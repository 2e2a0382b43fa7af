// Loading and saving a schedule's nine settings in a canvas file section.

#include "settings/ini.h"
#include "time/schedule.h"
#include "time/schedule_properties.h"

namespace tess {

void Schedule::LoadSettings(INI& ini, std::string_view section) {
    ScheduleProperties().Load(*this, IniPlace{&ini, section, {}});
    SetNeedsSaving(false);
}

bool Schedule::SaveSettings(INI& ini, std::string_view section) const {
    return ScheduleProperties().Save(*this, IniPlace{&ini, section, {}});
}

} // namespace tess
