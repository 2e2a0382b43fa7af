#include "publish/web_file.h"

#include "base/text.h"

#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <memory>
#include <string>
#include <strings.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <climits>

namespace tess {

namespace {

int HexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

bool RealPath(const std::string& path, std::string& resolved) {
    std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr), &std::free);
    if (!real) return false;
    resolved = real.get();
    return true;
}

bool Inside(const std::string& folder, const std::string& file) {
    if (folder == "/") return file.size() > 1;
    return file.size() > folder.size() + 1 && file.compare(0, folder.size(), folder) == 0 &&
           file[folder.size()] == '/';
}

// Opens the resolved file, which holds no links, so that a link swapped into any part of its
// path since it was resolved is refused, and nothing beneath the folder is left. Kernels
// before 5.6 lack openat2: there only the last part of the path is guarded.
int OpenBeneath(const std::string& real_folder, const std::string& real_file) {
    // Non-blocking, so that a FIFO placed in the folder cannot stall the server.
    const int flags = O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    const int folder = ::open(real_folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) return -1;
    open_how how{};
    how.flags = static_cast<std::uint64_t>(flags);
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
    const std::string inside = real_file.substr(real_folder == "/" ? 1 : real_folder.size() + 1);
    int fd = static_cast<int>(::syscall(SYS_openat2, folder, inside.c_str(), &how, sizeof how));
    if (fd < 0 && errno == ENOSYS) fd = ::open(real_file.c_str(), flags);
    ::close(folder);
    return fd;
}

// The one name in `folder` equal to `name` without regard to case; false when none or
// several are.
bool OnlyNameIgnoringCase(const std::string& folder, std::string_view name, std::string& found) {
    DIR* dir = ::opendir(folder.c_str());
    if (!dir) return false;
    const std::string wanted(name);
    int matches = 0;
    while (const dirent* entry = ::readdir(dir)) {
        if (::strcasecmp(entry->d_name, wanted.c_str()) != 0) continue;
        found = entry->d_name;
        if (++matches > 1) break;
    }
    ::closedir(dir);
    return matches == 1;
}

// Sites written where file names ignore case link with mixed case: each part of the path
// that is missing as written is taken as the one name of its folder that matches without
// regard to case. The result is checked against the folder like any other path.
bool MatchIgnoringCase(const std::string& folder, std::string_view relative, std::string& matched) {
    matched.clear();
    std::string current = folder;
    for (std::string_view part : Split(relative, '/')) {
        if (part.empty() || part == ".") continue;
        std::string name(part);
        struct stat st {};
        if (::lstat((current + "/" + name).c_str(), &st) != 0 &&
            !OnlyNameIgnoringCase(current, part, name)) {
            return false;
        }
        current += "/" + name;
        matched += (matched.empty() ? "" : "/") + name;
    }
    return !matched.empty();
}

} // namespace

bool DecodeWebPath(std::string_view path, std::string& decoded) {
    decoded.clear();
    decoded.reserve(path.size());
    for (std::size_t i = 0; i < path.size(); ++i) {
        char c = path[i];
        if (c == '%') {
            if (i + 2 >= path.size()) return false;
            int high = HexValue(path[i + 1]);
            int low = HexValue(path[i + 2]);
            if (high < 0 || low < 0) return false;
            c = static_cast<char>(high * 16 + low);
            i += 2;
        }
        if (c == '\0') return false;
        decoded += c;
    }
    return true;
}

WebFile::~WebFile() {
    if (fd_ >= 0) ::close(fd_);
}

WebFile::WebFile(WebFile&& other) noexcept : fd_(other.fd_), size_(other.size_) {
    other.fd_ = -1;
}

WebFile& WebFile::operator=(WebFile&& other) noexcept {
    if (this != &other) {
        if (fd_ >= 0) ::close(fd_);
        fd_ = other.fd_;
        size_ = other.size_;
        other.fd_ = -1;
    }
    return *this;
}

WebFile WebFile::Open(std::string_view web_path, std::string_view path) {
    std::string decoded;
    if (path.find("..") != std::string_view::npos || !DecodeWebPath(path, decoded) ||
        decoded.find("..") != std::string::npos) {
        return {};
    }
    std::string folder = PathFromSettings(web_path);
    if (folder.empty()) folder.push_back('.'); // the current folder
    std::string real_folder, real_file;
    if (!RealPath(folder, real_folder)) return {};
    if (!RealPath(folder + "/" + decoded, real_file)) {
        std::string matched;
        if (errno != ENOENT || !MatchIgnoringCase(folder, decoded, matched) ||
            !RealPath(folder + "/" + matched, real_file)) {
            return {};
        }
    }
    if (!Inside(real_folder, real_file)) return {};
    int fd = OpenBeneath(real_folder, real_file);
    if (fd < 0) return {};
    struct stat st {};
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        ::close(fd);
        return {};
    }
    return WebFile(fd, static_cast<std::uint64_t>(st.st_size));
}

} // namespace tess
