#pragma once

// Tags in a text item's text: "<TIME>", "<SUNRISE>", "<csvouttemp>" and the rest (README.md
// lists them all) become their values before the text is drawn. Tags are written exactly as
// listed (case counts); anything else in angle brackets stays as typed, and so do tags whose
// service is missing from the context.

#include <functional>
#include <string>
#include <string_view>

namespace tess {

class Karvell;
class SunTimes;
class TimeZone;

// What one update tick knows. The services are not owned; null leaves their tags as typed.
struct TagContext {
    double now = 0;          // the tick's CaptureTime
    SunTimes* sun = nullptr; // the station's sunrise and sunset today
    const TimeZone* zone = nullptr;
    const Karvell* karvell = nullptr;
    // The last motion trigger time of video feed 0..9; without it every feed shows 0.
    std::function<double(int feed)> motion_time;
};

inline constexpr int kMotionFeeds = 10;

std::string ProcessText(std::string_view text, const TagContext& context);

} // namespace tess
