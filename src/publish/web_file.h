#pragma once

// A file of the web folder opened for sending. Whatever a request's path holds, nothing
// outside the web folder is ever opened: the joined path is resolved with every symbolic
// link followed and must still lie inside the folder's own resolved path.

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tess {

class WebFile {
public:
    WebFile() = default;
    ~WebFile();
    WebFile(WebFile&& other) noexcept;
    WebFile& operator=(WebFile&& other) noexcept;
    WebFile(const WebFile&) = delete;
    WebFile& operator=(const WebFile&) = delete;

    // `path` is relative to `web_path` (which may use "\" as settings files do); %XX escapes
    // are decoded. A name missing as written is matched without regard to case when exactly
    // one name of its folder matches. Refused, leaving the file closed: any "..", a malformed
    // escape or a NUL, a path that resolves outside the folder, anything but a regular file, a file
    // that cannot be opened.
    static WebFile Open(std::string_view web_path, std::string_view path);

    bool IsOpen() const { return fd_ >= 0; }
    // The size when opened: the number of bytes announced and sent.
    std::uint64_t Size() const { return size_; }
    // Sent from with explicit offsets, so the descriptor's own position is never used.
    int Fd() const { return fd_; }

private:
    WebFile(int fd, std::uint64_t size) : fd_(fd), size_(size) {}

    int fd_ = -1;
    std::uint64_t size_ = 0;
};

// "%41b%2F" -> "Ab/"; false for a malformed escape or one that makes a NUL.
bool DecodeWebPath(std::string_view path, std::string& decoded);

} // namespace tess
