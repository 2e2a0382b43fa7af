#include "capture/motion_detect.h"

#include "base/log.h"
#include "imaging/kernels.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <unistd.h>

namespace tess {

namespace {

void CopyPixels(DIB& to, const DIB& from) {
    std::memcpy(to.DIBPtr(), from.DIBPtr(), from.BufferSize());
}

// Coverage on the logarithmic scale: 0 for a millionth of the channels, 1 for all of them.
float CoverageOf(double fraction) {
    return fraction <= 0 ? 0.0f : static_cast<float>(1.0 + std::log10(fraction) / 6.0);
}

} // namespace

MotionDetect::MotionDetect() = default;
MotionDetect::~MotionDetect() = default;

void MotionDetect::SetMaskFileName(std::string value) {
    Mark(StoreIfChanged(mask_file_name_, std::move(value)));
    mask_.SetFileName(mask_file_name_);
}

// Sizes the working pictures to the frame. A new size of the previous frame means there is
// nothing to compare with yet.
bool MotionDetect::PrepareWork(const DIB& frame) {
    const int feed = feed_number_ + 1;
    std::string reason;
    if (!frame.HasBitmap() || frame.Width() <= 0 || frame.Height() <= 0)
        reason = "the frame is empty (0 x 0)";
    if (reason.empty() && previous_.Width() != frame.Width()) previous_data_valid_ = false;
    if (reason.empty() && previous_.Height() != frame.Height()) previous_data_valid_ = false;
    if (reason.empty() && (!previous_.SetWidthHeight(frame.Width(), frame.Height()) ||
                           !current_.SetWidthHeight(frame.Width(), frame.Height()) ||
                           !difference_.SetWidthHeight(frame.Width(), frame.Height())))
        reason =
            fmt::format("no memory for {} x {} working pictures", frame.Width(), frame.Height());
    if (!reason.empty()) {
        // A camera that keeps sending bad frames would fill the log; say it once.
        if (reason != last_skip_reason_)
            LogError("Motion detection on feed {}: frame skipped: {}", feed, reason);
        last_skip_reason_ = reason;
        return false;
    }
    last_skip_reason_.clear();
    return true;
}

void MotionDetect::DiffFrames(const DIB& frame) {
    command_.Poll();
    if (!PrepareWork(frame)) return;
    const int w = frame.Width(), h = frame.Height();
    // The full histogram and the difference picture only when a mask or the setup view
    // needs them on every frame; otherwise a trigger makes them (see CalculateMotion).
    const bool full = keep_histogram_ || !mask_.FileName().empty();
    if (!full && previous_data_valid_) {
        const DiffCounts counts =
            BlurDiffCount(frame.DIBPtr(), current_.DIBPtr(), previous_.DIBPtr(), w, h,
                          diff_pre_blur_radius_, darker_motion_limit_, brighter_motion_limit_);
        counts_ = {counts.count, counts.lowest, counts.highest};
        view_.histogram_valid = false;
        masked_channels_ = 0;
    } else {
        if (diff_pre_blur_radius_ < 1)
            CopyPixels(current_, frame);
        else
            Blur(frame.DIBPtr(), current_.DIBPtr(), h, w, diff_pre_blur_radius_);
        if (!previous_data_valid_) {
            CopyPixels(previous_, current_);
            previous_data_valid_ = true;
        }
        MakeDifference();
        masked_channels_ = mask_.Apply(difference_, view_.histogram.data(), feed_number_ + 1);
    }
    CalculateMotion(frame);
    // The current picture becomes the previous one; the old previous is written over next.
    std::swap(previous_, current_);
}

// The difference picture and the full histogram of the current and previous frames.
void MotionDetect::MakeDifference() {
    Diff(current_.DIBPtr(), previous_.DIBPtr(), difference_.DIBPtr(), current_.Width(),
         current_.Height(), view_.histogram.data());
    view_.histogram_valid = true;
}

MotionDetect::Counts MotionDetect::CountsFromHistogram() const {
    const auto& bins = view_.histogram;
    Counts out;
    for (int bin = 0; bin <= 128; ++bin)
        if (bins[bin] != 0) {
            out.dark_min = bin;
            break;
        }
    for (int bin = 255; bin >= 129; --bin)
        if (bins[bin] != 0) {
            out.light_max = bin;
            break;
        }
    for (int bin = brighter_motion_limit_; bin <= 255; ++bin)
        out.count += bins[bin];
    for (int bin = 0; bin <= darker_motion_limit_; ++bin)
        out.count += bins[bin];
    return out;
}

void MotionDetect::CalculateMotion(const DIB& frame) {
    const Counts counts = view_.histogram_valid ? CountsFromHistogram() : counts_;
    const std::uint64_t count = counts.count;
    const std::int32_t dark_min = counts.dark_min, light_max = counts.light_max;
    const double channels = static_cast<double>(frame.Width()) * frame.Height() * 3;
    const double fraction = channels > 0 ? static_cast<double>(count) / channels : 0;
    const float coverage = CoverageOf(fraction);
    const float ratio =
        coverage_limit_ > 0 ? std::clamp(coverage / coverage_limit_, 0.0f, 2.0f) : 0.0f;

    view_.coverage = coverage;
    view_.dark_min = dark_min;
    view_.light_max = light_max;
    const double side = std::pow(10.0, 3.0 * coverage_limit_ - 3.0);
    view_.box_width = static_cast<int>(std::lround(frame.Width() * side));
    view_.box_height = static_cast<int>(std::lround(frame.Height() * side));

    const std::int32_t rest = motion_trigger_rest_interval_;
    motion_trigger_time_ += rest < 0 ? 1.0 : last_frame_interval_;
    motion_trigger_time_ = std::min(motion_trigger_time_, kMaxRestCounter);
    const bool rested = rest < 0 ? motion_trigger_time_ > -rest : motion_trigger_time_ >= rest;
    if (ratio < 1 || !rested) return;
    // The guard looks at the watched part only: a mask over half the view must not halve it.
    const double watched = channels - static_cast<double>(masked_channels_);
    const double changed = watched > 0 ? 100.0 * static_cast<double>(count) / watched : 0;
    if (light_change_guard_ > 0 && changed > light_change_guard_) {
        LogInfo("Motion on feed {} ignored: {:.0f}% of the picture changed at once (light "
                "change guard {}%)",
                feed_number_ + 1, changed, light_change_guard_);
        return;
    }
    // Without a full histogram on every frame, the trigger makes the one the views and the
    // difference saves show.
    if (!view_.histogram_valid && current_.HasBitmap() && current_.Width() == frame.Width() &&
        current_.Height() == frame.Height())
        MakeDifference();
    Trigger(frame, coverage, dark_min, light_max);
}

void MotionDetect::Beep() const {
    static const char kBell = '\a';
    if (isatty(STDOUT_FILENO))
        (void)!write(STDOUT_FILENO, &kBell, 1);
    else if (isatty(STDERR_FILENO))
        (void)!write(STDERR_FILENO, &kBell, 1);
}

void MotionDetect::Trigger(const DIB& frame, float coverage, std::int32_t dark_min,
                           std::int32_t light_max) {
    const int feed = feed_number_ + 1;
    motion_trigger_time_ = 0;
    if (motion_beep_) Beep();
    last_motion_coverage_ = coverage;
    last_dark_min_ = dark_min;
    last_light_max_ = light_max;
    last_motion_trigger_time_ = clock_.Now();
    ++trigger_count_;
    LogInfo("Motion on feed {}: coverage {:.3f}{}", feed, coverage, motion_beep_ ? " (beep)" : "");
    if (events_) events_->Raise(ScriptEvent::MotionDetected, {feed});

    MotionSaveRequest request;
    request.fixed = save_fixed_;
    request.sequential = save_sequential_;
    request.diff = save_diff_;
    request.fixed_quality = save_fixed_quality_;
    request.sequential_quality = save_sequential_quality_;
    request.diff_quality = save_diff_quality_;
    request.fixed_file_name = save_fixed_file_name_;
    request.sequential_path = save_sequential_path_;
    request.time = last_motion_trigger_time_;
    request.feed = feed;
    saves_.Save(request, frame, difference_);

    if (!trigger_command_.empty()) {
        MotionCommandValues values{feed, saves_.LastFiles(), coverage, last_motion_trigger_time_};
        command_.Start(trigger_command_, values, trigger_command_time_limit_);
    }
}

} // namespace tess
