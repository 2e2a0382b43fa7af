// The portfolio's part of the update tick: one reading of the clock, then the script and the
// weather input, the canvases' composition, the video feeds and the canvases' outputs.

#include "document/portfolio.h"
#include "time/next_update.h"

#include <algorithm>

namespace tess {

bool Portfolio::InUse(int slot) const {
    const tess::Canvas& canvas = *canvases_[slot];
    return !canvas.FileName().empty() && canvas.Enabled();
}

bool Portfolio::Tick(double now) {
    SetCaptureTime(now);
    composition_.now = now;
    composition_.tags.now = now;
    if (!Running()) return false;
    UpdateOtherPre();
    if (!Running()) return false;
    UpdateImages();
    if (!Running()) return false;
    UpdateVideoFeeds();
    if (!Running()) return false;
    UpdateOtherPost();
    return Running();
}

void Portfolio::UpdateOtherPre() {
    const double now = capture_time_;
    if (script_.Enabled() && IsDue(script_next_time_, script_.Rate(), now)) {
        events_.Raise(ScriptEvent::Interval);
        if (!Running()) return;
        script_next_time_ = CalcNextUpdate(script_.Rate(), script_.BaseTime(), now);
    }
    karvell_.PollCSV(now);
}

void Portfolio::UpdateImages() {
    frames_waiting_ = false;
    for (int slot = 1; slot <= kCanvasSlots; ++slot) {
        if (!InUse(slot)) continue;
        if (!canvases_[slot]->UpdateImage(composition_) || !Running()) return;
    }
}

// A frame delivered here is drawn by the next tick, which comes at once.
void Portfolio::UpdateVideoFeeds() {
    for (tess::VideoFeed& feed : feeds_) {
        if (!feed.Enabled()) continue;
        const std::uint64_t before = feed.FrameRevision();
        feed.Grab(capture_time_);
        if (feed.FrameRevision() != before) {
            frames_waiting_ = true;
            frame_time_ = std::max(frame_time_, feed.LastFrameTime());
        }
        if (!Running()) return;
    }
}

void Portfolio::UpdateOtherPost() {
    const double now = capture_time_;
    for (int slot = 1; slot <= kCanvasSlots; ++slot) {
        if (!InUse(slot)) continue;
        canvases_[slot]->DoSaves(now, outputs_);
        if (!Running()) return;
    }
    for (int slot = 1; slot <= kCanvasSlots; ++slot) {
        if (!InUse(slot)) continue;
        tess::Canvas& canvas = *canvases_[slot];
        canvas.VideoStreaming().Refresh(
            now, [&canvas]() -> const DIB& { return canvas.ComposedDIB(); }, outputs_.ftp_upload);
        if (!Running()) return;
    }
}

double Portfolio::NextDue(double limit) const {
    double next = limit;
    if (script_.Enabled()) next = std::min(next, script_next_time_);
    if (karvell_.CSVEnabled()) next = std::min(next, karvell_.NextPollTime());
    if (frames_waiting_) next = std::min(next, capture_time_);
    for (const tess::VideoFeed& feed : feeds_) {
        next = feed.NextDue(next);
        next = FeedPicture::StaleTime(feed, capture_time_, next);
    }
    for (int slot = 1; slot <= kCanvasSlots; ++slot)
        if (InUse(slot)) next = canvases_[slot]->NextDue(next);
    return next;
}

} // namespace tess
