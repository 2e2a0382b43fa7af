#include "time/schedule.h"

#include "settings/limit.h"
#include "settings/numbers.h"
#include "time/sun_times.h"

#include <fmt/format.h>

namespace tess {

namespace {

constexpr double kMinutesPerDay = 1440;

// Nothing for 0, "+15", "+7.5" or "-30", then the unit.
std::string OffsetText(double offset, std::string_view unit) {
    if (offset == 0) return {};
    return fmt::format("{}{}{}", offset > 0 ? "+" : "", CStrNI(offset), unit);
}

} // namespace

void Schedule::SetScheduleMode(std::int32_t value) {
    needs_saving_ |= StoreMode(schedule_mode_, value, ScheduleKind::Window);
}
void Schedule::SetStartMode(std::int32_t value) {
    needs_saving_ |= StoreMode(start_mode_, value, WindowEnd::Sunset);
}
void Schedule::SetStopMode(std::int32_t value) {
    needs_saving_ |= StoreMode(stop_mode_, value, WindowEnd::Sunset);
}
void Schedule::SetStartAbsoluteTime(double value) {
    needs_saving_ |= StoreLimited(start_absolute_time_, value, 0.0, kLatestTime);
}
void Schedule::SetStopAbsoluteTime(double value) {
    needs_saving_ |= StoreLimited(stop_absolute_time_, value, 0.0, kLatestTime);
}
void Schedule::SetStartSunriseOffset(double value) {
    needs_saving_ |= StoreLimited(start_sunrise_offset_, value, -kMaxOffset, kMaxOffset);
}
void Schedule::SetStopSunriseOffset(double value) {
    needs_saving_ |= StoreLimited(stop_sunrise_offset_, value, -kMaxOffset, kMaxOffset);
}
void Schedule::SetStartSunsetOffset(double value) {
    needs_saving_ |= StoreLimited(start_sunset_offset_, value, -kMaxOffset, kMaxOffset);
}
void Schedule::SetStopSunsetOffset(double value) {
    needs_saving_ |= StoreLimited(stop_sunset_offset_, value, -kMaxOffset, kMaxOffset);
}

void Schedule::Reset() {
    schedule_mode_ = ScheduleKind::AllDay;
    start_mode_ = stop_mode_ = WindowEnd::Time;
    start_absolute_time_ = stop_absolute_time_ = 0;
    start_sunrise_offset_ = stop_sunrise_offset_ = 0;
    start_sunset_offset_ = stop_sunset_offset_ = 0;
    last_state_ = false;
}

// Sun-relative ends are not wrapped into the day: sunset + 300 minutes may be 1.08, which no
// time of day reaches, and is compared as it is.
double Schedule::End(WindowEnd mode, double time, double sunrise_offset,
                     double sunset_offset) const {
    switch (mode) {
    case WindowEnd::Time:
        return time;
    case WindowEnd::Sunrise:
        return sun_->Sunrise() + sunrise_offset / kMinutesPerDay;
    case WindowEnd::Sunset:
        return sun_->Sunset() + sunset_offset / kMinutesPerDay;
    }
    return 0;
}

bool Schedule::WindowOpen(double now) const {
    const double t = FP(now);
    const double start =
        End(start_mode_, start_absolute_time_, start_sunrise_offset_, start_sunset_offset_);
    const double stop =
        End(stop_mode_, stop_absolute_time_, stop_sunrise_offset_, stop_sunset_offset_);
    if (start == stop) return true;
    if (start < stop) return start <= t && t <= stop;
    return t >= start || t <= stop; // across midnight
}

bool Schedule::EnableNow(double now) {
    const bool open = schedule_mode_ == ScheduleKind::AllDay || WindowOpen(now);
    if (open != last_state_ && canvas_index_ != 0 && redraw_) redraw_(canvas_index_);
    last_state_ = open;
    return open;
}

std::string Schedule::Description() const {
    if (schedule_mode_ == ScheduleKind::AllDay) return "24-hours";
    auto part = [](WindowEnd mode, double time, double sunrise_offset, double sunset_offset,
                   std::string_view sunrise_unit) -> std::string {
        switch (mode) {
        case WindowEnd::Sunrise:
            return "sunrise" + OffsetText(sunrise_offset, sunrise_unit);
        case WindowEnd::Sunset:
            return "sunset" + OffsetText(sunset_offset, " min");
        case WindowEnd::Time:
            break;
        }
        return FormatNI(time, "HH:MM:SS");
    };
    // Users have always read "minutes" after a sunrise stop and "min" everywhere else.
    return part(start_mode_, start_absolute_time_, start_sunrise_offset_, start_sunset_offset_,
                " min") +
           " to " +
           part(stop_mode_, stop_absolute_time_, stop_sunrise_offset_, stop_sunset_offset_,
                " minutes");
}

} // namespace tess
