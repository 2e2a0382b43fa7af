#include "imaging/ycbcr_overlay.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace tess {

namespace {

constexpr int kShift = 15;
constexpr std::int32_t kOne = 1 << kShift;
constexpr std::int32_t kHalf = 1 << (kShift - 1);
// Channels of one blend disagree by the rounding of each merge that made it.
constexpr int kBlendSlack = 3;
// Untouched samples this close together are taken into one run (as samples that change
// nothing): a run costs more than a few such samples.
constexpr int kBridgedGap = 8;

const std::uint8_t* PixelAt(const DIB& dib, int x, int y) {
    return dib.scanline(y) + 3 * static_cast<std::ptrdiff_t>(x);
}

// How much of what lies beneath shows through a pixel (0..255), or -1 when its channels
// disagree: then the items did more than blend there.
int ShowThrough(const std::uint8_t* black, const std::uint8_t* white) {
    int low = 255, high = 0, sum = 0;
    for (int c = 0; c < 3; ++c) {
        const int t = white[c] - black[c];
        low = std::min(low, t), high = std::max(high, t);
        sum += t;
    }
    if (low < 0 || high - low > kBlendSlack) return -1;
    return (sum + 1) / 3;
}

bool Measure(const DIB& over_black, const DIB& over_white, std::vector<std::uint8_t>& shows) {
    const int width = over_black.Width(), height = over_black.Height();
    shows.resize(static_cast<std::size_t>(width) * height);
    for (int y = 0; y < height; ++y) {
        const std::uint8_t* black = over_black.scanline(y);
        const std::uint8_t* white = over_white.scanline(y);
        std::uint8_t* out = shows.data() + static_cast<std::size_t>(y) * width;
        for (int x = 0; x < width; ++x, black += 3, white += 3) {
            // Most of the picture: nothing drawn there.
            if ((black[0] | black[1] | black[2]) == 0 && (white[0] & white[1] & white[2]) == 255) {
                out[x] = 255;
                continue;
            }
            const int t = ShowThrough(black, white);
            if (t < 0) return false;
            out[x] = static_cast<std::uint8_t>(t);
        }
    }
    return true;
}

bool Touched(int shows, const std::uint8_t* black) {
    return shows != 255 || black[0] != 0 || black[1] != 0 || black[2] != 0;
}

std::uint16_t Scale(double shows) {
    return static_cast<std::uint16_t>(std::lround(shows * kOne / 255.0));
}

std::int32_t Addend(double value) {
    return static_cast<std::int32_t>(std::lround(value * kOne)) + kHalf;
}

// The luma and chroma of a colour the items add, taken as already weighted by their
// opacity: no offsets.
double LumaOf(const std::uint8_t* bgr) {
    return 0.299 * bgr[2] + 0.587 * bgr[1] + 0.114 * bgr[0];
}
double CbOf(const std::uint8_t* bgr) {
    return -0.168736 * bgr[2] - 0.331264 * bgr[1] + 0.5 * bgr[0];
}
double CrOf(const std::uint8_t* bgr) {
    return 0.5 * bgr[2] - 0.418688 * bgr[1] - 0.081312 * bgr[0];
}

template <typename Run>
int ExtendRuns(std::vector<Run>& runs, int row, int x, std::size_t samples) {
    if (!runs.empty()) {
        Run& last = runs.back();
        const int gap = x - (last.x + last.count);
        if (last.row == row && gap <= kBridgedGap) {
            last.count += gap + 1;
            return gap;
        }
    }
    runs.push_back({row, x, 1, static_cast<std::uint32_t>(samples)});
    return 0;
}

// The runs of rows top .. top + rows - 1, over a plane whose first row is `top`.
template <typename Run>
void ApplyRuns(const std::vector<Run>& runs, const std::uint16_t* scale, const std::int32_t* add,
               std::uint8_t* plane, int stride, int top, int rows) {
    auto run = std::lower_bound(runs.begin(), runs.end(), top,
                                [](const Run& r, int row) { return r.row < row; });
    for (; run != runs.end() && run->row < top + rows; ++run) {
        std::uint8_t* out = plane + static_cast<std::ptrdiff_t>(run->row - top) * stride + run->x;
        const std::uint16_t* s = scale + run->first;
        const std::int32_t* a = add + run->first;
        for (int i = 0; i < run->count; ++i) {
            const std::int32_t v = (out[i] * static_cast<std::int32_t>(s[i]) + a[i]) >> kShift;
            out[i] = static_cast<std::uint8_t>(std::clamp(v, 0, 255));
        }
    }
}

} // namespace

