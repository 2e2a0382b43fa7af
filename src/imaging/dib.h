#pragma once

// The one bitmap type: 24-bit pixels in blue-green-red order, rows stored bottom-up (the
// first row in memory is the bottom row of the picture), each row padded to a multiple of
// 4 bytes. Kernels get DIBPtr(), the first byte of the bottom row; code that thinks top-down
// walks scanline(y) with the negative Stride() instead of flipping anything.

#include <cstddef>
#include <cstdint>

namespace tess {

class DIB {
public:
    // Sizes beyond these are refused before any memory is taken.
    static constexpr int kMaxDimension = 16384;
    static constexpr std::int64_t kMaxPixels = 64LL * 1024 * 1024;

    DIB() = default;
    DIB(int width, int height) { SetWidthHeight(width, height); }
    ~DIB() { DestroyDIB(); }
    DIB(DIB&& other) noexcept;
    DIB& operator=(DIB&& other) noexcept;
    DIB(const DIB&) = delete;
    DIB& operator=(const DIB&) = delete;

    int Width() const { return width_; }
    int Height() const { return height_; }
    // A new width while the height is non-zero re-creates the bitmap (pixels are lost), even
    // for the same value or 0; otherwise the width is only stored. SetHeight mirrors it.
    void SetWidth(int width);
    void SetHeight(int height);
    // Re-creates the bitmap only when the size changes; a 0 leaves no bitmap. Returns false
    // when the size was refused (too large or negative): the DIB is then 0 x 0.
    bool SetWidthHeight(int width, int height);

    bool CreateDIB();
    void DestroyDIB();

    bool HasBitmap() const { return pixels_ != nullptr; }
    std::uint8_t* DIBPtr() { return pixels_; }
    const std::uint8_t* DIBPtr() const { return pixels_; }

    // Bytes per row in memory, padding included.
    int Pitch() const { return RowBytes(width_); }
    // From one row to the row below it on screen: rows are stored bottom-up.
    std::ptrdiff_t Stride() const { return -static_cast<std::ptrdiff_t>(Pitch()); }
    // Row y counted from the top of the picture.
    std::uint8_t* scanline(int y) { return pixels_ + RowOffset(y); }
    const std::uint8_t* scanline(int y) const { return pixels_ + RowOffset(y); }

    // The informational image size of a bitmap header: W x H x 3, without padding.
    std::size_t ImageSize() const { return static_cast<std::size_t>(width_) * height_ * 3; }
    std::size_t BufferSize() const { return static_cast<std::size_t>(Pitch()) * height_; }

    // Fills every pixel with a 0x00BBGGRR colour; nothing without a bitmap.
    void Clear(std::uint32_t color);

    static int RowBytes(int width) { return (width * 3 + 3) & ~3; }
    static int PadBytes(int width) { return RowBytes(width) - width * 3; }
    static bool SizeAllowed(std::int64_t width, std::int64_t height);

private:
    std::size_t RowOffset(int y) const {
        return static_cast<std::size_t>(height_ - 1 - y) * static_cast<std::size_t>(Pitch());
    }

    int width_ = 0;
    int height_ = 0;
    std::uint8_t* pixels_ = nullptr;
    std::size_t mapped_bytes_ = 0; // the size of a buffer mapped from the system, else 0
};

} // namespace tess
