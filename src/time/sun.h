#pragma once

// The station's sunrise and sunset for today, computed once per day. The cache is renewed
// only when the day changes, so a new station position or a daylight-saving change during
// the day shows from the next day on, and a 0 for a day without sunrise is kept like any
// other value.

#include "time/sun_times.h"

#include <functional>
#include <utility>

namespace tess {

class Clock;
class TimeZone;

class Sun : public SunTimes {
public:
    Sun(const Clock& clock, const TimeZone& zone) : clock_(&clock), zone_(&zone) {}

    // Degrees, north and east positive.
    void SetStation(double latitude, double longitude) {
        latitude_ = latitude;
        longitude_ = longitude;
    }
    // Called once, the first time sun times are asked for while the station is at 0,0 (the
    // default nobody means): the program warns that they are the Gulf of Guinea's.
    void SetUnsetStationNotice(std::function<void()> notice) { notice_ = std::move(notice); }
    double StationLatitude() const { return latitude_; }
    double StationLongitude() const { return longitude_; }

    double Sunrise() override;
    double Sunset() override;
    // The same values under the names scripts know them by.
    double GetSunrise() { return Sunrise(); }
    double GetSunset() { return Sunset(); }

private:
    void Refresh();

    const Clock* clock_;
    const TimeZone* zone_;
    double latitude_ = 0;
    double longitude_ = 0;
    double cached_day_ = 0;
    double sunrise_ = 0;
    double sunset_ = 0;
    std::function<void()> notice_;
};

} // namespace tess
