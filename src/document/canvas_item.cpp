#include "document/canvas_item.h"

#include "settings/ini.h"
#include "settings/ini_section.h"

namespace tess {

void CanvasItem::SetRotationAngle(float value) {
    Limit(value, 0.0f, 360.0f);
    if (value == 360.0f) value = 0;
    Mark(StoreIfChanged(rotation_angle_, value));
}

void CanvasItem::LoadSchedule(IniSection& keys) {
    schedule_.LoadSettings(keys.File(), keys.Name());
}

void CanvasItem::SaveSchedule(IniSection& keys) const {
    keys.NoteWrite(schedule_.SaveSettings(keys.File(), keys.Name()));
}

} // namespace tess
