#pragma once

// Small string helpers shared by every layer: ASCII case folding, trimming, replacing.

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace tess {

inline char ToLowerAscii(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c;
}
char ToUpperAscii(char c);
std::string ToLowerAscii(std::string_view text);
std::string ToUpperAscii(std::string_view text);
bool EqualsIgnoreCase(std::string_view a, std::string_view b);
inline bool IsBlank(char c) { // space or tab
    return c == ' ' || c == '\t';
}

// Hashing and comparing names without regard to ASCII case, so that maps of settings names
// are searched with the text as written, without making a lower-case copy first.
struct NoCaseHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const noexcept;
};
struct NoCaseEqual {
    using is_transparent = void;
    bool operator()(std::string_view a, std::string_view b) const noexcept {
        return EqualsIgnoreCase(a, b);
    }
};
template <typename Value>
using NoCaseMap = std::unordered_map<std::string, Value, NoCaseHash, NoCaseEqual>;

// Removes spaces and tabs at both ends.
inline std::string_view Trim(std::string_view text) {
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back()))
        text.remove_suffix(1);
    return text;
}
// Removes spaces, tabs, CR and LF at both ends.
std::string_view TrimWhitespace(std::string_view text);
// The text without a leading UTF-8 byte-order mark, which Notepad writes by default.
std::string_view SkipUtf8Bom(std::string_view text);

void ReplaceAll(std::string& text, std::string_view from, std::string_view to);
std::string ReplaceAllCopy(std::string_view text, std::string_view from, std::string_view to);

std::vector<std::string_view> Split(std::string_view text, char separator);

// Settings files may hold Windows paths; the file system wants forward slashes.
std::string PathFromSettings(std::string_view path);

} // namespace tess
