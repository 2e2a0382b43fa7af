#pragma once

// Sunrise and sunset by an iterative solar computation. The constants, the iteration and its
// odd corners are kept exactly as the program has always computed them, so that schedules
// switch at the same minute they always did.

#include <string_view>

namespace tess {

// Beyond this latitude (north or south) no sun times are computed: both events are 0.
inline constexpr double kSunLatitudeLimit = 63.0;

// The local time of day (a fraction of a day) of sunrise (`event` "R", or anything but "S")
// or sunset ("S", any case) on the day of `day` at the given position in degrees (north and
// east positive). `offset` is the hours to add to local time to get UTC. Returns 0 beyond
// the latitude limit and when the sun does not rise or set.
double SunEventTime(double latitude, double longitude, double offset, std::string_view event,
                    double day);

// The angle in radians reduced into [0, 2 pi).
double NormalizeAngle(double angle);

// The hour angle of the event from the cosine `c` of it: atan(sqrt(1 - c^2) / c) moved into
// [0, pi). Only an exact 0 gives 0 (not pi/2); when |c| > 1 there is no event, `failed` is
// set and `previous` is kept.
double HourAngle(double c, double previous, bool& failed);

} // namespace tess
