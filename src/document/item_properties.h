#pragma once

// The settings of text and graphic items, as their "Text001" and "Graphic001" sections of a
// canvas file, scripts and the control panel see them. Enabled is the probe the canvas
// reads first to learn whether an item exists; the table's load leaves it to the canvas.

#include "document/graphic_item.h"
#include "document/text_item.h"
#include "settings/property_table.h"

namespace tess {

const PropertyTable<TextItem>& TextItemProperties();
const PropertyTable<GraphicItem>& GraphicItemProperties();

} // namespace tess
