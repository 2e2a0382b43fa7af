#pragma once

// The settings of the user's script, as the portfolio file keeps them in its "Scripting"
// section: the file, whether scripting is on, which events the script may receive, and the
// period of its Interval event.

#include "settings/limit.h"

#include <cstdint>
#include <string>

namespace tess {

class ScriptSettings {
public:
    static constexpr double kMinRate = 0.1;
    static constexpr double kMaxRate = 86400;
    static constexpr double kMaxBaseTime = 86400;

    // The script file, as the settings file holds it.
    const std::string& FileName() const { return file_name_; }
    void SetFileName(std::string value) { Mark(StoreIfChanged(file_name_, std::move(value))); }
    bool Enabled() const { return enabled_; }
    void SetEnabled(bool value) { Mark(StoreIfChanged(enabled_, value)); }

    // Seconds between Interval events, 0.1..86400, on a grid anchored BaseTime seconds after
    // midnight.
    double Rate() const { return rate_; }
    void SetRate(double value) { Mark(StoreLimited(rate_, value, kMinRate, kMaxRate)); }
    double BaseTime() const { return base_time_; }
    void SetBaseTime(double value) { Mark(StoreLimited(base_time_, value, 0.0, kMaxBaseTime)); }

    // The user's permission for each event.
    bool AllowInterval() const { return allow_interval_; }
    void SetAllowInterval(bool value) { Mark(StoreIfChanged(allow_interval_, value)); }
    bool AllowTextUpdate() const { return allow_text_update_; }
    void SetAllowTextUpdate(bool value) { Mark(StoreIfChanged(allow_text_update_, value)); }
    bool AllowGraphicUpdate() const { return allow_graphic_update_; }
    void SetAllowGraphicUpdate(bool value) { Mark(StoreIfChanged(allow_graphic_update_, value)); }
    bool AllowStartup() const { return allow_startup_; }
    void SetAllowStartup(bool value) { Mark(StoreIfChanged(allow_startup_, value)); }
    bool AllowShutdown() const { return allow_shutdown_; }
    void SetAllowShutdown(bool value) { Mark(StoreIfChanged(allow_shutdown_, value)); }
    bool AllowMotionDetected() const { return allow_motion_detected_; }
    void SetAllowMotionDetected(bool value) { Mark(StoreIfChanged(allow_motion_detected_, value)); }
    bool AllowNewCSVData() const { return allow_new_csv_data_; }
    void SetAllowNewCSVData(bool value) { Mark(StoreIfChanged(allow_new_csv_data_, value)); }
    bool AllowWebRequest() const { return allow_web_request_; }
    void SetAllowWebRequest(bool value) { Mark(StoreIfChanged(allow_web_request_, value)); }

    bool NeedsSaving() const { return needs_saving_; }
    void SetNeedsSaving(bool value) { needs_saving_ = value; }

private:
    void Mark(bool changed) { needs_saving_ |= changed; }

    std::string file_name_ = "script.txt";
    bool enabled_ = false;
    double rate_ = 1;
    double base_time_ = 0;
    bool allow_interval_ = false;
    bool allow_text_update_ = false;
    bool allow_graphic_update_ = false;
    bool allow_startup_ = false;
    bool allow_shutdown_ = false;
    bool allow_motion_detected_ = false;
    bool allow_new_csv_data_ = false;
    bool allow_web_request_ = false;
    bool needs_saving_ = false;
};

} // namespace tess
