#pragma once

#include <optional>
#include <string>

namespace tess::test {

// Sets TZ (for this process and the children it starts) for the life of the object, then
// puts back what was there. POSIX rules such as "CET-1CEST,M3.5.0,M10.5.0/3" need no zone
// files.
class ScopedTimeZone {
public:
    explicit ScopedTimeZone(const std::string& tz);
    ~ScopedTimeZone();
    ScopedTimeZone(const ScopedTimeZone&) = delete;
    ScopedTimeZone& operator=(const ScopedTimeZone&) = delete;

private:
    std::optional<std::string> previous_;
};

// Central European time with its summer time, the zone most of the tests use.
inline constexpr const char* kCentralEurope = "CET-1CEST,M3.5.0,M10.5.0/3";

} // namespace tess::test
