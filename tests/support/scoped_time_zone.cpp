#include "support/scoped_time_zone.h"

#include <cstdlib>
#include <ctime>

namespace tess::test {

ScopedTimeZone::ScopedTimeZone(const std::string& tz) {
    if (const char* old = std::getenv("TZ")) previous_ = old;
    ::setenv("TZ", tz.c_str(), 1);
    ::tzset();
}

ScopedTimeZone::~ScopedTimeZone() {
    if (previous_) {
        ::setenv("TZ", previous_->c_str(), 1);
    } else {
        ::unsetenv("TZ");
    }
    ::tzset();
}

} // namespace tess::test