namespace {

bool SameSize(const DIB& a, const DIB& b) {
    return a.HasBitmap() && b.HasBitmap() && a.Width() == b.Width() && a.Height() == b.Height();
}

// A frame's pixel as the decoder would show it, in 16.16 fixed point; the chroma is the
// sample's.
struct Rgb {
    int r, g, b;
};

Rgb ToRgb(int y, int cb, int cr) {
    const int base = (y << 16) + (1 << 15);
    auto channel = [](int v) { return std::clamp(v >> 16, 0, 255); };
    cb -= 128, cr -= 128;
    return {channel(base + 91881 * cr), channel(base - 22554 * cb - 46802 * cr),
            channel(base + 116130 * cb)};
}

} // namespace

bool YCbCrOverlay::Build(const DIB& over_black, const DIB& over_white,
                         const DIB* shadows_over_white) {
    Clear();
    if (!SameSize(over_black, over_white) ||
        (shadows_over_white && !SameSize(over_black, *shadows_over_white)))
        return false;
    std::vector<std::uint8_t> shows;
    if (!Measure(over_black, over_white, shows)) return false;
    width_ = over_black.Width();
    height_ = over_black.Height();
    FindTouched(over_black, shadows_over_white, shows);
    BuildLuma(over_black, shows);
    if (!luma_runs_.empty()) BuildChroma(over_black, shows);
    if (shadows_over_white) BuildShadows(*shadows_over_white, shows);
    touched_.clear();
    MarkBlocks();
    return true;
}

void YCbCrOverlay::FindTouched(const DIB& over_black, const DIB* shadows_over_white,
                               const std::vector<std::uint8_t>& shows) {
    touched_.assign(static_cast<std::size_t>(height_), {0, 0});
    for (int y = 0; y < height_; ++y) {
        const std::uint8_t* black = over_black.scanline(y);
        const std::uint8_t* shadow = shadows_over_white ? shadows_over_white->scanline(y) : nullptr;
        const std::uint8_t* t = shows.data() + static_cast<std::size_t>(y) * width_;
        int first = -1, last = 0;
        for (int x = 0; x < width_; ++x) {
            const bool touched = t[x] != 255 ||
                                 (black[3 * x] | black[3 * x + 1] | black[3 * x + 2]) ||
                                 (shadow && shadow[3 * x + 1] != 255);
            if (!touched) continue;
            if (first < 0) first = x;
            last = x + 1;
        }
        if (first >= 0) touched_[static_cast<std::size_t>(y)] = {first, last};
    }
}

std::pair<int, int> YCbCrOverlay::TouchedChroma(int cy) const {
    int first = width_, last = 0;
    for (int y = 2 * cy; y < std::min(2 * cy + 2, height_); ++y) {
        const auto [from, to] = touched_[static_cast<std::size_t>(y)];
        if (from >= to) continue;
        first = std::min(first, from);
        last = std::max(last, to);
    }
    return first < last ? std::pair{first / 2, (last + 1) / 2} : std::pair{0, 0};
}

// A shadow is grey: the level it takes off is what it took off white. Where the items cover
// the frame whole (most of a text's shadow lies under its own letters) it changes nothing.
void YCbCrOverlay::BuildShadows(const DIB& shadows_over_white,
                                const std::vector<std::uint8_t>& shows) {
    for (int cy = 0; cy < (height_ + 1) / 2; ++cy) {
        const auto [first, last] = TouchedChroma(cy);
        for (int cx = first; cx < last; ++cx) {
            ShadowBlock block{cx, cy, {}};
            bool any = false;
            for (int i = 0; i < 4; ++i) {
                const int x = 2 * cx + i % 2, y = 2 * cy + i / 2;
                if (x >= width_ || y >= height_) continue;
                if (shows[static_cast<std::size_t>(y) * width_ + x] == 0) continue;
                block.level[i] =
                    static_cast<std::uint8_t>(255 - PixelAt(shadows_over_white, x, y)[1]);
                any = any || block.level[i] != 0;
            }
            if (any) shadows_.push_back(block);
        }
    }
}

