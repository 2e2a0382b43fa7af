#include "time/next_update.h"

#include <cmath>

namespace tess {

double CalcNextUpdate(double rate, double base, double now) {
    if (rate == 0) return now;
    // Counted in hundredths of a second. The guard of a ten-thousandth of a hundredth keeps a
    // `now` that sits on a grid point, give or take rounding, from yielding that same point
    // again. Users set their rates and base times against exactly this grid.
    const double x = now * 8640000.0 - base * 100.0 + 0.0001;
    const double n = std::floor(x / (rate * 100.0));
    return ((n + 1) * rate + base) / 86400.0;
}

bool IsDue(double next, double rate, double now) {
    // A hundredth of a second of slack: `next` itself lies up to one rate ahead.
    return next <= now || next - now > (rate + 0.01) / 86400.0;
}

} // namespace tess
