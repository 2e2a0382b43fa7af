#pragma once

// Image procedures that fail on a file append one line to errors.txt in the current folder
// before going on, so users can see which file and which stage went wrong.

#include <string_view>

namespace tess {

// Writes "Error <module> (Sub <procedure> ), Time=<now>, Line=<line>, Values=<values>".
// Off for commands that only look at the files (check): their findings are reported, not kept.
void SetErrorsTxtEnabled(bool enabled);

void AppendErrorsTxt(std::string_view module, std::string_view procedure, int line,
                     std::string_view values);

} // namespace tess
