#pragma once

// The bitmaps of a canvas's composition and the flags that say which must be rebuilt.
//
// The bitmap of a layer holds the picture through that layer: the background colour, then
// the items of every layer up to it. An item therefore blends with what really lies beneath
// it (a half-opaque band over the camera picture of a lower layer), and a change on a high
// layer, such as a clock on the top one, is redrawn from the kept picture beneath it instead
// of from the background up. Only the top layer in use and the layers marked kept have a
// bitmap; the composed picture is the top one's.

#include "imaging/dib.h"

#include <array>
#include <cstdint>

namespace tess {

class CanvasLayers {
public:
    static constexpr int kLayers = 4;

    // Sizes the bitmaps for a canvas of that size (a new size asks for a full redraw); false
    // when the picture would be larger than a bitmap may be.
    bool Init(int width, int height);
    // Gives back every bitmap's memory; the next Init starts afresh.
    void Unload();
    int Width() const { return width_; }
    int Height() const { return height_; }

    void ForceLayerRedraw(int layer);
    void ForceRedraw() {
        redraw_ = true;
        ++redraws_;
    }
    void ForceReload() {
        reload_ = redraw_ = true;
        ++redraws_;
    }
    // Counts the whole-canvas redraws asked for (and new sizes), which change what lies over
    // a camera frame.
    std::uint64_t Redraws() const { return redraws_; }
    bool ReloadPending() const { return reload_; }
    // The lowest layer to rebuild; kLayers when none needs it.
    int FirstToRebuild() const;
    // After a pass that honoured the flags.
    void ClearFlags();

    DIB& Layer(int layer) { return layers_[layer]; }
    // A rebuild may start from this layer's picture, so it is kept between passes.
    bool Kept(int layer) const { return kept_[layer]; }
    void Keep(int layer) { kept_[layer] = true; }
    DIB& Shadow() { return shadow_; }
    // Which layer's bitmap is the composed picture, -1 before the first composition.
    int Top() const { return top_; }
    void SetTop(int layer);

    // The composed picture; empty (no bitmap) before the first composition.
    const DIB& Composed() const { return top_ < 0 ? empty_ : layers_[top_]; }
    // Goes up each time the composed picture is rebuilt.
    std::uint64_t Revision() const { return revision_; }

private:
    int width_ = 0;
    int height_ = 0;
    std::array<DIB, kLayers> layers_;
    DIB shadow_;
    DIB empty_;
    std::array<bool, kLayers> dirty_{};
    std::array<bool, kLayers> kept_{};
    bool redraw_ = true;
    bool reload_ = true;
    int top_ = -1;
    std::uint64_t revision_ = 0;
    std::uint64_t redraws_ = 0;
};

} // namespace tess
