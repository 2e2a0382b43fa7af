#include "imaging/ycbcr_planes.h"

#include "imaging/jpeg_codec.h"

#include <algorithm>

#include <turbojpeg.h>

namespace tess {

using jpeg_codec::ThreadDecompressor;

bool YCbCrPlanes::Resize(int new_width, int new_height) {
    const bool allowed = DIB::SizeAllowed(new_width, new_height);
    width = allowed ? new_width : 0;
    height = allowed ? new_height : 0;
    y.resize(static_cast<std::size_t>(width) * height);
    const std::size_t chroma = static_cast<std::size_t>(ChromaWidth()) * ChromaHeight();
    cb.resize(chroma);
    cr.resize(chroma);
    return allowed;
}

bool YCbCrPlanes::Whole() const {
    const std::size_t chroma = static_cast<std::size_t>(ChromaWidth()) * ChromaHeight();
    return !Empty() && y.size() == static_cast<std::size_t>(width) * height &&
           cb.size() == chroma && cr.size() == chroma;
}

namespace jpeg_codec {

const std::uint8_t* PaddedLuma(const YCbCrPlanes& planes, std::vector<std::uint8_t>& scratch,
                               int& stride) {
    const int width = planes.width, height = planes.height;
    stride = width + (width & 1);
    if (stride == width && (height & 1) == 0) return planes.y.data();
    const int padded_height = height + (height & 1);
    scratch.resize(static_cast<std::size_t>(stride) * padded_height);
    for (int row = 0; row < padded_height; ++row) {
        const std::uint8_t* in =
            planes.y.data() + static_cast<std::size_t>(std::min(row, height - 1)) * width;
        std::uint8_t* out = scratch.data() + static_cast<std::size_t>(row) * stride;
        std::copy(in, in + width, out);
        out[stride - 1] = in[width - 1]; // the last column again, or itself
    }
    return scratch.data();
}

} // namespace jpeg_codec

namespace {

// TurboJPEG writes luma in whole groups of 2 x 2 (4:2:0) or 2 x 1 (4:2:2) pixels: a plane of
// odd size is decoded beside the planes and copied in.
bool DecodeInto(std::span<const std::uint8_t> bytes, YCbCrPlanes& planes, int sampling,
                unsigned char* cb, unsigned char* cr, int chroma_stride) {
    thread_local std::vector<std::uint8_t> luma;
    const int width = planes.width, height = planes.height;
    const int stride = tjPlaneWidth(0, width, sampling), rows = tjPlaneHeight(0, height, sampling);
    const bool padded = stride != width || rows != height;
    if (padded) luma.resize(static_cast<std::size_t>(stride) * rows);
    unsigned char* targets[3] = {padded ? luma.data() : planes.y.data(), cb, cr};
    int strides[3] = {stride, chroma_stride, chroma_stride};
    if (tjDecompressToYUVPlanes(ThreadDecompressor().Handle(), bytes.data(), bytes.size(), targets,
                                width, strides, height, 0) != 0) {
        ThreadDecompressor().Renew();
        return false;
    }
    for (int row = 0; padded && row < height; ++row) {
        const std::uint8_t* in = luma.data() + static_cast<std::size_t>(row) * stride;
        std::copy(in, in + width, planes.y.data() + static_cast<std::size_t>(row) * width);
    }
    return true;
}

bool Decode420(std::span<const std::uint8_t> bytes, YCbCrPlanes& planes) {
    return DecodeInto(bytes, planes, TJSAMP_420, planes.cb.data(), planes.cr.data(),
                      planes.ChromaWidth());
}

// Rows 2k and 2k + 1 of a full-height chroma plane averaged (rounding) into row k; an odd
// last row is copied.
void HalveRows(const std::uint8_t* tall, int width, int tall_height, std::uint8_t* out) {
    for (int row = 0; row < tall_height; row += 2) {
        const std::uint8_t* upper = tall + static_cast<std::size_t>(row) * width;
        const std::uint8_t* lower = row + 1 < tall_height ? upper + width : upper;
        std::uint8_t* target = out + static_cast<std::size_t>(row / 2) * width;
        for (int x = 0; x < width; ++x)
            target[x] = static_cast<std::uint8_t>((upper[x] + lower[x] + 1) >> 1);
    }
}

// 4:2:2 chroma has every row: it is decoded at full height beside the planes and halved.
bool Decode422(std::span<const std::uint8_t> bytes, YCbCrPlanes& planes) {
    thread_local std::vector<std::uint8_t> tall;
    const int chroma_width = planes.ChromaWidth(), height = planes.height;
    const std::size_t plane = static_cast<std::size_t>(chroma_width) * height;
    tall.resize(plane * 2);
    if (!DecodeInto(bytes, planes, TJSAMP_422, tall.data(), tall.data() + plane, chroma_width))
        return false;
    HalveRows(tall.data(), chroma_width, height, planes.cb.data());
    HalveRows(tall.data() + plane, chroma_width, height, planes.cr.data());
    return true;
}

} // namespace

namespace {

bool PlanesHeader(std::span<const std::uint8_t> bytes, jpeg_codec::Header& header) {
    return jpeg_codec::DecodableHeader(bytes, header) && header.colorspace == TJCS_YCbCr &&
           (header.subsampling == TJSAMP_420 || header.subsampling == TJSAMP_422);
}

} // namespace

bool JpegForPlanes(std::span<const std::uint8_t> bytes, int& width, int& height) {
    jpeg_codec::Header header;
    // A frame cut short (the usual damage on a network) lacks its end marker; padding after
    // it is allowed.
    const std::size_t tail = std::min<std::size_t>(bytes.size(), 64);
    bool ended = false;
    for (std::size_t i = bytes.size() - tail; !ended && i + 1 < bytes.size(); ++i)
        ended = bytes[i] == 0xFF && bytes[i + 1] == 0xD9;
    if (!ended || !PlanesHeader(bytes, header)) return false;
    width = header.width;
    height = header.height;
    return true;
}

bool DecodeJpegToPlanes(std::span<const std::uint8_t> bytes, YCbCrPlanes& planes) {
    jpeg_codec::Header header;
    if (!PlanesHeader(bytes, header)) return false;
    if (!planes.Resize(header.width, header.height)) return false;
    return header.subsampling == TJSAMP_420 ? Decode420(bytes, planes) : Decode422(bytes, planes);
}

bool PlanesToDIB(const YCbCrPlanes& planes, DIB& dib) {
    if (!planes.Whole()) return false;
    if (!dib.SetWidthHeight(planes.width, planes.height) || !dib.HasBitmap()) return false;
    thread_local std::vector<std::uint8_t> scratch;
    int luma_stride = 0;
    const std::uint8_t* luma = jpeg_codec::PaddedLuma(planes, scratch, luma_stride);
    const unsigned char* sources[3] = {luma, planes.cb.data(), planes.cr.data()};
    const int strides[3] = {luma_stride, planes.ChromaWidth(), planes.ChromaWidth()};
    if (tjDecodeYUVPlanes(ThreadDecompressor().Handle(), sources, strides, TJSAMP_420, dib.DIBPtr(),
                          planes.width, dib.Pitch(), planes.height, TJPF_BGR, TJFLAG_BOTTOMUP) == 0)
        return true;
    ThreadDecompressor().Renew();
    return false;
}

} // namespace tess
