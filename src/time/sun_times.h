#pragma once

namespace tess {

// Today's sunrise and sunset at the station, as local times of day (fractions of a day; 0
// when the sun does not rise or set). Schedules ask through this so that tests can give them
// exact times.
class SunTimes {
public:
    virtual ~SunTimes() = default;
    virtual double Sunrise() = 0;
    virtual double Sunset() = 0;
};

} // namespace tess
