#include "capture/ffmpeg_session.h"

#include "capture/ffmpeg_library.h"
#include "imaging/dib.h"

extern "C" {
#include <libavutil/imgutils.h>
}

#include <cstdint>
#include <cstring>
#include <mutex>
#include <thread>
#include <vector>

namespace tess {

namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr auto kOpenTimeout = std::chrono::seconds(8);
constexpr auto kReadTimeout = std::chrono::seconds(5);
// More than any camera frame takes (a 4K MJPEG frame at the best quality is under 8 MB). A
// stream part that never ends would otherwise grow one packet without bound until the read's
// time-out, hundreds of megabytes on a fast link.
constexpr std::int64_t kMaxBytesPerRead = 16 * 1024 * 1024;

// Valid once a session has opened: nothing of FFmpeg's exists before.
const FfmpegLibrary& F() {
    return *Ffmpeg();
}

std::string AvErrorText(int code) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    F().av_strerror(code, text, sizeof text);
    return text;
}

} // namespace

// swscale's vector code converts whole blocks of pixels and writes up to a block past a
// row's last pixel (45 bytes measured for 16-pixel blocks); 32 pixels leaves a margin.
constexpr int kScaleBlock = 32;
constexpr std::size_t kScaleSlack = kScaleBlock * 4;

namespace {

// Top-down rows into a bottom-up bitmap: source row y lands `y` pitches below the last row.
void CopyRowsUp(const std::uint8_t* top, int stride, int rows, std::size_t row_bytes,
                std::uint8_t* bottom_row_up, int pitch) {
    for (int y = 0; y < rows; ++y)
        std::memcpy(bottom_row_up - static_cast<std::ptrdiff_t>(y) * pitch,
                    top + static_cast<std::ptrdiff_t>(y) * stride, row_bytes);
}

} // namespace

struct FfmpegSession::State {
    AVFormatContext* format = nullptr;
    AVCodecContext* codec = nullptr;
    AVPacket* packet = nullptr;
    AVFrame* frame = nullptr;
    SwsContext* scaler = nullptr;
    std::vector<std::uint8_t> scaled; // rows with room for swscale's whole blocks
    int stream = -1;
    const std::atomic<bool>* stop = nullptr;
    SteadyClock::time_point deadline;
    std::int64_t bytes_at_arm = 0;
    mutable bool too_large = false;
    double first_pts = -1;
    SteadyClock::time_point paced_from;

    ~State() {
        if (!format) return; // FFmpeg was never reached
        F().sws_freeContext(scaler);
        F().av_frame_free(&frame);
        F().av_packet_free(&packet);
        F().avcodec_free_context(&codec);
        F().avformat_close_input(&format);
    }
    std::int64_t BytesRead() const { return format && format->pb ? format->pb->bytes_read : 0; }
    void Arm(SteadyClock::duration timeout) {
        deadline = SteadyClock::now() + timeout;
        bytes_at_arm = BytesRead();
    }

    // FFmpeg asks this before every read of the network, so it bounds both time and bytes.
    static int Interrupt(void* opaque) {
        const State* state = static_cast<const State*>(opaque);
        if (state->BytesRead() - state->bytes_at_arm > kMaxBytesPerRead) state->too_large = true;
        return state->stop->load() || state->too_large || SteadyClock::now() > state->deadline ? 1
                                                                                               : 0;
    }
};

FfmpegSession::FfmpegSession(const CameraSource& source, const std::atomic<bool>& stop)
    : source_(source), stop_(stop), state_(std::make_unique<State>()) {
    state_->stop = &stop_;
}

FfmpegSession::~FfmpegSession() = default;

SessionEnd FfmpegSession::Fail(const std::string& what, int code) {
    if (stop_) return SessionEnd::Stopped;
    if (state_->too_large) {
        error_ = what + ": no picture within " + std::to_string(kMaxBytesPerRead >> 20) + " MB";
        return SessionEnd::Failed;
    }
    if (code == AVERROR_EXIT && SteadyClock::now() > state_->deadline) {
        error_ = what + ": timed out";
        return SessionEnd::Failed;
    }
    error_ = code ? what + ": " + AvErrorText(code) : what;
    return SessionEnd::Failed;
}

