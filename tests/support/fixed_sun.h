#pragma once

#include "time/sun_times.h"

namespace tess::test {

// Sun times that never change, for objects that own schedules.
class FixedSun : public SunTimes {
public:
    double Sunrise() override { return 0.25; }
    double Sunset() override { return 0.875; }
};

} // namespace tess::test
