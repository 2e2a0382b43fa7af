#include "imaging/picture_decoders.h"

#include <cstdint>
#include <cstring>
#include <vector>

#include <png.h>

namespace tess {

namespace {

std::uint32_t ReadBigEndian32(const std::uint8_t* p) {
    return std::uint32_t{p[0]} << 24 | std::uint32_t{p[1]} << 16 | std::uint32_t{p[2]} << 8 | p[3];
}

// libpng believes a chunk's declared length and may allocate it before finding that the
// data ends early: a few hundred bytes claiming a 1.7 GB chunk took that much memory. The
// whole file is in memory, so every chunk must fit in what is left of it.
bool ChunksFit(Bytes file) {
    constexpr std::size_t kSignature = 8, kChunkOverhead = 12; // length, type, CRC
    std::size_t at = kSignature;
    while (at + kChunkOverhead <= file.size()) {
        const std::uint32_t length = ReadBigEndian32(file.data() + at);
        if (length > file.size() - at - kChunkOverhead) return false;
        const bool end = std::memcmp(file.data() + at + 4, "IEND", 4) == 0;
        at += kChunkOverhead + length;
        if (end) return true;
    }
    return false;
}

} // namespace

PictureStatus DecodePng(Bytes file, DIB& pixels, DIB& opacity) {
    if (!ChunksFit(file)) return PictureStatus::Corrupt;
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_memory(&image, file.data(), file.size()))
        return PictureStatus::Corrupt;
    PictureStatus size =
        CheckDeclaredSize(image.width, image.height, file.size(), kPngPixelsPerByte);
    if (size != PictureStatus::Ok) {
        png_image_free(&image);
        return size;
    }
    const int width = static_cast<int>(image.width), height = static_cast<int>(image.height);
    if (!(image.format & PNG_FORMAT_FLAG_ALPHA)) {
        // No alpha: libpng writes straight into the bitmap, bottom row first.
        image.format = PNG_FORMAT_BGR;
        if (!pixels.SetWidthHeight(width, height)) {
            png_image_free(&image);
            return PictureStatus::TooLarge;
        }
        opacity.SetWidthHeight(0, 0);
        if (!png_image_finish_read(&image, nullptr, pixels.DIBPtr(), -pixels.Pitch(), nullptr))
            return PictureStatus::Corrupt;
        return PictureStatus::Ok;
    }
    image.format = PNG_FORMAT_BGRA;
    std::vector<std::uint8_t> bgra(PNG_IMAGE_SIZE(image));
    if (!png_image_finish_read(&image, nullptr, bgra.data(), 0, nullptr))
        return PictureStatus::Corrupt;
    SplitBgra(bgra.data(), static_cast<std::size_t>(width) * 4, width, height, pixels, opacity);
    return PictureStatus::Ok;
}

} // namespace tess
