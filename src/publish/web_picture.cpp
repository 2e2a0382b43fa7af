#include "publish/web_picture.h"

#include <cerrno>
#include <sys/mman.h>
#include <unistd.h>

namespace tess {

namespace {

bool WriteAll(int fd, std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        ssize_t n = ::write(fd, bytes.data(), bytes.size());
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        bytes = bytes.subspan(static_cast<std::size_t>(n));
    }
    return true;
}

} // namespace

WebPicture::WebPicture(std::vector<std::uint8_t> bytes, Storage storage)
    : buffer_(std::move(bytes)), storage_(storage) {}

WebPicture::~WebPicture() {
    if (fd_ >= 0) ::close(fd_);
}

// Out of descriptors or memory for the file, the picture is still served from the buffer;
// the file is tried once only.
int WebPicture::Fd() const {
    if (file_tried_ || storage_ == Storage::MemoryOnly || buffer_.empty()) return fd_;
    file_tried_ = true;
    int fd = ::memfd_create("tessarolle-picture", MFD_CLOEXEC);
    if (fd < 0) return -1;
    if (!WriteAll(fd, buffer_)) {
        ::close(fd);
        return -1;
    }
    fd_ = fd;
    return fd_;
}

} // namespace tess
