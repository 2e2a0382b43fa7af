#include "settings/number_text.h"

#include "base/text.h"

#include <charconv>
#include <cmath>
#include <cstdint>

namespace tess {

namespace {

bool ParseRadix(std::string_view digits, int radix, double& value) {
    if (digits.empty() || digits.size() > 22) return false;
    std::uint64_t n = 0;
    auto result = std::from_chars(digits.data(), digits.data() + digits.size(), n, radix);
    if (result.ec != std::errc() || result.ptr != digits.data() + digits.size()) return false;
    value = static_cast<double>(n);
    return true;
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// Copies a decimal number into `out` in from_chars form; false when it is not one.
bool NormaliseDecimal(std::string_view text, char point, std::string& out) {
    std::size_t i = 0, digits = 0;
    for (; i < text.size() && IsDigit(text[i]); ++i, ++digits)
        out += text[i];
    if (i < text.size() && text[i] == point) {
        out += '.';
        for (++i; i < text.size() && IsDigit(text[i]); ++i, ++digits)
            out += text[i];
    }
    if (digits == 0) return false;
    if (i < text.size() && (text[i] == 'e' || text[i] == 'E' || text[i] == 'd' || text[i] == 'D')) {
        out += 'e';
        ++i;
        if (i < text.size() && (text[i] == '+' || text[i] == '-')) out += text[i++];
        std::size_t exp_digits = 0;
        for (; i < text.size() && IsDigit(text[i]); ++i, ++exp_digits)
            out += text[i];
        if (exp_digits == 0) return false;
    }
    return i == text.size();
}

} // namespace

bool ParseNumber(std::string_view text, char point, double& value) {
    text = TrimWhitespace(text);
    bool negative = false;
    if (!text.empty() && (text[0] == '+' || text[0] == '-')) {
        negative = text[0] == '-';
        text.remove_prefix(1);
    }
    double result = 0;
    if (text.size() > 2 && text[0] == '&' && (text[1] == 'H' || text[1] == 'h')) {
        if (!ParseRadix(text.substr(2), 16, result)) return false;
    } else if (text.size() > 2 && text[0] == '&' && (text[1] == 'O' || text[1] == 'o')) {
        if (!ParseRadix(text.substr(2), 8, result)) return false;
    } else {
        std::string plain;
        if (!NormaliseDecimal(text, point, plain)) return false;
        auto r = std::from_chars(plain.data(), plain.data() + plain.size(), result);
        if (r.ec != std::errc() || !std::isfinite(result)) return false;
    }
    value = negative ? -result : result;
    return true;
}

std::string GeneralNumberText(double value, int digits) {
    if (value == 0 || !std::isfinite(value)) return "0";
    char buffer[64];
    auto r =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, digits);
    std::string text(buffer, r.ptr);
    if (std::size_t e = text.find('e'); e != std::string::npos) text[e] = 'E';
    return text;
}

namespace {

struct DigitPattern {
    std::string prefix, suffix;
    bool grouping = false;
    bool has_point = false;
    int min_int_digits = 0;
    int min_frac_digits = 0;
    int max_frac_digits = 0;
};

DigitPattern ReadPattern(std::string_view pattern) {
    DigitPattern p;
    std::size_t first = pattern.find_first_of("0#.");
    std::size_t last = pattern.find_last_of("0#.");
    if (first == std::string_view::npos) {
        p.prefix = pattern;
        return p;
    }
    p.prefix = pattern.substr(0, first);
    p.suffix = pattern.substr(last + 1);
    bool in_fraction = false;
    for (char c : pattern.substr(first, last - first + 1)) {
        if (c == '.') {
            in_fraction = p.has_point = true;
        } else if (c == ',' && !in_fraction) {
            p.grouping = true;
        } else if (c == '0' || c == '#') {
            if (!in_fraction) {
                p.min_int_digits += c == '0';
            } else {
                ++p.max_frac_digits;
                if (c == '0') p.min_frac_digits = p.max_frac_digits;
            }
        }
    }
    return p;
}

// The 15 significant digits of |value| and where the decimal point falls among them.
void DecimalDigits(double value, std::string& digits, int& point_pos) {
    char buffer[64];
    auto r = std::to_chars(buffer, buffer + sizeof buffer, std::fabs(value),
                           std::chars_format::scientific, 14);
    std::string_view text(buffer, static_cast<std::size_t>(r.ptr - buffer));
    std::size_t e = text.find('e');
    int exponent = 0;
    std::from_chars(text.data() + e + 1 + (text[e + 1] == '+'), text.data() + text.size(),
                    exponent);
    digits.clear();
    for (char c : text.substr(0, e)) {
        if (IsDigit(c)) digits += c;
    }
    point_pos = exponent + 1;
}

// Rounds the digit string to `keep` digits, half away from zero.
void RoundDigits(std::string& digits, int& point_pos, int keep) {
    if (keep < 0) {
        digits = "0";
        point_pos = 1;
        return;
    }
    if (keep >= static_cast<int>(digits.size())) return;
    bool up = digits[static_cast<std::size_t>(keep)] >= '5';
    digits.resize(static_cast<std::size_t>(keep));
    for (int i = keep - 1; up && i >= 0; --i) {
        char& c = digits[static_cast<std::size_t>(i)];
        up = c == '9';
        c = up ? '0' : static_cast<char>(c + 1);
    }
    if (up) {
        digits.insert(digits.begin(), '1');
        ++point_pos;
    }
}

std::string Grouped(const std::string& digits, char group) {
    std::string out;
    for (std::size_t i = 0; i < digits.size(); ++i) {
        if (i > 0 && (digits.size() - i) % 3 == 0) out += group;
        out += digits[i];
    }
    return out;
}

} // namespace

std::string FormatDigits(double value, std::string_view pattern, const NumberStyle& style) {
    const DigitPattern p = ReadPattern(pattern);
    if (!std::isfinite(value)) value = 0;
    std::string digits;
    int point_pos = 0;
    DecimalDigits(value, digits, point_pos);
    RoundDigits(digits, point_pos, point_pos + p.max_frac_digits);

    auto digit_at = [&](int i) {
        return i >= 0 && i < static_cast<int>(digits.size()) ? digits[static_cast<std::size_t>(i)]
                                                             : '0';
    };
    std::string int_part;
    for (int i = 0; i < point_pos; ++i)
        int_part += digit_at(i);
    std::size_t nonzero = int_part.find_first_not_of('0');
    int_part.erase(0, nonzero == std::string::npos ? int_part.size() : nonzero);
    while (static_cast<int>(int_part.size()) < p.min_int_digits)
        int_part.insert(0, 1, '0');

    std::string frac_part;
    for (int i = 0; i < p.max_frac_digits; ++i)
        frac_part += digit_at(point_pos + i);
    while (static_cast<int>(frac_part.size()) > p.min_frac_digits && frac_part.back() == '0') {
        frac_part.pop_back();
    }

    bool is_zero = (int_part + frac_part).find_first_not_of('0') == std::string::npos;
    std::string out = p.prefix;
    if (value < 0 && !is_zero) out += '-';
    out += p.grouping ? Grouped(int_part, style.group) : int_part;
    if (p.has_point) {
        out += style.point;
        out += frac_part;
    }
    out += p.suffix;
    return out;
}

} // namespace tess
