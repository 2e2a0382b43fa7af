#include "document/canvas_item.h"

#include "settings/ini.h"
#include "settings/ini_section.h"
#include "time/next_update.h"

namespace tess {

void CanvasItem::SetRotationAngle(float value) {
    Limit(value, 0.0f, 360.0f);
    if (value == 360.0f) value = 0;
    Mark(StoreIfChanged(rotation_angle_, value));
}

void CanvasItem::SetNextTime(double now) {
    next_time_ = CalcNextUpdate(interval_, update_base_time_, now);
}

void CanvasItem::SyncCommonImageSettings() {
    image_.SetRotationAngle(rotation_angle_);
    image_.SetAlignment(align_);
    image_.SetOpacityValue(opacity_);
    image_.SetOpacityMode(opacity_mode_);
    image_.SetShadowEnabled(shadow_);
    image_.SetShadowSize(shadow_size_);
    synced_revision_ = revision_;
}

void CanvasItem::LoadSchedule(IniSection& keys) {
    schedule_.LoadSettings(keys.File(), keys.Name());
}

void CanvasItem::SaveSchedule(IniSection& keys) const {
    keys.NoteWrite(schedule_.SaveSettings(keys.File(), keys.Name()));
}

} // namespace tess
