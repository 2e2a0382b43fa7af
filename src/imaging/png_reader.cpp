#include "imaging/picture_decoders.h"

#include <vector>

#include <png.h>

namespace tess {

PictureStatus DecodePng(Bytes file, DIB& pixels, DIB& opacity) {
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
