#pragma once

// Conversions between numbers, dates and the text that settings files hold. The NI
// ("not international") functions read and write the same text whatever the user's locale:
// a full stop for decimals, "HH:MM:SS" times. The I functions follow the locale on purpose,
// for what users see. Str2* functions never fail: text that is not a number reads as 0.
// C*NI functions raise a type-mismatch error for such text, as the classic conversions do.

#include "settings/limit.h"
#include "settings/number_text.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

namespace tess {

// Reads the locale from the environment once at start-up. Decimals and the time separator
// are remembered; the C library itself is left on invariant numbers so that no other code's
// printf or strtod changes with the user's locale.
void InitNumberFormat();
bool DecimalCommaFlag(); // the locale writes decimals with a comma
bool DotTimeFlag();      // the locale separates hours and minutes with "."
const NumberStyle& LocaleNumberStyle();

bool Str2Bool(std::string_view text);  // "TRUE", "YES", "1" (blanks and case ignored)
double Str2Dbl(std::string_view text); // the locale's decimal separator, or a full stop
std::int16_t Str2Int(std::string_view text);
std::int32_t Str2Lng(std::string_view text);

double Str2DblNI(std::string_view text);
float Str2SngNI(std::string_view text);
std::int16_t Str2IntNI(std::string_view text);
std::int32_t Str2LngNI(std::string_view text); // saturates at 2000000000
// A date or time of day; 0 when the text is not one.
double Str2DateNI(std::string_view text);

std::int16_t CIntNI(std::string_view text);
std::int16_t CIntNI(double value); // rounds half to even; overflow error outside 16 bits
std::int32_t CLngNI(std::string_view text);
std::int32_t CLngNI(double value);
double CDblNI(std::string_view text);
float CSngNI(std::string_view text);
double CDateNI(std::string_view text);
bool TryCDateNI(std::string_view text, double& date);

std::string CStrNI(double value); // "1.5", "0.05", "12000", "1E+20"
std::string CStrNI(float value);  // 7 significant digits
template <typename T>
requires std::is_integral_v<T> std::string CStrNI(T value) {
    return std::to_string(value);
}
inline std::string CStrNI(bool value) {
    return value ? "True" : "False";
}

std::string FormatNI(double value, std::string_view pattern);
std::string FormatI(double value, std::string_view pattern);
// A digit pattern with as many decimals as `text` carries: "12.30" gives "0.00".
std::string GetFormatI(std::string_view text);
std::string NumberSeparator(); // the locale's decimal separator

} // namespace tess
