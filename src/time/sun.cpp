#include "time/sun.h"

#include "time/clock.h"
#include "time/sun_event.h"
#include "time/time_zone.h"

#include <cmath>

namespace tess {

void Sun::Refresh() {
    if (notice_ && latitude_ == 0 && longitude_ == 0) std::exchange(notice_, nullptr)();
    const double today = std::floor(clock_->Now());
    if (today == cached_day_) return;
    cached_day_ = today;
    sunrise_ = SunEventTime(latitude_, longitude_, zone_->GMTOffset(), "R", today);
    sunset_ = SunEventTime(latitude_, longitude_, zone_->GMTOffset(), "S", today);
}

double Sun::Sunrise() {
    Refresh();
    return sunrise_;
}

double Sun::Sunset() {
    Refresh();
    return sunset_;
}

} // namespace tess
