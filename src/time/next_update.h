#pragma once

namespace tess {

// The next due time of something that runs every `rate` seconds on a grid anchored at `base`
// seconds after the date origin (so at local midnight whenever the rate divides a day): the
// first grid point strictly after `now`. A rate of 0 means due at every request and gives
// `now` back.
double CalcNextUpdate(double rate, double base, double now);

// Whether something whose next due time is `next` is due at `now`: its time has come, or the
// clock was set back by more than one `rate` (a corrected clock, the end of summer time),
// which would otherwise hold it back until the clock caught up again.
bool IsDue(double next, double rate, double now);

} // namespace tess
