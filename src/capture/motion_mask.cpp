#include "capture/motion_mask.h"

#include "base/atomic_file.h"
#include "base/log.h"
#include "base/text.h"
#include "capture/pgm_reader.h"
#include "imaging/blit.h"
#include "imaging/picture.h"

#include <cstring>

namespace tess {

namespace {

constexpr std::size_t kMaxMaskFileBytes = 64u << 20;

// A mask pixel is ignored when it is dark: every channel below mid-grey, so that a mask
// saved with a little noise or antialiasing still means what it shows.
bool Ignored(const std::uint8_t* bgr) {
    return bgr[0] < 128 && bgr[1] < 128 && bgr[2] < 128;
}

// Any picture file we read, or else a grey map, which pictures never come as.
PictureStatus ReadMask(const std::string& file_name, DIB& mask) {
    Picture picture;
    const PictureStatus status = picture.LoadFile(file_name);
    if (status == PictureStatus::Ok) mask = std::move(picture.Pixels());
    if (status != PictureStatus::UnknownFormat) return status;
    std::string bytes;
    if (ReadWholeFile(PathFromSettings(file_name), bytes, kMaxMaskFileBytes) != ReadStatus::Ok)
        return PictureStatus::Unreadable;
    const Bytes file(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    return IsPgm(file) ? DecodePgm(file, mask) : status;
}

} // namespace

void MotionMask::SetFileName(std::string file_name) {
    if (file_name == file_name_) return;
    file_name_ = std::move(file_name);
    tried_ = false;
    runs_.clear();
    ignored_ = 0;
}

void MotionMask::BuildRuns(const DIB& mask) {
    runs_.clear();
    ignored_ = 0;
    const int pitch = mask.Pitch();
    for (int y = 0; y < mask.Height(); ++y) {
        // Memory row y is picture row height - 1 - y (bottom-up).
        const std::uint8_t* row = mask.DIBPtr() + static_cast<std::size_t>(y) * pitch;
        int x = 0;
        while (x < mask.Width()) {
            if (!Ignored(row + x * 3)) {
                ++x;
                continue;
            }
            const int first = x;
            while (x < mask.Width() && Ignored(row + x * 3))
                ++x;
            const std::size_t at = static_cast<std::size_t>(y) * pitch + first * 3;
            runs_.emplace_back(at, static_cast<std::size_t>(x - first) * 3);
            ignored_ += static_cast<std::uint64_t>(x - first) * 3;
        }
    }
}

bool MotionMask::Prepare(int width, int height, int feed) {
    if (file_name_.empty()) return false;
    if (tried_ && width == width_ && height == height_) return !runs_.empty();
    tried_ = true;
    width_ = width;
    height_ = height;
    runs_.clear();
    ignored_ = 0;
    const std::string path = PathFromSettings(file_name_);
    DIB picture;
    const PictureStatus status = ReadMask(file_name_, picture);
    if (status != PictureStatus::Ok) {
        LogError("Motion mask of feed {}: {}: {}; the whole picture is watched", feed, path,
                 PictureStatusText(status));
        return false;
    }
    if (picture.Width() == width && picture.Height() == height) {
        BuildRuns(picture);
    } else {
        LogWarning("Motion mask of feed {}: {} is {} x {}, the frames {} x {}: scaled to fit", feed,
                   path, picture.Width(), picture.Height(), width, height);
        DIB scaled(width, height);
        StretchCopy(scaled, picture, StretchMode::ColorOnColor);
        BuildRuns(scaled);
    }
    return !runs_.empty();
}

std::uint64_t MotionMask::Apply(DIB& difference, std::uint32_t* histogram, int feed) {
    if (!Prepare(difference.Width(), difference.Height(), feed)) return 0;
    std::uint8_t* bytes = difference.DIBPtr();
    for (const auto& [at, length] : runs_) {
        std::uint8_t* p = bytes + at;
        if (histogram) {
            for (std::size_t i = 0; i < length; ++i)
                --histogram[p[i]];
            histogram[128] += static_cast<std::uint32_t>(length);
        }
        std::memset(p, 128, length);
    }
    return ignored_;
}

} // namespace tess
