#pragma once

// The settings of a video feed's motion detector, as the portfolio file stores them. The
// detection itself (frame differences, the coverage test, triggers and their saves) works on
// these values.

#include "settings/limit.h"

#include <cstdint>
#include <string>

namespace tess {

class MotionDetect {
public:
    static constexpr std::int32_t kMaxBlurRadius = 3; // the "7x7" choice
    static constexpr std::int32_t kMaxRestInterval = 60;

    bool Enabled() const { return enabled_; }
    void SetEnabled(bool value) { Mark(StoreIfChanged(enabled_, value)); }
    // The driver index of the owning feed; events name the feed by it.
    std::int32_t FeedNumber() const { return feed_number_; }
    void SetFeedNumber(std::int32_t value) { feed_number_ = value; }

    bool ShowDiffFrameImage() const { return show_diff_frame_image_; }
    void SetShowDiffFrameImage(bool value) { show_diff_frame_image_ = value; }
    bool ShowDiffImageCoverage() const { return show_diff_image_coverage_; }
    void SetShowDiffImageCoverage(bool value) {
        Mark(StoreIfChanged(show_diff_image_coverage_, value));
    }

    // Blur applied to each frame before differencing; 0 for none.
    std::int32_t DiffPreBlurRadius() const { return diff_pre_blur_radius_; }
    void SetDiffPreBlurRadius(std::int32_t value) {
        Mark(StoreLimited(diff_pre_blur_radius_, value, 0, kMaxBlurRadius));
    }
    // Histogram bins from this level up count as brighter motion (128 is no change).
    std::int32_t BrighterMotionLimit() const { return brighter_motion_limit_; }
    void SetBrighterMotionLimit(std::int32_t value) {
        Mark(StoreLimited(brighter_motion_limit_, value, 128, 255));
    }
    // Bins up to and including this level count as darker motion.
    std::int32_t DarkerMotionLimit() const { return darker_motion_limit_; }
    void SetDarkerMotionLimit(std::int32_t value) {
        Mark(StoreLimited(darker_motion_limit_, value, 0, 128));
    }
    // Trigger level on the logarithmic coverage scale: 0 a millionth of the picture, 1 all.
    float CoverageLimit() const { return coverage_limit_; }
    void SetCoverageLimit(float value) { Mark(StoreLimited(coverage_limit_, value, 0.0f, 1.0f)); }
    // Rest between triggers: negative counts frames, zero or positive counts seconds.
    std::int32_t MotionTriggerRestInterval() const { return motion_trigger_rest_interval_; }
    void SetMotionTriggerRestInterval(std::int32_t value) {
        Mark(StoreLimited(motion_trigger_rest_interval_, value, -kMaxRestInterval,
                          kMaxRestInterval));
    }

    bool MotionBeep() const { return motion_beep_; }
    void SetMotionBeep(bool value) { Mark(StoreIfChanged(motion_beep_, value)); }
    bool SaveFixed() const { return save_fixed_; }
    void SetSaveFixed(bool value) { Mark(StoreIfChanged(save_fixed_, value)); }
    bool SaveSequential() const { return save_sequential_; }
    void SetSaveSequential(bool value) { Mark(StoreIfChanged(save_sequential_, value)); }
    bool SaveDiff() const { return save_diff_; }
    void SetSaveDiff(bool value) { Mark(StoreIfChanged(save_diff_, value)); }

    // JPEG qualities of the three saves, 0..100.
    std::int32_t SaveFixedQuality() const { return save_fixed_quality_; }
    void SetSaveFixedQuality(std::int32_t value) {
        Mark(StoreLimited(save_fixed_quality_, value, 0, 100));
    }
    std::int32_t SaveSequentialQuality() const { return save_sequential_quality_; }
    void SetSaveSequentialQuality(std::int32_t value) {
        Mark(StoreLimited(save_sequential_quality_, value, 0, 100));
    }
    std::int32_t SaveDiffQuality() const { return save_diff_quality_; }
    void SetSaveDiffQuality(std::int32_t value) {
        Mark(StoreLimited(save_diff_quality_, value, 0, 100));
    }

    // Paths as the settings file holds them ("\" kept); converted when a file is written.
    const std::string& SaveFixedFileName() const { return save_fixed_file_name_; }
    void SetSaveFixedFileName(std::string value) {
        Mark(StoreIfChanged(save_fixed_file_name_, std::move(value)));
    }
    const std::string& SaveSequentialPath() const { return save_sequential_path_; }
    void SetSaveSequentialPath(std::string value) {
        Mark(StoreIfChanged(save_sequential_path_, std::move(value)));
    }

    bool NeedsSaving() const { return needs_saving_; }
    void SetNeedsSaving(bool value) { needs_saving_ = value; }

private:
    void Mark(bool changed) { needs_saving_ |= changed; }

    bool enabled_ = false;
    std::int32_t feed_number_ = 0;
    bool show_diff_frame_image_ = false;
    bool show_diff_image_coverage_ = false;
    std::int32_t diff_pre_blur_radius_ = 0;
    std::int32_t brighter_motion_limit_ = 255;
    std::int32_t darker_motion_limit_ = 0;
    float coverage_limit_ = 1.0f;
    std::int32_t motion_trigger_rest_interval_ = 0;
    bool motion_beep_ = false;
    bool save_fixed_ = false;
    bool save_sequential_ = false;
    bool save_diff_ = false;
    std::int32_t save_fixed_quality_ = 80;
    std::int32_t save_sequential_quality_ = 80;
    std::int32_t save_diff_quality_ = 80;
    std::string save_fixed_file_name_ = "motion\\motion.jpg";
    std::string save_sequential_path_ = "motion\\";
    bool needs_saving_ = false;
};

} // namespace tess
