#include "base/errors_txt.h"

#include "base/log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tess {

namespace {
bool g_enabled = true;
}

void SetErrorsTxtEnabled(bool enabled) {
    g_enabled = enabled;
}

void AppendErrorsTxt(std::string_view module, std::string_view procedure, int line,
                     std::string_view values) {
    if (!g_enabled) return;
    std::string text = fmt::format("Error {} (Sub {} ), Time={}, Line={}, Values={}\r\n", module,
                                   procedure, WallClockText(), line, values);
    // Non-blocking and regular files only: a FIFO named errors.txt must not stop the program.
    const int fd =
        ::open("errors.txt", O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0666);
    struct stat info {};
    if (fd < 0 || ::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode) ||
        ::write(fd, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        LogWarning("cannot append to errors.txt: {}", text);
    }
    if (fd >= 0) ::close(fd);
}

} // namespace tess
