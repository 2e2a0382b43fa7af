#include "imaging/picture_encoders.h"

#include <algorithm>
#include <csetjmp>
#include <cstring>

#include <png.h>
#include <webp/encode.h>

namespace tess {

namespace {

void AppendPng(png_structp png, png_bytep data, png_size_t size) {
    auto* out = static_cast<std::vector<std::uint8_t>*>(png_get_io_ptr(png));
    out->insert(out->end(), data, data + size);
}

void FlushNothing(png_structp) {}

// libpng reports failure by longjmp; nothing with a destructor lives between setjmp and it.
bool WritePng(const DIB& dib, std::vector<std::uint8_t>& out) {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    if (!png) return false;
    png_infop info = png_create_info_struct(png);
    if (!info || setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        return false;
    }
    png_set_write_fn(png, &out, AppendPng, FlushNothing);
    png_set_IHDR(png, info, static_cast<png_uint_32>(dib.Width()),
                 static_cast<png_uint_32>(dib.Height()), 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    png_set_bgr(png);
    for (int y = 0; y < dib.Height(); ++y)
        png_write_row(png, const_cast<png_bytep>(dib.scanline(y)));
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    return true;
}

} // namespace

std::vector<std::uint8_t> EncodePng(const DIB& dib) {
    std::vector<std::uint8_t> out;
    if (!dib.HasBitmap() || !WritePng(dib, out)) out.clear();
    return out;
}

std::vector<std::uint8_t> EncodeWebp(const DIB& dib, int quality) {
    if (!dib.HasBitmap()) return {};
    const int width = dib.Width();
    const std::size_t row = static_cast<std::size_t>(width) * 3;
    std::vector<std::uint8_t> packed(row * static_cast<std::size_t>(dib.Height()));
    for (int y = 0; y < dib.Height(); ++y)
        std::memcpy(packed.data() + row * static_cast<std::size_t>(y), dib.scanline(y), row);
    std::uint8_t* encoded = nullptr;
    const std::size_t size =
        WebPEncodeBGR(packed.data(), width, dib.Height(), static_cast<int>(row),
                      static_cast<float>(std::clamp(quality, 0, 100)), &encoded);
    std::vector<std::uint8_t> out(encoded, encoded + size);
    WebPFree(encoded);
    return out;
}

} // namespace tess
