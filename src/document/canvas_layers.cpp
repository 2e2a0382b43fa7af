#include "document/canvas_layers.h"

namespace tess {

bool CanvasLayers::Init(int width, int height) {
    if (width == width_ && height == height_) return true;
    Unload();
    ++redraws_;
    if (!DIB::SizeAllowed(width, height)) return false;
    width_ = width;
    height_ = height;
    return true;
}

void CanvasLayers::Unload() {
    for (DIB& layer : layers_)
        layer.SetWidthHeight(0, 0);
    shadow_.SetWidthHeight(0, 0);
    width_ = height_ = 0;
    top_ = -1;
    redraw_ = true;
    kept_.fill(false);
}

void CanvasLayers::ForceLayerRedraw(int layer) {
    if (layer >= 0 && layer < kLayers) dirty_[layer] = true;
}

int CanvasLayers::FirstToRebuild() const {
    if (redraw_ || reload_) return 0;
    for (int layer = 0; layer < kLayers; ++layer)
        if (dirty_[layer]) return layer;
    return kLayers;
}

void CanvasLayers::ClearFlags() {
    dirty_.fill(false);
    redraw_ = reload_ = false;
}

void CanvasLayers::SetTop(int layer) {
    top_ = layer;
    ++revision_;
}

} // namespace tess
