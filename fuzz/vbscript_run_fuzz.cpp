// Any text run as a script, then each of its procedures called, under a short time budget:
// every outcome must be a result or a VBScript error. Files stay out of reach.

#include "vbscript/engine.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tess::vbs::Engine engine;
    engine.SetTimeBudget(std::chrono::milliseconds(50));
    engine.SetFileAccess(false);
    if (!engine.AddCode(std::string_view(reinterpret_cast<const char*>(data), size))) return 0;
    const tess::vbs::Variant args[] = {tess::vbs::Variant::Integer(1),
                                       tess::vbs::Variant::String("x")};
    for (const std::string& name : engine.Procedures())
        for (std::size_t count = 0; count <= 2; ++count)
            engine.Run(name, std::span(args, count));
    return 0;
}
