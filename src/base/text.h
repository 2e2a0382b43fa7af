#pragma once

// Small string helpers shared by every layer: ASCII case folding, trimming, replacing.

#include <string>
#include <string_view>
#include <vector>

namespace tess {

char ToLowerAscii(char c);
char ToUpperAscii(char c);
std::string ToLowerAscii(std::string_view text);
std::string ToUpperAscii(std::string_view text);
bool EqualsIgnoreCase(std::string_view a, std::string_view b);
bool IsBlank(char c); // space or tab

// Removes spaces and tabs at both ends.
std::string_view Trim(std::string_view text);
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