bool FfmpegSession::Open() {
    State& s = *state_;
    if (std::string problem; !Ffmpeg(&problem)) {
        Fail(problem, 0);
        return false;
    }
    s.format = F().avformat_alloc_context();
    if (!s.format) return false;
    s.format->interrupt_callback = {&State::Interrupt, &s};
    if (source_.kind == CameraKind::V4L2 || source_.kind == CameraKind::TestSource) {
        if (std::string problem = LoadFfmpegDevices(); !problem.empty()) {
            Fail(problem, 0);
            return false;
        }
    }
    AVDictionary* options = nullptr;
    for (const auto& [key, value] : source_.options)
        F().av_dict_set(&options, key.c_str(), value.c_str(), 0);
    const AVInputFormat* input = source_.input_format.empty()
                                     ? nullptr
                                     : F().av_find_input_format(source_.input_format.c_str());
    s.Arm(kOpenTimeout);
    int code = F().avformat_open_input(&s.format, source_.address.c_str(), input, &options);
    F().av_dict_free(&options);
    if (code < 0) {
        Fail("cannot open", code);
        return false;
    }
    format_name_ = s.format->iformat ? s.format->iformat->name : "";
    s.Arm(kOpenTimeout);
    if ((code = F().avformat_find_stream_info(s.format, nullptr)) < 0) {
        Fail("no stream information", code);
        return false;
    }
    const AVCodec* decoder = nullptr;
    s.stream = F().av_find_best_stream(s.format, AVMEDIA_TYPE_VIDEO, -1, -1, &decoder, 0);
    if (s.stream < 0 || !decoder) {
        Fail("no video stream", s.stream < 0 ? s.stream : 0);
        return false;
    }
    s.codec = F().avcodec_alloc_context3(decoder);
    F().avcodec_parameters_to_context(s.codec, s.format->streams[s.stream]->codecpar);
    s.codec->thread_count = 1; // frame threads would only add latency
    if ((code = F().avcodec_open2(s.codec, decoder, nullptr)) < 0) {
        Fail("cannot open the decoder", code);
        return false;
    }
    s.packet = F().av_packet_alloc();
    s.frame = F().av_frame_alloc();
    return s.packet && s.frame;
}

// A picture that failed to decode cleanly is dropped: the feed keeps its last good frame.
bool FfmpegSession::Convert(RawFrame& out) {
    State& s = *state_;
    const AVFrame* f = s.frame;
    if (f->decode_error_flags || (f->flags & AV_FRAME_FLAG_CORRUPT)) return false;
    if (f->width <= 0 || f->height <= 0 || !DIB::SizeAllowed(f->width, f->height)) return false;
    const bool raw555 = f->format == AV_PIX_FMT_RGB555LE;
    out.width = f->width;
    out.height = f->height;
    out.bytes_per_pixel = raw555 ? 2 : 3;
    out.held = false;
    out.as_jpeg = false;
    // Room for the widened picture, so that 16-bit frames can be widened in place.
    out.bytes.resize(RawFrame::Pitch(out.width, 3) * out.height + kScaleSlack);
    const int pitch = static_cast<int>(out.Pitch());
    std::uint8_t* bottom_row_up =
        out.bytes.data() + static_cast<std::size_t>(pitch) * (f->height - 1);
    if (raw555) {
        CopyRowsUp(f->data[0], f->linesize[0], f->height, static_cast<std::size_t>(f->width) * 2,
                   bottom_row_up, pitch);
        return true;
    }
    s.scaler = F().sws_getCachedContext(s.scaler, f->width, f->height,
                                        static_cast<AVPixelFormat>(f->format), f->width, f->height,
                                        AV_PIX_FMT_BGR24, SWS_POINT, nullptr, nullptr, nullptr);
    if (!s.scaler) return false;
    // A width of whole blocks is written straight into the frame, top-down from its last row
    // in memory: a bottom-up bitmap without a flip. Any other width would have each row's
    // overrun land on the row written before it, so it goes through rows with room.
    if (f->width % kScaleBlock == 0) return ScaleInto(bottom_row_up, -pitch);
    const int room = (f->width + kScaleBlock - 1) / kScaleBlock * kScaleBlock * 3;
    s.scaled.resize(static_cast<std::size_t>(room) * f->height + kScaleSlack);
    if (!ScaleInto(s.scaled.data(), room)) return false;
    CopyRowsUp(s.scaled.data(), room, f->height, static_cast<std::size_t>(f->width) * 3,
               bottom_row_up, pitch);
    return true;
}

bool FfmpegSession::ScaleInto(std::uint8_t* first_row, int stride) {
    State& s = *state_;
    const AVFrame* f = s.frame;
    std::uint8_t* planes[4] = {first_row, nullptr, nullptr, nullptr};
    int strides[4] = {stride, 0, 0, 0};
    return F().sws_scale(s.scaler, f->data, f->linesize, 0, f->height, planes, strides) ==
           f->height;
}

// Files and test sources play at their own rate instead of as fast as they decode.
void FfmpegSession::Pace(double seconds) {
    State& s = *state_;
    if (s.first_pts < 0) {
        s.first_pts = seconds;
        s.paced_from = SteadyClock::now();
        return;
    }
    const auto due = s.paced_from + std::chrono::duration_cast<SteadyClock::duration>(
                                        std::chrono::duration<double>(seconds - s.first_pts));
    while (!stop_ && SteadyClock::now() < due)
        std::this_thread::sleep_for(std::min<SteadyClock::duration>(due - SteadyClock::now(),
                                                                    std::chrono::milliseconds(20)));
}

