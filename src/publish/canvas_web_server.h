#pragma once

// The settings under which the built-in web server serves one canvas's picture: the request
// path that names it, how long one encoding is reused, its JPEG quality, the picture served
// while its daily window is closed, and that window. It also keeps the encoded picture, so
// that many requests in a short time cost one encoding.

#include "publish/picture_stream.h"
#include "publish/web_picture.h"
#include "settings/limit.h"
#include "time/schedule.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tess {

class DIB;
class SunTimes;

class CanvasWebServer {
public:
    static constexpr double kMaxInterval = 60;

    explicit CanvasWebServer(SunTimes& sun) : schedule_(sun) {}
    // Viewers of the live stream finish when their canvas goes away.
    ~CanvasWebServer();
    CanvasWebServer(const CanvasWebServer&) = delete;
    CanvasWebServer& operator=(const CanvasWebServer&) = delete;

    bool Enabled() const { return enabled_; }
    void SetEnabled(bool value) { Mark(StoreIfChanged(enabled_, value)); }

    // The request path, without a leading "/", matched without regard to case.
    const std::string& FileName() const { return file_name_; }
    void SetFileName(std::string value) { Mark(StoreIfChanged(file_name_, std::move(value))); }

    // Seconds an encoded picture is reused, 0..60; 0 encodes for every request.
    double Interval() const { return interval_; }
    void SetInterval(double value) { Mark(StoreLimited(interval_, value, 0.0, kMaxInterval)); }

    std::int32_t Quality() const { return quality_; }
    void SetQuality(std::int32_t value) { Mark(StoreLimited(quality_, value, 1, 100)); }

    // Served instead of the canvas while the schedule is off.
    const std::string& OffScheduleFile() const { return off_schedule_file_; }
    void SetOffScheduleFile(std::string value) {
        Mark(StoreIfChanged(off_schedule_file_, std::move(value)));
    }

    tess::Schedule& Schedule() { return schedule_; }
    const tess::Schedule& Schedule() const { return schedule_; }

    std::int32_t CanvasIndex() const { return canvas_index_; }
    void SetCanvasIndex(std::int32_t value) {
        canvas_index_ = value;
        schedule_.SetCanvasIndex(value);
    }

    // Where the canvas's composed picture is found when a new encoding is due; the canvas
    // that owns this object sets it.
    void SetPictureSource(std::function<const DIB&()> source) { picture_ = std::move(source); }

    // The encoded picture, made afresh from the canvas at `now` (the program's clock) when
    // the kept one is older than Interval, or none was made yet. Empty (never null) while the
    // canvas has no picture.
    const JpegBytes& JPEGData(double now);
    // The kept picture with `header` before it, as one answer. Every request within the
    // same second has the same header, so the answer is made once and each of them costs
    // a single sendfile(). Null for an empty picture.
    JpegBytes WholeAnswer(const std::string& header);
    // When the kept picture was encoded; 0 before the first.
    double LastModified() const { return last_modified_; }
    // Would JPEGData(now) encode?
    bool EncodingDue(double now) const;

    // The live stream of this canvas: the canvas calls PictureRecomposed each time it draws
    // a new picture, and while anyone watches, that picture is encoded once (it becomes the
    // kept picture, whatever Interval says) and sent to every viewer. Outside the schedule
    // the stream ends.
    // `encoded`, when given, is the new picture already encoded at Quality(): it is sent as
    // it is, and the canvas's bitmap is not asked for.
    void PictureRecomposed(double now, std::vector<std::uint8_t> encoded = {});
    // A new viewer's stream, with a part to start from: the kept picture when it is the
    // canvas's newest, else a fresh encoding.
    std::shared_ptr<PictureStream> StartStream(double now);
    // Would StartStream(now) encode?
    bool StreamStartDue() const { return !stream_->Part() || stream_stale_; }
    const PictureStream& Stream() const { return *stream_; }

    // Every default back, the schedule all day, the kept picture dropped.
    void Reset();

    bool NeedsSaving() const { return needs_saving_ || schedule_.NeedsSaving(); }
    void SetNeedsSaving(bool value) {
        needs_saving_ = value;
        if (!value) schedule_.SetNeedsSaving(false);
    }

private:
    void Mark(bool changed) { needs_saving_ |= changed; }
    void Encode(double now, std::vector<std::uint8_t> encoded = {});
    void PublishToStream(double now, std::vector<std::uint8_t> encoded = {});

    bool enabled_ = false;
    std::string file_name_;
    double interval_ = 0;
    std::int32_t quality_ = 80;
    std::string off_schedule_file_ = "offair.jpg";
    tess::Schedule schedule_;
    std::int32_t canvas_index_ = 0;
    bool needs_saving_ = false;

    std::function<const DIB&()> picture_;
    JpegBytes jpeg_ = std::make_shared<const WebPicture>();
    JpegBytes answer_; // the kept picture behind `answer_header_`
    std::string answer_header_;
    double last_modified_ = 0;
    std::shared_ptr<PictureStream> stream_ = std::make_shared<PictureStream>();
    bool stream_stale_ = false; // recomposed while nobody watched
};

} // namespace tess
