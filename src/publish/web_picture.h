#pragma once

// An encoded canvas picture as the web server keeps it. The bytes stay in an ordinary
// buffer; the first response that asks for a file gets them copied into an anonymous
// in-memory file, so that it and every later response hand the kernel the file's pages with
// sendfile() instead of copying the picture into the socket again. A picture nobody asks for
// that way (a live stream's part, replaced thirty times a second) never pays for the file.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace tess {

class WebPicture {
public:
    enum class Storage { FileOnDemand, MemoryOnly };

    WebPicture() = default;
    explicit WebPicture(std::vector<std::uint8_t> bytes, Storage storage = Storage::FileOnDemand);
    ~WebPicture();
    WebPicture(const WebPicture&) = delete;
    WebPicture& operator=(const WebPicture&) = delete;

    std::span<const std::uint8_t> Bytes() const { return buffer_; }
    std::size_t size() const { return buffer_.size(); }
    bool empty() const { return buffer_.empty(); }
    // The in-memory file holding the bytes from offset 0, made on the first call; -1 for a
    // memory-only picture or when no file can be made (the bytes are then sent from memory).
    int Fd() const;

private:
    std::vector<std::uint8_t> buffer_;
    Storage storage_ = Storage::FileOnDemand;
    mutable int fd_ = -1;
    mutable bool file_tried_ = false;
};

// Shared by the cache and every response still sending it, so a new encoding never pulls
// the bytes from under a slow client.
using JpegBytes = std::shared_ptr<const WebPicture>;

} // namespace tess
