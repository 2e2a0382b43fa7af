#pragma once

// A canvas's own settings and those of its outputs (schedules, FTP push, web picture), as
// the canvas file, scripts and the control panel see them, in the order the canvas file is
// read; the items have tables of their own (item_properties.h).

#include "document/canvas.h"
#include "settings/property_table.h"

namespace tess {

const PropertyTable<Canvas>& CanvasProperties();

} // namespace tess
