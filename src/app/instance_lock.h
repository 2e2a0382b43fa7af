#pragma once

#include <string>

namespace tess {

// One running program per working folder: an exclusive lock on a file beside the settings
// file. The kernel drops the lock when the process ends, however it ends.
class InstanceLock {
public:
    InstanceLock() = default;
    ~InstanceLock();
    InstanceLock(const InstanceLock&) = delete;
    InstanceLock& operator=(const InstanceLock&) = delete;

    // False when another process holds the lock.
    bool Acquire(const std::string& path);
    void Release();

private:
    int fd_ = -1;
};

} // namespace tess
