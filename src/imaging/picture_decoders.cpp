#include "imaging/picture_decoders.h"

#include "imaging/jpeg.h"

#include <algorithm>
#include <cstring>

namespace tess {

const char* PictureStatusText(PictureStatus status) {
    switch (status) {
    case PictureStatus::Ok:
        return "loaded";
    case PictureStatus::Missing:
        return "file not found";
    case PictureStatus::Unreadable:
        return "file could not be read";
    case PictureStatus::Empty:
        return "no picture in the file";
    case PictureStatus::UnknownFormat:
        return "not a PNG, GIF, WebP, BMP or JPEG file";
    case PictureStatus::Unsupported:
        return "a kind of picture file that is not supported";
    case PictureStatus::Corrupt:
        return "damaged or truncated picture file";
    case PictureStatus::TooLarge:
        return "picture too large (more pixels than MaxPicturePixels in Tessarolle.INI allows)";
    }
    return "unknown";
}

namespace {
// One value for the whole program, set at start-up before any picture is read.
std::int64_t max_picture_pixels = kDefaultMaxPicturePixels;
} // namespace

std::int64_t MaxPicturePixels() {
    return max_picture_pixels;
}

void SetMaxPicturePixels(std::int64_t pixels) {
    max_picture_pixels = std::clamp<std::int64_t>(pixels, 1, DIB::kMaxPixels);
}

PictureStatus CheckDeclaredSize(std::int64_t width, std::int64_t height) {
    if (width <= 0 || height <= 0) return PictureStatus::Empty;
    return DIB::SizeAllowed(width, height) && width * height <= max_picture_pixels
               ? PictureStatus::Ok
               : PictureStatus::TooLarge;
}

PictureStatus CheckDeclaredSize(std::int64_t width, std::int64_t height, std::size_t file_bytes,
                                std::int64_t pixels_per_byte) {
    PictureStatus status = CheckDeclaredSize(width, height);
    if (status != PictureStatus::Ok) return status;
    if (width * height / pixels_per_byte > static_cast<std::int64_t>(file_bytes))
        return PictureStatus::Corrupt;
    return PictureStatus::Ok;
}

void SplitBgra(const std::uint8_t* bgra, std::size_t row_bytes, int width, int height, DIB& pixels,
               DIB& opacity) {
    pixels.SetWidthHeight(width, height);
    bool any_transparent = false;
    for (int y = 0; y < height && !any_transparent; ++y) {
        const std::uint8_t* in = bgra + y * row_bytes;
        for (int x = 0; x < width; ++x)
            any_transparent |= in[x * 4 + 3] != 255;
    }
    if (any_transparent)
        opacity.SetWidthHeight(width, height);
    else
        opacity.SetWidthHeight(0, 0);
    for (int y = 0; y < height; ++y) {
        const std::uint8_t* in = bgra + y * row_bytes;
        std::uint8_t* out = pixels.scanline(y);
        std::uint8_t* alpha = any_transparent ? opacity.scanline(y) : nullptr;
        for (int x = 0; x < width; ++x, in += 4) {
            out[x * 3] = in[0];
            out[x * 3 + 1] = in[1];
            out[x * 3 + 2] = in[2];
            if (alpha) alpha[x * 3] = alpha[x * 3 + 1] = alpha[x * 3 + 2] = in[3];
        }
    }
}

PictureStatus DecodePicture(Bytes file, DIB& pixels, DIB& opacity) {
    auto starts = [&](const char* magic, std::size_t at = 0) {
        std::size_t n = std::strlen(magic);
        return file.size() >= at + n && std::memcmp(file.data() + at, magic, n) == 0;
    };
    if (file.empty()) return PictureStatus::Empty;
    if (starts("\x89PNG")) return DecodePng(file, pixels, opacity);
    if (starts("GIF8")) return DecodeGif(file, pixels, opacity);
    if (starts("RIFF") && starts("WEBP", 8)) return DecodeWebp(file, pixels, opacity);
    if (starts("BM")) return DecodeBmp(file, pixels, opacity);
    if (starts("\xFF\xD8")) {
        opacity.SetWidthHeight(0, 0);
        // Checked before decoding: a progressive file takes memory for the whole picture's
        // coefficients even when it turns out to be cut short.
        int width = 0, height = 0;
        if (!JpegSize(file, width, height)) return PictureStatus::Corrupt;
        if (PictureStatus size = CheckDeclaredSize(width, height); size != PictureStatus::Ok)
            return size;
        return DecodeJpegIntoDIB(file, pixels) ? PictureStatus::Ok : PictureStatus::Corrupt;
    }
    return PictureStatus::UnknownFormat;
}

} // namespace tess
