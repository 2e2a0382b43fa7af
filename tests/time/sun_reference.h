#pragma once

// An independent sunrise and sunset: NOAA's solar-position equations (after Meeus), worked
// from the published formulas, used to check the program's own computation.

namespace tess::test {

// Minutes after 00:00 UTC of the event nearest to noon UTC of the day `date` (whole days
// since 1899-12-30; the result may lie outside 0..1440), at the position in degrees (north
// and east positive). False when the sun does not rise or set.
bool ReferenceSunEvent(double latitude, double longitude, double date, bool sunrise,
                       double& minutes_utc);

} // namespace tess::test
