#pragma once

// A daily on/off window for one output: on all day ("24-hours"), or from a start to a stop
// time, each an absolute time of day or an offset in minutes from today's sunrise or sunset.
// Both ends are inclusive; a start after the stop spans midnight; equal ends mean all day.

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace tess {

class INI;
class SunTimes;

// On all day ("24-hours"), or from a start to a stop.
enum class ScheduleKind : std::int32_t { AllDay = 0, Window = 1 };
// What one end of the window is measured from.
enum class WindowEnd : std::int32_t { Time = 0, Sunrise = 1, Sunset = 2 };

class Schedule {
public:
    static constexpr double kLatestTime = 0.99988427; // 23:59:50
    static constexpr double kMaxOffset = 1440;        // minutes, either way

    explicit Schedule(SunTimes& sun) : sun_(&sun) {}

    ScheduleKind ScheduleMode() const { return schedule_mode_; }
    WindowEnd StartMode() const { return start_mode_; }
    WindowEnd StopMode() const { return stop_mode_; }
    double StartAbsoluteTime() const { return start_absolute_time_; }
    double StopAbsoluteTime() const { return stop_absolute_time_; }
    double StartSunriseOffset() const { return start_sunrise_offset_; }
    double StopSunriseOffset() const { return stop_sunrise_offset_; }
    double StartSunsetOffset() const { return start_sunset_offset_; }
    double StopSunsetOffset() const { return stop_sunset_offset_; }

    // Each setter clamps into the setting's range and marks the schedule as needing saving,
    // unless the value equals the stored one.
    void SetScheduleMode(std::int32_t value);
    void SetStartMode(std::int32_t value);
    void SetStopMode(std::int32_t value);
    void SetStartAbsoluteTime(double value);
    void SetStopAbsoluteTime(double value);
    void SetStartSunriseOffset(double value);
    void SetStopSunriseOffset(double value);
    void SetStartSunsetOffset(double value);
    void SetStopSunsetOffset(double value);

    bool NeedsSaving() const { return needs_saving_; }
    void SetNeedsSaving(bool value) { needs_saving_ = value; }

    // The owning canvas's index in the portfolio; 0 for none. When the window opens or
    // closes, `redraw` is called with that index so the canvas can refresh what depends on
    // the schedule at once. No call is made for index 0.
    void SetCanvasIndex(std::int32_t index) { canvas_index_ = index; }
    void SetRedrawCallback(std::function<void(std::int32_t canvas_index)> redraw) {
        redraw_ = std::move(redraw);
    }

    // All nine settings to 0 and the window taken as closed; NeedsSaving and the canvas are
    // left alone.
    void Reset();

    // Is the window open at the local date `now`?
    bool EnableNow(double now);

    // One line for lists and status displays: "24-hours", "07:00:00 to 19:00:00",
    // "sunset+30 min to sunrise-15 minutes".
    std::string Description() const;

    // The nine settings under their own key names in `section`, in the order canvas files
    // keep them; missing keys are written with their defaults, and a value that is not a
    // number reads as 0 with a warning. Loading leaves NeedsSaving false; saving leaves it to
    // the owner, who knows when the file was written. Saving returns false when the file
    // could not be written.
    void LoadSettings(INI& ini, std::string_view section);
    bool SaveSettings(INI& ini, std::string_view section) const;

private:
    double End(WindowEnd mode, double time, double sunrise_offset, double sunset_offset) const;
    bool WindowOpen(double now) const;

    SunTimes* sun_;
    std::function<void(std::int32_t)> redraw_;
    ScheduleKind schedule_mode_ = ScheduleKind::AllDay;
    WindowEnd start_mode_ = WindowEnd::Time;
    WindowEnd stop_mode_ = WindowEnd::Time;
    double start_absolute_time_ = 0;
    double stop_absolute_time_ = 0;
    double start_sunrise_offset_ = 0;
    double stop_sunrise_offset_ = 0;
    double start_sunset_offset_ = 0;
    double stop_sunset_offset_ = 0;
    bool needs_saving_ = false;
    std::int32_t canvas_index_ = 0;
    bool last_state_ = false;
};

} // namespace tess
