#include "base/text.h"

#include <cstdint>
#include <cstring>

namespace tess {

char ToUpperAscii(char c) {
    return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 32) : c;
}

namespace {

std::uint64_t Load64(const char* p) {
    std::uint64_t word;
    std::memcpy(&word, p, 8);
    return word;
}

std::uint32_t Load32(const char* p) {
    std::uint32_t word;
    std::memcpy(&word, p, 4);
    return word;
}

} // namespace

// Setting 0x20 folds the letters' case; it also folds a few other pairs ("@" and "`"),
// which only makes those names share a hash, never compare equal. Whole words are read,
// the last one overlapping the one before, so that no byte loop or variable-length copy is
// needed.
std::size_t NoCaseHash::operator()(std::string_view text) const noexcept {
    constexpr std::uint64_t kFold = 0x2020202020202020u;
    constexpr std::uint64_t kMultiplier = 0x9e3779b97f4a7c15u;
    const char* p = text.data();
    const std::size_t n = text.size();
    std::uint64_t hash = n * kMultiplier;
    auto mix = [&](std::uint64_t word) {
        hash = (hash ^ (word | kFold)) * kMultiplier;
        hash ^= hash >> 32;
    };
    if (n >= 8) {
        for (std::size_t i = 0; i + 8 < n; i += 8)
            mix(Load64(p + i));
        mix(Load64(p + n - 8));
    } else if (n >= 4) {
        mix(Load32(p) | (std::uint64_t{Load32(p + n - 4)} << 32));
    } else if (n > 0) {
        mix(static_cast<unsigned char>(p[0]) | (static_cast<unsigned char>(p[n / 2]) << 8) |
            (static_cast<unsigned char>(p[n - 1]) << 16));
    }
    return static_cast<std::size_t>(hash ^ (hash >> 29));
}

std::string ToLowerAscii(std::string_view text) {
    std::string out(text);
    for (char& c : out)
        c = ToLowerAscii(c);
    return out;
}

std::string ToUpperAscii(std::string_view text) {
    std::string out(text);
    for (char& c : out)
        c = ToUpperAscii(c);
    return out;
}

namespace {

bool WordEqualsIgnoringCase(const char* a, const char* b) {
    constexpr std::uint64_t kFold = 0x2020202020202020u;
    std::uint64_t x, y;
    std::memcpy(&x, a, 8);
    std::memcpy(&y, b, 8);
    if (x == y) return true;
    if ((x | kFold) != (y | kFold)) return false;
    for (int i = 0; i < 8; ++i) {
        if (ToLowerAscii(a[i]) != ToLowerAscii(b[i])) return false;
    }
    return true;
}

} // namespace

// Eight bytes at a time, the last eight overlapping the word before when the length is not
// a multiple of eight. Words that differ only in their 0x20 bits may still differ in more
// than case ("@" and "`"), which the byte loop settles.
bool EqualsIgnoreCase(std::string_view a, std::string_view b) {
    const std::size_t n = a.size();
    if (n != b.size()) return false;
    if (n < 8) {
        for (std::size_t i = 0; i < n; ++i) {
            if (ToLowerAscii(a[i]) != ToLowerAscii(b[i])) return false;
        }
        return true;
    }
    for (std::size_t i = 0; i + 8 < n; i += 8) {
        if (!WordEqualsIgnoringCase(a.data() + i, b.data() + i)) return false;
    }
    return WordEqualsIgnoringCase(a.data() + n - 8, b.data() + n - 8);
}

std::string_view TrimWhitespace(std::string_view text) {
    auto space = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
    while (!text.empty() && space(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && space(text.back()))
        text.remove_suffix(1);
    return text;
}

void ReplaceAll(std::string& text, std::string_view from, std::string_view to) {
    if (from.empty()) return;
    std::size_t pos = text.find(from);
    while (pos != std::string::npos) {
        text.replace(pos, from.size(), to);
        pos = text.find(from, pos + to.size());
    }
}

std::string ReplaceAllCopy(std::string_view text, std::string_view from, std::string_view to) {
    std::string out(text);
    ReplaceAll(out, from, to);
    return out;
}

std::vector<std::string_view> Split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    std::size_t start = 0;
    for (;;) {
        std::size_t end = text.find(separator, start);
        if (end == std::string_view::npos) {
            parts.push_back(text.substr(start));
            return parts;
        }
        parts.push_back(text.substr(start, end - start));
        start = end + 1;
    }
}

std::string PathFromSettings(std::string_view path) {
    return ReplaceAllCopy(path, "\\", "/");
}

std::string_view SkipUtf8Bom(std::string_view text) {
    return text.starts_with("\xEF\xBB\xBF") ? text.substr(3) : text;
}

} // namespace tess
