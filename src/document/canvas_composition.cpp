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

namespace tess {

namespace {

// Items are drawn at their location less what their source adds (a text's origin); their
// shadows at the shadow offset from there.
int ShadowX(CanvasItem& item) {
    return item.DrawX() + item.ShadowOffsetX();
}

int ShadowY(CanvasItem& item) {
    return item.DrawY() + item.ShadowOffsetY();
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
    layers_.ForceLayerRedraw(layer);
    layers_.ForceLayerRedraw(item.DrawnLayer()); // moved from there, or -1: nothing
    item.SetDrawnLayer(layer);
}

void Canvas::NoteHidden(CanvasItem& item) {
    if (item.DrawnLayer() < 0) return;
    layers_.ForceLayerRedraw(item.DrawnLayer());
    item.SetDrawnLayer(-1);
}

bool Canvas::UpdateImage(const CompositionServices& services) {
    if (!InitDIBs()) return true;
    const bool reload = layers_.ReloadPending();
    layer_used_.fill(false);
    if (!UpdateTexts(services, reload) || !UpdateGraphics(services, reload)) return false;
    RebuildLayers();
    return true;
}

// Items off by their schedule are neither refreshed nor drawn; when the schedule opens they
// are due at once, since their next time has passed meanwhile.
bool Canvas::UpdateTexts(const CompositionServices& services, bool reload) {
    const double now = services.now;
    for (int i = 1; i <= kMaxText; ++i) {
        TextItem* item = texts_.items[i].get();
        if (!item) continue;
        if (!item->Enabled() || !item->UpdateOnNow(now)) {
            NoteHidden(*item);
            continue;
        }
        bool changed = false;
        if (reload || IsDue(item->NextTime(), item->Interval(), now)) {
            changed = item->Refresh(services.tags, now);
            if (item->Scripted() && services.allow_text_update && services.text_update) {
                services.text_update(canvas_value_, i);
                if (!services.Running()) return false;
                // The script may have given the item a new text.
                if (texts_.items[i].get() != item) continue;
                if (item->SettingsChanged()) changed |= item->Refresh(services.tags, now);
            }
        }
        if ((changed || item->SettingsChanged()) && services.text_renderer)
            changed = item->UpdateImage(*services.text_renderer);
        NoteDrawn(*item, changed);
    }
    return true;
}

bool Canvas::UpdateGraphics(const CompositionServices& services, bool reload) {
    const double now = services.now;
    for (int i = 1; i <= kMaxGraphic; ++i) {
        GraphicItem* item = graphics_.items[i].get();
        if (!item) continue;
        if (!item->Enabled() || !item->UpdateOnNow(now)) {
            NoteHidden(*item);
            continue;
        }
        bool changed = false;
        if (reload || IsDue(item->NextTime(), item->Interval(), now)) {
            if (item->Scripted() && services.allow_graphic_update && services.graphic_update) {
                services.graphic_update(canvas_value_, i);
                if (!services.Running()) return false;
                if (graphics_.items[i].get() != item || !item->Visible()) continue;
            }
            changed = item->Refresh(services, now);
        }
        changed |= item->UpdateImage(); // new settings, or a picture that arrived meanwhile
        NoteDrawn(*item, changed);
    }
    return true;
}

// Layers from the lowest changed one up are rebuilt, each from the bitmap of the highest
// layer in use beneath it (or the background colour); layers without items take no bitmap.
void Canvas::RebuildLayers() {
    const int from = layers_.FirstToRebuild();
    if (from == CanvasLayers::kLayers && layers_.Top() >= 0) return;
    int below = -1;
    for (int k = 0; k < CanvasLayers::kLayers; ++k) {
        DIB& layer = layers_.Layer(k);
        if (!layer_used_[k]) {
            if (k >= from) layer.SetWidthHeight(0, 0);
            continue;
        }
        if (k >= from) {
            layer.SetWidthHeight(width_, height_);
            if (below < 0)
                layer.Clear(background_color_);
            else
                std::memcpy(layer.DIBPtr(), layers_.Layer(below).DIBPtr(), layer.BufferSize());
            AddTextAndGraphicLayer(k);
        }
        below = k;
    }
    if (below < 0) { // nothing to draw: the background alone
        below = 0;
        layers_.Layer(0).SetWidthHeight(width_, height_);
        layers_.Layer(0).Clear(background_color_);
    }
    layers_.SetTop(below);
    layers_.ClearFlags();
}

void Canvas::AddTextAndGraphicLayer(std::int32_t index) {
    DIB& layer = layers_.Layer(index);
    if (!layer.HasBitmap()) return;
    MergeShadows(layer, index);
    for (auto& item : graphics_.items)
        if (DrawsOn(item.get(), index))
            item->Image().MergeImageTo(layer, item->DrawX(), item->DrawY());
    for (auto& item : texts_.items)
        if (DrawsOn(item.get(), index))
            item->Image().MergeImageTo(layer, item->DrawX(), item->DrawY());
}

// All shadows of the layer are gathered in one bitmap just large enough for them, which then
// darkens the layer at the canvas's shadow intensity: shadows never darken one another
// twice, and lie under every item of the layer.
void Canvas::MergeShadows(DIB& layer, std::int32_t index) {
    const int level = static_cast<int>(std::lround(shadow_intensity_ * 2.55));
    if (level == 0) return; // they would vanish anyway
    int left = layer.Width(), top = layer.Height(), right = 0, bottom = 0;
    auto grow = [&](CanvasItem& item) {
        const Image::Bounds b = item.Image().ShadowBounds(ShadowX(item), ShadowY(item));
        if (b.Empty()) return;
        left = std::min(left, std::max(b.left, 0));
        top = std::min(top, std::max(b.top, 0));
        right = std::max(right, std::min(b.left + b.width, layer.Width()));
        bottom = std::max(bottom, std::min(b.top + b.height, layer.Height()));
    };
    for (auto& item : graphics_.items)
        if (DrawsOn(item.get(), index) && item->Shadow()) grow(*item);
    for (auto& item : texts_.items)
        if (DrawsOn(item.get(), index) && item->Shadow()) grow(*item);
    if (right <= left || bottom <= top) return;

    DIB& shadow = layers_.Shadow();
    shadow.SetWidthHeight(right - left, bottom - top);
    shadow.Clear(0);
    auto gather = [&](CanvasItem& item) {
        item.Image().MergeShadowTo(shadow, ShadowX(item) - left, ShadowY(item) - top);
    };
    for (auto& item : graphics_.items)
        if (DrawsOn(item.get(), index) && item->Shadow()) gather(*item);
    for (auto& item : texts_.items)
        if (DrawsOn(item.get(), index) && item->Shadow()) gather(*item);
    static const TransparentColor kUntouched{0x000000, 0};
    Merge(layer.DIBPtr(), layer.Width(), layer.Height(), shadow.DIBPtr(), shadow.Width(),
          shadow.Height(), left, layer.Height() - bottom, kOpacityNegative, 0, level, nullptr, 0, 0,
          &kUntouched, 1, 1);
}

} // namespace tess