// A camera that sends only garbage keeps the reader busy without a single frame; saying so
// once per streak tells the user which feed it is without filling the log.
void FfmpegSession::CountUnreadable(const UnreadableSink& unreadable) {
    if (++unreadable_in_a_row_ == kUnreadableStreak && unreadable) unreadable();
}

SessionEnd FfmpegSession::Run(const FrameSink& sink, SteadyClock::time_point connected,
                              const UnreadableSink& unreadable, const HoldTest& hold) {
    if (!Open()) return stop_ ? SessionEnd::Stopped : SessionEnd::Failed;
    State& s = *state_;
    RawFrame frame;
    const AVRational time_base = s.format->streams[s.stream]->time_base;
    while (!stop_) {
        s.Arm(kReadTimeout);
        int code = F().av_read_frame(s.format, s.packet);
        if (code == AVERROR_EOF) return frames_ > 0 ? SessionEnd::Ended : Fail("no frames", 0);
        if (code < 0) return Fail("read failed", code);
        if (s.packet->stream_index != s.stream) {
            F().av_packet_unref(s.packet);
            continue;
        }
        if (HoldMjpeg(frame, hold) || DecodeMjpegDirectly(frame)) {
            if (source_.paced && s.packet->pts != AV_NOPTS_VALUE)
                Pace(static_cast<double>(s.packet->pts) * av_q2d(time_base));
            F().av_packet_unref(s.packet);
            Deliver(frame, sink, connected);
            continue;
        }
        code = F().avcodec_send_packet(s.codec, s.packet);
        F().av_packet_unref(s.packet);
        if (code < 0 && code != AVERROR(EAGAIN)) { // a broken packet: skip it
            CountUnreadable(unreadable);
            continue;
        }
        while (F().avcodec_receive_frame(s.codec, s.frame) == 0) {
            if (source_.paced && s.frame->best_effort_timestamp != AV_NOPTS_VALUE)
                Pace(static_cast<double>(s.frame->best_effort_timestamp) * av_q2d(time_base));
            const bool ok = Convert(frame);
            F().av_frame_unref(s.frame);
            if (stop_) continue;
            if (!ok) {
                CountUnreadable(unreadable);
                continue;
            }
            Deliver(frame, sink, connected);
        }
    }
    return SessionEnd::Stopped;
}

void FfmpegSession::Deliver(RawFrame& frame, const FrameSink& sink,
                            SteadyClock::time_point connected) {
    if (stop_) return;
    if (!frame.held) unreadable_in_a_row_ = 0; // a kept frame is not known to be good yet
    frame.time_captured = static_cast<std::uint32_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(SteadyClock::now() - connected)
            .count());
    ++frames_;
    sink(frame);
}

// An MJPEG frame is a whole JPEG: libjpeg-turbo decodes it straight into the frame's
// bottom-up BGR rows, 15 to 20 % faster than libavcodec's decoding and swscale's conversion
// (bench_capture). Whatever it refuses (a damaged frame, an interlaced one of two fields)
// goes to libavcodec, which repairs what it can and flags the rest.
bool FfmpegSession::DecodeMjpegDirectly(RawFrame& out) {
    const State& s = *state_;
    if (s.codec->codec_id != AV_CODEC_ID_MJPEG || s.packet->size <= 0) return false;
    const std::span<const std::uint8_t> jpeg(s.packet->data,
                                             static_cast<std::size_t>(s.packet->size));
    int width = 0, height = 0;
    if (!out.DecodeMjpeg(jpeg, jpeg_wanted_ && *jpeg_wanted_, width, height)) return false;
    if ((s.codec->width > 0 && width != s.codec->width) ||
        (s.codec->height > 0 && height != s.codec->height))
        return false;
    out.width = width;
    out.height = height;
    out.bytes_per_pixel = 3;
    out.held = false;
    return true;
}

// Only a stream whose size is known is held: the decoding later checks the frame against it.
bool FfmpegSession::HoldMjpeg(RawFrame& out, const HoldTest& hold) {
    const State& s = *state_;
    if (s.codec->codec_id != AV_CODEC_ID_MJPEG || s.packet->size <= 0) return false;
    if (s.codec->width <= 0 || s.codec->height <= 0 || !hold || !hold()) return false;
    out.jpeg.assign(s.packet->data, s.packet->data + s.packet->size);
    out.as_jpeg = false;
    out.width = s.codec->width;
    out.height = s.codec->height;
    out.bytes_per_pixel = 3;
    out.held = true;
    return true;
}

} // namespace tess
