// A canvas's file and desktop outputs, made on their own timers and daily schedules.

#include "base/log.h"
#include "base/text.h"
#include "document/canvas.h"
#include "document/output_files.h"
#include "document/output_services.h"
#include "document/wallpaper.h"
#include "imaging/jpeg.h"
#include "settings/ini.h"
#include "settings/numbers.h"
#include "time/next_update.h"

#include <array>
#include <utility>

namespace tess {

namespace {

// The picture is encoded once per quality that the due outputs ask for.
class EncodedPictures {
public:
    explicit EncodedPictures(const DIB& picture) : picture_(picture) {}

    const std::vector<std::uint8_t>& At(std::int32_t quality) {
        for (auto& [q, bytes] : done_)
            if (q == quality) return bytes;
        done_[count_] = {quality, EncodeJpeg(picture_, quality)};
        return done_[count_++].second;
    }

private:
    const DIB& picture_;
    std::array<std::pair<std::int32_t, std::vector<std::uint8_t>>, 3> done_{
        {{-1, {}}, {-1, {}}, {-1, {}}}};
    int count_ = 0;
};

} // namespace

void Canvas::SetNextFixedTime(double now) {
    fixed_next_frame_ = CalcNextUpdate(fixed_rate_, fixed_base_time_, now);
}

void Canvas::SetNextSequentialTime(double now) {
    sequential_next_frame_ = CalcNextUpdate(sequential_rate_, sequential_base_time_, now);
}

void Canvas::SetNextBackgroundTime(double now) {
    background_next_frame_ = CalcNextUpdate(background_rate_, background_base_time_, now);
}

namespace {

// Whether an output is due at `now`, moving its next time on when it is. A next time of 0
// (just loaded or switched on) joins the grid of the rate without saving, so outputs keep
// to their grid from the start.
bool OutputDue(bool enabled, double& next, double rate, std::int32_t base, double now) {
    if (!enabled) return false;
    if (next != 0 && !IsDue(next, rate, now)) return false;
    const bool first = next == 0;
    next = CalcNextUpdate(rate, base, now);
    return !first;
}

} // namespace

// An output whose schedule is off still moves on to its next time, so that it does not fire
// in a burst when the schedule opens.
void Canvas::DoSaves(double now, OutputServices& outputs) {
    bool fixed = false, sequential = false, background = false;
    if (OutputDue(fixed_enabled_, fixed_next_frame_, fixed_rate_, fixed_base_time_, now))
        fixed = fixed_schedule_.EnableNow(now);
    if (OutputDue(sequential_enabled_, sequential_next_frame_, sequential_rate_,
                  sequential_base_time_, now))
        sequential = sequential_schedule_.EnableNow(now);
    if (OutputDue(background_enabled_, background_next_frame_, background_rate_,
                  background_base_time_, now))
        background = background_schedule_.EnableNow(now) && outputs.wallpaper;
    if (!fixed && !sequential && !background) return;
    const DIB& picture = ComposedDIB();
    if (!picture.HasBitmap()) return; // nothing composed yet
    EncodedPictures jpeg(picture);
    // The wallpaper takes the fixed file's quality, so the first encoding is one of those used.
    if (jpeg.At(fixed || background ? fixed_quality_ : sequential_quality_).empty()) {
        // A picture of a few pixels does not fit the room the encoder is given.
        LogWarning("canvas '{}': its picture of {} x {} pixels could not be made a JPEG",
                   file_name_, picture.Width(), picture.Height());
        return;
    }
    if (fixed) SaveFixed(jpeg.At(fixed_quality_));
    if (sequential) SaveSequential(jpeg.At(sequential_quality_), now);
    if (background) outputs.wallpaper->Set(picture, jpeg.At(fixed_quality_));
}

void Canvas::SaveFixed(const std::vector<std::uint8_t>& jpeg) {
    const std::string path = PathFromSettings(Trim(fixed_file_name_));
    if (path.empty() || jpeg.empty()) return;
    if (!cascade_enabled_) {
        WriteOutputFile(path, jpeg, "fixed file");
        return;
    }
    ShiftCascade(path, cascade_count_);
    const std::string newest = CascadeFileName(path, 1);
    if (cascade_mode_ == kCascadeOlderCopies) {
        LinkOrCopy(path, newest); // the picture being replaced becomes the newest copy
        WriteOutputFile(path, jpeg, "fixed file");
    } else {
        WriteOutputFile(path, jpeg, "fixed file");
        LinkOrCopy(path, newest);
    }
}

// The numbered scheme keeps its next number in the canvas file before the picture is written,
// so that a crash between the two leaves a gap in the numbers, never a picture written over
// by the next run.
void Canvas::SaveSequential(const std::vector<std::uint8_t>& jpeg, double now) {
    if (jpeg.empty()) return;
    const std::int32_t number = sequential_number_;
    std::string path = SequentialFileName(sequential_directory_, sequential_type_, now, number);
    if (sequential_type_ != kSequentialNumbered) path = UnusedTimeStampedName(path);
    if (sequential_type_ == kSequentialNumbered) {
        sequential_number_ = number >= kMaxSequentialNumber ? 0 : number + 1;
        if (!file_name_.empty()) {
            ini_.SetFile(PathFromSettings(file_name_));
            if (!ini_.SetKey("Capture", "SequentialNumber", CStrNI(sequential_number_)))
                LogWarning("canvas file '{}': the next sequential number could not be kept",
                           file_name_);
        }
    }
    WriteOutputFile(path, jpeg, "sequential file");
}

} // namespace tess
