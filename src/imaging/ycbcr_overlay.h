#pragma once

// What the items drawn over a full-canvas camera frame do to it, kept in the frame's own
// YCbCr 4:2:0 form so that each new frame is finished without converting it to BGR. Every
// merge the canvas does is a blend, out = under x (1 - a) + colour x a, so drawing the items
// once over black and once over white tells, per pixel, how much of the frame shows through
// (white - black) and what is added to it (black). Only the pixels the items touch are
// kept, as runs along the rows.

#include "imaging/dib.h"
#include "imaging/ycbcr_planes.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace tess {

class YCbCrOverlay {
public:
    // From the same items drawn over black and over white (DIBs of the canvas size). False,
    // leaving the overlay empty, when the sizes differ or some pixel is no blend (its three
    // channels disagree on how much shows through, beyond rounding). Shadows darken by
    // taking a level off every channel, down to black, which is no blend: the items are then
    // drawn without them, and `shadows_over_white` holds the shadows alone, over white. They
    // are taken off the frame before the items are laid over it, which is how the canvas
    // draws them as long as they fall on the frame itself, not on another item beneath them.
    bool Build(const DIB& over_black, const DIB& over_white,
               const DIB* shadows_over_white = nullptr);
    void Clear();

    int Width() const { return width_; }
    int Height() const { return height_; }
    // Nothing is drawn over the frame.
    bool Empty() const;

    // Chroma samples a shadow darkens (tests and benchmarks).
    std::size_t ShadowedSamples() const { return shadows_.size(); }

    // Lays the items over `planes`, which must have the overlay's size.
    void ApplyTo(YCbCrPlanes& planes) const;

    // A stretch of a picture's planes: luma rows top .. top + rows - 1 (top even) and the
    // chroma rows beside them, each at its plane's stride from the one above.
    struct Band {
        std::uint8_t* y = nullptr;
        std::uint8_t* cb = nullptr;
        std::uint8_t* cr = nullptr;
        int y_stride = 0;
        int chroma_stride = 0;
        int top = 0;
        int rows = 0;
    };
    // Lays the items over the band's rows: only the samples they change are read.
    void ApplyTo(const Band& band) const;

    // The 8 x 8 blocks of the luma and chroma planes the overlay changes, row by row
    // (1: changed), BlockColumns() of each plane to a row.
    const std::vector<std::uint8_t>& LumaBlocks() const { return luma_blocks_; }
    const std::vector<std::uint8_t>& ChromaBlocks() const { return chroma_blocks_; }
    int LumaBlockColumns() const { return (width_ + 7) / 8; }
    int ChromaBlockColumns() const { return (width_ + 15) / 16; }

private:
    // Samples x .. x + count - 1 of a plane row, whose per-sample data start at `first`.
    struct Run {
        int row = 0;
        int x = 0;
        int count = 0;
        std::uint32_t first = 0;
    };

    void BuildLuma(const DIB& over_black, const std::vector<std::uint8_t>& shows);
    void BuildChroma(const DIB& over_black, const std::vector<std::uint8_t>& shows);
    void BuildShadows(const DIB& shadows_over_white, const std::vector<std::uint8_t>& shows);
    void FindTouched(const DIB& over_black, const DIB* shadows_over_white,
                     const std::vector<std::uint8_t>& shows);
    // The columns of chroma row `cy` that its two luma rows touch.
    std::pair<int, int> TouchedChroma(int cy) const;
    void ApplyShadows(const Band& band) const;
    void MarkBlocks();

    // The levels a shadow takes off the four pixels of one chroma sample (0 outside it).
    struct ShadowBlock {
        int cx = 0, cy = 0;
        std::array<std::uint8_t, 4> level{};
    };

    int width_ = 0;
    int height_ = 0;
    // Per sample: out = (in x scale + add) >> 15, clamped; scale is the share of the frame
    // that shows through (32768 for all of it), add what the items add, rounding included.
    std::vector<Run> luma_runs_;
    std::vector<std::uint16_t> luma_scale_;
    std::vector<std::int32_t> luma_add_;
    std::vector<Run> chroma_runs_;
    std::vector<std::uint16_t> chroma_scale_;
    std::vector<std::int32_t> cb_add_;
    std::vector<std::int32_t> cr_add_;
    std::vector<ShadowBlock> shadows_;
    std::vector<std::uint8_t> luma_blocks_;
    std::vector<std::uint8_t> chroma_blocks_;
    // While building: the columns [first, last) of each row that anything touches, so that
    // the rows' untouched stretches (most of the picture) are passed over.
    std::vector<std::pair<int, int>> touched_;
};

} // namespace tess
