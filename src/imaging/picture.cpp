#include "imaging/picture.h"

#include "base/atomic_file.h"
#include "base/text.h"

#include <string>
#include <utility>

namespace tess {

namespace {
constexpr std::size_t kMaxPictureFileBytes = 256u << 20;
}

PictureStatus Picture::LoadFile(std::string_view file_name) {
    std::string bytes;
    switch (ReadWholeFile(PathFromSettings(Trim(file_name)), bytes, kMaxPictureFileBytes)) {
    case ReadStatus::Ok:
        break;
    case ReadStatus::Missing:
        return PictureStatus::Missing;
    case ReadStatus::TooLarge:
        return PictureStatus::TooLarge;
    case ReadStatus::Unreadable:
        return PictureStatus::Unreadable;
    }
    return LoadBytes({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
}

PictureStatus Picture::LoadBytes(std::span<const std::uint8_t> bytes) {
    // Decoded aside and swapped in only when whole.
    DIB pixels, opacity;
    PictureStatus status = DecodePicture(bytes, pixels, opacity);
    if (status == PictureStatus::Ok) SetPicture(std::move(pixels), std::move(opacity));
    return status;
}

void Picture::SetWidthHeight(int width, int height) {
    pixels_.SetWidthHeight(width, height);
    opacity_.SetWidthHeight(0, 0);
}

void Picture::SetPicture(DIB&& pixels, DIB&& opacity) {
    pixels_ = std::move(pixels);
    opacity_ = std::move(opacity);
    if (opacity_.Width() != pixels_.Width() || opacity_.Height() != pixels_.Height())
        opacity_.SetWidthHeight(0, 0);
}

void Picture::FreeMemory() {
    pixels_.SetWidthHeight(0, 0);
    opacity_.SetWidthHeight(0, 0);
}

} // namespace tess
