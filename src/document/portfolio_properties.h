#pragma once

// The portfolio file's own tables: each canvas slot's "Canvas01".."Canvas20" section and the
// script's "Scripting" section. The other sections are those of the objects the portfolio
// owns (the weather input, the video feeds, the web server).

#include "document/canvas.h"
#include "settings/property_table.h"
#include "settings/script_settings.h"

namespace tess {

// A slot's canvas file; a canvas that is not enabled is written with no file, so it is not
// reopened next time.
const PropertyTable<Canvas>& CanvasSlotProperties();
const PropertyTable<ScriptSettings>& ScriptSettingsProperties();

} // namespace tess
