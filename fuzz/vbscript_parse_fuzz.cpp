// Any text given to the script parser: it must return a tree or a compile error, never crash,
// hang or recurse without bound.

#include "vbscript/parser.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tess::vbs::CodeUnit unit;
    tess::vbs::CompileError error;
    tess::vbs::Parse(std::string_view(reinterpret_cast<const char*>(data), size), unit, error);
    return 0;
}
