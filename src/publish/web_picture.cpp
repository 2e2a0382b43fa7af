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

WebPicture::WebPicture(std::vector<std::uint8_t> bytes)
    : buffer_(std::move(bytes)), size_(buffer_.size()) {
    if (size_ > 0 && MoveIntoFile()) std::vector<std::uint8_t>().swap(buffer_);
}

WebPicture::~WebPicture() {
    if (map_) ::munmap(map_, size_);
    if (fd_ >= 0) ::close(fd_);
}

// Out of descriptors or memory for the file, the picture is still served from the buffer.
bool WebPicture::MoveIntoFile() {
    int fd = ::memfd_create("tessarolle-picture", MFD_CLOEXEC);
    if (fd < 0) return false;
    void* map = MAP_FAILED;
    if (WriteAll(fd, buffer_)) map = ::mmap(nullptr, size_, PROT_READ, MAP_SHARED, fd, 0);
    if (map == MAP_FAILED) {
        ::close(fd);
        return false;
    }
    fd_ = fd;
    map_ = map;
    return true;
}

} // namespace tess
