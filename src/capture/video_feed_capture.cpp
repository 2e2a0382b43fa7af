// A video feed's capture: opening its driver, the grab rule and the delivery of frames.

#include "base/log.h"
#include "capture/capture_drivers.h"
#include "capture/padded_size.h"
#include "capture/video_feed.h"
#include "imaging/jpeg.h"
#include "imaging/kernels.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace tess {

namespace {

constexpr double kSecondsPerDay = 86400.0;
constexpr const char* kNoConnect = "Error:  Could not connect to capture device.";

} // namespace

VideoFeed::VideoFeed() = default;

VideoFeed::~VideoFeed() {
    if (vfw_input_ != kNoInput) CloseFeed();
}

void VideoFeed::Message(std::string_view text, std::string_view caption) const {
    if (services_ && services_->message)
        services_->message(text, caption);
    else
        LogWarning("{}: {}", caption, text);
}

std::string VideoFeed::GetFeedName() const {
    if (!services_ || !services_->drivers) return {};
    const DriverCatalog& drivers = *services_->drivers;
    const std::string name = drivers.Description(vfw_input_);
    if (name.empty()) return {};
    int same = 0, ordinal = 0;
    for (int i = 0; i <= kMaxInput; ++i) {
        if (drivers.Description(i) != name) continue;
        ++same;
        if (i == vfw_input_) ordinal = same;
    }
    return same > 1 ? "(" + std::to_string(ordinal) + ") " + name : name;
}

void VideoFeed::OpenFeed() {
    if (driver_) CloseFeed();
    feed_name_ = GetFeedName();
    has_source_ = has_format_ = has_display_ = false;
    if (services_ && services_->drivers) driver_ = services_->drivers->Create(vfw_input_);
    if (!driver_ || !ConnectDriver()) {
        Message(kNoConnect, "Error");
        CloseFeed();
        enabled_ = false;
        return;
    }
    if (vfw_input_ < 0 || vfw_input_ > kMaxInput) {
        CloseFeed();
        enabled_ = false;
        return;
    }
    opened_time_ = services_->now ? services_->now() : 0;
    if (rate_ != 0) next_time_ = opened_time_;
    reset_frame_ = true;
    LogInfo("video feed {} '{}' opened", vfw_input_, feed_name_);
}

// A driver that refuses is asked exactly once more.
bool VideoFeed::ConnectDriver() {
    if (!driver_) return false;
    driver_->Disconnect();
    if (!driver_->Connect() && !driver_->Connect()) return false;
    const DriverCaps caps = driver_->Caps();
    has_source_ = caps.has_dialog_video_source;
    has_format_ = caps.has_dialog_video_format;
    has_display_ = caps.has_dialog_video_display;
    return true;
}

void VideoFeed::CloseFeed() {
    if (!driver_) return;
    driver_->Disconnect();
    driver_.reset();
    driver_state_.clear();
}

void VideoFeed::Grab(double now) {
    if (!driver_) return;
    // Before the first frame the watchdog counts from the opening.
    const double since = last_frame_time_ != 0 ? last_frame_time_ : opened_time_;
    const bool lost = (now - since) * kSecondsPerDay > kWatchdogSeconds;
    if ((reset_frame_ && now >= next_time_) || lost) {
        reset_frame_ = false;
        last_request_time_ = now;
        driver_->RequestFrame();
    }
    driver_->DeliverFrame([this, now](const VideoHeader& header) { FrameCallback(header, now); });
    ReportDriverState();
}

// While a grab is outstanding the driver wakes the loop itself when the frame comes.
double VideoFeed::NextDue(double limit) const {
    if (!enabled_ || !driver_) return limit;
    if (reset_frame_) return std::min(limit, next_time_);
    // A camera that stays away is asked again every five seconds, not on every tick.
    const double since =
        std::max(last_frame_time_ != 0 ? last_frame_time_ : opened_time_, last_request_time_);
    return std::min(limit, since + kWatchdogSeconds / kSecondsPerDay);
}

