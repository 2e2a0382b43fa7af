#pragma once

namespace tess {

// The next due time of something that runs every `rate` seconds on a grid anchored at `base`
// seconds after the date origin (so at local midnight whenever the rate divides a day): the
// first grid point strictly after `now`. A rate of 0 means due at every request and gives
// `now` back.
double CalcNextUpdate(double rate, double base, double now);

} // namespace tess
