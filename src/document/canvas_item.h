#pragma once

// What text and graphic items have in common: where and in which layer an item is drawn,
// how (opacity, rotation, shadow), how often it is refreshed and in which daily window.

#include "imaging/image.h"
#include "imaging/position.h"
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
    static constexpr std::int32_t kPerPixelOpacity = kOpacityPerPixel;
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
    tess::OpacityMode OpacityMode() const { return opacity_mode_; }
    void SetOpacityMode(std::int32_t value) {
        Mark(StoreMode(opacity_mode_, value, kOpacityPerPixel));
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

    // Goes up with every real change of a setting, so that the drawing can tell whether the
    // item must be drawn again.
    std::uint64_t Revision() const { return revision_; }

    bool NeedsSaving() const { return needs_saving_ || schedule_.NeedsSaving(); }
    void SetNeedsSaving(bool value) {
        needs_saving_ = value;
        if (!value) schedule_.SetNeedsSaving(false);
    }

    // The item's keys in its canvas file section; the probe key Enabled is the canvas's.
    virtual void LoadSettings(IniSection& keys) = 0;
    virtual void SaveSettings(IniSection& keys) const = 0;

    // ---- Drawing, kept in memory only ----
    // The finished picture, merged into its layer at each composition of the canvas.
    tess::Image& Image() { return image_; }
    // Whether the schedule was on at the last pass.
    bool OnNow() const { return on_now_; }
    bool UpdateOnNow(double now) { return on_now_ = schedule_.EnableNow(now); }
    // When the item is next refreshed; 0 (at once) for a new item.
    double NextTime() const { return next_time_; }
    void SetNextTime(double now);
    // Drawn now: enabled and on by its schedule.
    bool Visible() const { return enabled_ && on_now_; }
    // The layer the item was last drawn on, so that a move or a hide redraws it; -1 for none.
    std::int32_t DrawnLayer() const { return drawn_layer_; }
    void SetDrawnLayer(std::int32_t layer) { drawn_layer_ = layer; }
    // Settings changed since they were last given to the Image.
    bool SettingsChanged() const { return synced_revision_ != revision_; }
    // Where the finished picture is placed: the location, less what the source adds.
    virtual int DrawX() const { return ClampPosition(location_x_); }
    virtual int DrawY() const { return ClampPosition(location_y_); }

protected:
    // Gives the Image every setting the items share, and notes the revision given.
    void SyncCommonImageSettings();
    void Mark(bool changed) {
        if (!changed) return;
        needs_saving_ = true;
        ++revision_;
    }

private:
    tess::Schedule schedule_;
    bool enabled_ = false;
    std::int32_t layer_ = 1;
    std::int32_t align_ = 0;
    std::int32_t location_x_ = 0;
    std::int32_t location_y_ = 0;
    std::int32_t opacity_ = 100;
    tess::OpacityMode opacity_mode_ = kOpacityMerge;
    float rotation_angle_ = 0;
    bool shadow_ = false;
    std::int32_t shadow_offset_x_ = 2;
    std::int32_t shadow_offset_y_ = 2;
    std::int32_t shadow_size_ = 1;
    double interval_;
    std::int32_t update_base_time_ = 0;
    bool scripted_ = false;
    bool needs_saving_ = false;
    std::uint64_t revision_ = 1;

    tess::Image image_;
    bool on_now_ = false;
    double next_time_ = 0;
    std::int32_t drawn_layer_ = -1;
    std::uint64_t synced_revision_ = 0;
};

} // namespace tess
