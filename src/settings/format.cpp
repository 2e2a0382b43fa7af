#include "settings/format.h"

#include "base/text.h"
#include "settings/vb_date.h"

#include <vector>

#include <fmt/format.h>

namespace tess {

namespace {

enum class Field {
    Literal,
    Year4,
    Year2,
    DayOfYear,
    Month,
    Month2,
    MonthShort,
    MonthLong,
    Day,
    Day2,
    DayShort,
    DayLong,
    Hour,
    Hour2,
    Minute,
    Minute2,
    Second,
    Second2,
    AmPm,
    Weekday,
    Quarter
};

struct Token {
    Field field = Field::Literal;
    std::string text; // literal text, or the AM/PM spelling
};

std::size_t RunLength(std::string_view p, std::size_t i) {
    char c = ToLowerAscii(p[i]);
    std::size_t n = 1;
    while (i + n < p.size() && ToLowerAscii(p[i + n]) == c)
        ++n;
    return n;
}

std::size_t MatchAmPm(std::string_view p, std::size_t i) {
    for (std::string_view form : {"am/pm", "ampm", "a/p"}) {
        if (EqualsIgnoreCase(p.substr(i, form.size()), form)) return form.size();
    }
    return 0;
}

Field RunField(char c, std::size_t n) {
    switch (c) {
    case 'y':
        return n >= 3 ? Field::Year4 : n == 2 ? Field::Year2 : Field::DayOfYear;
    case 'm':
        return n >= 4   ? Field::MonthLong
               : n == 3 ? Field::MonthShort
               : n == 2 ? Field::Month2
                        : Field::Month;
    case 'd':
        return n >= 4   ? Field::DayLong
               : n == 3 ? Field::DayShort
               : n == 2 ? Field::Day2
                        : Field::Day;
    case 'h':
        return n >= 2 ? Field::Hour2 : Field::Hour;
    case 'n':
        return n >= 2 ? Field::Minute2 : Field::Minute;
    case 's':
        return n >= 2 ? Field::Second2 : Field::Second;
    case 'w':
        return Field::Weekday;
    case 'q':
        return Field::Quarter;
    }
    return Field::Literal;
}

bool IsDateLetter(char c) {
    c = ToLowerAscii(c);
    return c == 'y' || c == 'm' || c == 'd' || c == 'h' || c == 'n' || c == 's' || c == 'w' ||
           c == 'q';
}

void AddLiteral(std::vector<Token>& tokens, std::string_view text) {
    if (tokens.empty() || tokens.back().field != Field::Literal) tokens.push_back({});
    tokens.back().text += text;
}

std::vector<Token> Tokenise(std::string_view p) {
    std::vector<Token> tokens;
    for (std::size_t i = 0; i < p.size();) {
        if (p[i] == '"') {
            std::size_t end = p.find('"', i + 1);
            if (end == std::string_view::npos) end = p.size();
            AddLiteral(tokens, p.substr(i + 1, end - i - 1));
            i = end + 1;
        } else if (p[i] == '\\' && i + 1 < p.size()) {
            AddLiteral(tokens, p.substr(i + 1, 1));
            i += 2;
        } else if (std::size_t n = MatchAmPm(p, i)) {
            tokens.push_back({Field::AmPm, std::string(p.substr(i, n))});
            i += n;
        } else if (IsDateLetter(p[i])) {
            std::size_t n = RunLength(p, i);
            tokens.push_back({RunField(ToLowerAscii(p[i]), n), {}});
            i += n;
        } else {
            AddLiteral(tokens, p.substr(i, 1));
            ++i;
        }
    }
    return tokens;
}

bool IsHour(Field f) {
    return f == Field::Hour || f == Field::Hour2;
}
bool IsSecond(Field f) {
    return f == Field::Second || f == Field::Second2;
}

// "M" and "MM" mean minutes right after an hour or right before seconds.
void ResolveMinutes(std::vector<Token>& tokens) {
    auto neighbour = [&](std::size_t i, int step) -> Field {
        for (long j = static_cast<long>(i) + step; j >= 0 && j < static_cast<long>(tokens.size());
             j += step) {
            if (tokens[static_cast<std::size_t>(j)].field != Field::Literal)
                return tokens[static_cast<std::size_t>(j)].field;
        }
        return Field::Literal;
    };
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        Field f = tokens[i].field;
        if (f != Field::Month && f != Field::Month2) continue;
        if (IsHour(neighbour(i, -1)) || IsSecond(neighbour(i, +1)))
            tokens[i].field = f == Field::Month ? Field::Minute : Field::Minute2;
    }
}

std::string AmPmText(const std::string& spelling, int hour) {
    bool pm = hour >= 12;
    bool lower = spelling[0] == 'a';
    if (EqualsIgnoreCase(spelling, "a/p")) return lower ? (pm ? "p" : "a") : (pm ? "P" : "A");
    return lower ? (pm ? "pm" : "am") : (pm ? "PM" : "AM");
}

} // namespace

bool IsDatePattern(std::string_view pattern) {
    for (const Token& t : Tokenise(pattern)) {
        if (t.field != Field::Literal) return true;
    }
    return false;
}

std::string FormatDate(double date, std::string_view pattern) {
    std::vector<Token> tokens = Tokenise(pattern);
    ResolveMinutes(tokens);
    bool twelve = false;
    for (const Token& t : tokens)
        twelve |= t.field == Field::AmPm;
    const DateFields f = SplitDate(date);
    int hour = f.hour;
    if (twelve) hour = hour % 12 == 0 ? 12 : hour % 12;

    std::string out;
    for (const Token& t : tokens) {
        switch (t.field) {
        case Field::Literal:
            out += t.text;
            break;
        case Field::Year4:
            out += fmt::format("{:04}", f.year);
            break;
        case Field::Year2:
            out += fmt::format("{:02}", f.year % 100);
            break;
        case Field::DayOfYear:
            out += fmt::format("{}", f.day_of_year);
            break;
        case Field::Month:
            out += fmt::format("{}", f.month);
            break;
        case Field::Month2:
            out += fmt::format("{:02}", f.month);
            break;
        case Field::MonthShort:
            out += MonthShortName(f.month);
            break;
        case Field::MonthLong:
            out += MonthName(f.month);
            break;
        case Field::Day:
            out += fmt::format("{}", f.day);
            break;
        case Field::Day2:
            out += fmt::format("{:02}", f.day);
            break;
        case Field::DayShort:
            out += DayShortName(f.weekday);
            break;
        case Field::DayLong:
            out += DayName(f.weekday);
            break;
        case Field::Hour:
            out += fmt::format("{}", hour);
            break;
        case Field::Hour2:
            out += fmt::format("{:02}", hour);
            break;
        case Field::Minute:
            out += fmt::format("{}", f.minute);
            break;
        case Field::Minute2:
            out += fmt::format("{:02}", f.minute);
            break;
        case Field::Second:
            out += fmt::format("{}", f.second);
            break;
        case Field::Second2:
            out += fmt::format("{:02}", f.second);
            break;
        case Field::AmPm:
            out += AmPmText(t.text, f.hour);
            break;
        case Field::Weekday:
            out += fmt::format("{}", f.weekday);
            break;
        case Field::Quarter:
            out += fmt::format("{}", (f.month - 1) / 3 + 1);
            break;
        }
    }
    return out;
}

std::string Format(double value, std::string_view pattern, const NumberStyle& style) {
    if (IsDatePattern(pattern)) return FormatDate(value, pattern);
    return FormatDigits(value, pattern, style);
}

} // namespace tess
