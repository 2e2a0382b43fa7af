#include "capture/motion_saves.h"

#include "base/atomic_file.h"
#include "base/log.h"
#include "base/text.h"
#include "imaging/dib.h"
#include "settings/vb_date.h"

#include <cmath>
#include <filesystem>
#include <system_error>

namespace tess {

namespace {

std::string Stamp(double time) {
    const DateFields f = SplitDate(WholeSecond(time));
    return fmt::format("{:02}{:02}{:02}{:02}{:02}{:02}", f.year % 100, f.month, f.day, f.hour,
                       f.minute, f.second);
}

// The frame's bytes; encoded again only for a quality not encoded yet.
class FrameBytes {
public:
    FrameBytes(JpegEncoder& encoder, const DIB& frame) : encoder_(encoder), frame_(frame) {}
    std::span<const std::uint8_t> At(int quality) {
        if (quality != quality_) {
            bytes_ = encoder_.Encode(frame_, quality);
            quality_ = quality;
        }
        return bytes_;
    }

private:
    JpegEncoder& encoder_;
    const DIB& frame_;
    int quality_ = -1;
    std::span<const std::uint8_t> bytes_;
};

} // namespace

double WholeSecond(double date) {
    return std::floor(date * 86400.0 + 1e-6) / 86400.0;
}

std::string MotionSaves::NextSequentialName(std::string_view folder, double time) {
    std::string stamp = Stamp(time);
    same_second_ = stamp == last_stamp_ ? same_second_ + 1 : 0;
    last_stamp_ = stamp;
    std::string name(folder);
    if (name.empty() || (name.back() != '\\' && name.back() != '/')) name += '\\';
    // A hundred triggers in one second would reuse names; the counter keeps two digits.
    return name + stamp + fmt::format("{:02}", same_second_ % 100) + ".jpg";
}

std::string MotionSaves::DiffFileName(std::string_view name) {
    const std::size_t dot = name.rfind('.');
    const std::size_t slash = name.find_last_of("/\\");
    if (dot == std::string_view::npos || (slash != std::string_view::npos && dot < slash))
        return std::string(name) + ".diff.jpg";
    return std::string(name.substr(0, dot)) + ".diff" + std::string(name.substr(dot));
}

bool MotionSaves::WriteJpeg(const std::string& path, std::span<const std::uint8_t> bytes,
                            int feed) {
    if (bytes.empty()) {
        LogError("Motion on feed {}: the picture for {} could not be encoded", feed, path);
        return false;
    }
    const std::filesystem::path folder = std::filesystem::path(path).parent_path();
    std::error_code ec;
    if (!folder.empty()) std::filesystem::create_directories(folder, ec);
    if (ec) {
        LogError("Motion on feed {}: cannot save {}: cannot create the folder {}: {}", feed, path,
                 folder.string(), ec.message());
        return false;
    }
    std::string error;
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (!WriteFileAtomic(path, text, &error, Durability::Unsynced)) {
        LogError("Motion on feed {}: {}", feed, error);
        return false;
    }
    last_files_.push_back(path);
    return true;
}

int MotionSaves::Save(const MotionSaveRequest& r, const DIB& frame, const DIB& difference) {
    last_files_.clear();
    FrameBytes frame_bytes(encoder_, frame);
    std::vector<std::string> frame_files;
    if (r.fixed) {
        const std::string path = PathFromSettings(r.fixed_file_name);
        if (WriteJpeg(path, frame_bytes.At(r.fixed_quality), r.feed)) frame_files.push_back(path);
    }
    if (r.sequential) {
        const std::string path = PathFromSettings(NextSequentialName(r.sequential_path, r.time));
        if (WriteJpeg(path, frame_bytes.At(r.sequential_quality), r.feed))
            frame_files.push_back(path);
    }
    if (r.diff && !frame_files.empty()) {
        const std::span<const std::uint8_t> diff = encoder_.Encode(difference, r.diff_quality);
        for (const std::string& path : frame_files)
            WriteJpeg(DiffFileName(path), diff, r.feed);
    }
    return static_cast<int>(last_files_.size());
}

} // namespace tess
