#pragma once

// The weather input's settings, as the portfolio file's "Karvell" section, scripts and the
// control panel see them.

#include "settings/property_table.h"
#include "weather/karvell.h"

namespace tess {

const PropertyTable<Karvell>& KarvellProperties();

} // namespace tess
