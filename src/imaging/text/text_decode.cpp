#include "imaging/text/text_decode.h"

#include <array>
#include <cstdint>

namespace tess {

namespace {

// Windows-1252 0x80..0x9F; the rest of the code page is Latin-1. Unassigned bytes keep
// their C1 control values.
constexpr std::array<char16_t, 32> kCp1252High = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

char32_t FromCp1252(std::uint8_t byte) {
    if (byte >= 0x80 && byte < 0xA0) return kCp1252High[byte - 0x80];
    return byte;
}

bool IsContinuation(std::uint8_t byte) {
    return (byte & 0xC0) == 0x80;
}

// The length of a valid UTF-8 sequence at the start of `rest` and its code point; 0 when
// the bytes are not one (overlong forms, surrogates and values past U+10FFFF included).
int Utf8Sequence(std::string_view rest, char32_t& cp) {
    auto b = [&](std::size_t i) { return static_cast<std::uint8_t>(rest[i]); };
    std::uint8_t lead = b(0);
    int length = 0;
    char32_t min = 0;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2, cp = lead & 0x1F, min = 0x80;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3, cp = lead & 0x0F, min = 0x800;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4, cp = lead & 0x07, min = 0x10000;
    } else {
        return 0;
    }
    if (rest.size() < static_cast<std::size_t>(length)) return 0;
    for (int i = 1; i < length; ++i) {
        if (!IsContinuation(b(i))) return 0;
        cp = (cp << 6) | (b(i) & 0x3F);
    }
    if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return 0;
    return length;
}

} // namespace

void DecodeText(std::string_view bytes, std::u32string& out) {
    out.clear();
    out.reserve(bytes.size());
    std::size_t i = 0;
    while (i < bytes.size()) {
        auto byte = static_cast<std::uint8_t>(bytes[i]);
        if (byte < 0x80) {
            out.push_back(byte);
            ++i;
            continue;
        }
        char32_t cp = 0;
        int length = Utf8Sequence(bytes.substr(i), cp);
        if (length > 0) {
            out.push_back(cp);
            i += static_cast<std::size_t>(length);
        } else {
            out.push_back(FromCp1252(byte));
            ++i;
        }
    }
}

} // namespace tess
