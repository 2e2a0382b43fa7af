#pragma once

// A video feed's motion detector: its settings, as the portfolio file stores them, and the
// detection that works on them. Each new frame is compared with the previous one; how many
// colour channels got brighter or darker past the limits decides, on a logarithmic coverage
// scale, whether the frame is a trigger. A trigger beeps, saves pictures, runs the user's
// command and tells the document layer, whose script hears of it.

#include "capture/motion_command.h"
#include "capture/motion_mask.h"
#include "capture/motion_saves.h"
#include "imaging/dib.h"
#include "settings/limit.h"
#include "settings/script_events.h"
#include "time/clock.h"

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace tess {

// What the setup and difference views show, kept for whoever draws them.
struct MotionView {
    std::array<std::uint32_t, 256> histogram{};   // channel values per change level, 128 none
    bool histogram_valid = false;                 // filled on triggers and while asked for
    float coverage = 0;                           // of the last frame, 0..1
    std::int32_t dark_min = 128, light_max = 128; // of the last frame
    // The coverage-limit box, centred in the picture, in pixels.
    int box_width = 0, box_height = 0;
};

class MotionDetect {
public:
    static constexpr std::int32_t kMaxBlurRadius = 3; // the "7x7" choice
    static constexpr std::int32_t kMaxRestInterval = 60;
    static constexpr double kMaxRestCounter = 1000;
    static constexpr std::int32_t kDefaultCommandTimeLimit = 30; // seconds

    MotionDetect();
    ~MotionDetect();
    MotionDetect(const MotionDetect&) = delete;
    MotionDetect& operator=(const MotionDetect&) = delete;

    bool Enabled() const { return enabled_; }
    // Switching on starts afresh: the first frame only primes, the rest counter is at 0.
    void SetEnabled(bool value) {
        const bool changed = StoreIfChanged(enabled_, value);
        if (changed && value) {
            previous_data_valid_ = false;
            motion_trigger_time_ = 0;
        }
        Mark(changed);
    }
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

    // A picture (PNG or PGM) of the frame's size whose black pixels are left out of the
    // count; "" for none.
    const std::string& MaskFileName() const { return mask_file_name_; }
    void SetMaskFileName(std::string value);
    // No trigger when more than this percentage of the picture's channels changed at once
    // (sunrise, a cloud, a camera switching to infrared); 0 for no guard.
    std::int32_t LightChangeGuard() const { return light_change_guard_; }
    void SetLightChangeGuard(std::int32_t value) {
        Mark(StoreLimited(light_change_guard_, value, 0, 100));
    }
    // A shell command run on each trigger; "" for none. See MotionCommand for placeholders.
    const std::string& TriggerCommand() const { return trigger_command_; }
    void SetTriggerCommand(std::string value) {
        Mark(StoreIfChanged(trigger_command_, std::move(value)));
    }
    // Seconds the command may run before it is stopped.
    std::int32_t TriggerCommandTimeLimit() const { return trigger_command_time_limit_; }
    void SetTriggerCommandTimeLimit(std::int32_t value) {
        Mark(StoreLimited(trigger_command_time_limit_, value, 1, 3600));
    }

    bool NeedsSaving() const { return needs_saving_; }
    void SetNeedsSaving(bool value) { needs_saving_ = value; }

    // ---- Detection. The feed calls these from its frame callback while Enabled.

    // Seconds since the feed's previous frame; the rest counter counts them.
    double LastFrameInterval() const { return last_frame_interval_; }
    void SetLastFrameInterval(double seconds) { last_frame_interval_ = seconds; }
    // Compares the frame with the previous one and runs CalculateMotion. A frame that cannot
    // be compared is skipped with a log line; the detector stays enabled.
    void DiffFrames(const DIB& frame);
    // The coverage test on the difference just made, and the trigger.
    void CalculateMotion(const DIB& frame);

    bool PreviousDataValid() const { return previous_data_valid_; }
    // Rest counter since the last trigger: frames or seconds, at most kMaxRestCounter.
    double MotionTriggerTime() const { return motion_trigger_time_; }
    float LastMotionCoverage() const { return last_motion_coverage_; }
    std::int32_t LastDarkMin() const { return last_dark_min_; }
    std::int32_t LastLightMax() const { return last_light_max_; }
    double LastMotionTriggerTime() const { return last_motion_trigger_time_; }
    // Triggers since the detector was made.
    std::uint64_t TriggerCount() const { return trigger_count_; }

    const MotionView& View() const { return view_; }
    // Keep the full histogram on every frame (the setup view is open), not only on triggers.
    void SetKeepHistogram(bool value) { keep_histogram_ = value; }
    const DIB& DifferenceDIB() const { return difference_; }
    // The files the last trigger wrote.
    const std::vector<std::string>& LastSavedFiles() const { return saves_.LastFiles(); }

    // Each trigger raises the script's MotionDetected event here, with the feed's number
    // from 1; null: none.
    void SetScriptEvents(ScriptEvents* events) { events_ = events; }
    // Where "now" comes from (tests set it); the system clock otherwise.
    void SetClock(Clock clock) { clock_ = std::move(clock); }
    // Collects finished trigger commands and stops late ones; DiffFrames does it too.
    void PollCommands() { command_.Poll(); }
    int RunningCommands() const { return command_.Running(); }

private:
    void Mark(bool changed) { needs_saving_ |= changed; }
    struct Counts {
        std::uint64_t count = 0;
        std::int32_t dark_min = 128, light_max = 128;
    };
    bool PrepareWork(const DIB& frame);
    void MakeDifference();
    Counts CountsFromHistogram() const;
    void Trigger(const DIB& frame, float coverage, std::int32_t dark_min, std::int32_t light_max);
    void Beep() const;

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
    std::string mask_file_name_;
    std::int32_t light_change_guard_ = 0;
    std::string trigger_command_;
    std::int32_t trigger_command_time_limit_ = kDefaultCommandTimeLimit;
    bool needs_saving_ = false;

    // Working state.
    double last_frame_interval_ = 0;
    bool previous_data_valid_ = false;
    double motion_trigger_time_ = 0;
    float last_motion_coverage_ = -1;
    std::int32_t last_dark_min_ = -1;
    std::int32_t last_light_max_ = -1;
    double last_motion_trigger_time_ = 0;
    std::uint64_t trigger_count_ = 0;
    bool keep_histogram_ = false;
    std::uint64_t masked_channels_ = 0;
    Counts counts_; // of the last frame, when no full histogram was made
    DIB previous_, current_, difference_;
    MotionView view_;
    MotionMask mask_;
    MotionSaves saves_;
    MotionCommand command_;
    Clock clock_;
    ScriptEvents* events_ = nullptr;
    std::string last_skip_reason_; // logged once, not on every frame
};

} // namespace tess
