#pragma once

// The settings of a canvas's FTP push: where and how often its picture is uploaded, and the
// daily window in which uploads are allowed. The canvas's update loop decides from these
// when an upload is due; the transfer engine does the upload.

#include "settings/limit.h"
#include "time/schedule.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include <asio/io_context.hpp>

namespace tess {

class DIB;
class InetFTP;
class SunTimes;

class FTPPush {
public:
    static constexpr std::int32_t kMaxBaseTime = 86400;
    static constexpr double kMaxInterval = 86400;

    explicit FTPPush(SunTimes& sun);
    ~FTPPush();

    // Switching on makes the next upload due at once.
    bool Enabled() const { return enabled_; }
    void SetEnabled(bool value);

    // Seconds between uploads; 0 uploads at every update. A new interval or base time makes
    // the next due time be worked out afresh.
    double Interval() const { return interval_; }
    void SetInterval(double value);
    // Offset of the upload grid from midnight, seconds.
    std::int32_t BaseTime() const { return base_time_; }
    void SetBaseTime(std::int32_t value);

    // How the remote file is replaced: 0 put a temporary file, delete the original, rename;
    // 1 put a temporary file and rename over the original; 2 put the original directly.
    std::int32_t FTPMode() const { return ftp_mode_; }
    void SetFTPMode(std::int32_t value) { Mark(StoreLimited(ftp_mode_, value, 0, 2)); }

    // Remote path: its folder is the remote directory, its last part the file name.
    const std::string& Path() const { return path_; }
    void SetPath(std::string value) { Mark(StoreIfChanged(path_, std::move(value))); }
    const std::string& ServerName() const { return server_name_; }
    void SetServerName(std::string value) { Mark(StoreIfChanged(server_name_, std::move(value))); }
    const std::string& UserName() const { return user_name_; }
    void SetUserName(std::string value) { Mark(StoreIfChanged(user_name_, std::move(value))); }
    const std::string& Password() const { return password_; }
    void SetPassword(std::string value) { Mark(StoreIfChanged(password_, std::move(value))); }

    // The one certificate key (FTPS) or host key (SFTP) accepted without the usual checks, as
    // "sha256//BASE64" or "SHA256:BASE64"; empty: certificates must chain to a trusted
    // authority and host keys be in ~/.ssh/known_hosts.
    const std::string& ServerKey() const { return server_key_; }
    void SetServerKey(std::string value) { Mark(StoreIfChanged(server_key_, std::move(value))); }

    // JPEG quality of the pushed picture, 1..100.
    std::int32_t Quality() const { return quality_; }
    void SetQuality(std::int32_t value) { Mark(StoreLimited(quality_, value, 1, 100)); }

    // When the next upload is due (a local date); 0 means at once. Not a setting: it lives in
    // memory only.
    double NextUploadTime() const { return next_upload_time_; }
    void SetNextUploadTime(double value) { next_upload_time_ = value; }

    tess::Schedule& Schedule() { return schedule_; }
    const tess::Schedule& Schedule() const { return schedule_; }

    // The owning canvas's slot; its schedule reports to it too.
    std::int32_t CanvasIndex() const { return canvas_index_; }
    void SetCanvasIndex(std::int32_t value);

    // The transfer engine's stage and one-line status; "Idle" before the first upload.
    std::int32_t Stage() const;
    std::string Status() const;
    // An upload has started and not yet completed or failed.
    bool Uploading() const;

    // One push of the picture: skipped (false) while the engine is busy, else encoded at
    // `Quality` and handed to the engine, which runs on `loop`; true when it started.
    bool Upload(asio::io_context& loop, const DIB& picture);
    // Gets every status step of the uploads (each is also logged once).
    void SetStatusListener(std::function<void(const std::string&)> listener) {
        listener_ = std::move(listener);
    }
    // "cams/now.jpg" to "cams" and "now.jpg"; "\" separates as "/" does.
    static std::pair<std::string, std::string> SplitPath(const std::string& path);

    // Every default back, the schedule all day.
    void Reset();

    bool NeedsSaving() const { return needs_saving_ || schedule_.NeedsSaving(); }
    void SetNeedsSaving(bool value);

private:
    void Mark(bool changed) { needs_saving_ |= changed; }
    void StatusChanged(const std::string& text);

    bool enabled_ = false;
    double interval_ = 5;
    std::int32_t base_time_ = 0;
    std::int32_t ftp_mode_ = 0;
    std::string path_ = "push.jpg";
    std::string server_name_;
    std::string user_name_;
    std::string password_;
    double next_upload_time_ = 0;
    std::int32_t quality_ = 70;
    tess::Schedule schedule_;
    std::int32_t canvas_index_ = 0;
    bool needs_saving_ = false;
    std::string server_key_;
    std::unique_ptr<InetFTP> engine_; // made by the first upload
    std::string logged_status_;
    std::function<void(const std::string&)> listener_;
};

} // namespace tess
