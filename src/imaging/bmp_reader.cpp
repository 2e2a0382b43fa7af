// A strict reader of uncompressed Windows bitmaps: 1, 4 and 8 bits with a palette, 16 and 32
// bits with or without channel masks, and 24 bits; core, info and V4/V5 headers. Every
// offset and length is checked against the file before it is used.

#include "imaging/picture_decoders.h"

#include <bit>
#include <cstring>

namespace tess {

namespace {

constexpr std::uint32_t kRgb = 0, kBitfields = 3;

std::uint32_t U16(Bytes b, std::size_t at) {
    return b[at] | (b[at + 1] << 8);
}
std::uint32_t U32(Bytes b, std::size_t at) {
    return b[at] | (b[at + 1] << 8) | (b[at + 2] << 16) | (std::uint32_t{b[at + 3]} << 24);
}

// One channel of a masked pixel, scaled to 0..255.
struct Channel {
    std::uint32_t mask = 0;
    int shift = 0;
    std::uint32_t max = 0;

    static bool Make(std::uint32_t mask, Channel& out) {
        out = {};
        if (mask == 0) return true;
        out.mask = mask;
        out.shift = std::countr_zero(mask);
        std::uint32_t bits = mask >> out.shift;
        if ((bits & (bits + 1)) != 0) return false; // the set bits must be one run
        out.max = bits;
        return true;
    }
    std::uint8_t Of(std::uint32_t pixel) const {
        if (max == 0) return 0;
        std::uint64_t v = (pixel & mask) >> shift;
        return static_cast<std::uint8_t>((v * 255 + max / 2) / max);
    }
};

struct Header {
    std::int64_t width = 0, height = 0;
    bool top_down = false;
    int bits = 0;
    std::uint32_t compression = kRgb;
    std::uint32_t palette_at = 0, palette_entries = 0, palette_entry_bytes = 4;
    Channel red, green, blue, alpha;
};

PictureStatus ReadHeader(Bytes file, Header& h) {
    const std::uint32_t info = U32(file, 14);
    if (info == 12) { // the old core header: 16-bit sizes, 3-byte palette entries
        if (file.size() < 26) return PictureStatus::Corrupt;
        h.width = U16(file, 18);
        h.height = U16(file, 20);
        h.bits = static_cast<int>(U16(file, 24));
        h.palette_entry_bytes = 3;
        if (U16(file, 22) != 1) return PictureStatus::Corrupt;
    } else if (info == 40 || info == 52 || info == 56 || info == 108 || info == 124) {
        if (file.size() < 14 + info) return PictureStatus::Corrupt;
        h.width = static_cast<std::int32_t>(U32(file, 18));
        std::int64_t height = static_cast<std::int32_t>(U32(file, 22));
        h.top_down = height < 0;
        h.height = height < 0 ? -height : height;
        if (U16(file, 26) != 1) return PictureStatus::Corrupt;
        h.bits = static_cast<int>(U16(file, 28));
        h.compression = U32(file, 30);
        h.palette_entries = U32(file, 46);
    } else {
        return PictureStatus::Unsupported;
    }
    h.palette_at = 14 + info;
    if (h.compression != kRgb && h.compression != kBitfields) return PictureStatus::Unsupported;
    if (h.compression == kBitfields && h.bits != 16 && h.bits != 32) return PictureStatus::Corrupt;

    std::uint32_t masks[4] = {0, 0, 0, 0}; // red, green, blue, alpha
    if (h.compression == kBitfields) {
        // Masks follow a plain info header, or sit inside the longer ones.
        const std::size_t at = 14 + 40;
        const int count = info >= 56 ? 4 : 3;
        if (file.size() < at + 12) return PictureStatus::Corrupt;
        for (int i = 0; i < count; ++i)
            masks[i] = U32(file, at + i * 4);
        if (info == 40) h.palette_at += 12;
    } else if (h.bits == 16) {
        masks[0] = 0x7C00, masks[1] = 0x03E0, masks[2] = 0x001F;
    } else if (h.bits == 32) {
        masks[0] = 0xFF0000, masks[1] = 0xFF00, masks[2] = 0xFF;
    }
    if (!Channel::Make(masks[0], h.red) || !Channel::Make(masks[1], h.green) ||
        !Channel::Make(masks[2], h.blue) || !Channel::Make(masks[3], h.alpha))
        return PictureStatus::Corrupt;

    if (h.bits == 1 || h.bits == 4 || h.bits == 8) {
        const std::uint32_t most = 1u << h.bits;
        if (h.palette_entries == 0) h.palette_entries = most;
        if (h.palette_entries > most) return PictureStatus::Corrupt;
        if (h.palette_at + std::uint64_t{h.palette_entries} * h.palette_entry_bytes > file.size())
            return PictureStatus::Corrupt;
    } else if (h.bits != 16 && h.bits != 24 && h.bits != 32) {
        return PictureStatus::Corrupt;
    }
    return CheckDeclaredSize(h.width, h.height);
}

// Reads pixel x of a file row into blue, green, red, alpha.
void ReadPixel(Bytes file, const Header& h, const std::uint8_t* row, int x, std::uint8_t out[4]) {
    out[3] = 255;
    if (h.bits <= 8) {
        const int per_byte = 8 / h.bits;
        const int shift = 8 - h.bits * (x % per_byte + 1);
        std::uint32_t index = (row[x / per_byte] >> shift) & ((1u << h.bits) - 1);
        if (index >= h.palette_entries) index = 0; // a stray index shows the first colour
        const std::uint8_t* p = file.data() + h.palette_at + index * h.palette_entry_bytes;
        out[0] = p[0], out[1] = p[1], out[2] = p[2];
        return;
    }
    if (h.bits == 24) {
        out[0] = row[x * 3], out[1] = row[x * 3 + 1], out[2] = row[x * 3 + 2];
        return;
    }
    std::uint32_t v = h.bits == 16 ? row[x * 2] | (row[x * 2 + 1] << 8)
                                   : row[x * 4] | (row[x * 4 + 1] << 8) | (row[x * 4 + 2] << 16) |
                                         (std::uint32_t{row[x * 4 + 3]} << 24);
    out[0] = h.blue.Of(v), out[1] = h.green.Of(v), out[2] = h.red.Of(v);
    if (h.alpha.max) out[3] = h.alpha.Of(v);
}

} // namespace

PictureStatus DecodeBmp(Bytes file, DIB& pixels, DIB& opacity) {
    if (file.size() < 18 || file[0] != 'B' || file[1] != 'M') return PictureStatus::Corrupt;
    Header h;
    PictureStatus status = ReadHeader(file, h);
    if (status != PictureStatus::Ok) return status;

    const std::uint64_t data_at = U32(file, 10);
    const std::uint64_t row_bytes = (static_cast<std::uint64_t>(h.width) * h.bits + 31) / 32 * 4;
    if (data_at + row_bytes * h.height > file.size()) return PictureStatus::Corrupt;

    const int width = static_cast<int>(h.width), height = static_cast<int>(h.height);
    if (!pixels.SetWidthHeight(width, height)) return PictureStatus::TooLarge;
    // Masked alpha is kept only when it says something: many files leave it all zero.
    bool alpha_used = false, alpha_all_zero = h.alpha.max != 0;
    opacity.SetWidthHeight(h.alpha.max ? width : 0, h.alpha.max ? height : 0);
    for (int y = 0; y < height; ++y) {
        const std::uint8_t* row = file.data() + data_at + row_bytes * y;
        const int target = h.top_down ? y : height - 1 - y; // file rows are bottom-up
        std::uint8_t* out = pixels.scanline(target);
        std::uint8_t* alpha = h.alpha.max ? opacity.scanline(target) : nullptr;
        for (int x = 0; x < width; ++x) {
            std::uint8_t px[4];
            ReadPixel(file, h, row, x, px);
            std::memcpy(out + x * 3, px, 3);
            if (alpha) {
                std::memset(alpha + x * 3, px[3], 3);
                alpha_used |= px[3] != 255;
                alpha_all_zero &= px[3] == 0;
            }
        }
    }
    if (!alpha_used || alpha_all_zero) opacity.SetWidthHeight(0, 0);
    return PictureStatus::Ok;
}

} // namespace tess
