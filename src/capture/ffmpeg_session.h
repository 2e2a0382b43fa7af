#pragma once

// One connection to a camera through FFmpeg: open the input, read packets, decode them and
// turn each picture into a RawFrame. Every blocking call is bounded by a deadline and by the
// owner's stop flag through FFmpeg's interrupt callback, so a camera host that accepts and
// never answers holds the reader thread for seconds at most and the loop thread never.

#include "capture/camera_source.h"
#include "capture/raw_frame.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace tess {

enum class SessionEnd { Failed, Ended, Stopped };

class FfmpegSession {
public:
    // Called with each decoded frame; it may swap `frame`'s buffer for another one.
    using FrameSink = std::function<void(RawFrame& frame)>;
    // Called once when kUnreadableStreak pictures in a row could not be decoded.
    using UnreadableSink = std::function<void()>;
    // Asked for each MJPEG frame: true when it may be kept compressed (RawFrame::held)
    // instead of decoded now.
    using HoldTest = std::function<bool()>;
    static constexpr int kUnreadableStreak = 25;

    FfmpegSession(const CameraSource& source, const std::atomic<bool>& stop);
    ~FfmpegSession();
    FfmpegSession(const FfmpegSession&) = delete;
    FfmpegSession& operator=(const FfmpegSession&) = delete;

    // Opens, then reads until the stream ends, fails or the stop flag is set. `error` tells
    // what failed, for the log.
    SessionEnd Run(const FrameSink& sink, std::chrono::steady_clock::time_point connected,
                   const UnreadableSink& unreadable = {}, const HoldTest& hold = {});
    const std::string& Error() const { return error_; }
    // While the flag is set, MJPEG frames that could be had as planes are kept undecoded.
    void SetJpegWanted(const std::atomic<bool>* wanted) { jpeg_wanted_ = wanted; }
    int FramesDelivered() const { return frames_; }
    // The input format FFmpeg settled on ("mpjpeg", "jpeg_pipe", "rtsp", ...).
    const std::string& FormatName() const { return format_name_; }

private:
    struct State;

    bool Open();
    bool Convert(RawFrame& out);
    bool ScaleInto(std::uint8_t* first_row, int stride);
    bool DecodeMjpegDirectly(RawFrame& out);
    bool HoldMjpeg(RawFrame& out, const HoldTest& hold);
    void Deliver(RawFrame& frame, const FrameSink& sink,
                 std::chrono::steady_clock::time_point connected);
    void Pace(double seconds);
    SessionEnd Fail(const std::string& what, int code);
    void CountUnreadable(const UnreadableSink& unreadable);

    const CameraSource& source_;
    const std::atomic<bool>& stop_;
    const std::atomic<bool>* jpeg_wanted_ = nullptr;
    std::unique_ptr<State> state_;
    std::string error_;
    std::string format_name_;
    int frames_ = 0;
    int unreadable_in_a_row_ = 0;
};

} // namespace tess
