#pragma once

// The application settings of Tessarolle.INI, as the file, scripts and the control panel see
// them.

#include "app/app_setup.h"
#include "settings/property_table.h"

namespace tess {

const PropertyTable<AppSettings>& AppSettingsProperties();

} // namespace tess