// Each pixel of a shadowed sample is darkened channel by channel, as the canvas does, and
// the sample's chroma becomes that of its darkened pixels.
void YCbCrOverlay::ApplyShadows(const Band& band) const {
    const int chroma_top = band.top / 2, chroma_end = (band.top + band.rows + 1) / 2;
    auto block = std::lower_bound(shadows_.begin(), shadows_.end(), chroma_top,
                                  [](const ShadowBlock& b, int cy) { return b.cy < cy; });
    for (; block != shadows_.end() && block->cy < chroma_end; ++block) {
        const std::ptrdiff_t at =
            static_cast<std::ptrdiff_t>(block->cy - chroma_top) * band.chroma_stride + block->cx;
        std::uint8_t& cb = band.cb[at];
        std::uint8_t& cr = band.cr[at];
        int cb_sum = 0, cr_sum = 0, count = 0;
        for (int i = 0; i < 4; ++i) {
            const int x = 2 * block->cx + i % 2, y = 2 * block->cy + i / 2;
            if (x >= width_ || y >= height_) continue;
            std::uint8_t& luma =
                band.y[static_cast<std::ptrdiff_t>(y - band.top) * band.y_stride + x];
            const Rgb p = ToRgb(luma, cb, cr);
            const int level = block->level[i];
            const int r = std::max(p.r - level, 0), g = std::max(p.g - level, 0),
                      b = std::max(p.b - level, 0);
            luma = static_cast<std::uint8_t>((19595 * r + 38470 * g + 7471 * b + (1 << 15)) >> 16);
            cb_sum += -11059 * r - 21709 * g + 32768 * b;
            cr_sum += 32768 * r - 27439 * g - 5329 * b;
            ++count;
        }
        // The mean, rounded: the sums are signed, so round half away from zero.
        auto mean = [count](int sum) {
            const int scale = count << 16;
            return std::clamp(128 + (sum >= 0 ? sum + scale / 2 : sum - scale / 2) / scale, 0, 255);
        };
        cb = static_cast<std::uint8_t>(mean(cb_sum));
        cr = static_cast<std::uint8_t>(mean(cr_sum));
    }
}

// The blocks a transcoder must take apart: those of the runs, and both planes' blocks under
// each shadowed sample (a shadow changes luma and chroma alike).
void YCbCrOverlay::MarkBlocks() {
    const int luma_columns = LumaBlockColumns(), chroma_columns = ChromaBlockColumns();
    luma_blocks_.assign(static_cast<std::size_t>(luma_columns) * ((height_ + 7) / 8), 0);
    chroma_blocks_.assign(static_cast<std::size_t>(chroma_columns) * ((height_ + 15) / 16), 0);
    auto mark = [](std::vector<std::uint8_t>& blocks, int columns, int row, int from, int to) {
        std::uint8_t* line = blocks.data() + static_cast<std::size_t>(row / 8) * columns;
        std::fill(line + from / 8, line + (to - 1) / 8 + 1, 1);
    };
    for (const Run& run : luma_runs_)
        mark(luma_blocks_, luma_columns, run.row, run.x, run.x + run.count);
    for (const Run& run : chroma_runs_)
        mark(chroma_blocks_, chroma_columns, run.row, run.x, run.x + run.count);
    for (const ShadowBlock& block : shadows_) {
        mark(luma_blocks_, luma_columns, 2 * block.cy, 2 * block.cx, 2 * block.cx + 1);
        mark(chroma_blocks_, chroma_columns, block.cy, block.cx, block.cx + 1);
    }
}

