#include "base/errors_txt.h"

#include "base/log.h"

#include <cstdio>

namespace tess {

void AppendErrorsTxt(std::string_view module, std::string_view procedure, int line,
                     std::string_view values) {
    std::string text = fmt::format("Error {} (Sub {} ), Time={}, Line={}, Values={}\r\n", module,
                                   procedure, WallClockText(), line, values);
    std::FILE* file = std::fopen("errors.txt", "ab");
    if (!file) {
        LogWarning("cannot append to errors.txt: {}", text);
        return;
    }
    std::fwrite(text.data(), 1, text.size(), file);
    std::fclose(file);
}

} // namespace tess
