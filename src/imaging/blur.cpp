#include "imaging/kernel_support.h"
#include "imaging/kernels.h"
#include "imaging/motion_rows.h"

#include <cstring>

namespace tess {

namespace {

using u16 = std::uint16_t;

constexpr int kStripPixels = 256; // columns per strip: the sums fit in the first-level cache
constexpr int kMargin = kMaxBlurRadius;
constexpr int kSumBytes = (kStripPixels + 2 * kMargin) * 3;

TESS_VECTOR_CLONES void AddRow(u16* __restrict sums, const std::uint8_t* __restrict row, int n) {
    for (int i = 0; i < n; ++i)
        sums[i] = static_cast<u16>(sums[i] + row[i]);
}

TESS_VECTOR_CLONES void SlideRow(u16* __restrict sums, const std::uint8_t* __restrict in,
                                 const std::uint8_t* __restrict out, int n) {
    for (int i = 0; i < n; ++i)
        sums[i] = static_cast<u16>(sums[i] + in[i] - out[i]);
}

// Sums `taps` neighbouring pixels of the column sums and divides by the box area.
TESS_VECTOR_CLONES void BoxRow(std::uint8_t* __restrict out, const u16* __restrict sums, int n,
                               int taps, fixed::BoxDivider divider) {
    u16 across[kStripPixels * 3];
    for (int i = 0; i < n; ++i)
        across[i] = sums[i];
    for (int k = 1; k < taps; ++k) {
        const u16* shifted = sums + k * 3;
        for (int i = 0; i < n; ++i)
            across[i] = static_cast<u16>(across[i] + shifted[i]);
    }
    for (int i = 0; i < n; ++i)
        out[i] = static_cast<std::uint8_t>(divider.Divide(across[i]));
}

// One strip of columns [first, first + count): column sums over 2r + 1 rows are kept for the
// strip and its margins and slid down one row at a time. Columns beyond the picture's edges
// repeat the edge column, rows beyond its top and bottom repeat the edge row.
void BlurStrip(const std::uint8_t* source, std::uint8_t* destination, int height, int width,
               int radius, int first, int count) {
    const int pitch = kernel::RowBytes(width);
    const int lo = std::max(first - radius, 0), hi = std::min(first + count + radius, width);
    const int left_pad = lo - (first - radius), right_pad = (first + count + radius) - hi;
    const int inner = (hi - lo) * 3;
    u16 sums[kSumBytes];
    u16* inner_sums = sums + left_pad * 3;
    auto row_at = [&](int y) { return source + std::clamp(y, 0, height - 1) * pitch + lo * 3; };
    auto fill_pads = [&] {
        for (int p = 0; p < left_pad; ++p)
            std::memcpy(sums + p * 3, inner_sums, 3 * sizeof(u16));
        for (int p = 0; p < right_pad; ++p)
            std::memcpy(inner_sums + inner + p * 3, inner_sums + inner - 3, 3 * sizeof(u16));
    };
    std::fill(inner_sums, inner_sums + inner, u16{0});
    for (int dy = -radius; dy <= radius; ++dy)
        AddRow(inner_sums, row_at(dy), inner);
    const fixed::BoxDivider divider = fixed::BoxDivider::ForRadius(radius);
    for (int y = 0; y < height; ++y) {
        if (y > 0) SlideRow(inner_sums, row_at(y + radius), row_at(y - radius - 1), inner);
        fill_pads();
        BoxRow(destination + y * pitch + first * 3, sums, count * 3, 2 * radius + 1, divider);
    }
}

} // namespace

void Blur(const std::uint8_t* source, std::uint8_t* destination, int height, int width,
          int radius) {
    if (!source || !destination || width <= 0 || height <= 0) return;
    radius = std::clamp(radius, 1, kMaxBlurRadius);
    if (radius == 1) {
        for (int y = 0; y < height; ++y)
            kernel::Box3Row(source, destination, height, width, y);
        return;
    }
    for (int first = 0; first < width; first += kStripPixels)
        BlurStrip(source, destination, height, width, radius, first,
                  std::min(kStripPixels, width - first));
}

DiffCounts BlurDiffCount(const std::uint8_t* frame, std::uint8_t* current,
                         const std::uint8_t* previous, int width, int height, int radius,
                         int darker_limit, int brighter_limit) {
    if (!frame || !current || !previous || width <= 0 || height <= 0) return {};
    const int pitch = kernel::RowBytes(width);
    if (radius > 1) {
        Blur(frame, current, height, width, radius);
        return DiffCount(current, previous, width, height, darker_limit, brighter_limit);
    }
    // Each row is counted while it is still in the first-level cache.
    const kernel::DiffCountRowFn count_row = kernel::FastestDiffCountRow();
    const auto darker = static_cast<std::uint8_t>(std::clamp(darker_limit, 0, 255));
    const auto brighter = static_cast<std::uint8_t>(std::clamp(brighter_limit, 0, 255));
    kernel::DiffTally tally;
    for (int y = 0; y < height; ++y) {
        const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(y) * pitch;
        if (radius == 1)
            kernel::Box3Row(frame, current, height, width, y);
        else
            std::memcpy(current + at, frame + at, static_cast<std::size_t>(pitch));
        count_row(current + at, previous + at, width * 3, darker, brighter, tally);
    }
    return {tally.count, tally.lowest, tally.highest};
}

} // namespace tess
