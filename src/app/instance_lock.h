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

    // False when another process holds the lock. The holder writes its process id into the
    // file, so that the refused one can say which process to stop or signal.
    bool Acquire(const std::string& path);
    void Release();
    // The process id written by the holder of the lock at `path`; 0 when unknown.
    static int HolderPid(const std::string& path);

private:
    int fd_ = -1;
};

} // namespace tess
