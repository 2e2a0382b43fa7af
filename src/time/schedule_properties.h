#pragma once

// The nine settings of a Schedule, as files, scripts and the control panel see them. They
// stand in the section of their owner (a canvas output's own schedule section, or an item's
// section).

#include "settings/property_table.h"
#include "time/schedule.h"

namespace tess {

const PropertyTable<Schedule>& ScheduleProperties();

} // namespace tess
