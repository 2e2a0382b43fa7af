#include "document/video_streaming.h"

#include "publish/canvas_web_server.h"
#include "publish/ftp_push.h"
#include "time/next_update.h"

namespace tess {

void VideoStreaming::Reset() {
    push_->Reset();
    web_->Reset();
}

void VideoStreaming::Refresh(double now, const std::function<const DIB&()>& picture,
                             const std::function<bool(tess::FTPPush&, const DIB&)>& upload) {
    tess::FTPPush& push = *push_;
    if (!push.Enabled()) return;
    const double next = push.NextUploadTime();
    if (!push.Schedule().EnableNow(now) || next > now) return;
    if (push.Stage() >= kBusyStage || !upload) return;
    if (upload(push, picture()))
        push.SetNextUploadTime(CalcNextUpdate(push.Interval(), push.BaseTime(), now));
}

} // namespace tess
