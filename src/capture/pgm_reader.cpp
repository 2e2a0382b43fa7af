#include "capture/pgm_reader.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace tess {

namespace {

// Reads the next header number, skipping blanks and "#" comments; false at the end or on
// anything else.
bool NextNumber(Bytes file, std::size_t& at, std::uint32_t& value) {
    while (at < file.size()) {
        if (file[at] == '#') {
            while (at < file.size() && file[at] != '\n')
                ++at;
        } else if (std::isspace(file[at])) {
            ++at;
        } else {
            break;
        }
    }
    if (at >= file.size() || !std::isdigit(file[at])) return false;
    value = 0;
    while (at < file.size() && std::isdigit(file[at])) {
        value = value * 10 + (file[at++] - '0');
        if (value > 1'000'000) return false;
    }
    return true;
}

} // namespace

bool IsPgm(Bytes file) {
    return file.size() >= 2 && file[0] == 'P' && file[1] == '5';
}

PictureStatus DecodePgm(Bytes file, DIB& pixels) {
    if (file.empty()) return PictureStatus::Empty;
    if (!IsPgm(file)) return PictureStatus::UnknownFormat;
    std::size_t at = 2;
    std::uint32_t width = 0, height = 0, maximum = 0;
    if (!NextNumber(file, at, width) || !NextNumber(file, at, height) ||
        !NextNumber(file, at, maximum))
        return PictureStatus::Corrupt;
    if (width == 0 || height == 0) return PictureStatus::Empty;
    if (maximum == 0 || maximum > 65535) return PictureStatus::Corrupt;
    if (at >= file.size() || !std::isspace(file[at])) return PictureStatus::Corrupt;
    ++at; // the one blank before the samples
    if (!DIB::SizeAllowed(width, height)) return PictureStatus::TooLarge;
    const std::size_t sample = maximum > 255 ? 2 : 1;
    const std::size_t need = static_cast<std::size_t>(width) * height * sample;
    if (file.size() - at < need) return PictureStatus::Corrupt;
    if (!pixels.SetWidthHeight(static_cast<int>(width), static_cast<int>(height)))
        return PictureStatus::TooLarge;
    for (std::uint32_t y = 0; y < height; ++y) {
        std::uint8_t* row = pixels.scanline(static_cast<int>(y));
        const std::uint8_t* in = file.data() + at + static_cast<std::size_t>(y) * width * sample;
        for (std::uint32_t x = 0; x < width; ++x) {
            const std::uint8_t* s = in + x * sample; // 16-bit samples: high byte first
            const std::uint32_t v =
                std::min<std::uint32_t>(sample == 2 ? (s[0] << 8) | s[1] : s[0], maximum);
            const auto grey = static_cast<std::uint8_t>(v * 255 / maximum);
            std::memset(row + x * 3, grey, 3);
        }
    }
    return PictureStatus::Ok;
}

} // namespace tess
