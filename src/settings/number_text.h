#pragma once

// The text forms of numbers that settings files, tags and displays use, independent of the
// C library's locale: parsing with a chosen decimal point, the classic general form
// ("12000", "0.05", "1E+20") and digit patterns such as "0.00" or "#,##0.0".

#include <string>
#include <string_view>

namespace tess {

struct NumberStyle {
    char point = '.';
    char group = ',';
};

// Accepts blanks around, a sign, "&H" hexadecimal or "&O" octal, digits with the given
// decimal point, and an exponent written with E or D. Non-finite results are refused.
bool ParseNumber(std::string_view text, char point, double& value);

// Whole numbers without decimals, others with up to `digits` significant digits and no
// trailing zeros; very large or small numbers as "1E+20", "1.5E-07".
std::string GeneralNumberText(double value, int digits);

// Formats with a digit pattern: '0' a digit that is always shown, '#' a digit shown only when
// significant, '.' the decimal point, ',' between digits for thousands grouping; other
// characters are copied. Rounds half away from zero on the 15-digit decimal form.
std::string FormatDigits(double value, std::string_view pattern, const NumberStyle& style);

} // namespace tess
