#include "imaging/jpeg.h"

#include "base/atomic_file.h"
#include "base/log.h"
#include "base/text.h"
#include "imaging/picture_decoders.h"

#include <algorithm>
#include <filesystem>
#include <string>

#include <turbojpeg.h>

namespace tess {

namespace {

// Larger files are no camera picture: refusing them keeps a bad path from eating memory.
constexpr std::size_t kMaxJpegFileBytes = 256u << 20;
// Even a flat picture costs a few bits per 8 x 8 block: a file claiming more pixels than this
// per byte is damaged, and we would rather not take its memory to find out.
constexpr std::int64_t kJpegPixelsPerByte = 4096;

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

Decompressor& ThreadDecompressor() {
    thread_local Decompressor decompressor;
    return decompressor;
}

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

namespace {

// The header of a picture worth decoding: a size within the DIB limits and plausible for the
// number of bytes.
bool DecodableSize(tjhandle handle, std::span<const std::uint8_t> bytes, int& width, int& height) {
    int subsampling = 0, colorspace = 0;
    if (!handle || bytes.empty()) return false;
    if (tjDecompressHeader3(handle, bytes.data(), bytes.size(), &width, &height, &subsampling,
                            &colorspace) != 0) {
        ThreadDecompressor().Renew();
        return false;
    }
    if (width <= 0 || height <= 0 || !DIB::SizeAllowed(width, height)) return false;
    return std::int64_t{width} * height / kJpegPixelsPerByte <=
           static_cast<std::int64_t>(bytes.size());
}

} // namespace

bool DecodeJpegBottomUpBgr(std::span<const std::uint8_t> bytes, std::vector<std::uint8_t>& pixels,
                           int& width, int& height) {
    tjhandle handle = ThreadDecompressor().Handle();
    if (!DecodableSize(handle, bytes, width, height)) return false;
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
    if (!DecodableSize(handle, bytes, width, height)) return false;
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

std::span<const std::uint8_t> JpegEncoder::Encode(const DIB& dib, int quality) {
    const int width = dib.Width(), height = dib.Height();
    if (!handle_ || !dib.HasBitmap() || width == 0 || height == 0) return {};
    quality = std::clamp(quality, 1, 100);
    // The codec's worst case for this size, allocated once per size: it then never has to
    // grow the buffer while encoding.
    const unsigned long worst = tjBufSize(width, height, TJSAMP_420);
    if (worst > capacity_) {
        if (buffer_) tjFree(buffer_);
        buffer_ = tjAlloc(static_cast<int>(worst));
        capacity_ = buffer_ ? worst : 0;
        if (!buffer_) return {};
    }
    unsigned long size = capacity_;
    if (tjCompress2(static_cast<tjhandle>(handle_), dib.DIBPtr(), width, dib.Pitch(), height,
                    TJPF_BGR, &buffer_, &size, TJSAMP_420, quality,
                    TJFLAG_BOTTOMUP | TJFLAG_NOREALLOC) != 0) {
        LogWarning("JPEG encoding of a {} x {} picture failed: {}", width, height,
                   tjGetErrorStr2(static_cast<tjhandle>(handle_)));
        return {};
    }
    if (size > JpegSizeBound(width, height)) return {};
    return {buffer_, size};
}

std::vector<std::uint8_t> EncodeJpeg(const DIB& dib, int quality) {
    thread_local JpegEncoder encoder;
    std::span<const std::uint8_t> stream = encoder.Encode(dib, quality);
    return {stream.begin(), stream.end()};
}

} // namespace tess
