#pragma once

// Texts arrive as bytes: UTF-8 from new files and scripts, but canvas files written on Windows
// hold their degree signs and accents in the Windows-1252 code page. Each byte that does not
// start a valid UTF-8 sequence is read as Windows-1252, so both kinds draw correctly.

#include <string>
#include <string_view>

namespace tess {

void DecodeText(std::string_view bytes, std::u32string& out);

} // namespace tess
