#pragma once

// What text and graphic items have in common: where and in which layer an item is drawn,
// how (opacity, rotation, shadow), how often it is refreshed and in which daily window.

#include "settings/limit.h"
#include "time/schedule.h"

#include <cstdint>

namespace tess {

class IniSection;
class SunTimes;

class CanvasItem {
public:
    static constexpr std::int32_t kTopLayer = 3;
    static constexpr std::int32_t kLastAlign = 8; // 0 top left ... 8 bottom right
    static constexpr std::int32_t kPerPixelOpacity =
        3; // opacity modes 0 additive, 1 negative, 2 merge
    static constexpr std::int32_t kMaxShadowSize = 4;
    static constexpr double kMaxInterval = 86400;
    static constexpr std::int32_t kMaxBaseTime = 86400;

    CanvasItem(SunTimes& sun, double interval) : schedule_(sun), interval_(interval) {}
    virtual ~CanvasItem() = default;
    CanvasItem(const CanvasItem&) = delete;
    CanvasItem& operator=(const CanvasItem&) = delete;

    bool Enabled() const { return enabled_; }
    void SetEnabled(bool value) { Mark(StoreIfChanged(enabled_, value)); }

    // 0 bottom most .. 3 top most.
    std::int32_t Layer() const { return layer_; }
    void SetLayer(std::int32_t value) { Mark(StoreLimited(layer_, value, 0, kTopLayer)); }
    // Which point of the item stays at its location when it is rotated.
    std::int32_t Align() const { return align_; }
    void SetAlign(std::int32_t value) { Mark(StoreLimited(align_, value, 0, kLastAlign)); }
    std::int32_t LocationX() const { return location_x_; }
    void SetLocationX(std::int32_t value) { Mark(StoreIfChanged(location_x_, value)); }
    std::int32_t LocationY() const { return location_y_; }
    void SetLocationY(std::int32_t value) { Mark(StoreIfChanged(location_y_, value)); }

    // Percent, 0..100.
    std::int32_t Opacity() const { return opacity_; }
    void SetOpacity(std::int32_t value) { Mark(StoreLimited(opacity_, value, 0, 100)); }
    std::int32_t OpacityMode() const { return opacity_mode_; }
    void SetOpacityMode(std::int32_t value) {
        Mark(StoreLimited(opacity_mode_, value, 0, kPerPixelOpacity));
    }

    // Degrees, 0 up to but not including 360: a full turn is no turn.
    float RotationAngle() const { return rotation_angle_; }
    void SetRotationAngle(float value);

    bool Shadow() const { return shadow_; }
    void SetShadow(bool value) { Mark(StoreIfChanged(shadow_, value)); }
    std::int32_t ShadowOffsetX() const { return shadow_offset_x_; }
    void SetShadowOffsetX(std::int32_t value) { Mark(StoreIfChanged(shadow_offset_x_, value)); }
    std::int32_t ShadowOffsetY() const { return shadow_offset_y_; }
    void SetShadowOffsetY(std::int32_t value) { Mark(StoreIfChanged(shadow_offset_y_, value)); }
    // 1 same as the item, 2 3x3, 3 3x3+, 4 4x4.
    std::int32_t ShadowSize() const { return shadow_size_; }
    void SetShadowSize(std::int32_t value) {
        Mark(StoreLimited(shadow_size_, value, 1, kMaxShadowSize));
    }

    // Refreshed every Interval seconds on a grid anchored UpdateBaseTime seconds after
    // midnight.
    double Interval() const { return interval_; }
    void SetInterval(double value) { Mark(StoreLimited(interval_, value, 0.0, kMaxInterval)); }
    std::int32_t UpdateBaseTime() const { return update_base_time_; }
    void SetUpdateBaseTime(std::int32_t value) {
        Mark(StoreLimited(update_base_time_, value, 0, kMaxBaseTime));
    }

    // A script is told of each refresh.
    bool Scripted() const { return scripted_; }
    void SetScripted(bool value) { Mark(StoreIfChanged(scripted_, value)); }

    tess::Schedule& Schedule() { return schedule_; }
    const tess::Schedule& Schedule() const { return schedule_; }

    bool NeedsSaving() const { return needs_saving_ || schedule_.NeedsSaving(); }
    void SetNeedsSaving(bool value) {
        needs_saving_ = value;
        if (!value) schedule_.SetNeedsSaving(false);
    }

    // The item's keys in its canvas file section; the probe key Enabled is the canvas's.
    virtual void LoadSettings(IniSection& keys) = 0;
    virtual void SaveSettings(IniSection& keys) const = 0;

protected:
    void Mark(bool changed) { needs_saving_ |= changed; }
    // The nine schedule keys stand in the item's own section.
    void LoadSchedule(IniSection& keys);
    void SaveSchedule(IniSection& keys) const;

private:
    tess::Schedule schedule_;
    bool enabled_ = false;
    std::int32_t layer_ = 1;
    std::int32_t align_ = 0;
    std::int32_t location_x_ = 0;
    std::int32_t location_y_ = 0;
    std::int32_t opacity_ = 100;
    std::int32_t opacity_mode_ = 2;
    float rotation_angle_ = 0;
    bool shadow_ = false;
    std::int32_t shadow_offset_x_ = 2;
    std::int32_t shadow_offset_y_ = 2;
    std::int32_t shadow_size_ = 1;
    double interval_;
    std::int32_t update_base_time_ = 0;
    bool scripted_ = false;
    bool needs_saving_ = false;
};

} // namespace tess
