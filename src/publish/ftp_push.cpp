#include "publish/ftp_push.h"

#include "base/log.h"
#include "imaging/jpeg.h"
#include "publish/inet_ftp.h"

namespace tess {

FTPPush::FTPPush(SunTimes& sun) : schedule_(sun) {}

FTPPush::~FTPPush() = default;

std::int32_t FTPPush::Stage() const {
    return engine_ ? engine_->State() : 0;
}

std::string FTPPush::Status() const {
    return engine_ ? engine_->Status() : "Idle";
}

bool FTPPush::Uploading() const {
    return engine_ && (engine_->Active() || engine_->State() >= InetFTP::kBusyState);
}

std::pair<std::string, std::string> FTPPush::SplitPath(const std::string& path) {
    const std::size_t slash = path.find_last_of("/\\");
    if (slash == std::string::npos) return {"", path};
    std::string folder = path.substr(0, slash);
    if (folder.empty()) folder = "/";
    return {folder, path.substr(slash + 1)};
}

bool FTPPush::Upload(asio::io_context& loop, const DIB& picture) {
    if (Uploading()) return false;
    const std::vector<std::uint8_t> jpeg = EncodeJpeg(picture, quality_);
    if (jpeg.empty()) return false;
    if (!engine_) {
        engine_ = std::make_unique<InetFTP>(loop);
        engine_->SetStatusObserver([this](const std::string& text) { StatusChanged(text); });
    }
    engine_->SetFTPServer(server_name_);
    engine_->SetUserName(user_name_);
    engine_->SetPassword(password_);
    engine_->SetServerKey(server_key_);
    engine_->SetFTPMode(ftp_mode_);
    auto [folder, name] = SplitPath(path_);
    return engine_->SendDataFile(std::string(jpeg.begin(), jpeg.end()), folder, name,
                                 canvas_index_);
}

// A push that fails every few seconds would fill the log with the same lines: a step is
// logged when it differs from the last one.
void FTPPush::StatusChanged(const std::string& text) {
    if (listener_) listener_(text);
    if (text == logged_status_) return;
    logged_status_ = text;
    LogInfo("FTP push of canvas {} to {}: {}", canvas_index_, server_name_, text);
}

void FTPPush::SetEnabled(bool value) {
    if (!StoreIfChanged(enabled_, value)) return;
    needs_saving_ = true;
    if (value) next_upload_time_ = 0;
    // The engine itself comes with the first upload, which brings the loop it runs on.
    if (!value && engine_) {
        engine_->Disconnect();
        engine_->Shutdown();
        engine_.reset();
    }
}

void FTPPush::SetInterval(double value) {
    if (!StoreLimited(interval_, value, 0.0, kMaxInterval)) return;
    needs_saving_ = true;
    next_upload_time_ = 0;
}

void FTPPush::SetBaseTime(std::int32_t value) {
    if (!StoreLimited(base_time_, value, 0, kMaxBaseTime)) return;
    needs_saving_ = true;
    next_upload_time_ = 0;
}

void FTPPush::SetCanvasIndex(std::int32_t value) {
    canvas_index_ = value;
    schedule_.SetCanvasIndex(value);
}

void FTPPush::Reset() {
    SetEnabled(false);
    SetInterval(5);
    SetBaseTime(0);
    SetFTPMode(0);
    SetPath("push.jpg");
    SetServerName("");
    SetUserName("");
    SetPassword("");
    SetServerKey("");
    SetQuality(70);
    next_upload_time_ = 0;
    schedule_.Reset();
}

void FTPPush::SetNeedsSaving(bool value) {
    needs_saving_ = value;
    if (!value) schedule_.SetNeedsSaving(false);
}

} // namespace tess