std::string VideoFeed::DriverState() const {
    return driver_ ? driver_->StateText() : std::string("closed");
}

// Once per change: a camera that stays away for a day must not fill the log.
void VideoFeed::ReportDriverState() {
    std::string state = driver_->StateText();
    if (state == driver_state_) return;
    if (state.find("none can be decoded") != std::string::npos)
        LogWarning("video feed {} '{}': {}; the last good frame stays", vfw_input_, feed_name_,
                   state);
    else if (state.find("lost") != std::string::npos)
        LogWarning("video feed {} '{}': {}; the last good frame stays", vfw_input_, feed_name_,
                   state);
    else
        LogInfo("video feed {} '{}': {}", vfw_input_, feed_name_, state);
    driver_state_ = std::move(state);
}

void VideoFeed::CountFrame(double now) {
    const auto second = static_cast<std::int64_t>(std::floor(now * kSecondsPerDay));
    if (second != fps_second_) {
        if (fps_second_ >= 0) fps_ = fps_count_;
        fps_count_ = 0;
        fps_second_ = second;
    }
    ++fps_count_;
}

void VideoFeed::FrameCallback(const VideoHeader& header, double now) {
    reset_frame_ = true;
    if (rate_ != 0) {
        next_time_ += 1.0 / rate_ / kSecondsPerDay;
        if (next_time_ < now) next_time_ = now;
    }
    CountFrame(now);
    last_frame_interval_ = last_frame_time_ == 0 ? 0 : now - last_frame_time_;
    last_frame_time_ = now;
    if (header.bytes_used == 0 || header.bytes_used > header.buffer_length) return;

    int status_width = 0, status_height = 0;
    if (driver_) driver_->Status(status_width, status_height);
    if (dib_.Width() != status_width || dib_.Height() != status_height || width_ != status_width ||
        height_ != status_height) {
        width_ = status_width;
        height_ = status_height;
        dib_.SetWidthHeight(width_, height_);
    }
    double bytes_per_pixel = 1;
    if (PaddedSize(width_, height_, 3) == header.bytes_used)
        bytes_per_pixel = 3;
    else if (PaddedSize(width_, height_, 2) == header.bytes_used)
        bytes_per_pixel = 2;
    else if (PaddedSize(width_, height_, 1.5) == header.bytes_used)
        bytes_per_pixel = 1.5;
    else if (width_ > 0 && height_ > 0)
        bytes_per_pixel = static_cast<double>(header.bytes_used) / (double(width_) * height_);
    bpp_ = static_cast<float>(8 * bytes_per_pixel);
    if (show_debug_info_) {
        LogFrameInfo(header, bytes_per_pixel);
        show_debug_info_ = false;
    }
    if (CopyFrame(header, bytes_per_pixel)) ++revision_;
    AskForJpeg();
}

// JPEGs are asked for while something takes them (a canvas passing the frame through) and
// the bitmaps of JPEG frames were not needed for several frames in a row lately.
void VideoFeed::AskForJpeg() {
    bitmap_streak_ = bitmap_made_ ? bitmap_streak_ + 1 : 0;
    bitmap_made_ = false;
    if (bitmap_streak_ >= kBitmapStreak) {
        bitmap_streak_ = 0;
        bitmap_frames_left_ = kBitmapFramesAfterUse;
    } else if (bitmap_frames_left_ > 0) {
        --bitmap_frames_left_;
    }
    if (driver_)
        driver_->SetJpegWanted(jpeg_asked_ && bitmap_frames_left_ == 0 && !motion_.Enabled());
    jpeg_asked_ = false;
}

std::span<const std::uint8_t> VideoFeed::Jpeg() const {
    jpeg_asked_ = true;
    if (!jpeg_current_) return {};
    return jpeg_;
}

const YCbCrPlanes* VideoFeed::Planes() const {
    jpeg_asked_ = true;
    if (!jpeg_current_) return nullptr;
    if (planes_pending_) {
        planes_pending_ = false;
        planes_ok_ = DecodeJpegToPlanes(jpeg_, planes_) && planes_.width == width_ &&
                     planes_.height == height_;
    }
    return planes_ok_ ? &planes_ : nullptr;
}

