#pragma once

// A capture driver on FFmpeg: one reader thread per connected camera that keeps only the
// newest frame in a mutex-guarded slot. A camera that goes away is retried in the background,
// one second after the drop, then waiting twice as long each time up to thirty seconds; the
// loop thread never waits for it.

#include "capture/camera_source.h"
#include "capture/capture_driver.h"
#include "capture/raw_frame.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace tess {

enum class ReaderState { Idle, Connecting, Streaming, Unreadable, Retrying };

class FfmpegCapture : public CaptureDriver {
public:
    static constexpr std::chrono::milliseconds kFirstRetry{1000};
    static constexpr std::chrono::milliseconds kLongestRetry{30000};
    static constexpr std::chrono::milliseconds kProbeInterval{1000};
    static constexpr std::chrono::milliseconds kProbeTimeout{300};
    // After a kept frame failed to decode, this many frames are decoded as they come, where
    // libavcodec can repair what libjpeg-turbo refuses.
    static constexpr int kDecodeAfterRefusal = 30;

    // `frame_ready` is called on the reader thread when a frame arrives for an outstanding
    // grab; it must only post work to the loop thread.
    FfmpegCapture(CameraSource source, std::function<void()> frame_ready);
    ~FfmpegCapture() override;

    bool Connect() override;
    void Disconnect() override;
    void Status(int& width, int& height) const override;
    VideoFormat Format() const override;
    void RequestFrame() override;
    bool DeliverFrame(const FrameCallback& callback) override;
    std::string StateText() const override;
    void SetJpegWanted(bool wanted) override { jpeg_wanted_ = wanted; }

    // The least time between two fetches of a snapshot camera's picture.
    void SetSnapshotInterval(std::chrono::milliseconds interval) { snapshot_interval_ = interval; }
    ReaderState State() const;
    // Frames received, and frames decoded into pictures (on either thread): a frame replaced
    // by a newer one before anybody took it is never decoded.
    std::uint64_t FramesReceived() const { return received_; }
    std::uint64_t FramesDecoded() const { return decoded_; }

private:
    void ReaderLoop();
    void Publish(RawFrame& frame);
    void SetState(ReaderState state, std::string detail);
    // Sleeps unless stopped first; false when stopped.
    bool Wait(std::chrono::milliseconds time);
    // Waits out a back-off, ending early when a network camera's host answers again.
    bool WaitForReturn(std::chrono::milliseconds backoff);
    bool HoldNextFrame();
    bool DecodeHeld();

    const CameraSource source_;
    const std::function<void()> frame_ready_;
    std::chrono::milliseconds snapshot_interval_{1000};
    std::atomic<bool> stop_{false};
    std::atomic<int> decode_as_they_come_{0};
    std::atomic<bool> jpeg_wanted_{false};
    std::atomic<std::uint64_t> received_{0}, decoded_{0};
    std::thread reader_;

    mutable std::mutex mutex_; // guards everything below
    std::condition_variable wake_reader_;
    RawFrame latest_;              // the newest frame, swapped out whole
    std::uint64_t latest_seq_ = 0; // 0: none yet
    bool grab_pending_ = false;
    ReaderState state_ = ReaderState::Idle;
    std::string detail_;

    // Loop thread only, but for delivered_seq_, which is written under the mutex.
    RawFrame delivered_;
    std::uint64_t delivered_seq_ = 0;
};

} // namespace tess
