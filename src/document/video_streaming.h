#pragma once

// Ties a canvas to the two services that publish its picture over the network: its FTP push,
// started here when due, and its web serving, which answers requests by itself from the
// canvas's cached JPEG.

#include <cstdint>
#include <functional>

namespace tess {

class CanvasWebServer;
class DIB;
class FTPPush;

class VideoStreaming {
public:
    // The FTP engine's stages from this one on are a transfer under way.
    static constexpr std::int32_t kBusyStage = 21;

    VideoStreaming(tess::FTPPush& push, tess::CanvasWebServer& web) : push_(&push), web_(&web) {}

    std::int32_t CanvasIndex() const { return canvas_index_; }
    void SetCanvasIndex(std::int32_t value) { canvas_index_ = value; }
    tess::FTPPush& FTPPush() { return *push_; }
    tess::CanvasWebServer& CanvasWebServer() { return *web_; }

    // Both services back to their defaults.
    void Reset();

    // Starts the FTP push when it is enabled, its schedule is on and its time has come, and
    // its engine is not busy. The next time is set only when `upload` started one, so a push
    // that could not start is tried again at the next tick.
    // `picture` is asked for only when an upload starts.
    void Refresh(double now, const std::function<const DIB&()>& picture,
                 const std::function<bool(tess::FTPPush&, const DIB&)>& upload);

private:
    tess::FTPPush* push_;
    tess::CanvasWebServer* web_;
    std::int32_t canvas_index_ = 0;
};

} // namespace tess
