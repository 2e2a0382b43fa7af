#pragma once

// What the JPEG readers share: the thread's decompressor and the checks made on a header
// before any pixel memory is taken. Internal to the imaging library.

#include "imaging/ycbcr_planes.h"

#include <cstdint>
#include <span>
#include <vector>

#include <turbojpeg.h>

namespace tess::jpeg_codec {

// One decompressor per thread, made on first use and kept: making one costs more than
// decoding a small picture.
class Decompressor {
public:
    Decompressor() : handle_(tjInitDecompress()) {}
    ~Decompressor() {
        if (handle_) tjDestroy(handle_);
    }
    Decompressor(const Decompressor&) = delete;
    Decompressor& operator=(const Decompressor&) = delete;
    tjhandle Handle() const { return handle_; }
    // After a failed header or decoding the handle can be left mid-picture, and then refuses
    // the next header once; a fresh one is cheap next to the failures that need it.
    void Renew() {
        if (handle_) tjDestroy(handle_);
        handle_ = tjInitDecompress();
    }

private:
    tjhandle handle_;
};

Decompressor& ThreadDecompressor();

struct Header {
    int width = 0;
    int height = 0;
    int subsampling = 0; // TJSAMP_*
    int colorspace = 0;  // TJCS_*
};

// The header of a picture worth decoding with the thread's decompressor: a size within the
// DIB limits and plausible for the number of bytes. An unreadable header renews the
// decompressor.
bool DecodableHeader(std::span<const std::uint8_t> bytes, Header& header);

// TurboJPEG reads luma in whole 2 x 2 groups of pixels: for a plane of odd width or height,
// a copy with the last column and row repeated (in `scratch`), else the plane itself.
const std::uint8_t* PaddedLuma(const YCbCrPlanes& planes, std::vector<std::uint8_t>& scratch,
                               int& stride);

} // namespace tess::jpeg_codec