const DIB& VideoFeed::DIB() const {
    if (!dib_pending_) return dib_;
    dib_pending_ = false;
    bitmap_made_ = true;
    // The JPEG decoded straight to BGR: exactly the picture a bitmap frame would give.
    if (DecodeJpegIntoDIB(jpeg_, decoded_) && decoded_.Width() == width_ &&
        decoded_.Height() == height_)
        std::swap(dib_, decoded_);
    return dib_;
}

// A kept JPEG is taken over whole (the driver gets the old buffer back); its bitmap and
// planes wait until something asks.
void VideoFeed::TakeJpeg(const VideoHeader& header) {
    std::swap(jpeg_, *header.jpeg);
    jpeg_current_ = true;
    dib_pending_ = planes_pending_ = true;
}

// Depths other than 24 and 16 bits are not converted: the picture and flags stay as they were.
// A 24-bit frame has the bitmap's own layout and goes straight into it; a 16-bit one is
// widened in place in a staging buffer with room for the 24-bit rows.
bool VideoFeed::CopyFrame(const VideoHeader& header, double bytes_per_pixel) {
    if (bytes_per_pixel != 3 && bytes_per_pixel != 2) return false;
    const auto size = static_cast<std::size_t>(PaddedSize(width_, height_, 3));
    if (!dib_.HasBitmap() || header.bytes_used > size || dib_.BufferSize() > size) return false;
    if (header.jpeg) {
        if (bytes_per_pixel != 3) return false;
        TakeJpeg(header);
    } else if (bytes_per_pixel == 3) {
        std::memcpy(dib_.DIBPtr(), header.data, dib_.BufferSize());
    } else {
        if (buffer_.size() != size) buffer_.assign(size, 0);
        std::memcpy(buffer_.data(), header.data, header.bytes_used);
        bpp_ = 15;
        DIB1624(buffer_.data(), width_, height_);
        std::memcpy(dib_.DIBPtr(), buffer_.data(), dib_.BufferSize());
    }
    if (!header.jpeg) jpeg_current_ = dib_pending_ = false;
    new_dib_ = true;
    new_preview_dib_ = true;
    if (motion_.Enabled()) FeedMotionDetector();
    valid_ = true;
    frame_ = frame_ + 1 > kFrameWrap ? 0 : frame_ + 1;
    return true;
}

// The feed keeps its frame interval as a date difference; the detector's rest counter counts
// seconds.
void VideoFeed::FeedMotionDetector() {
    motion_.SetLastFrameInterval(last_frame_interval_ * kSecondsPerDay);
    motion_.DiffFrames(DIB());
}

void VideoFeed::LogFrameInfo(const VideoHeader& header, double bytes_per_pixel) const {
    const VideoFormat format = driver_ ? driver_->Format() : VideoFormat{};
    LogInfo("video feed {} Frame Info:\r\nFrame Header Length = 40\r\nStatus Height = {}\r\n"
            "Status Width = {}\r\nBuffer Length = {}\r\nBytes Used = {}\r\nFlags = {}\r\n"
            "Padded Size = {}\r\nBPP = {}\r\nBit Count = {}\r\nColor Important = {}\r\n"
            "Color Used = {}\r\nCompression = {}\r\nHeight = {}\r\nPlanes = {}\r\nSize = {}\r\n"
            "Size Image = {}\r\nWidth = {}",
            vfw_input_, height_, width_, header.buffer_length, header.bytes_used, header.flags,
            PaddedSize(width_, height_, bytes_per_pixel), bytes_per_pixel, format.bit_count,
            format.color_important, format.color_used, format.compression, format.height,
            format.planes, format.size, format.size_image, format.width);
}

void VideoFeed::ErrorCallback(int id, std::string_view text) {
    if (id == 0) return;
    text = text.substr(0, text.find('\0'));
    Message(text, "Video Feed Error Message");
}

} // namespace tess
