#pragma once

// JPEG files in and out of DIBs through libjpeg-turbo, straight from and into the bitmap's
// own rows (bottom-up, blue-green-red, padded pitch): no pixel is copied on the way.

#include "imaging/dib.h"
#include "imaging/ycbcr_planes.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace tess {

// What LoadJpegIntoDIB made of a file; the numbers are the ones callers store and compare.
enum class JpegResult : int {
    NotJpeg = 0,  // the name does not end in .JPG or .JPEG, or the codec could not start
    Loaded = 1,   // the DIB holds the picture at its own size
    Refused = 2,  // unreadable, corrupt, truncated or too large for a bitmap
    Missing = 3,  // no such file
    TooLarge = 4, // more pixels than MaxPicturePixels allows, refused before decoding
};

// True when the trimmed name ends in ".jpg" or ".jpeg", in any letter case.
bool IsJpegFileName(std::string_view name);

// Reads a JPEG file into `dib`, sizing it to the picture. After Refused the DIB may hold a
// part of the picture or a new size: callers that must keep their last good picture decode
// into a spare DIB and swap.
JpegResult LoadJpegIntoDIB(std::string_view file_name, DIB& dib);

// The picture's size from its header alone; false when there is no readable header.
bool JpegSize(std::span<const std::uint8_t> bytes, int& width, int& height);
// Decodes JPEG bytes into `dib`; false for anything the codec refuses or a size beyond the
// DIB limits (checked before any pixel memory is taken).
bool DecodeJpegIntoDIB(std::span<const std::uint8_t> bytes, DIB& dib);
// Decodes JPEG bytes into `pixels` as bottom-up BGR rows padded to 4 bytes (a camera frame's
// layout), resizing it; the same refusals as DecodeJpegIntoDIB.
bool DecodeJpegBottomUpBgr(std::span<const std::uint8_t> bytes, std::vector<std::uint8_t>& pixels,
                           int& width, int& height);

// The most bytes an encoded picture may take: the room the old codec was given.
inline std::size_t JpegSizeBound(int width, int height) {
    return static_cast<std::size_t>(width) * height * 3 + 21;
}

// Encodes at quality 0..100 (0 is taken as 1) with 2x2 chroma subsampling. Keeps one codec
// handle and one output buffer for all its calls.
class JpegEncoder {
public:
    JpegEncoder();
    ~JpegEncoder();
    JpegEncoder(const JpegEncoder&) = delete;
    JpegEncoder& operator=(const JpegEncoder&) = delete;

    // The stream, valid until the next call; empty for an empty DIB, a codec failure or a
    // stream longer than JpegSizeBound.
    std::span<const std::uint8_t> Encode(const DIB& dib, int quality);
    // The same from 4:2:0 planes, with no colour conversion.
    std::span<const std::uint8_t> EncodePlanes(const YCbCrPlanes& planes, int quality);

private:
    // Room for the codec's worst case at this size; false when it could not be had.
    bool Reserve(int width, int height);

    void* handle_ = nullptr;
    unsigned char* buffer_ = nullptr;
    unsigned long capacity_ = 0;
    std::vector<std::uint8_t> luma_; // planes of odd size, padded for the codec
};

// The same through one encoder per thread; the bytes are the caller's to keep.
std::vector<std::uint8_t> EncodeJpeg(const DIB& dib, int quality);
std::vector<std::uint8_t> EncodeJpegPlanes(const YCbCrPlanes& planes, int quality);

} // namespace tess
