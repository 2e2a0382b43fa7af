#include "base/atomic_file.h"

#include "base/log.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>
#include <unordered_map>

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

// "<name>.tmp<pid>.<n>": the process that was writing it.
std::optional<pid_t> TemporaryWriter(std::string_view name) {
    const std::size_t tmp = name.rfind(".tmp");
    if (tmp == std::string_view::npos || tmp == 0) return std::nullopt;
    std::string_view rest = name.substr(tmp + 4);
    const std::size_t dot = rest.find('.');
    if (dot == 0 || dot == std::string_view::npos || dot + 1 == rest.size()) return std::nullopt;
    auto digits = [](std::string_view text) {
        return text.size() <= 10 &&
               std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
    };
    if (!digits(rest.substr(0, dot)) || !digits(rest.substr(dot + 1))) return std::nullopt;
    return static_cast<pid_t>(std::stoll(std::string(rest.substr(0, dot))));
}

bool ProcessGone(pid_t pid) {
    return pid > 0 && pid != ::getpid() && ::kill(pid, 0) != 0 && errno == ESRCH;
}

} // namespace

// A folder is looked at when a file is first written into it and then at most once an hour:
// folders of sequential pictures may hold many thousands of files, and writers die rarely.
void RemoveLeftoverTemporaries(const std::string& file) {
    constexpr auto kRescan = std::chrono::hours(1);
    static std::unordered_map<std::string, std::chrono::steady_clock::time_point> scanned;
    std::string folder = std::filesystem::path(file).parent_path().string();
    if (folder.empty()) folder = ".";
    const auto now = std::chrono::steady_clock::now();
    auto [at, first] = scanned.try_emplace(folder, now);
    if (!first && now - at->second < kRescan) return;
    at->second = now;
    std::error_code ec;
    for (const auto& entry : std::filesystem::directory_iterator(folder, ec)) {
        const std::string name = entry.path().filename().string();
        const std::optional<pid_t> writer = TemporaryWriter(name);
        if (!writer || !ProcessGone(*writer) || !entry.is_regular_file(ec)) continue;
        if (::unlink(entry.path().c_str()) == 0)
            LogInfo("removed '{}', left by a save that was cut off", entry.path().string());
    }
}

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
    RemoveLeftoverTemporaries(target);
    return true;
}

ReadStatus ReadWholeFile(const std::string& path, std::string& out, std::size_t max_bytes,
                         std::string* error) {
    out.clear();
    // Non-blocking, so that a FIFO or a device in the file's place cannot hang the program.
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) {
        if (errno == ENOENT || errno == ENOTDIR) return ReadStatus::Missing;
        if (error) *error = Reason(path, "read");
        return ReadStatus::Unreadable;
    }
    struct stat info {};
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
        if (error) *error = fmt::format("'{}' is not a regular file", path);
        ::close(fd);
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
