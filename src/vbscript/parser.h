#pragma once
// The parser: tokens to a CodeUnit. It never throws on bad input; a failure is a
// CompileError with VBScript's number, line and column.

#include "vbscript/ast.h"
#include "vbscript/token.h"

#include <string_view>

namespace tess::vbs {

bool Parse(std::string_view source, CodeUnit& unit, CompileError& error);

} // namespace tess::vbs
