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
    needs_saving_ |= StoreLimited(schedule_mode_, value, 0, 1);
}
void Schedule::SetStartMode(std::int32_t value) {
    needs_saving_ |= StoreLimited(start_mode_, value, 0, 2);
}
void Schedule::SetStopMode(std::int32_t value) {
    needs_saving_ |= StoreLimited(stop_mode_, value, 0, 2);
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
    schedule_mode_ = start_mode_ = stop_mode_ = 0;
    start_absolute_time_ = stop_absolute_time_ = 0;
    start_sunrise_offset_ = stop_sunrise_offset_ = 0;
    start_sunset_offset_ = stop_sunset_offset_ = 0;
    last_state_ = false;
}

// Sun-relative ends are not wrapped into the day: sunset + 300 minutes may be 1.08, which no
// time of day reaches, and is compared as it is.
double Schedule::End(std::int32_t mode, double time, double sunrise_offset,
                     double sunset_offset) const {
    switch (mode) {
    case 0:
        return time;
    case 1:
        return sun_->Sunrise() + sunrise_offset / kMinutesPerDay;
    case 2:
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
    bool open = false;
    if (schedule_mode_ == 0) {
        open = true;
    } else if (schedule_mode_ == 1) {
        open = WindowOpen(now);
    }
    if (open != last_state_ && canvas_index_ != 0 && redraw_) redraw_(canvas_index_);
    last_state_ = open;
    return open;
}

std::string Schedule::Description() const {
    if (schedule_mode_ == 0) return "24-hours";
    if (schedule_mode_ != 1) return {};
    auto part = [](std::int32_t mode, double time, double sunrise_offset, double sunset_offset,
                   std::string_view sunrise_unit) -> std::string {
        switch (mode) {
        case 1:
            return "sunrise" + OffsetText(sunrise_offset, sunrise_unit);
        case 2:
            return "sunset" + OffsetText(sunset_offset, " min");
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
