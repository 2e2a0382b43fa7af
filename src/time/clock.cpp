#include "time/clock.h"

#include "time/local_time.h"

namespace tess {

double Clock::SystemNow() {
    return DateFromTimespec(SystemTimeNow());
}

} // namespace tess
