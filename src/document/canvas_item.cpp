#include "document/canvas_item.h"

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

} // namespace tess
