#include "vbscript/script_chars.h"

#include <cstring>
#include <vector>

namespace tess::vbs {

namespace {

constexpr std::uint64_t kHighBits = 0x8080808080808080ull;

bool IsContinuation(unsigned char b) {
    return (b & 0xC0) == 0x80;
}

// The length of the ASCII run that starts at `pos`, eight bytes at a time.
std::size_t AsciiRun(std::string_view text, std::size_t pos) {
    const std::size_t start = pos;
    while (pos + 8 <= text.size()) {
        std::uint64_t word;
        std::memcpy(&word, text.data() + pos, 8);
        if (word & kHighBits) break;
        pos += 8;
    }
    while (pos < text.size() && static_cast<unsigned char>(text[pos]) < 0x80)
        ++pos;
    return pos - start;
}

char32_t MapLower(char32_t c) {
    if (c >= 'A' && c <= 'Z') return c + 32;
    if (c < 0xC0) return c;
    if (c <= 0xDE) return c == 0xD7 ? c : c + 32;
    if (c >= 0x100 && c <= 0x137 && c != 0x130 && c != 0x131) return c % 2 == 0 ? c + 1 : c;
    if (c >= 0x139 && c <= 0x148) return c % 2 == 1 ? c + 1 : c;
    if (c >= 0x14A && c <= 0x177) return c % 2 == 0 ? c + 1 : c;
    if (c == 0x178) return 0xFF;
    if (c >= 0x179 && c <= 0x17E) return c % 2 == 1 ? c + 1 : c;
    if (c >= 0x391 && c <= 0x3A9 && c != 0x3A2) return c + 32;
    if (c >= 0x400 && c <= 0x40F) return c + 80;
    if (c >= 0x410 && c <= 0x42F) return c + 32;
    return c;
}

char32_t MapUpper(char32_t c) {
    if (c >= 'a' && c <= 'z') return c - 32;
    if (c < 0xE0) return c;
    if (c <= 0xFE) return c == 0xF7 ? c : c - 32;
    if (c == 0xFF) return 0x178;
    if (c >= 0x100 && c <= 0x137 && c != 0x130 && c != 0x131) return c % 2 == 1 ? c - 1 : c;
    if (c >= 0x139 && c <= 0x148) return c % 2 == 0 ? c - 1 : c;
    if (c >= 0x14A && c <= 0x177) return c % 2 == 1 ? c - 1 : c;
    if (c >= 0x179 && c <= 0x17E) return c % 2 == 0 ? c - 1 : c;
    if (c == 0x3C2) return 0x3A3; // final sigma
    if (c >= 0x3B1 && c <= 0x3C9) return c - 32;
    if (c >= 0x430 && c <= 0x44F) return c - 32;
    if (c >= 0x450 && c <= 0x45F) return c - 80;
    return c;
}

std::string MapCase(std::string_view text, bool upper) {
    std::string out(text);
    std::size_t pos = 0;
    while (pos < out.size()) {
        const unsigned char b = static_cast<unsigned char>(out[pos]);
        if (b < 0x80) {
            if (upper ? (b >= 'a' && b <= 'z') : (b >= 'A' && b <= 'Z'))
                out[pos] = static_cast<char>(upper ? b - 32 : b + 32);
            ++pos;
            continue;
        }
        const ScriptChar c = CharAt(out, pos);
        const char32_t mapped = c.valid ? (upper ? MapUpper(c.code) : MapLower(c.code)) : c.code;
        if (mapped != c.code) {
            std::string bytes;
            AppendUtf8(bytes, mapped);
            if (bytes.size() == c.size) out.replace(pos, c.size, bytes);
        }
        pos += c.size;
    }
    return out;
}

// Code points of bytes 0x80 to 0x9F; the five the page leaves free stand for themselves.
constexpr char32_t kCodePageHigh[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

} // namespace

ScriptChar CharAt(std::string_view text, std::size_t pos) {
    const auto at = [&](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u;
    };
    const unsigned b = at(pos);
    if (b < 0x80) return {b, 1, true};
    const ScriptChar invalid{b, 1, false};
    std::size_t size;
    unsigned low = 0x80, high = 0xBF; // the range of the second byte
    char32_t code;
    if (b >= 0xC2 && b <= 0xDF) {
        size = 2;
        code = b & 0x1F;
    } else if (b >= 0xE0 && b <= 0xEF) {
        size = 3;
        code = b & 0x0F;
        if (b == 0xE0) low = 0xA0;
    } else if (b >= 0xF0 && b <= 0xF4) {
        size = 4;
        code = b & 0x07;
        if (b == 0xF0) low = 0x90;
        if (b == 0xF4) high = 0x8F;
    } else {
        return invalid;
    }
    if (pos + size > text.size()) return invalid;
    const unsigned second = at(pos + 1);
    if (second < low || second > high) return invalid;
    code = (code << 6) | (second & 0x3F);
    for (std::size_t i = 2; i < size; ++i) {
        const unsigned next = at(pos + i);
        if (!IsContinuation(static_cast<unsigned char>(next))) return invalid;
        code = (code << 6) | (next & 0x3F);
    }
    return {code, static_cast<std::uint8_t>(size), true};
}

std::size_t CountNonAsciiChars(std::string_view text) {
    std::size_t count = 0, pos = 0;
    while (pos < text.size()) {
        const std::size_t run = AsciiRun(text, pos);
        count += run;
        pos += run;
        if (pos >= text.size()) break;
        pos += CharAt(text, pos).size;
        ++count;
    }
    return count;
}

std::size_t CharsToBytes(std::string_view text, std::size_t chars) {
    std::size_t pos = 0;
    while (chars > 0) {
        if (pos >= text.size()) return kNoChar;
        const std::size_t run = AsciiRun(text.substr(0, pos + chars), pos);
        pos += run;
        chars -= run;
        if (chars == 0) break;
        if (pos >= text.size()) return kNoChar;
        pos += CharAt(text, pos).size;
        --chars;
    }
    return pos;
}

std::size_t BytesToChars(std::string_view text, std::size_t bytes) {
    return CountChars(text.substr(0, bytes));
}

bool IsCharBoundary(std::string_view text, std::size_t pos) {
    if (pos == 0 || pos >= text.size()) return true;
    if (!IsContinuation(static_cast<unsigned char>(text[pos]))) return true;
    // A continuation byte is inside a character only when a valid sequence starting at one
    // of the three bytes before it reaches it.
    for (std::size_t back = 1; back <= 3 && back <= pos; ++back) {
        const ScriptChar c = CharAt(text, pos - back);
        if (c.valid && c.size > back) return false;
    }
    return true;
}

std::size_t FindChars(std::string_view hay, std::string_view needle, std::size_t from) {
    const bool check = !IsAscii(needle);
    for (;;) {
        const std::size_t hit = hay.find(needle, from);
        if (hit == std::string_view::npos || !check) return hit;
        if (IsCharBoundary(hay, hit) && IsCharBoundary(hay, hit + needle.size())) return hit;
        from = hit + 1;
    }
}

std::size_t FindLastChars(std::string_view hay, std::string_view needle, std::size_t end) {
    if (needle.size() > end) return std::string_view::npos;
    const bool check = !IsAscii(needle);
    std::size_t from = end - needle.size();
    for (;;) {
        const std::size_t hit = hay.rfind(needle, from);
        if (hit == std::string_view::npos || !check) return hit;
        if (IsCharBoundary(hay, hit) && IsCharBoundary(hay, hit + needle.size())) return hit;
        if (hit == 0) return std::string_view::npos;
        from = hit - 1;
    }
}

void AppendUtf8(std::string& out, char32_t code) {
    if (code < 0x80) {
        out += static_cast<char>(code);
    } else if (code < 0x800) {
        out += static_cast<char>(0xC0 | (code >> 6));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        out += static_cast<char>(0xE0 | (code >> 12));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (code >> 18));
        out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    }
}

std::string ToLowerText(std::string_view text) {
    return MapCase(text, false);
}

std::string ToUpperText(std::string_view text) {
    return MapCase(text, true);
}

std::string ReverseChars(std::string_view text) {
    std::string out(text.size(), '\0');
    std::size_t pos = 0, end = text.size();
    while (pos < text.size()) {
        const std::size_t size =
            static_cast<unsigned char>(text[pos]) < 0x80 ? 1 : CharAt(text, pos).size;
        end -= size;
        std::memcpy(out.data() + end, text.data() + pos, size);
        pos += size;
    }
    return out;
}

char32_t FromCodePage(std::uint8_t byte) {
    return byte >= 0x80 && byte <= 0x9F ? kCodePageHigh[byte - 0x80] : byte;
}

int ToCodePage(char32_t code) {
    if (code < 0x80 || (code >= 0xA0 && code <= 0xFF)) return static_cast<int>(code);
    for (int i = 0; i < 32; ++i)
        if (kCodePageHigh[i] == code) return 0x80 + i;
    return '?';
}

} // namespace tess::vbs
