#include "imaging/dib.h"

#include "base/log.h"
#include "imaging/kernels.h"

#include <cstdlib>
#include <cstring>
#include <sys/mman.h>
#include <utility>

namespace tess {

namespace {
constexpr std::size_t kAlignment = 64; // a cache line, and room for the widest vector loads
// Frames and layers take their memory straight from the system: it comes zeroed, page by
// page as it is first written, instead of being cleared once more here, and it goes back to
// the system when the bitmap goes, so a program that runs for years does not keep the
// highest heap it ever had.
constexpr std::size_t kMapAtLeast = 1u << 20;
} // namespace

DIB::DIB(DIB&& other) noexcept
    : width_(std::exchange(other.width_, 0)), height_(std::exchange(other.height_, 0)),
      pixels_(std::exchange(other.pixels_, nullptr)),
      mapped_bytes_(std::exchange(other.mapped_bytes_, 0)) {}

DIB& DIB::operator=(DIB&& other) noexcept {
    if (this != &other) {
        DestroyDIB();
        width_ = std::exchange(other.width_, 0);
        height_ = std::exchange(other.height_, 0);
        pixels_ = std::exchange(other.pixels_, nullptr);
        mapped_bytes_ = std::exchange(other.mapped_bytes_, 0);
    }
    return *this;
}

bool DIB::SizeAllowed(std::int64_t width, std::int64_t height) {
    return width >= 0 && height >= 0 && width <= kMaxDimension && height <= kMaxDimension &&
           width * height <= kMaxPixels;
}

void DIB::SetWidth(int width) {
    if (height_ != 0) {
        DestroyDIB();
        width_ = width;
        CreateDIB();
    } else {
        width_ = width;
    }
}

void DIB::SetHeight(int height) {
    if (width_ != 0) {
        DestroyDIB();
        height_ = height;
        CreateDIB();
    } else {
        height_ = height;
    }
}

bool DIB::SetWidthHeight(int width, int height) {
    if (width == width_ && height == height_) return true;
    DestroyDIB();
    width_ = width;
    height_ = height;
    if (width != 0 && height != 0) return CreateDIB();
    if (SizeAllowed(width, height)) return true;
    width_ = height_ = 0; // a refused size is not kept, even with no pixels to hold
    return false;
}

bool DIB::CreateDIB() {
    DestroyDIB();
    if (width_ == 0 || height_ == 0) return false;
    if (!SizeAllowed(width_, height_)) {
        LogError("bitmap of {} x {} pixels refused: larger than {} x {} or {} pixels", width_,
                 height_, kMaxDimension, kMaxDimension, kMaxPixels);
        width_ = height_ = 0;
        return false;
    }
    std::size_t size = (BufferSize() + kAlignment - 1) / kAlignment * kAlignment;
    if (size >= kMapAtLeast) {
        void* map = ::mmap(nullptr, size, PROT_READ | PROT_WRITE,
                           MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
        if (map != MAP_FAILED) {
            pixels_ = static_cast<std::uint8_t*>(map); // a new section starts black
            mapped_bytes_ = size;
            return true;
        }
    }
    pixels_ = static_cast<std::uint8_t*>(std::aligned_alloc(kAlignment, size));
    if (!pixels_) {
        LogError("no memory for a bitmap of {} x {} pixels", width_, height_);
        width_ = height_ = 0;
        return false;
    }
    std::memset(pixels_, 0, size); // a new section starts black
    return true;
}

void DIB::DestroyDIB() {
    if (mapped_bytes_ != 0)
        ::munmap(pixels_, mapped_bytes_);
    else
        std::free(pixels_);
    pixels_ = nullptr;
    mapped_bytes_ = 0;
}

void DIB::Clear(std::uint32_t color) {
    if (pixels_ && width_ != 0 && height_ != 0) Cls(pixels_, width_, height_, color);
}

} // namespace tess
