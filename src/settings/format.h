#pragma once

// The classic Format function over the patterns the program uses. A pattern with date or
// time letters (y m d h n s w q, AM/PM) formats its value as a date; any other pattern is a
// digit pattern ("0", "00000000", "0.00", "#", "#,##0.0").
//
// Date letters are case-blind: "YYYY", "YY", "M"/"MM" (month, or minutes right after an hour
// or before seconds), "MMM" "Jan", "MMMM" "January", "D"/"DD", "DDD" "Sun", "DDDD" "Sunday",
// "H"/"HH", "N"/"NN", "S"/"SS", "Y" day of the year, "W" weekday, "Q" quarter; "AM/PM",
// "am/pm", "A/P", "AMPM" switch hours to the 12-hour clock. Text in double quotes and a
// character after "\" are copied as they stand.

#include "settings/number_text.h"

#include <string>
#include <string_view>

namespace tess {

bool IsDatePattern(std::string_view pattern);
std::string FormatDate(double date, std::string_view pattern);
std::string Format(double value, std::string_view pattern, const NumberStyle& style = {});

} // namespace tess
