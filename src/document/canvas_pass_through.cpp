// A canvas that is a camera frame with items over it (the usual webcam picture: the frame,
// a logo, a caption and the time) sends each new frame to its live stream without drawing
// it: the camera's JPEG is transcoded with the items laid over it as a kept overlay, so only
// the blocks under the items are ever decoded (or, for a camera of other sampling, the
// frame's YCbCr planes get the overlay and are encoded). Neither colour conversion nor a
// copy of the frame into the layers is made; the layers get the frame only when the composed
// picture itself is asked for (a save, an upload, a request for the still picture).

#include "document/canvas.h"
#include "imaging/jpeg.h"
#include "time/next_update.h"

namespace tess {

namespace {

bool Meet(const Image::Bounds& a, const Image::Bounds& b) {
    return !a.Empty() && !b.Empty() && a.left < b.left + b.width && b.left < a.left + a.width &&
           a.top < b.top + b.height && b.top < a.top + a.height;
}

bool Shown(CanvasItem* item, double now) {
    return item && item->Enabled() && item->UpdateOnNow(now);
}

} // namespace

// The first graphic shown on the lowest layer in use, when it is a camera frame drawn as it
// is over the whole canvas: everything else shown is then drawn over it.
GraphicItem* Canvas::PassThroughCamera(double now) {
    int lowest = CanvasLayers::kLayers;
    GraphicItem* first = nullptr;
    for (auto& item : graphics_.items) {
        if (!Shown(item.get(), now) || item->Layer() >= lowest) continue;
        lowest = item->Layer();
        first = item.get();
    }
    for (auto& item : texts_.items)
        if (Shown(item.get(), now) && item->Layer() < lowest) return nullptr;
    if (!first || first->SourceType() != SourceType::VideoFeed) return nullptr;
    return first->Image().PassesPictureThrough(width_, height_, first->DrawX(), first->DrawY())
               ? first
               : nullptr;
}

// A scripted item hears of each refresh, and new settings must be drawn as they come.
bool Canvas::DefersRefresh(const GraphicItem& item, bool reload) const {
    return !reload && !item.Scripted() && !item.SettingsChanged();
}

// The frame is noted, not drawn: the layers keep the older one until they are asked for.
void Canvas::DeferCamera(GraphicItem& item, int index, const CompositionServices& services) {
    const double now = services.now;
    const std::uint64_t revision =
        services.feed_revision ? services.feed_revision(item.SourceVideoFeedName()) : 0;
    const bool fresh =
        revision != 0 && revision != deferred_revision_ && item.FeedFrameWaiting(services);
    if (fresh || IsDue(item.NextTime(), item.Interval(), now)) item.SetNextTime(now);
    if (fresh) {
        deferred_revision_ = revision;
        deferred_index_ = index;
        deferred_services_ = &services;
        deferred_now_ = now;
        deferred_this_pass_ = true;
    }
    NoteDrawn(item, false);
}

bool Canvas::OverlayStale() const {
    return overlay_stale_ || overlay_redraws_ != layers_.Redraws() || overlay_camera_ != camera_;
}

// Without viewers the frame only waits to be drawn; with them it goes out through the
// overlay, unless the items over it changed in this very pass (a text that changes with
// every frame would otherwise cost an overlay each time): that frame is drawn the ordinary
// way, and the overlay is made from the next one on.
bool Canvas::PassFrameThrough(const CompositionServices& services, bool changed_this_pass) {
    const std::string_view feed = graphics_.items[deferred_index_]->SourceVideoFeedName();
    // Asked for even without viewers: the reader then keeps the frames undecoded.
    const FeedPlanes frame = services.feed_planes(feed, false);
    if (!web_server_.Stream().HasViewers()) {
        ++passed_frames_;
        web_server_.PictureRecomposed(services.now);
        return true;
    }
    if (frame.jpeg.empty() || !OverlayReady(changed_this_pass)) return false;
    std::vector<std::uint8_t> picture = EncodePassedFrame(services, feed, frame.jpeg);
    if (picture.empty()) return false;
    ++passed_frames_;
    web_server_.PictureRecomposed(services.now, std::move(picture));
    return true;
}

// The stream's picture: the camera's JPEG transcoded with the overlay when it is 4:2:0 (only
// the blocks under the items are decoded), else the frame's planes overlaid and encoded.
std::vector<std::uint8_t> Canvas::EncodePassedFrame(const CompositionServices& services,
                                                    std::string_view feed,
                                                    std::span<const std::uint8_t> jpeg) {
    std::vector<std::uint8_t> picture;
    const int quality = web_server_.Quality();
    if (transcoder_.Transcode(jpeg, overlay_, quality, picture)) {
        ++transcoded_frames_;
        return picture;
    }
    const FeedPlanes frame = services.feed_planes(feed, true);
    if (!frame.planes || frame.planes->width != width_ || frame.planes->height != height_)
        return {};
    passed_ = *frame.planes;
    overlay_.ApplyTo(passed_);
    return EncodeJpegPlanes(passed_, quality);
}

// Everything over the camera drawn without shadows over black and over white, and the
// shadows alone over white.
bool Canvas::OverlayReady(bool changed_this_pass) {
    if (!OverlayStale()) return overlay_ok_;
    if (changed_this_pass) return false;
    overlay_stale_ = false;
    overlay_redraws_ = layers_.Redraws();
    overlay_camera_ = camera_;
    const ShadowsOver shadows = CastShadows();
    overlay_ok_ = false;
    if (shadows == ShadowsOver::Items) return false;
    DIB black(width_, height_), white(width_, height_), shaded;
    black.Clear(0x000000);
    white.Clear(0xFFFFFF);
    DrawOverCamera(black, false);
    DrawOverCamera(white, false);
    if (shadows == ShadowsOver::Frame) {
        shaded.SetWidthHeight(width_, height_);
        shaded.Clear(0xFFFFFF);
        DrawOverCamera(shaded, true);
    }
    overlay_ok_ = overlay_.Build(black, white, shaded.HasBitmap() ? &shaded : nullptr);
    return overlay_ok_;
}

void Canvas::DrawOverCamera(DIB& target, bool shadows_alone) {
    drawing_over_ = camera_;
    shadows_over_ = shadows_alone;
    for (int k = camera_->Layer(); k < CanvasLayers::kLayers; ++k)
        if (layer_used_[k]) DrawLayer(k, target);
    drawing_over_ = nullptr;
    shadows_over_ = false;
}

// Where the shadows over the camera fall (those of its own layer lie beneath it). The
// overlay takes them off the frame before laying the items over it: a shadow that falls on
// an item of a lower layer would darken that item instead, which it cannot do.
Canvas::ShadowsOver Canvas::CastShadows() {
    if (shadow_intensity_ == 0) return ShadowsOver::None;
    std::vector<std::pair<CanvasItem*, Image::Bounds>> items;
    const int bottom = camera_->Layer();
    auto note = [&](CanvasItem* item) {
        if (item && item != camera_ && item->Visible() && item->Layer() >= bottom)
            items.emplace_back(item, item->Image().ImageBounds(item->DrawX(), item->DrawY()));
    };
    for (auto& item : graphics_.items)
        note(item.get());
    for (auto& item : texts_.items)
        note(item.get());
    ShadowsOver found = ShadowsOver::None;
    for (auto& [caster, unused] : items) {
        if (!caster->Shadow() || caster->Layer() == bottom) continue;
        const Image::Bounds shadow = caster->Image().ShadowBounds(
            ClampPosition(std::int64_t{caster->DrawX()} + caster->ShadowOffsetX()),
            ClampPosition(std::int64_t{caster->DrawY()} + caster->ShadowOffsetY()));
        if (shadow.Empty()) continue;
        found = ShadowsOver::Frame;
        for (const auto& [item, box] : items)
            if (item->Layer() < caster->Layer() && Meet(shadow, box)) return ShadowsOver::Items;
    }
    return found;
}

void Canvas::DrawDeferredCamera() {
    GraphicItem* item = deferred_index_ ? graphics_.items[deferred_index_].get() : nullptr;
    deferred_index_ = 0;
    if (!item || !deferred_services_) return;
    camera_ = item; // its own frame changes nothing over it
    NoteDrawn(*item, item->Refresh(*deferred_services_, deferred_now_));
}

// A canvas that shows itself gets its previous picture, as it always has.
const DIB& Canvas::ComposedDIB() {
    if (deferred_index_ != 0 && !composing_) {
        DrawDeferredCamera();
        RebuildLayers();
    }
    return layers_.Composed();
}

} // namespace tess
