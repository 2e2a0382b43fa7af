#pragma once
// VBScript's conversions between Variant subtypes. Each raises the language's run-time error
// (13 "Type mismatch", 6 "Overflow", 94 "Invalid use of Null") when the value does not fit.

#include "vbscript/variant.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace tess::vbs {

// An object in a value position stands for its default member.
Variant ValueOf(const Variant& v);

double ToDouble(const Variant& v);
std::int32_t ToLong(const Variant& v);    // rounds half to even
std::int16_t ToInteger(const Variant& v); // rounds half to even
std::uint8_t ToByte(const Variant& v);
float ToSingle(const Variant& v);
std::int64_t ToCurrency(const Variant& v); // ten-thousandths
bool ToBool(const Variant& v);
double ToDate(const Variant& v);
std::string ToString(const Variant& v);

// Rounds half to even, as every VBScript conversion to a whole number does.
double RoundEven(double value);
// A string read as a number the way the language reads one ("&H10", " 1.5e3 "); false when
// the text is not a number.
bool StringToNumber(std::string_view text, double& value);
// CStr of a date: "M/D/YYYY", "h:mm:ss AM", or both.
std::string DateToString(double date);
std::string DoubleToString(double value);
std::string CurrencyToString(std::int64_t scaled);
// A double as the narrowest whole subtype that holds it, else a Double.
// Whether an If or loop condition holds: Null counts as False.
inline bool Truth(const Variant& v) {
    const Variant& d = v.Deref();
    if (d.IsNull()) return false;
    if (d.tag() == Variant::Tag::Boolean) return d.whole() != 0;
    return ToBool(d);
}

// Inline: every whole-number operation ends here.
inline Variant FitWhole(std::int64_t value, int narrowest_rank) {
    if (narrowest_rank <= 1 && value >= 0 && value <= 255)
        return Variant::Byte(static_cast<int>(value));
    if (narrowest_rank <= 2 && value >= -32768 && value <= 32767)
        return Variant::Integer(static_cast<int>(value));
    if (value >= INT32_MIN && value <= INT32_MAX)
        return Variant::Long(static_cast<std::int32_t>(value));
    return Variant::Double(static_cast<double>(value));
}

} // namespace tess::vbs
