// A canvas's composition pass: the items that are due are refreshed, the layers they changed
// are rebuilt, and the composed picture follows. An idle canvas costs one walk over its
// item tables.

#include "base/log.h"
#include "base/text.h"
#include "document/canvas.h"
#include "imaging/kernels.h"
#include "time/next_update.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>
#include <vector>

namespace tess {

namespace {

// Items are drawn at their location less what their source adds (a text's origin); their
// shadows at the shadow offset from there.
int ShadowX(CanvasItem& item) {
    return ClampPosition(std::int64_t{item.DrawX()} + item.ShadowOffsetX());
}

int ShadowY(CanvasItem& item) {
    return ClampPosition(std::int64_t{item.DrawY()} + item.ShadowOffsetY());
}

// Whether an item takes part in drawing `layer` of this pass.
bool DrawsOn(const CanvasItem* item, std::int32_t layer) {
    return item && item->Visible() && item->Layer() == layer;
}

} // namespace

bool Canvas::InitDIBs() {
    if (std::int64_t{width_} * height_ <= kMaxPixels && layers_.Init(width_, height_)) {
        size_refused_ = false;
        return true;
    }
    if (!size_refused_) {
        LogError("canvas '{}' ({}): a picture of {} x {} pixels is larger than the {} million "
                 "pixels a canvas may have; it is not composed",
                 file_name_, name_, width_, height_, kMaxPixels / (1024 * 1024));
    }
    layers_.Unload();
    size_refused_ = true;
    return false;
}

void Canvas::UnloadDIBs() {
    layers_.Unload();
}

void Canvas::NoteDrawn(CanvasItem& item, bool changed) {
    const std::int32_t layer = item.Layer();
    layer_used_[layer] = true;
    if (!changed && item.DrawnLayer() == layer) return;
    if (&item != camera_) overlay_stale_ = true;
    layers_.ForceLayerRedraw(layer);
    layers_.ForceLayerRedraw(item.DrawnLayer()); // moved from there, or -1: nothing
    item.SetDrawnLayer(layer);
}

void Canvas::NoteHidden(CanvasItem& item) {
    if (item.DrawnLayer() < 0) return;
    overlay_stale_ = true;
    layers_.ForceLayerRedraw(item.DrawnLayer());
    item.SetDrawnLayer(-1);
}

bool Canvas::UpdateImage(const CompositionServices& services) {
    if (!InitDIBs()) return true;
    composing_ = true;
    const bool running = ComposePass(services);
    composing_ = false;
    return running;
}

bool Canvas::ComposePass(const CompositionServices& services) {
    const bool reload = layers_.ReloadPending();
    layer_used_.fill(false);
    const bool was_stale = OverlayStale();
    camera_ = reload || !services.feed_planes ? nullptr : PassThroughCamera(services.now);
    deferred_this_pass_ = false;
    if (!UpdateTexts(services, reload) || !UpdateGraphics(services, reload)) return false;
    if (deferred_this_pass_) {
        if (PassFrameThrough(services, OverlayStale() && !was_stale)) return true;
        DrawDeferredCamera();
    } else if (deferred_index_ != 0 && layers_.FirstToRebuild() < CanvasLayers::kLayers) {
        DrawDeferredCamera(); // something else changed: the whole picture is made
    }
    // The live stream shows each new picture, and only new ones.
    if (RebuildLayers()) web_server_.PictureRecomposed(services.now);
    return true;
}

namespace {

// Visits the items of a table that are shown at `now`, in index order; the others (disabled,
// or off by their schedule) are handed to `hide`. A visit that returns false ends the walk.
template <typename Item, std::size_t N, typename Hide, typename Visit>
bool ForEachShown(std::array<std::unique_ptr<Item>, N>& items, double now, Hide hide, Visit visit) {
    for (std::size_t i = 1; i < N; ++i) {
        Item* item = items[i].get();
        if (!item) continue;
        if (!item->Enabled() || !item->UpdateOnNow(now)) {
            hide(*item);
            continue;
        }
        if (!visit(*item, static_cast<int>(i))) return false;
    }
    return true;
}

} // namespace

// Items off by their schedule are neither refreshed nor drawn; when the schedule opens they
// are due at once, since their next time has passed meanwhile.
bool Canvas::UpdateTexts(const CompositionServices& services, bool reload) {
    const double now = services.now;
    auto hide = [this](CanvasItem& item) { NoteHidden(item); };
    return ForEachShown(texts_.items, now, hide, [&](TextItem& item, int i) {
        bool changed = false;
        if (reload || IsDue(item.NextTime(), item.Interval(), now)) {
            changed = item.Refresh(services.tags, now);
            if (item.Scripted() &&
                services.RaiseItemEvent(ScriptEvent::TextUpdate, canvas_value_, i)) {
                if (!services.Running()) return false;
                // The script may have removed the item, or given it a new text.
                if (texts_.items[i].get() != &item) return true;
                if (item.SettingsChanged()) changed |= item.Refresh(services.tags, now);
            }
        }
        if ((changed || item.SettingsChanged()) && services.text_renderer)
            changed = item.UpdateImage(*services.text_renderer);
        NoteDrawn(item, changed);
        return true;
    });
}

bool Canvas::UpdateGraphics(const CompositionServices& services, bool reload) {
    const double now = services.now;
    auto hide = [this](CanvasItem& item) {
        if (deferred_index_ != 0 && graphics_.items[deferred_index_].get() == &item)
            deferred_index_ = 0;
        NoteHidden(item);
    };
    return ForEachShown(graphics_.items, now, hide, [&](GraphicItem& item, int i) {
        if (&item == camera_ && DefersRefresh(item, reload)) {
            DeferCamera(item, i, services);
            return true;
        }
        if (i == deferred_index_) deferred_index_ = 0; // drawn the ordinary way from now on
        bool changed = false;
        if (reload || IsDue(item.NextTime(), item.Interval(), now) ||
            item.FeedFrameWaiting(services)) {
            if (item.Scripted() &&
                services.RaiseItemEvent(ScriptEvent::GraphicUpdate, canvas_value_, i)) {
                if (!services.Running()) return false;
                if (graphics_.items[i].get() != &item || !item.Visible()) return true;
            }
            changed = item.Refresh(services, now);
        }
        changed |= item.UpdateImage(); // new settings, or a picture that arrived meanwhile
        NoteDrawn(item, changed);
        return true;
    });
}

// Layers from the lowest changed one up are rebuilt, starting from the kept picture through
// the highest layer in use beneath it (or from the background colour). A layer's picture is
// kept only once a change above it has shown it is worth keeping: a clock on the top layer
// keeps the picture beneath it, while layers that only ever change together share one bitmap.
bool Canvas::RebuildLayers() {
    const int from = layers_.FirstToRebuild();
    if (from == CanvasLayers::kLayers && layers_.Top() >= 0) return false;
    int top = -1, below_from = -1;
    for (int k = 0; k < CanvasLayers::kLayers; ++k) {
        if (!layer_used_[k]) continue;
        top = k;
        if (k < from) below_from = k;
    }
    int base = -1; // the layer whose kept picture the rebuild starts from
    for (int k = std::min(from, CanvasLayers::kLayers) - 1; k >= 0 && base < 0; --k) {
        if (layer_used_[k] && layers_.Kept(k) && layers_.Layer(k).Width() == width_ &&
            layers_.Layer(k).Height() == height_)
            base = k;
    }
    if (below_from > base) layers_.Keep(below_from); // next time this change costs less

    const DIB* previous = base >= 0 ? &layers_.Layer(base) : nullptr;
    DIB* work = nullptr;
    int work_layer = -1;
    for (int k = base + 1; k <= top; ++k) {
        if (!layer_used_[k]) continue;
        if (!work) { // the next kept layer, or the top, takes the drawing from here on
            work_layer = k;
            while (work_layer < top && !(layer_used_[work_layer] && layers_.Kept(work_layer)))
                ++work_layer;
            work = &layers_.Layer(work_layer);
            work->SetWidthHeight(width_, height_);
            if (previous)
                std::memcpy(work->DIBPtr(), previous->DIBPtr(), work->BufferSize());
            else if (!LayerCoversCanvas(k))
                work->Clear(background_color_);
        }
        DrawLayer(k, *work);
        if (k == work_layer) {
            previous = work;
            work = nullptr;
        }
    }
    if (top < 0) { // nothing to draw: the background alone
        top = 0;
        layers_.Layer(0).SetWidthHeight(width_, height_);
        layers_.Layer(0).Clear(background_color_);
    }
    for (int k = 0; k < CanvasLayers::kLayers; ++k) // bitmaps nothing will start from again
        if (k != top && !(layer_used_[k] && layers_.Kept(k))) layers_.Layer(k).SetWidthHeight(0, 0);
    layers_.SetTop(top);
    layers_.ClearFlags();
    return true;
}

void Canvas::AddTextAndGraphicLayer(std::int32_t index) {
    DrawLayer(index, layers_.Layer(index));
}

// A camera frame drawn 1:1 over the whole canvas hides the background: filling it first
// would be a wasted pass over every pixel of every frame.
bool Canvas::LayerCoversCanvas(std::int32_t index) {
    for (auto& item : graphics_.items)
        if (DrawsOn(item.get(), index) &&
            item->Image().CoversOpaquely(width_, height_, item->DrawX(), item->DrawY()))
            return true;
    return false;
}

void Canvas::DrawLayer(std::int32_t index, DIB& layer) {
    if (!layer.HasBitmap()) return;
    // What is drawn over a camera frame passed through leaves out the frame and the shadows
    // of its layer, which lie beneath it.
    if (!drawing_over_ || (shadows_over_ && drawing_over_->Layer() != index))
        MergeShadows(layer, index);
    if (drawing_over_ && shadows_over_) return; // the shadows alone
    for (auto& item : graphics_.items)
        if (DrawsOn(item.get(), index) && item.get() != drawing_over_)
            item->Image().MergeImageTo(layer, item->DrawX(), item->DrawY());
    for (auto& item : texts_.items)
        if (DrawsOn(item.get(), index))
            item->Image().MergeImageTo(layer, item->DrawX(), item->DrawY());
}

namespace {

struct Box {
    int left, top, right, bottom;
    bool Meets(const Box& o) const {
        return left < o.right && o.left < right && top < o.bottom && o.top < bottom;
    }
    void Take(const Box& o) {
        left = std::min(left, o.left), top = std::min(top, o.top);
        right = std::max(right, o.right), bottom = std::max(bottom, o.bottom);
    }
};

// Overlapping boxes joined until no two meet.
std::vector<Box> Clusters(std::vector<Box> boxes) {
    for (bool joined = true; joined;) {
        joined = false;
        for (std::size_t i = 0; i < boxes.size() && !joined; ++i) {
            for (std::size_t j = i + 1; j < boxes.size(); ++j) {
                if (!boxes[i].Meets(boxes[j])) continue;
                boxes[i].Take(boxes[j]);
                boxes.erase(boxes.begin() + static_cast<std::ptrdiff_t>(j));
                joined = true;
                break;
            }
        }
    }
    return boxes;
}

} // namespace

// The shadows of the layer are gathered in bitmaps just large enough for each group of
// shadows that touch one another (the clock at the top and a caption at the bottom make two
// small bitmaps, not one as large as the canvas); each then darkens the layer at the canvas's
// shadow intensity. Shadows never darken one another twice, and lie under every item of the
// layer.
void Canvas::MergeShadows(DIB& layer, std::int32_t index) {
    const int level = static_cast<int>(std::lround(shadow_intensity_ * 2.55));
    if (level == 0) return; // they would vanish anyway
    std::vector<std::pair<CanvasItem*, Box>> casts;
    auto note = [&](CanvasItem& item) {
        const Image::Bounds b = item.Image().ShadowBounds(ShadowX(item), ShadowY(item));
        const Box box{std::max(b.left, 0), std::max(b.top, 0),
                      std::min(b.left + b.width, layer.Width()),
                      std::min(b.top + b.height, layer.Height())};
        if (!b.Empty() && box.left < box.right && box.top < box.bottom)
            casts.emplace_back(&item, box);
    };
    for (auto& item : graphics_.items)
        if (DrawsOn(item.get(), index) && item->Shadow()) note(*item);
    for (auto& item : texts_.items)
        if (DrawsOn(item.get(), index) && item->Shadow()) note(*item);
    if (casts.empty()) return;

    std::vector<Box> boxes;
    for (const auto& cast : casts)
        boxes.push_back(cast.second);
    DIB& shadow = layers_.Shadow();
    static const TransparentColor kUntouched{0x000000, 0};
    for (const Box& group : Clusters(std::move(boxes))) {
        shadow.SetWidthHeight(group.right - group.left, group.bottom - group.top);
        shadow.Clear(0);
        for (const auto& [item, box] : casts) {
            if (!group.Meets(box)) continue;
            item->Image().MergeShadowTo(shadow, ShadowX(*item) - group.left,
                                        ShadowY(*item) - group.top);
        }
        Merge(layer.DIBPtr(), layer.Width(), layer.Height(), shadow.DIBPtr(), shadow.Width(),
              shadow.Height(), group.left, layer.Height() - group.bottom, kOpacityNegative, 0,
              level, nullptr, 0, 0, &kUntouched, 1, 1);
    }
}

} // namespace tess
