// Picture files come from cameras, web servers and users' folders: whatever the bytes, a
// decoder must return a status without crashing, leaking or taking giant allocations, and
// what it accepts must be a whole picture.

#include "imaging/blit.h"
#if defined(TESS_FUZZ_PGM)
#include "capture/pgm_reader.h"
#endif
#include "imaging/jpeg.h"
#include "imaging/picture_decoders.h"

#include <cstddef>
#include <cstdint>

namespace {

tess::PictureStatus Decode(tess::Bytes bytes, tess::DIB& pixels, tess::DIB& opacity) {
#if defined(TESS_FUZZ_ANY)
    return tess::DecodePicture(bytes, pixels, opacity); // a URL's answer, whatever it holds
#elif defined(TESS_FUZZ_JPEG)
    (void)opacity;
    return tess::DecodeJpegIntoDIB(bytes, pixels) ? tess::PictureStatus::Ok
                                                  : tess::PictureStatus::Corrupt;
#elif defined(TESS_FUZZ_PGM) // motion masks
    (void)opacity;
    return tess::DecodePgm(bytes, pixels);
#else
    return TESS_FUZZ_DECODER(bytes, pixels, opacity);
#endif
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tess::DIB pixels, opacity;
    if (Decode({data, size}, pixels, opacity) != tess::PictureStatus::Ok) return 0;
    if (!pixels.HasBitmap() || pixels.Width() <= 0 || pixels.Height() <= 0) __builtin_trap();
    if (opacity.HasBitmap() &&
        (opacity.Width() != pixels.Width() || opacity.Height() != pixels.Height()))
        __builtin_trap();
    // Touch the last byte of every row: a short buffer would show under the sanitizer.
    unsigned sum = 0;
    for (int y = 0; y < pixels.Height(); ++y)
        sum += pixels.scanline(y)[pixels.Width() * 3 - 1];
#if defined(TESS_FUZZ_ANY)
    // What an item does next with a downloaded picture: fitted to its size both ways.
    for (auto mode : {tess::StretchMode::ColorOnColor, tess::StretchMode::Halftone}) {
        tess::DIB fitted(97, 61);
        tess::StretchCopy(fitted, pixels, mode);
        if (opacity.HasBitmap()) tess::StretchCopy(fitted, opacity, mode);
    }
#endif
    return static_cast<int>(sum & 0);
}
