#pragma once

// The words some tags show instead of numbers: compass points, weather conditions, trends
// and the day of the month as an ordinal.

#include <string_view>

namespace tess {

// One of the sixteen points "N", "NNE", ... "NNW". Each covers 22.5 degrees centred on its
// own direction (N from 348.75 up to 11.25); a direction on a boundary takes the next point
// clockwise. Any direction is reduced into 0..360 first.
std::string_view CompassPoint(double degrees);

// The station's condition codes 0..21 (see README.md): 0 "Clear", 1 "Few Clouds", ...
// 21 "Thundershowers"; any other value gives "Unknown".
std::string_view ConditionWord(double code);
inline constexpr int kConditionCodes = 22;

// 1 "Rising", -1 "Falling", anything else "Steady"; the markers are "<trendup>",
// "<trenddown>" and "<trendsteady>", which the text item draws as arrows.
std::string_view TrendWord(double trend);
std::string_view TrendMarker(double trend);

// "st", "nd", "rd" or "th" for a day of the month: 1st, 2nd, 3rd, 4th, 11th, 12th, 13th, 21st.
std::string_view OrdinalSuffix(int day);

} // namespace tess
