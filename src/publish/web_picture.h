#pragma once

// An encoded canvas picture as the web server keeps it. The bytes live in an anonymous
// in-memory file, so that every response hands the kernel the file's pages with sendfile()
// instead of copying the picture into the socket again; where no such file can be made,
// they stay in an ordinary buffer and are written from there.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace tess {

class WebPicture {
public:
    WebPicture() = default;
    explicit WebPicture(std::vector<std::uint8_t> bytes);
    ~WebPicture();
    WebPicture(const WebPicture&) = delete;
    WebPicture& operator=(const WebPicture&) = delete;

    std::span<const std::uint8_t> Bytes() const {
        if (!map_) return buffer_;
        return {static_cast<const std::uint8_t*>(map_), size_};
    }
    std::size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    // The in-memory file holding the bytes from offset 0; -1 when they are only in memory.
    int Fd() const { return fd_; }

private:
    bool MoveIntoFile();

    std::vector<std::uint8_t> buffer_; // the bytes, when no file holds them
    std::size_t size_ = 0;
    int fd_ = -1;
    void* map_ = nullptr; // the file's bytes, mapped
};

// Shared by the cache and every response still sending it, so a new encoding never pulls
// the bytes from under a slow client.
using JpegBytes = std::shared_ptr<const WebPicture>;

} // namespace tess
