#include "settings/vb_date.h"

#include "base/text.h"

#include <array>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

namespace tess {

namespace {

constexpr long kEpochOffset = 25569; // days from 1899-12-30 to 1970-01-01

constexpr std::array<std::string_view, 12> kMonths = {
    "January", "February", "March",     "April",   "May",      "June",
    "July",    "August",   "September", "October", "November", "December"};
constexpr std::array<std::string_view, 7> kDays = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                   "Thursday", "Friday", "Saturday"};

long FloorDiv(long a, long b) {
    return a / b - ((a % b != 0) && ((a < 0) != (b < 0)));
}

void CivilFromDays(long z, int& y, int& m, int& d) {
    z += 719468;
    const long era = (z >= 0 ? z : z - 146096) / 146097;
    const long doe = z - era * 146097;
    const long yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const long doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const long mp = (5 * doy + 2) / 153;
    d = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
    m = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
    y = static_cast<int>(yoe + era * 400 + (m <= 2));
}

bool ParseInt(std::string_view text, int& value) {
    if (text.empty() || text.size() > 9) return false;
    auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

// Two-digit years follow the classic window: 00-29 are 2000s, 30-99 are 1900s.
int ExpandYear(int year, std::size_t digits) {
    if (digits > 2) return year;
    return year < 30 ? 2000 + year : 1900 + year;
}

bool ParseDatePart(std::string_view part, double& date) {
    char sep = part.find('-') != std::string_view::npos ? '-' : '/';
    auto fields = Split(part, sep);
    if (fields.size() != 3) return false;
    int a, b, c;
    if (!ParseInt(fields[0], a) || !ParseInt(fields[1], b) || !ParseInt(fields[2], c)) return false;
    int year, month, day;
    if (fields[0].size() >= 3) { // year first
        year = a, month = b, day = c;
    } else {
        month = a, day = b, year = ExpandYear(c, fields[2].size());
    }
    if (month < 1 || month > 12 || year < 100 || year > 9999) return false;
    if (day < 1 || day > DaysInMonth(year, month)) return false;
    date = DateSerial(year, month, day);
    return true;
}

enum class Meridiem { None, Am, Pm };

Meridiem ReadMeridiem(std::string_view text) {
    if (EqualsIgnoreCase(text, "AM") || EqualsIgnoreCase(text, "A")) return Meridiem::Am;
    if (EqualsIgnoreCase(text, "PM") || EqualsIgnoreCase(text, "P")) return Meridiem::Pm;
    return Meridiem::None;
}

bool ParseTimePart(std::string_view part, int& h, int& m, int& s, Meridiem& meridiem) {
    std::size_t letters = part.size();
    while (letters > 0 && std::isalpha(static_cast<unsigned char>(part[letters - 1])))
        --letters;
    if (letters < part.size()) {
        meridiem = ReadMeridiem(part.substr(letters));
        if (meridiem == Meridiem::None) return false;
        part = part.substr(0, letters);
    }
    auto fields = Split(part, ':');
    if (fields.size() < 2 || fields.size() > 3) return false;
    s = 0;
    if (!ParseInt(fields[0], h) || !ParseInt(fields[1], m)) return false;
    if (fields.size() == 3 && !ParseInt(fields[2], s)) return false;
    return m >= 0 && m < 60 && s >= 0 && s < 60 && h >= 0;
}

bool ApplyMeridiem(int& hour, Meridiem meridiem) {
    if (meridiem == Meridiem::None) return hour < 24;
    if (hour < 1 || hour > 12) return false;
    if (meridiem == Meridiem::Am && hour == 12) hour = 0;
    if (meridiem == Meridiem::Pm && hour != 12) hour += 12;
    return true;
}

bool ParsePlainNumber(std::string_view text, double& date) {
    auto result = std::from_chars(text.data(), text.data() + text.size(), date);
    return result.ec == std::errc() && result.ptr == text.data() + text.size() &&
           std::isfinite(date);
}

} // namespace

long DaysFromCivil(int y, int m, int d) {
    y -= m <= 2;
    const long era = (y >= 0 ? y : y - 399) / 400;
    const long yoe = y - era * 400;
    const long doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
    const long doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + doe - 719468;
}

double DateSerial(int year, int month, int day) {
    long months = static_cast<long>(year) * 12 + (month - 1);
    int y = static_cast<int>(FloorDiv(months, 12));
    int m = static_cast<int>(months - static_cast<long>(y) * 12) + 1;
    return static_cast<double>(DaysFromCivil(y, m, 1) + (day - 1) + kEpochOffset);
}

double TimeSerial(int hour, int minute, int second) {
    return (hour * 3600.0 + minute * 60.0 + second) / 86400.0;
}

DateFields SplitDate(double date) {
    DateFields f;
    if (!std::isfinite(date) || std::fabs(date) > 3.0e6) return f;
    const auto total = static_cast<long>(std::llround(date * 86400.0));
    const long days = FloorDiv(total, 86400);
    long secs = total - days * 86400;
    CivilFromDays(days - kEpochOffset, f.year, f.month, f.day);
    f.hour = static_cast<int>(secs / 3600);
    secs %= 3600;
    f.minute = static_cast<int>(secs / 60);
    f.second = static_cast<int>(secs % 60);
    f.weekday = static_cast<int>(((days + 6) % 7 + 7) % 7) + 1;
    f.day_of_year = static_cast<int>(days - (DaysFromCivil(f.year, 1, 1) + kEpochOffset)) + 1;
    return f;
}

bool IsLeapYear(int year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int DaysInMonth(int year, int month) {
    static constexpr int kLengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month < 1 || month > 12) return 0;
    return month == 2 && IsLeapYear(year) ? 29 : kLengths[month - 1];
}

std::string_view MonthName(int month) {
    return month >= 1 && month <= 12 ? kMonths[month - 1] : std::string_view();
}
std::string_view MonthShortName(int month) {
    return MonthName(month).substr(0, 3);
}
std::string_view DayName(int weekday) {
    return weekday >= 1 && weekday <= 7 ? kDays[weekday - 1] : std::string_view();
}
std::string_view DayShortName(int weekday) {
    return DayName(weekday).substr(0, 3);
}

bool ParseDateText(std::string_view text, double& date) {
    text = TrimWhitespace(text);
    if (text.empty()) return false;
    if (ParsePlainNumber(text, date)) return true;

    double day = 0;
    bool have_date = false, have_time = false;
    int h = 0, m = 0, s = 0;
    Meridiem meridiem = Meridiem::None;
    for (std::string_view part : Split(text, ' ')) {
        if (part.empty()) continue;
        if (Meridiem mer = ReadMeridiem(part); mer != Meridiem::None && have_time) {
            if (meridiem != Meridiem::None) return false;
            meridiem = mer;
        } else if (part.find(':') != std::string_view::npos) {
            if (have_time || !ParseTimePart(part, h, m, s, meridiem)) return false;
            have_time = true;
        } else if (part.find_first_of("-/") != std::string_view::npos) {
            if (have_date || !ParseDatePart(part, day)) return false;
            have_date = true;
        } else {
            return false;
        }
    }
    if (have_time && !ApplyMeridiem(h, meridiem)) return false;
    date = day + (have_time ? TimeSerial(h, m, s) : 0.0);
    return have_date || have_time;
}

} // namespace tess
