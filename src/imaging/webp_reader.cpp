#include "imaging/picture_decoders.h"

#include <vector>

#include <webp/decode.h>

namespace tess {

PictureStatus DecodeWebp(Bytes file, DIB& pixels, DIB& opacity) {
    WebPDecoderConfig config;
    if (!WebPInitDecoderConfig(&config)) return PictureStatus::Unsupported;
    if (WebPGetFeatures(file.data(), file.size(), &config.input) != VP8_STATUS_OK)
        return PictureStatus::Corrupt;
    const int width = config.input.width, height = config.input.height;
    PictureStatus size = CheckDeclaredSize(width, height, file.size(), kWebpPixelsPerByte);
    if (size != PictureStatus::Ok) return size;

    config.output.is_external_memory = 1;
    std::vector<std::uint8_t> bgra;
    if (config.input.has_alpha) {
        bgra.resize(static_cast<std::size_t>(width) * height * 4);
        config.output.colorspace = MODE_BGRA;
        config.output.u.RGBA.rgba = bgra.data();
        config.output.u.RGBA.stride = width * 4;
        config.output.u.RGBA.size = bgra.size();
    } else {
        // Opaque: decoded straight into the bitmap, flipped to its bottom-up rows.
        if (!pixels.SetWidthHeight(width, height)) return PictureStatus::TooLarge;
        opacity.SetWidthHeight(0, 0);
        config.output.colorspace = MODE_BGR;
        config.output.u.RGBA.rgba = pixels.DIBPtr();
        config.output.u.RGBA.stride = pixels.Pitch();
        config.output.u.RGBA.size = pixels.BufferSize();
        config.options.flip = 1;
    }
    VP8StatusCode status = WebPDecode(file.data(), file.size(), &config);
    WebPFreeDecBuffer(&config.output);
    if (status != VP8_STATUS_OK) return PictureStatus::Corrupt;
    if (config.input.has_alpha)
        SplitBgra(bgra.data(), static_cast<std::size_t>(width) * 4, width, height, pixels, opacity);
    return PictureStatus::Ok;
}

} // namespace tess
