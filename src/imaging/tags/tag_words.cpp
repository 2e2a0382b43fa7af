#include "imaging/tags/tag_words.h"

#include <array>
#include <cmath>

namespace tess {

namespace {

constexpr std::array<std::string_view, 16> kCompass = {"N",  "NNE", "NE", "ENE", "E",  "ESE",
                                                       "SE", "SSE", "S",  "SSW", "SW", "WSW",
                                                       "W",  "WNW", "NW", "NNW"};

// A station's column 19 holds the position of its condition in this list.
constexpr std::array<std::string_view, kConditionCodes> kConditions = {
    "Clear",         "Few Clouds",   "Scattered Clouds",
    "Broken Clouds", "Overcast",     "Drizzle",
    "Rain",          "Frozen Rain",  "Showers",
    "Mist",          "Tornado",      "Fog",
    "Smoke",         "Hail",         "Haze",
    "Ice Crystals",  "Sand",         "Snow Grains",
    "Snow",          "Snow Showers", "Lightning",
    "Thundershowers"};

} // namespace

std::string_view CompassPoint(double degrees) {
    if (!std::isfinite(degrees)) return "N";
    double d = std::fmod(degrees, 360.0);
    if (d < 0) d += 360.0;
    const auto sector = static_cast<int>(std::floor((d + 11.25) / 22.5)) % 16;
    return kCompass[static_cast<std::size_t>(sector)];
}

std::string_view ConditionWord(double code) {
    if (!(code >= 0 && code < kConditionCodes) || code != std::floor(code)) return "Unknown";
    return kConditions[static_cast<std::size_t>(code)];
}

std::string_view TrendWord(double trend) {
    if (trend == 1) return "Rising";
    if (trend == -1) return "Falling";
    return "Steady";
}

std::string_view TrendMarker(double trend) {
    if (trend == 1) return "<trendup>";
    if (trend == -1) return "<trenddown>";
    return "<trendsteady>";
}

std::string_view OrdinalSuffix(int day) {
    if (day % 100 >= 11 && day % 100 <= 13) return "th";
    switch (day % 10) {
    case 1:
        return "st";
    case 2:
        return "nd";
    case 3:
        return "rd";
    }
    return "th";
}

} // namespace tess
