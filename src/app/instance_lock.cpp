#include "app/instance_lock.h"

#include "base/log.h"

#include <fcntl.h>
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
    return true;
}

void InstanceLock::Release() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
}

} // namespace tess
