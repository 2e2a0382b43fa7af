#include "publish/canvas_web_server.h"

#include "imaging/dib.h"
#include "imaging/jpeg.h"

#include <algorithm>

namespace tess {

namespace {

constexpr double kSecondsPerDay = 86400;

} // namespace

// Interval 0 means every request, even two within one tick of the clock. A clock set back
// (a time change, a corrected system clock) would otherwise freeze the picture until the
// clock caught up again.
bool CanvasWebServer::EncodingDue(double now) const {
    if (last_modified_ == 0 || interval_ == 0) return true;
    double elapsed = now - last_modified_;
    return elapsed > interval_ / kSecondsPerDay || elapsed < 0;
}

CanvasWebServer::~CanvasWebServer() {
    stream_->SetSchedule(nullptr, {});
    stream_->End();
}

const JpegBytes& CanvasWebServer::JPEGData(double now) {
    if (EncodingDue(now)) Encode(now);
    return jpeg_;
}

void CanvasWebServer::Encode(double now, std::vector<std::uint8_t> bytes) {
    if (bytes.empty() && picture_) {
        const DIB& picture = picture_();
        if (picture.HasBitmap()) bytes = EncodeJpeg(picture, quality_);
    }
    // Nothing composed yet: the next request tries again rather than waiting out the
    // interval with nothing to show.
    if (bytes.empty()) {
        if (!jpeg_->empty()) jpeg_ = std::make_shared<const WebPicture>();
        answer_.reset();
        last_modified_ = 0;
        return;
    }
    jpeg_ = std::make_shared<const WebPicture>(std::move(bytes));
    answer_.reset();
    last_modified_ = now;
}

void CanvasWebServer::PictureRecomposed(double now, std::vector<std::uint8_t> encoded) {
    if (!stream_->HasViewers()) {
        stream_stale_ = true;
        return;
    }
    PublishToStream(now, std::move(encoded));
}

std::shared_ptr<PictureStream> CanvasWebServer::StartStream(double now) {
    // The schedule is looked up at the time of each check, so later changes to it count.
    stream_->SetSchedule([this](double at) { return schedule_.EnableNow(at); }, off_schedule_file_);
    stream_->Reopen();
    if (StreamStartDue()) PublishToStream(now);
    return stream_;
}

// One encoding per picture, shared by the stream's viewers and the plain picture requests.
void CanvasWebServer::PublishToStream(double now, std::vector<std::uint8_t> encoded) {
    if (!schedule_.EnableNow(now)) return stream_->End(off_schedule_file_);
    Encode(now, std::move(encoded));
    stream_stale_ = false;
    stream_->Publish(*jpeg_);
}

JpegBytes CanvasWebServer::WholeAnswer(const std::string& header) {
    if (jpeg_->empty()) return nullptr;
    if (answer_ && answer_header_ == header) return answer_;
    std::vector<std::uint8_t> bytes(header.size() + jpeg_->size());
    std::copy(header.begin(), header.end(), bytes.begin());
    std::ranges::copy(jpeg_->Bytes(), bytes.begin() + static_cast<std::ptrdiff_t>(header.size()));
    answer_ = std::make_shared<const WebPicture>(std::move(bytes));
    answer_header_ = header;
    return answer_;
}

void CanvasWebServer::Reset() {
    SetEnabled(false);
    SetFileName("");
    SetInterval(0);
    SetQuality(80);
    SetOffScheduleFile("offair.jpg");
    schedule_.Reset();
    jpeg_ = std::make_shared<const WebPicture>();
    answer_.reset();
    last_modified_ = 0;
    stream_stale_ = true;
}

} // namespace tess
