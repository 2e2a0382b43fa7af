#include "document/graphic_source.h"

#include "base/log.h"
#include "base/text.h"
#include "document/graphic_item.h"
#include "imaging/image.h"
#include "publish/url_fetcher.h"

#include <functional>
#include <string_view>
#include <vector>

namespace tess {

// One URL's download state, shared with the callback of the download in flight; the
// callback finds it gone when the item went away first.
struct GraphicSource::Download {
    std::string url;
    bool in_flight = false;
    bool arrived = false; // a finished download waits for the next pass
    UrlFetchResult result;
    std::size_t last_hash = 0; // of the last body shown, so that the same picture is not decoded
    std::size_t last_size = 0;
};

GraphicSource::GraphicSource() = default;
GraphicSource::~GraphicSource() = default;

void GraphicSource::Sync(const GraphicItem& item, Image& image) {
    const SourceType type = item.SourceType();
    const std::string file = PathFromSettings(Trim(item.SourceFileName()));
    if (type != type_) {
        type_ = type;
        stamp_known_ = false;
        shared_revision_ = 0;
        shared_shown_ = false;
        download_.reset();
        url_problem_.clear();
        rectangle_width_ = rectangle_height_ = 0;
        image.SetPictureType(type);
        image.ClearPicture();
    }
    if (type == SourceType::GraphicFile && file != file_name_) stamp_known_ = false;
    file_name_ = file;
    image.SetPictureFileName(type == SourceType::GraphicFile ? file_name_ : std::string());
    if (type == SourceType::URLGraphic && download_ && download_->url != Trim(item.SourceURL()))
        download_.reset();
    // A rectangle is all settings: its new size shows at once.
    if (type == SourceType::Rectangle) RefreshRectangle(item, image);
}

bool GraphicSource::Refresh(const GraphicItem& item, Image& image,
                            const CompositionServices& services) {
    switch (item.SourceType()) {
    case SourceType::GraphicFile:
        return RefreshFile(image);
    case SourceType::URLGraphic:
        StartDownload(item, services);
        return false;
    case SourceType::Rectangle:
        return false; // kept up to date by Sync
    case SourceType::CanvasImage:
        return RefreshShared(services.canvas_picture ? services.canvas_picture(item.SourceCanvas())
                                                     : SharedPicture{},
                             image);
    case SourceType::VideoFeed:
        return RefreshShared(services.feed_frame ? services.feed_frame(item.SourceVideoFeedName())
                                                 : SharedPicture{},
                             image);
    }
    return false;
}

// A camera program rewrites its file all day; an unchanged file is not decoded again.
bool GraphicSource::RefreshFile(Image& image) {
    const FileStamp stamp = FileStamp::Of(file_name_);
    if (stamp_known_ && stamp == stamp_) return false;
    stamp_known_ = true;
    stamp_ = stamp;
    image.ReloadPicture();
    return true;
}

bool GraphicSource::RefreshRectangle(const GraphicItem& item, Image& image) {
    const int width = item.StretchedWidth(), height = item.StretchedHeight();
    if (width == rectangle_width_ && height == rectangle_height_) return false;
    rectangle_width_ = width;
    rectangle_height_ = height;
    image.SetGraphics(width, height);
    image.LoadIntoPictureDIB();
    return true;
}

bool GraphicSource::RefreshShared(SharedPicture shared, Image& image) {
    if (!shared.picture || !shared.picture->HasBitmap()) {
        if (!shared_shown_) return false;
        shared_shown_ = false;
        shared_revision_ = 0;
        image.ClearPicture();
        return true;
    }
    if (shared_shown_ && shared.revision == shared_revision_) return false;
    shared_shown_ = true;
    shared_revision_ = shared.revision;
    image.LoadIntoPictureDIB(*shared.picture);
    return true;
}

void GraphicSource::StartDownload(const GraphicItem& item, const CompositionServices& services) {
    const std::string url(Trim(item.SourceURL()));
    if (url.empty() || !services.url_fetcher) return;
    if (!download_) {
        download_ = std::make_shared<Download>();
        download_->url = url;
    }
    if (download_->in_flight || download_->arrived) return; // never two at once
    download_->in_flight = true;
    std::weak_ptr<Download> weak = download_;
    std::function<void()> wake = services.wake;
    services.url_fetcher->Fetch(url, [weak, wake](UrlFetchResult&& result) {
        auto download = weak.lock();
        if (!download) return;
        download->in_flight = false;
        download->arrived = true;
        download->result = std::move(result);
        if (wake) wake();
    });
}

bool GraphicSource::TakeDownload(Image& image) {
    if (!download_ || !download_->arrived) return false;
    Download& d = *download_;
    d.arrived = false;
    UrlFetchResult result = std::move(d.result);
    d.result = {};
    if (!result.ok) {
        Report(d.url, result.error);
        return false;
    }
    const std::string_view bytes(reinterpret_cast<const char*>(result.body.data()),
                                 result.body.size());
    const std::size_t hash = std::hash<std::string_view>{}(bytes);
    if (hash == d.last_hash && bytes.size() == d.last_size) {
        Report(d.url, {});
        return false;
    }
    DIB pixels, opacity;
    const PictureStatus status = DecodePicture(result.body, pixels, opacity);
    if (status != PictureStatus::Ok) {
        Report(d.url, d.url + ": the answer is no picture we can read (" +
                          PictureStatusText(status) + ")");
        return false;
    }
    Report(d.url, {});
    d.last_hash = hash;
    d.last_size = bytes.size();
    image.LoadIntoPictureDIB(std::move(pixels), std::move(opacity));
    return true;
}

// Once per change of state: a camera that is down for a day must not fill the log.
void GraphicSource::Report(const std::string& url, const std::string& problem) {
    if (problem == url_problem_) return;
    if (problem.empty())
        LogInfo("picture from '{}' arrives again", url);
    else
        LogWarning("picture not shown: {}; the last good picture stays", problem);
    url_problem_ = problem;
}

} // namespace tess
