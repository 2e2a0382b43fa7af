#include "capture/ffmpeg_capture.h"

#include "capture/ffmpeg_session.h"
#include "capture/host_probe.h"

#include <algorithm>
#include <utility>

namespace tess {

FfmpegCapture::FfmpegCapture(CameraSource source, std::function<void()> frame_ready)
    : source_(std::move(source)), frame_ready_(std::move(frame_ready)) {}

FfmpegCapture::~FfmpegCapture() {
    Disconnect();
}

bool FfmpegCapture::Connect() {
    if (source_.kind == CameraKind::Invalid) return false;
    if (reader_.joinable()) return true;
    stop_ = false;
    SetState(ReaderState::Connecting, {});
    reader_ = std::thread([this] { ReaderLoop(); });
    return true;
}

void FfmpegCapture::Disconnect() {
    if (!reader_.joinable()) return;
    {
        std::lock_guard lock(mutex_);
        stop_ = true;
    }
    wake_reader_.notify_all();
    reader_.join();
    std::lock_guard lock(mutex_);
    state_ = ReaderState::Idle;
    grab_pending_ = false;
}

void FfmpegCapture::Status(int& width, int& height) const {
    width = delivered_.width;
    height = delivered_.height;
}

VideoFormat FfmpegCapture::Format() const {
    VideoFormat format;
    format.width = delivered_.width;
    format.height = delivered_.height;
    format.bit_count = static_cast<std::uint16_t>(delivered_.bytes_per_pixel == 2 ? 16 : 24);
    format.size_image = static_cast<std::uint32_t>(delivered_.Size());
    return format;
}

void FfmpegCapture::RequestFrame() {
    std::lock_guard lock(mutex_);
    grab_pending_ = true;
}

bool FfmpegCapture::DeliverFrame(const FrameCallback& callback) {
    {
        std::lock_guard lock(mutex_);
        if (!grab_pending_ || latest_seq_ == delivered_seq_) return false;
        std::swap(latest_, delivered_); // the reader gets the old buffer back to fill
        delivered_seq_ = latest_seq_;
        grab_pending_ = false;
    }
    if (delivered_.held && !DecodeHeld()) return false;
    VideoHeader header;
    if (delivered_.as_jpeg) {
        header.jpeg = &delivered_.jpeg;
        header.buffer_length = static_cast<std::uint32_t>(delivered_.Size());
    } else {
        header.data = delivered_.bytes.data();
        header.buffer_length = static_cast<std::uint32_t>(delivered_.bytes.size());
    }
    header.bytes_used = static_cast<std::uint32_t>(delivered_.Size());
    header.time_captured = delivered_.time_captured;
    callback(header);
    return true;
}

ReaderState FfmpegCapture::State() const {
    std::lock_guard lock(mutex_);
    return state_;
}

std::string FfmpegCapture::StateText() const {
    std::lock_guard lock(mutex_);
    switch (state_) {
    case ReaderState::Idle:
        return "closed";
    case ReaderState::Connecting:
        return "connecting";
    case ReaderState::Streaming:
        return "receiving frames";
    case ReaderState::Unreadable:
        return "frames arrive but none can be decoded";
    case ReaderState::Retrying:
        return "lost (" + detail_ + "), retrying";
    }
    return {};
}

void FfmpegCapture::SetState(ReaderState state, std::string detail) {
    std::lock_guard lock(mutex_);
    state_ = state;
    detail_ = std::move(detail);
}

bool FfmpegCapture::Wait(std::chrono::milliseconds time) {
    std::unique_lock lock(mutex_);
    return !wake_reader_.wait_for(lock, time, [this] { return stop_.load(); });
}

// A whole session is tried only after the back-off, but the host of a network camera that
// refused connections is asked every second whether it takes them again, so a camera that
// returns during a long wait is back within a second or two. A host that is up while its
// stream fails keeps the full back-off.
bool FfmpegCapture::WaitForReturn(std::chrono::milliseconds backoff) {
    const auto end = std::chrono::steady_clock::now() + backoff;
    const HostPort host = NetworkHost(source_);
    const bool was_down = !host.host.empty() && !Accepts(host, kProbeTimeout);
    while (true) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            end - std::chrono::steady_clock::now());
        if (left <= std::chrono::milliseconds(0)) return !stop_;
        if (!Wait(std::min(left, kProbeInterval))) return false;
        if (was_down && Accepts(host, kProbeTimeout)) return !stop_;
    }
}

// Only the newest frame is kept: the one waiting is replaced, never queued behind.
void FfmpegCapture::Publish(RawFrame& frame) {
    bool wanted = false;
    ++received_;
    if (!frame.held) ++decoded_;
    {
        std::lock_guard lock(mutex_);
        std::swap(latest_, frame);
        ++latest_seq_;
        wanted = grab_pending_;
        if (!latest_.held) {
            state_ = ReaderState::Streaming;
            detail_.clear();
        }
    }
    if (wanted && frame_ready_) frame_ready_();
}

// While the loop keeps up, every frame is decoded as it comes, on the reader thread beside
// the loop's work, so the loop finds it ready. A frame that comes while an older one still
// waits untaken, with no grab out, is kept compressed: the loop is behind, and a newer frame
// may well replace this one before it is taken.
bool FfmpegCapture::HoldNextFrame() {
    if (decode_as_they_come_ > 0) {
        --decode_as_they_come_;
        return false;
    }
    std::lock_guard lock(mutex_);
    return !grab_pending_ && latest_seq_ != delivered_seq_;
}

// A kept frame is decoded when it is taken, on the loop thread. One that libjpeg-turbo
// refuses is dropped: the grab stays outstanding and the next frames are decoded as they
// come, by libavcodec when libjpeg-turbo refuses them too.
bool FfmpegCapture::DecodeHeld() {
    RawFrame& frame = delivered_;
    int width = 0, height = 0;
    const bool ok = frame.DecodeMjpeg(frame.jpeg, jpeg_wanted_, width, height) &&
                    width == frame.width && height == frame.height;
    frame.held = false;
    std::lock_guard lock(mutex_);
    if (!ok) {
        frame.width = frame.height = 0;
        grab_pending_ = true;
        decode_as_they_come_ = kDecodeAfterRefusal;
        return false;
    }
    ++decoded_;
    state_ = ReaderState::Streaming;
    detail_.clear();
    return true;
}

void FfmpegCapture::ReaderLoop() {
    const auto connected = std::chrono::steady_clock::now();
    auto backoff = kFirstRetry;
    while (!stop_) {
        FfmpegSession session(source_, stop_);
        session.SetJpegWanted(&jpeg_wanted_);
        const SessionEnd end = session.Run([this](RawFrame& frame) { Publish(frame); }, connected,
                                           [this] { SetState(ReaderState::Unreadable, {}); },
                                           [this] { return HoldNextFrame(); });
        if (end == SessionEnd::Stopped || stop_) break;
        if (session.FramesDelivered() > 0) backoff = kFirstRetry;
        if (end == SessionEnd::Ended) {
            // A file plays again from the start; a snapshot camera is asked again.
            if (source_.kind == CameraKind::File) continue;
            if (!Wait(snapshot_interval_)) break;
            continue;
        }
        SetState(ReaderState::Retrying, session.Error());
        if (!WaitForReturn(backoff)) break;
        backoff = std::min(backoff * 2, kLongestRetry);
    }
}

} // namespace tess
