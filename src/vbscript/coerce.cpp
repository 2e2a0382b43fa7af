#include "vbscript/coerce.h"

#include "base/text.h"
#include "settings/number_text.h"
#include "settings/vb_date.h"
#include "vbscript/errors.h"
#include "vbscript/object.h"

#include <cmath>
#include <limits>

#include <fmt/format.h>

namespace tess::vbs {

using Tag = Variant::Tag;

Variant ValueOf(const Variant& in) {
    const Variant& v = in.Deref();
    if (!v.IsObject()) return v;
    Object* object = v.object();
    if (!object) Raise(err::kObjectVariableNotSet);
    const int id = object->DefaultMember();
    if (id < 0) Raise(err::kNoSuchMember);
    Variant result;
    if (int e = object->Invoke(id, InvokeKind::Get, {}, result)) Raise(e);
    if (result.IsObject()) Raise(err::kTypeMismatch);
    return result;
}

double RoundEven(double value) {
    return std::nearbyint(value); // the default rounding mode is to nearest, ties to even
}

bool StringToNumber(std::string_view text, double& value) {
    return ParseNumber(text, '.', value);
}

double ToDouble(const Variant& in) {
    const Variant& v = in.Deref();
    switch (v.tag()) {
    case Tag::Empty:
        return 0;
    case Tag::Null:
        Raise(err::kInvalidUseOfNull);
    case Tag::Boolean:
    case Tag::Byte:
    case Tag::Integer:
    case Tag::Long:
        return v.whole();
    case Tag::Single:
    case Tag::Double:
    case Tag::Date:
        return v.real();
    case Tag::Currency:
        return static_cast<double>(v.currency()) / 10000.0;
    case Tag::String: {
        double d = 0;
        if (!StringToNumber(v.text(), d)) Raise(err::kTypeMismatch);
        return d;
    }
    case Tag::Object:
        return ToDouble(ValueOf(v));
    default:
        Raise(err::kTypeMismatch);
    }
}

std::int32_t ToLong(const Variant& in) {
    const Variant& v = in.Deref();
    if (v.IsWhole()) return v.whole();
    const double d = RoundEven(ToDouble(v));
    if (!(d >= -2147483648.0 && d <= 2147483647.0)) Raise(err::kOverflow);
    return static_cast<std::int32_t>(d);
}

std::int16_t ToInteger(const Variant& v) {
    const double d = RoundEven(ToDouble(v));
    if (!(d >= -32768.0 && d <= 32767.0)) Raise(err::kOverflow);
    return static_cast<std::int16_t>(d);
}

std::uint8_t ToByte(const Variant& v) {
    const double d = RoundEven(ToDouble(v));
    if (!(d >= 0 && d <= 255.0)) Raise(err::kOverflow);
    return static_cast<std::uint8_t>(d);
}

float ToSingle(const Variant& v) {
    const double d = ToDouble(v);
    if (std::fabs(d) > std::numeric_limits<float>::max()) Raise(err::kOverflow);
    return static_cast<float>(d);
}

std::int64_t ToCurrency(const Variant& in) {
    const Variant& v = in.Deref();
    if (v.tag() == Tag::Currency) return v.currency();
    const double d = RoundEven(ToDouble(v) * 10000.0);
    if (!(std::fabs(d) < 9.2233720368547758e18)) Raise(err::kOverflow);
    return static_cast<std::int64_t>(d);
}

bool ToBool(const Variant& in) {
    const Variant& v = in.Deref();
    if (v.IsWhole()) return v.whole() != 0;
    if (v.IsString()) {
        const std::string_view t = Trim(v.text());
        if (EqualsIgnoreCase(t, "true")) return true;
        if (EqualsIgnoreCase(t, "false")) return false;
    }
    return ToDouble(v) != 0;
}

double ToDate(const Variant& in) {
    const Variant& v = in.Deref();
    if (v.IsString()) {
        double d = 0;
        if (ParseDateText(Trim(v.text()), d)) return d;
        Raise(err::kTypeMismatch);
    }
    const double d = ToDouble(v);
    // The calendar runs from the year 100 to 9999.
    if (d < -657434.0 || d >= 2958466.0) Raise(err::kOverflow);
    return d;
}

std::string DoubleToString(double value) {
    return GeneralNumberText(value, 15);
}

std::string CurrencyToString(std::int64_t scaled) {
    const bool negative = scaled < 0;
    const std::uint64_t magnitude =
        negative ? 0 - static_cast<std::uint64_t>(scaled) : static_cast<std::uint64_t>(scaled);
    std::string text = fmt::format("{}{}", negative ? "-" : "", magnitude / 10000);
    std::uint64_t fraction = magnitude % 10000;
    if (fraction != 0) {
        std::string digits = fmt::format("{:04}", fraction);
        while (digits.back() == '0')
            digits.pop_back();
        text += "." + digits;
    }
    return text;
}

std::string DateToString(double date) {
    const DateFields f = SplitDate(date);
    const double days = std::trunc(date);
    const bool has_time = std::fabs(date - days) > 1e-9 && f.hour + f.minute + f.second > 0;
    std::string text;
    if (days != 0 || !has_time) text = fmt::format("{}/{}/{}", f.month, f.day, f.year);
    if (has_time) {
        if (!text.empty()) text += ' ';
        const int hour12 = f.hour % 12 == 0 ? 12 : f.hour % 12;
        text +=
            fmt::format("{}:{:02}:{:02} {}", hour12, f.minute, f.second, f.hour < 12 ? "AM" : "PM");
    }
    return text;
}

std::string ToString(const Variant& in) {
    const Variant& v = in.Deref();
    switch (v.tag()) {
    case Tag::Empty:
        return {};
    case Tag::Null:
        Raise(err::kInvalidUseOfNull);
    case Tag::Boolean:
        return v.whole() ? "True" : "False";
    case Tag::Byte:
    case Tag::Integer:
    case Tag::Long:
        return std::to_string(v.whole());
    case Tag::Single:
        return GeneralNumberText(v.real(), 7);
    case Tag::Double:
        return DoubleToString(v.real());
    case Tag::Currency:
        return CurrencyToString(v.currency());
    case Tag::Date:
        return DateToString(v.real());
    case Tag::String:
        return v.text();
    case Tag::Object:
        return ToString(ValueOf(v));
    case Tag::Error:
        return "Error " + std::to_string(v.whole());
    default:
        Raise(err::kTypeMismatch);
    }
}

} // namespace tess::vbs
