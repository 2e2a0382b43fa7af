#include "app/instance_lock.h"

#include "base/log.h"

#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <unistd.h>

namespace tess {

InstanceLock::~InstanceLock() {
    Release();
}

bool InstanceLock::Acquire(const std::string& path) {
    Release();
    fd_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (fd_ < 0) {
        // Without a lock file the test cannot be made; running twice is the lesser harm.
        LogWarning("cannot create the lock file '{}'; not checking for another instance", path);
        return true;
    }
    if (::flock(fd_, LOCK_EX | LOCK_NB) != 0) {
        ::close(fd_);
        fd_ = -1;
        return false;
    }
    const std::string pid = std::to_string(::getpid()) + "\n";
    if (::ftruncate(fd_, 0) != 0 || ::pwrite(fd_, pid.data(), pid.size(), 0) < 0)
        LogDebug("cannot write the process id into '{}'", path);
    return true;
}

int InstanceLock::HolderPid(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return 0;
    char text[32] = {};
    const ssize_t n = ::read(fd, text, sizeof text - 1);
    ::close(fd);
    if (n <= 0) return 0;
    char* end = nullptr;
    const long pid = std::strtol(text, &end, 10);
    return end != text && pid > 0 && pid < (1L << 30) ? static_cast<int>(pid) : 0;
}

void InstanceLock::Release() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
}

} // namespace tess
