#pragma once
// Script strings are kept as UTF-8, but the language counts and indexes characters: these
// helpers turn character counts into byte offsets and back. A byte that does not start a
// valid UTF-8 sequence is a character of its own and is kept unchanged. Surrogate code points
// written as three bytes (what ChrW(&HD800) makes) are characters too, so that a pair of them
// counts two, as in the language. Texts that are plain ASCII take a quick path everywhere.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace tess::vbs {

inline constexpr std::size_t kNoChar = std::string_view::npos;

// Every byte below 0x80. Whole words are or-ed together without an early exit, which the
// compiler turns into vector code; the short texts scripts mostly handle cost a few loads.
inline bool IsAscii(std::string_view text) {
    const char* p = text.data();
    const std::size_t n = text.size();
    std::uint64_t bits = 0;
    if (n >= 8) {
        for (std::size_t i = 0; i + 8 <= n; i += 8) {
            std::uint64_t word;
            std::memcpy(&word, p + i, 8);
            bits |= word;
        }
        std::uint64_t last; // the tail, read as the last eight bytes
        std::memcpy(&last, p + n - 8, 8);
        bits |= last;
    } else {
        for (std::size_t i = 0; i < n; ++i)
            bits |= static_cast<unsigned char>(p[i]);
    }
    return (bits & 0x8080808080808080ull) == 0;
}

struct ScriptChar {
    char32_t code = 0;     // the code point, or the byte itself when not valid UTF-8
    std::uint8_t size = 1; // bytes taken
    bool valid = true;     // false: a lone byte that is not UTF-8
};
ScriptChar CharAt(std::string_view text, std::size_t pos);

std::size_t CountNonAsciiChars(std::string_view text);
inline std::size_t CountChars(std::string_view text) {
    return IsAscii(text) ? text.size() : CountNonAsciiChars(text);
}
// The byte offset just after the first `chars` characters: text.size() when the text has
// exactly that many, kNoChar when it has fewer.
std::size_t CharsToBytes(std::string_view text, std::size_t chars);
// How many characters the first `bytes` bytes hold (`bytes` is a character boundary).
std::size_t BytesToChars(std::string_view text, std::size_t bytes);
bool IsCharBoundary(std::string_view text, std::size_t pos);

// Searches that only match whole characters: a stray byte in the needle never matches the
// middle of a character of the text.
std::size_t FindChars(std::string_view hay, std::string_view needle, std::size_t from);
// The last match that ends at or before byte `end`.
std::size_t FindLastChars(std::string_view hay, std::string_view needle, std::size_t end);

void AppendUtf8(std::string& out, char32_t code);

// Case mapping of ASCII, Latin-1, Latin Extended-A, Greek and Cyrillic letters. Each mapping
// keeps the byte length, so offsets found in a folded text hold in the original.
std::string ToLowerText(std::string_view text);
std::string ToUpperText(std::string_view text);

std::string ReverseChars(std::string_view text);

// The Windows-1252 code page that Asc and Chr use, as on Western Windows systems.
char32_t FromCodePage(std::uint8_t byte);
int ToCodePage(char32_t code); // '?' (63) when the page has no such character

} // namespace tess::vbs
