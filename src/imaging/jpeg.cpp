#include "imaging/jpeg.h"

#include "base/atomic_file.h"
#include "base/log.h"
#include "base/text.h"
#include "imaging/jpeg_codec.h"
#include "imaging/picture_decoders.h"

#include <algorithm>
#include <filesystem>
#include <string>

#include <turbojpeg.h>

namespace tess {

namespace {

using jpeg_codec::ThreadDecompressor;

// Larger files are no camera picture: refusing them keeps a bad path from eating memory.
constexpr std::size_t kMaxJpegFileBytes = 256u << 20;
// Even a flat picture costs a few bits per 8 x 8 block: a file claiming more pixels than this
// per byte is damaged, and we would rather not take its memory to find out.
constexpr std::int64_t kJpegPixelsPerByte = 4096;

} // namespace

bool IsJpegFileName(std::string_view name) {
    std::string upper = ToUpperAscii(Trim(name));
    return upper.ends_with(".JPG") || upper.ends_with(".JPEG");
}

bool JpegSize(std::span<const std::uint8_t> bytes, int& width, int& height) {
    tjhandle handle = ThreadDecompressor().Handle();
    int subsampling = 0, colorspace = 0;
    if (!handle || bytes.empty()) return false;
    if (tjDecompressHeader3(handle, bytes.data(), bytes.size(), &width, &height, &subsampling,
                            &colorspace) == 0)
        return true;
    ThreadDecompressor().Renew();
    return false;
}

namespace jpeg_codec {

Decompressor& ThreadDecompressor() {
    thread_local Decompressor decompressor;
    return decompressor;
}

bool DecodableHeader(std::span<const std::uint8_t> bytes, Header& header) {
    tjhandle handle = ThreadDecompressor().Handle();
    if (!handle || bytes.empty()) return false;
    if (tjDecompressHeader3(handle, bytes.data(), bytes.size(), &header.width, &header.height,
                            &header.subsampling, &header.colorspace) != 0) {
        ThreadDecompressor().Renew();
        return false;
    }
    const int width = header.width, height = header.height;
    if (width <= 0 || height <= 0 || !DIB::SizeAllowed(width, height)) return false;
    return std::int64_t{width} * height / kJpegPixelsPerByte <=
           static_cast<std::int64_t>(bytes.size());
}

} // namespace jpeg_codec

namespace {

bool DecodableSize(std::span<const std::uint8_t> bytes, int& width, int& height) {
    jpeg_codec::Header header;
    if (!jpeg_codec::DecodableHeader(bytes, header)) return false;
    width = header.width;
    height = header.height;
    return true;
}

} // namespace

bool DecodeJpegBottomUpBgr(std::span<const std::uint8_t> bytes, std::vector<std::uint8_t>& pixels,
                           int& width, int& height) {
    tjhandle handle = ThreadDecompressor().Handle();
    if (!DecodableSize(bytes, width, height)) return false;
    const int pitch = (width * 3 + 3) & ~3;
    pixels.resize(static_cast<std::size_t>(pitch) * height);
    if (tjDecompress2(handle, bytes.data(), bytes.size(), pixels.data(), width, pitch, height,
                      TJPF_BGR, TJFLAG_BOTTOMUP) == 0)
        return true;
    ThreadDecompressor().Renew();
    return false;
}

bool DecodeJpegIntoDIB(std::span<const std::uint8_t> bytes, DIB& dib) {
    tjhandle handle = ThreadDecompressor().Handle();
    int width = 0, height = 0;
    if (!DecodableSize(bytes, width, height)) return false;
    if (!dib.SetWidthHeight(width, height) || !dib.HasBitmap()) return false;
    // A warning (such as a truncated file) also fails: a half-written camera picture is not
    // worth showing.
    if (tjDecompress2(handle, bytes.data(), bytes.size(), dib.DIBPtr(), width, dib.Pitch(), height,
                      TJPF_BGR, TJFLAG_BOTTOMUP) == 0)
        return true;
    ThreadDecompressor().Renew();
    return false;
}

JpegResult LoadJpegIntoDIB(std::string_view file_name, DIB& dib) {
    if (!IsJpegFileName(file_name)) return JpegResult::NotJpeg;
    const std::string path = PathFromSettings(Trim(file_name));
    std::error_code error;
    if (!std::filesystem::exists(path, error)) return JpegResult::Missing;
    if (!ThreadDecompressor().Handle()) return JpegResult::NotJpeg;
    std::string bytes;
    if (ReadWholeFile(path, bytes, kMaxJpegFileBytes) != ReadStatus::Ok) return JpegResult::Refused;
    std::span<const std::uint8_t> data(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                                       bytes.size());
    // Checked before decoding: a progressive file takes memory for the whole picture's
    // coefficients even when it turns out to be cut short.
    int width = 0, height = 0;
    if (JpegSize(data, width, height) && std::int64_t{width} * height > MaxPicturePixels())
        return JpegResult::TooLarge;
    return DecodeJpegIntoDIB(data, dib) ? JpegResult::Loaded : JpegResult::Refused;
}

JpegEncoder::JpegEncoder() : handle_(tjInitCompress()) {
    if (!handle_) LogError("the JPEG encoder could not start: {}", tjGetErrorStr2(nullptr));
}

JpegEncoder::~JpegEncoder() {
    if (buffer_) tjFree(buffer_);
    if (handle_) tjDestroy(static_cast<tjhandle>(handle_));
}

bool JpegEncoder::Reserve(int width, int height) {
    // The codec's worst case for this size, allocated once per size: it then never has to
    // grow the buffer while encoding.
    const unsigned long worst = tjBufSize(width, height, TJSAMP_420);
    if (worst <= capacity_) return true;
    if (buffer_) tjFree(buffer_);
    buffer_ = tjAlloc(static_cast<int>(worst));
    capacity_ = buffer_ ? worst : 0;
    return buffer_ != nullptr;
}

std::span<const std::uint8_t> JpegEncoder::Encode(const DIB& dib, int quality) {
    const int width = dib.Width(), height = dib.Height();
    if (!handle_ || !dib.HasBitmap() || width == 0 || height == 0) return {};
    if (!Reserve(width, height)) return {};
    unsigned long size = capacity_;
    if (tjCompress2(static_cast<tjhandle>(handle_), dib.DIBPtr(), width, dib.Pitch(), height,
                    TJPF_BGR, &buffer_, &size, TJSAMP_420, std::clamp(quality, 1, 100),
                    TJFLAG_BOTTOMUP | TJFLAG_NOREALLOC) != 0) {
        LogWarning("JPEG encoding of a {} x {} picture failed: {}", width, height,
                   tjGetErrorStr2(static_cast<tjhandle>(handle_)));
        return {};
    }
    if (size > JpegSizeBound(width, height)) return {};
    return {buffer_, size};
}

std::span<const std::uint8_t> JpegEncoder::EncodePlanes(const YCbCrPlanes& planes, int quality) {
    const int width = planes.width, height = planes.height;
    if (!handle_ || !planes.Whole()) return {};
    if (!Reserve(width, height)) return {};
    int luma_stride = 0;
    const std::uint8_t* luma = jpeg_codec::PaddedLuma(planes, luma_, luma_stride);
    const unsigned char* sources[3] = {luma, planes.cb.data(), planes.cr.data()};
    const int strides[3] = {luma_stride, planes.ChromaWidth(), planes.ChromaWidth()};
    unsigned long size = capacity_;
    if (tjCompressFromYUVPlanes(static_cast<tjhandle>(handle_), sources, width, strides, height,
                                TJSAMP_420, &buffer_, &size, std::clamp(quality, 1, 100),
                                TJFLAG_NOREALLOC) != 0) {
        LogWarning("JPEG encoding of {} x {} planes failed: {}", width, height,
                   tjGetErrorStr2(static_cast<tjhandle>(handle_)));
        return {};
    }
    if (size > JpegSizeBound(width, height)) return {};
    return {buffer_, size};
}

namespace {

JpegEncoder& ThreadEncoder() {
    thread_local JpegEncoder encoder;
    return encoder;
}

} // namespace

std::vector<std::uint8_t> EncodeJpeg(const DIB& dib, int quality) {
    std::span<const std::uint8_t> stream = ThreadEncoder().Encode(dib, quality);
    return {stream.begin(), stream.end()};
}

std::vector<std::uint8_t> EncodeJpegPlanes(const YCbCrPlanes& planes, int quality) {
    std::span<const std::uint8_t> stream = ThreadEncoder().EncodePlanes(planes, quality);
    return {stream.begin(), stream.end()};
}

} // namespace tess
