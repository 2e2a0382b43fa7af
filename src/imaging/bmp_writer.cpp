#include "imaging/bmp_writer.h"

#include <cstring>

namespace tess {

namespace {

constexpr std::size_t kFileHeaderBytes = 14;
constexpr std::size_t kInfoHeaderBytes = 40;
constexpr std::int32_t kPixelsPerMetre = 3780; // 96 pixels per inch

void Put16(std::uint8_t*& at, std::uint16_t value) {
    *at++ = static_cast<std::uint8_t>(value);
    *at++ = static_cast<std::uint8_t>(value >> 8);
}

void Put32(std::uint8_t*& at, std::uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8)
        *at++ = static_cast<std::uint8_t>(value >> shift);
}

} // namespace

std::vector<std::uint8_t> EncodeBmp(const DIB& dib) {
    if (!dib.HasBitmap()) return {};
    const std::size_t offset = kFileHeaderBytes + kInfoHeaderBytes;
    std::vector<std::uint8_t> file(offset + dib.BufferSize());
    std::uint8_t* at = file.data();
    *at++ = 'B';
    *at++ = 'M';
    Put32(at, static_cast<std::uint32_t>(file.size()));
    Put32(at, 0); // reserved
    Put32(at, static_cast<std::uint32_t>(offset));
    Put32(at, kInfoHeaderBytes);
    Put32(at, static_cast<std::uint32_t>(dib.Width()));
    Put32(at, static_cast<std::uint32_t>(dib.Height())); // positive: bottom-up rows
    Put16(at, 1);                                        // planes
    Put16(at, 24);                                       // bits per pixel
    Put32(at, 0);                                        // no compression
    Put32(at, static_cast<std::uint32_t>(dib.BufferSize()));
    Put32(at, kPixelsPerMetre);
    Put32(at, kPixelsPerMetre);
    Put32(at, 0); // colours used
    Put32(at, 0); // important colours
    std::memcpy(at, dib.DIBPtr(), dib.BufferSize());
    return file;
}

} // namespace tess
