#include "base/atomic_file.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

#include <fmt/format.h>

namespace tess {

namespace {

std::string Reason(const std::string& path, std::string_view what) {
    return fmt::format("cannot {} '{}': {}", what, path, std::strerror(errno));
}

// A symbolic link is kept: the file it leads to is the one replaced.
std::string ResolveTarget(const std::string& path) {
    std::error_code ec;
    if (std::filesystem::is_symlink(path, ec)) {
        auto target = std::filesystem::canonical(path, ec);
        if (!ec) return target.string();
    }
    return path;
}

bool WriteAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        ssize_t n = ::write(fd, bytes.data(), bytes.size());
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
}

void SyncDirectory(const std::string& file) {
    std::string dir = std::filesystem::path(file).parent_path().string();
    int fd = ::open(dir.empty() ? "." : dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
}

} // namespace

bool WriteFileAtomic(const std::string& path, std::string_view bytes, std::string* error,
                     Durability durability) {
    const bool synced = durability == Durability::Synced;
    static unsigned counter = 0;
    const std::string target = ResolveTarget(path);
    const std::string temp = fmt::format("{}.tmp{}.{}", target, ::getpid(), ++counter);
    int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0) {
        if (error) *error = Reason(path, "write");
        return false;
    }
    struct stat old {};
    if (::stat(target.c_str(), &old) == 0) ::fchmod(fd, old.st_mode & 07777);

    bool ok = WriteAll(fd, bytes) && (!synced || ::fsync(fd) == 0);
    if (!ok && error) *error = Reason(path, "write");
    if (::close(fd) != 0 && ok) {
        ok = false;
        if (error) *error = Reason(path, "write");
    }
    if (ok && ::rename(temp.c_str(), target.c_str()) != 0) {
        ok = false;
        if (error) *error = Reason(path, "replace");
    }
    if (!ok) {
        ::unlink(temp.c_str());
        return false;
    }
    if (synced) SyncDirectory(target);
    return true;
}

ReadStatus ReadWholeFile(const std::string& path, std::string& out, std::size_t max_bytes,
                         std::string* error) {
    out.clear();
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        if (errno == ENOENT || errno == ENOTDIR) return ReadStatus::Missing;
        if (error) *error = Reason(path, "read");
        return ReadStatus::Unreadable;
    }
    char buffer[65536];
    for (;;) {
        ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            if (error) *error = Reason(path, "read");
            ::close(fd);
            out.clear();
            return ReadStatus::Unreadable;
        }
        if (n == 0) break;
        if (out.size() + static_cast<std::size_t>(n) > max_bytes) {
            if (error) *error = fmt::format("'{}' is larger than {} bytes", path, max_bytes);
            ::close(fd);
            out.clear();
            return ReadStatus::TooLarge;
        }
        out.append(buffer, static_cast<std::size_t>(n));
    }
    ::close(fd);
    return ReadStatus::Ok;
}

} // namespace tess