void YCbCrOverlay::BuildLuma(const DIB& over_black, const std::vector<std::uint8_t>& shows) {
    for (int y = 0; y < height_; ++y) {
        const auto [first, last] = touched_[static_cast<std::size_t>(y)];
        for (int x = first; x < last; ++x) {
            const std::uint8_t* black = PixelAt(over_black, x, y);
            const int t = shows[static_cast<std::size_t>(y) * width_ + x];
            if (!Touched(t, black)) continue;
            const int gap = ExtendRuns(luma_runs_, y, x, luma_scale_.size());
            luma_scale_.insert(luma_scale_.end(), gap, kOne);
            luma_add_.insert(luma_add_.end(), gap, kHalf);
            luma_scale_.push_back(Scale(t));
            luma_add_.push_back(Addend(LumaOf(black)));
        }
    }
}

void YCbCrOverlay::BuildChroma(const DIB& over_black, const std::vector<std::uint8_t>& shows) {
    const int chroma_height = (height_ + 1) / 2;
    for (int cy = 0; cy < chroma_height; ++cy) {
        const auto [first, last] = TouchedChroma(cy);
        for (int cx = first; cx < last; ++cx) {
            double t = 0, cb = 0, cr = 0;
            int count = 0;
            bool touched = false;
            for (int y = 2 * cy; y < std::min(2 * cy + 2, height_); ++y) {
                for (int x = 2 * cx; x < std::min(2 * cx + 2, width_); ++x) {
                    const std::uint8_t* black = PixelAt(over_black, x, y);
                    const int shows_here = shows[static_cast<std::size_t>(y) * width_ + x];
                    touched = touched || Touched(shows_here, black);
                    t += shows_here, cb += CbOf(black), cr += CrOf(black);
                    ++count;
                }
            }
            if (!touched) continue;
            t /= count, cb /= count, cr /= count;
            const int gap = ExtendRuns(chroma_runs_, cy, cx, chroma_scale_.size());
            chroma_scale_.insert(chroma_scale_.end(), gap, kOne);
            cb_add_.insert(cb_add_.end(), gap, kHalf);
            cr_add_.insert(cr_add_.end(), gap, kHalf);
            // (in - 128) x t + 128 + added: the offset's share joins the addend.
            const double offset = 128.0 * (1.0 - t / 255.0);
            chroma_scale_.push_back(Scale(t));
            cb_add_.push_back(Addend(offset + cb));
            cr_add_.push_back(Addend(offset + cr));
        }
    }
}

void YCbCrOverlay::Clear() {
    width_ = height_ = 0;
    luma_runs_.clear();
    luma_scale_.clear();
    luma_add_.clear();
    chroma_runs_.clear();
    chroma_scale_.clear();
    cb_add_.clear();
    cr_add_.clear();
    shadows_.clear();
    luma_blocks_.clear();
    chroma_blocks_.clear();
}

bool YCbCrOverlay::Empty() const {
    return luma_runs_.empty() && shadows_.empty();
}

void YCbCrOverlay::ApplyTo(YCbCrPlanes& planes) const {
    if (Empty() || planes.width != width_ || planes.height != height_ || !planes.Whole()) return;
    ApplyTo(Band{planes.y.data(), planes.cb.data(), planes.cr.data(), width_, planes.ChromaWidth(),
                 0, height_});
}

void YCbCrOverlay::ApplyTo(const Band& band) const {
    if (Empty()) return;
    ApplyShadows(band);
    ApplyRuns(luma_runs_, luma_scale_.data(), luma_add_.data(), band.y, band.y_stride, band.top,
              band.rows);
    const int chroma_top = band.top / 2, chroma_rows = (band.top + band.rows + 1) / 2 - chroma_top;
    ApplyRuns(chroma_runs_, chroma_scale_.data(), cb_add_.data(), band.cb, band.chroma_stride,
              chroma_top, chroma_rows);
    ApplyRuns(chroma_runs_, chroma_scale_.data(), cr_add_.data(), band.cr, band.chroma_stride,
              chroma_top, chroma_rows);
}

} // namespace tess
