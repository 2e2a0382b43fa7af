#include "settings/numbers.h"

#include "base/error.h"
#include "base/text.h"
#include "settings/format.h"
#include "settings/vb_date.h"

#include <clocale>
#include <cmath>
#include <ctime>
#include <limits>

namespace tess {

namespace {

struct NumberLocale {
    bool decimal_comma = false;
    bool dot_time = false;
    NumberStyle style;
};

NumberLocale& Locale() {
    static NumberLocale locale;
    return locale;
}

double ParseOrRaise(std::string_view text) {
    double value = 0;
    if (!ParseNumber(text, '.', value)) throw TessError(ErrorNumber::TypeMismatch, "Type mismatch");
    return value;
}

template <typename Int>
Int RoundToInt(double value) {
    double rounded = std::nearbyint(value); // half to even, as the classic conversions do
    if (!(rounded >= std::numeric_limits<Int>::min() && rounded <= std::numeric_limits<Int>::max()))
        throw TessError(ErrorNumber::Overflow, "Overflow");
    return static_cast<Int>(rounded);
}

template <typename Int>
Int SaturatedInt(double value) {
    double rounded = std::nearbyint(value);
    if (rounded < std::numeric_limits<Int>::min()) return std::numeric_limits<Int>::min();
    if (rounded > std::numeric_limits<Int>::max()) return std::numeric_limits<Int>::max();
    return static_cast<Int>(rounded);
}

char SingleChar(const char* text, char fallback) {
    return (text && text[0] && !text[1]) ? text[0] : fallback;
}

} // namespace

void InitNumberFormat() {
    NumberLocale& l = Locale();
    std::setlocale(LC_ALL, "");
    const std::lconv* conv = std::localeconv();
    l.style.point = SingleChar(conv->decimal_point, '.');
    l.style.group = SingleChar(conv->thousands_sep, l.style.point == ',' ? '.' : ',');
    l.decimal_comma = l.style.point == ',';

    std::tm noon{};
    noon.tm_hour = 12;
    char text[64] = "";
    std::strftime(text, sizeof text, "%X", &noon);
    l.dot_time = std::string_view(text).starts_with("12.00");
    std::setlocale(LC_NUMERIC, "C");
}

bool DecimalCommaFlag() {
    return Locale().decimal_comma;
}
bool DotTimeFlag() {
    return Locale().dot_time;
}
const NumberStyle& LocaleNumberStyle() {
    return Locale().style;
}

bool Str2Bool(std::string_view text) {
    std::string upper = ToUpperAscii(Trim(text));
    return upper == "TRUE" || upper == "YES" || upper == "1";
}

double Str2Dbl(std::string_view text) {
    double value = 0;
    if (ParseNumber(text, Locale().style.point, value)) return value;
    return Str2DblNI(text);
}

std::int16_t Str2Int(std::string_view text) {
    return Str2IntNI(text);
}
std::int32_t Str2Lng(std::string_view text) {
    return Str2LngNI(text);
}

double Str2DblNI(std::string_view text) {
    double value = 0;
    return ParseNumber(text, '.', value) ? value : 0.0;
}

float Str2SngNI(std::string_view text) {
    double value = Str2DblNI(text);
    if (std::fabs(value) > std::numeric_limits<float>::max()) return 0.0f;
    return static_cast<float>(value);
}

std::int16_t Str2IntNI(std::string_view text) {
    return SaturatedInt<std::int16_t>(Str2DblNI(text));
}

std::int32_t Str2LngNI(std::string_view text) {
    double value = Str2DblNI(text);
    if (value > 2000000000.0) return 2000000000; // out-of-range settings saturate
    return SaturatedInt<std::int32_t>(value);
}

double Str2DateNI(std::string_view text) {
    double date = 0;
    return TryCDateNI(text, date) ? date : 0.0;
}

std::int16_t CIntNI(std::string_view text) {
    return CIntNI(ParseOrRaise(text));
}
std::int16_t CIntNI(double value) {
    return RoundToInt<std::int16_t>(value);
}
std::int32_t CLngNI(std::string_view text) {
    return CLngNI(ParseOrRaise(text));
}
std::int32_t CLngNI(double value) {
    return RoundToInt<std::int32_t>(value);
}
double CDblNI(std::string_view text) {
    return ParseOrRaise(text);
}

float CSngNI(std::string_view text) {
    double value = ParseOrRaise(text);
    if (std::fabs(value) > std::numeric_limits<float>::max())
        throw TessError(ErrorNumber::Overflow, "Overflow");
    return static_cast<float>(value);
}

bool TryCDateNI(std::string_view text, double& date) {
    if (!DotTimeFlag()) return ParseDateText(ReplaceAllCopy(text, ".", ":"), date);
    return ParseDateText(text, date);
}

double CDateNI(std::string_view text) {
    double date = 0;
    if (!TryCDateNI(text, date)) throw TessError(ErrorNumber::TypeMismatch, "Type mismatch");
    return date;
}

std::string CStrNI(double value) {
    return GeneralNumberText(value, 15);
}
std::string CStrNI(float value) {
    return GeneralNumberText(static_cast<double>(value), 7);
}

std::string FormatNI(double value, std::string_view pattern) {
    return Format(value, pattern);
}

std::string FormatI(double value, std::string_view pattern) {
    return Format(value, pattern, Locale().style);
}

std::string GetFormatI(std::string_view text) {
    text = Trim(text);
    std::size_t point = text.find('.');
    if (point == std::string_view::npos) return "0";
    std::size_t decimals = 0;
    for (std::size_t i = point + 1; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i)
        ++decimals;
    return decimals == 0 ? "0" : "0." + std::string(decimals, '0');
}

std::string NumberSeparator() {
    return std::string(1, Locale().style.point);
}

} // namespace tess
