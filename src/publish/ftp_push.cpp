#include "publish/ftp_push.h"

namespace tess {

void FTPPush::SetEnabled(bool value) {
    if (!StoreIfChanged(enabled_, value)) return;
    needs_saving_ = true;
    if (value) next_upload_time_ = 0;
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
    SetQuality(70);
    next_upload_time_ = 0;
    schedule_.Reset();
}

void FTPPush::SetNeedsSaving(bool value) {
    needs_saving_ = value;
    if (!value) schedule_.SetNeedsSaving(false);
}

} // namespace tess
