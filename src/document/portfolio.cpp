#include "document/portfolio.h"

#include "base/error.h"
#include "base/text.h"

#include <algorithm>

namespace tess {

namespace {

[[noreturn]] void SubscriptError() {
    throw TessError(ErrorNumber::SubscriptOutOfRange, "Subscript out of range");
}

} // namespace

Portfolio::Portfolio(SunTimes& sun) : sun_(&sun) {
    for (int slot = 0; slot <= kCanvasSlots; ++slot)
        canvases_[slot] = std::make_unique<tess::Canvas>(slot, sun);
    composition_.tags.sun = &sun;
    composition_.tags.karvell = &karvell_;
    // "<MotionDetectTime3>" names feed 3, as the portfolio file's "Feed3..." keys do.
    composition_.tags.motion_time = [this](int feed) {
        return feed >= 0 && feed < kVideoFeeds ? feeds_[feed].MotionDetect().LastMotionTriggerTime()
                                               : 0.0;
    };
    // A canvas showing another one shows what that one composed last; one that shows itself,
    // directly or round a circle of canvases, shows its own previous picture.
    composition_.canvas_picture = [this](int slot) -> SharedPicture {
        if (slot < 1 || slot > kCanvasSlots || !InUse(slot)) return {};
        tess::Canvas& canvas = *canvases_[slot];
        return {&canvas.ComposedDIB(), canvas.PictureRevision()};
    };
    composition_.feed_frame = [this](std::string_view name) { return FeedFrame(name); };
    composition_.feed_revision = [this](std::string_view name) {
        const tess::VideoFeed* feed = FindFeed(name);
        return feed ? FeedPicture::Revision(*feed, capture_time_) : std::uint64_t{0};
    };
    composition_.feed_planes = [this](std::string_view name, bool decoded) {
        const tess::VideoFeed* feed = FindFeed(name);
        return feed ? FeedPicture::Planes(*feed, capture_time_, decoded) : FeedPlanes{};
    };
    composition_.events = &events_;
    karvell_.SetScriptEvents(&events_);
    web_server_.SetScriptEvents(&events_);
    for (int i = 0; i < kVideoFeeds; ++i) {
        feeds_[i].SetVfWInput(i);
        feeds_[i].SetRate(30);
        feeds_[i].SetEnabled(false);
        feeds_[i].SetNeedsSaving(false);
        feeds_[i].MotionDetect().SetScriptEvents(&events_);
    }
}

Portfolio::~Portfolio() = default;

tess::Canvas& Portfolio::Canvas(int slot) {
    if (slot < 0 || slot > kCanvasSlots) SubscriptError();
    return *canvases_[slot];
}

const tess::Canvas& Portfolio::Canvas(int slot) const {
    if (slot < 0 || slot > kCanvasSlots) SubscriptError();
    return *canvases_[slot];
}

int Portfolio::FreeSlot(int allowed) const {
    allowed = std::min(allowed, kCanvasSlots);
    for (int slot = 1; slot <= allowed; ++slot)
        if (canvases_[slot]->FileName().empty()) return slot;
    return 0;
}

tess::VideoFeed& Portfolio::VideoFeed(int index) {
    if (index < 0 || index >= kVideoFeeds) SubscriptError();
    return feeds_[index];
}

void Portfolio::SetCapture(std::shared_ptr<const DriverCatalog> drivers, CaptureServices services) {
    drivers_ = std::move(drivers);
    capture_ = std::move(services);
    capture_.drivers = drivers_.get();
    for (tess::VideoFeed& feed : feeds_)
        feed.SetCaptureServices(&capture_);
}

// Items name their feed as the user saw it; the first open feed of that name serves.
const tess::VideoFeed* Portfolio::FindFeed(std::string_view feed_name) const {
    for (const tess::VideoFeed& feed : feeds_)
        if (feed.Enabled() && EqualsIgnoreCase(feed.FeedName(), feed_name)) return &feed;
    return nullptr;
}

SharedPicture Portfolio::FeedFrame(std::string_view feed_name) {
    const tess::VideoFeed* feed = FindFeed(feed_name);
    if (!feed) return {};
    return feed_pictures_[feed - feeds_.data()].Picture(*feed, capture_time_,
                                                        composition_.text_renderer);
}

tess::CanvasWebServer* Portfolio::FindServedCanvas(std::string_view file_name) {
    for (int slot = 1; slot <= kCanvasSlots; ++slot) {
        tess::CanvasWebServer& web = canvases_[slot]->CanvasWebServer();
        if (web.Enabled() && EqualsIgnoreCase(web.FileName(), file_name)) return &web;
    }
    return nullptr;
}

void Portfolio::ResetCanvas(int slot) {
    if (slot < 0 || slot > kCanvasSlots) SubscriptError();
    canvases_[slot] = std::make_unique<tess::Canvas>(slot, *sun_);
}

// Canvases count only while they are open: a closed one is neither listed nor saved.
bool Portfolio::NeedSaving() const {
    if (need_saving_ || karvell_.NeedsSaving() || web_server_.NeedsSaving() ||
        script_.NeedsSaving()) {
        return true;
    }
    if (std::any_of(feeds_.begin(), feeds_.end(), [](auto& f) { return f.NeedsSaving(); }))
        return true;
    return std::any_of(canvases_.begin() + 1, canvases_.end(), [](auto& c) {
        return !c->FileName().empty() && c->Enabled() && c->NeedSaving();
    });
}

// Clearing covers what the portfolio file holds; each canvas clears its own when saved.
void Portfolio::SetNeedSaving(bool value) {
    need_saving_ = value;
    if (value) return;
    karvell_.SetNeedsSaving(false);
    web_server_.SetNeedsSaving(false);
    script_.SetNeedsSaving(false);
    for (auto& feed : feeds_)
        feed.SetNeedsSaving(false);
}

bool Portfolio::SaveCanvases() {
    bool ok = true;
    for (int slot = 1; slot <= kCanvasSlots; ++slot) {
        tess::Canvas& canvas = *canvases_[slot];
        if (!canvas.FileName().empty() && canvas.Enabled() && canvas.NeedSaving())
            ok &= canvas.SaveFile();
    }
    return ok;
}

// Whatever can run is switched off first, so that what it holds open goes with it.
void Portfolio::Unload() {
    for (auto& canvas : canvases_) {
        canvas->SetEnabled(false);
        canvas->SetVisible(false);
        canvas->UnloadDIBs();
    }
    for (auto& feed : feeds_)
        feed.SetEnabled(false);
    web_server_.SetEnabled(false);
    karvell_.SetCSVEnabled(false);
    script_.SetEnabled(false);
    SetNeedSaving(false);
}

} // namespace tess
