#pragma once

// The tag vocabulary: each group of tags with the prefix that must occur (in any case) in a
// text before the group is looked for, in the order the groups are expanded.

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace tess {

struct TagContext;

enum class TagKind : std::uint8_t {
    ZoneName,
    ZoneLookup,
    Sunrise,      // pattern
    Sunset,       // pattern
    Now,          // pattern
    NowFraction,  // pattern, then "." and `a` digits of the second's fraction
    NowFormalDay, // "1st" .. "31st"
    Motion,       // "<MotionDetectTime3>": pattern; the feed's number is written before ">"
    StationYear2,
    StationNumber, // record index `a`, pattern
    StationMonthName,
    StationHour12,
    StationAmPm, // `a` 1 for upper case
    Value,       // record index `a`, decimals as column `b`'s text carries
    Compass,     // record index `a`
    Condition,   // record index `a`
    TrendWord,   // record index `a`
    TrendMarker, // record index `a`
};

struct TagDef {
    std::string_view name;
    TagKind kind;
    int a = 0;
    int b = 0;
    std::string_view pattern = {};
};

struct TagGroup {
    std::string_view prefix;
    std::span<const TagDef> tags;
};

// Zone, sun, date, time, motion, weather.
std::span<const TagGroup> TagGroups();

// The tag's value; false when the service it needs is missing. `feed` is the number of a
// Motion tag.
bool TagValue(const TagDef& tag, int feed, const TagContext& context, std::string& out);

} // namespace tess
