// Users type any text, stations send any column texts and the clock may hold any date: tag
// expansion must not crash, and a text without "<" must come back unchanged.

#include "imaging/tags/process_text.h"
#include "time/clock.h"
#include "time/sun_times.h"
#include "time/time_zone.h"
#include "weather/karvell.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace {

class AnySun : public tess::SunTimes {
public:
    explicit AnySun(double time) : time_(time) {}
    double Sunrise() override { return time_; }
    double Sunset() override { return -time_; }

private:
    double time_;
};

} // namespace

// Input: 8 bytes of a date for "now", the sun and the motion times; then a station line;
// then, after the first line end, the text.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    double when = 45358.5;
    if (size >= sizeof when) {
        std::memcpy(&when, data, sizeof when);
        data += sizeof when;
        size -= sizeof when;
    }
    std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::size_t end = input.find('\n');
    const std::string_view line = input.substr(0, end);
    const std::string_view text = end == std::string_view::npos ? input : input.substr(end + 1);

    tess::Karvell karvell;
    karvell.AcceptLine(line);
    tess::Clock clock;
    clock.SetFixed(when);
    tess::TimeZone zone(clock);
    AnySun sun(when);

    tess::TagContext context;
    context.now = when;
    context.sun = &sun;
    context.zone = &zone;
    context.karvell = &karvell;
    context.motion_time = [when](int feed) { return when + feed; };
    const std::string out = tess::ProcessText(text, context);
    if (text.find('<') == std::string_view::npos && out != text) __builtin_trap();
    return 0;
}
