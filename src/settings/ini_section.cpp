#include "settings/ini_section.h"

#include "base/log.h"
#include "settings/ini.h"
#include "settings/numbers.h"

#include <cmath>

#include <fmt/format.h>

namespace tess {

namespace {
constexpr std::uint32_t kLargestColor = 0xFFFFFF;
}

std::string ColorText(std::uint32_t color) {
    return fmt::format("&H{:06X}", color);
}

std::string TimeOfDayText(double seconds) {
    return FormatNI(seconds / 86400.0, "HH:MM:SS");
}

std::int32_t SecondsOfDay(double date) {
    return static_cast<std::int32_t>(std::lround(FP(date) * 86400.0)) % 86400;
}

std::string IniSection::Get(std::string_view key, std::string_view def) {
    return ini_->GetKey(section_, key, WriteDefault::Yes, def);
}

void IniSection::Warn(std::string_view key, std::string_view text, std::string_view what,
                      std::string_view def) {
    LogWarning("'{}' [{}] {}: '{}' is not {}; {} is used instead", ini_->File(), section_, key,
               text, what, def);
}

std::string IniSection::Text(std::string_view key, std::string_view def) {
    return Get(key, def);
}

bool IniSection::Bool(std::string_view key, bool def) {
    return Str2Bool(Get(key, CStrNI(def)));
}

std::int32_t IniSection::Long(std::string_view key, std::string_view def) {
    std::string text = Get(key, def);
    double value = 0;
    if (!ParseNumber(text, '.', value)) {
        Warn(key, text, "a number", def);
        return Str2LngNI(def);
    }
    return Str2LngNI(text);
}

double IniSection::Double(std::string_view key, std::string_view def) {
    std::string text = Get(key, def);
    double value = 0;
    if (!ParseNumber(text, '.', value)) {
        Warn(key, text, "a number", def);
        return Str2DblNI(def);
    }
    return value;
}

// A number is a date as the files keep dates, days since the origin ("0.3125" is 07:30);
// anything else is read as a date or time text ("07:30:00").
double IniSection::Date(std::string_view key, std::string_view def) {
    std::string text = Get(key, def);
    double date = 0;
    if (ParseNumber(text, '.', date)) return date;
    if (!TryCDateNI(text, date)) {
        Warn(key, text, "a time", def);
        return Str2DateNI(def);
    }
    return date;
}

std::int32_t IniSection::TimeOfDay(std::string_view key) {
    return SecondsOfDay(Date(key, "00:00:00"));
}

std::uint32_t IniSection::Color(std::string_view key, std::string_view def) {
    std::string text = Get(key, def);
    double value = 0;
    if (!ParseNumber(text, '.', value)) {
        Warn(key, text, "a colour", def);
        ParseNumber(def, '.', value);
    }
    Limit(value, 0.0, static_cast<double>(kLargestColor));
    return static_cast<std::uint32_t>(value);
}

void IniSection::SetText(std::string_view key, std::string_view value) {
    writes_ok_ &= ini_->SetKey(section_, key, value);
}

void IniSection::SetBool(std::string_view key, bool value) {
    SetText(key, CStrNI(value));
}

void IniSection::SetLong(std::string_view key, std::int64_t value) {
    SetText(key, CStrNI(value));
}

void IniSection::SetDouble(std::string_view key, double value) {
    SetText(key, CStrNI(value));
}

void IniSection::SetSingle(std::string_view key, float value) {
    SetText(key, CStrNI(value));
}

void IniSection::SetTimeOfDay(std::string_view key, double seconds) {
    SetText(key, TimeOfDayText(seconds));
}

void IniSection::SetColor(std::string_view key, std::uint32_t color) {
    SetText(key, ColorText(color));
}

} // namespace tess
