#include "imaging/motion_rows.h"

#include "imaging/kernel_support.h"

namespace tess::kernel {

void RepeatEdges(std::uint16_t* s, int n, bool left_edge, bool right_edge) {
    for (int c = 0; c < 3; ++c) {
        if (left_edge) s[c - 3] = s[c];
        if (right_edge) s[n + c] = s[n - 3 + c];
    }
}

TESS_VECTOR_CLONES void Box3RowScalar(const std::uint8_t* above, const std::uint8_t* row,
                                      const std::uint8_t* below, std::uint8_t* out,
                                      std::uint16_t* sums, int n, bool left_edge, bool right_edge,
                                      fixed::BoxDivider divider) {
    std::uint16_t* s = sums + 3;
    const int lo = left_edge ? 0 : -3, hi = right_edge ? n : n + 3;
    for (int i = lo; i < hi; ++i)
        s[i] = static_cast<std::uint16_t>(above[i] + row[i] + below[i]);
    RepeatEdges(s, n, left_edge, right_edge);
    for (int i = 0; i < n; ++i)
        out[i] = static_cast<std::uint8_t>(
            divider.Divide(static_cast<std::uint16_t>(s[i - 3] + s[i] + s[i + 3])));
}

void DiffCountRowScalar(const std::uint8_t* now, const std::uint8_t* before, int n,
                        std::uint8_t darker_limit, std::uint8_t brighter_limit, DiffTally& tally) {
    std::uint64_t count = 0;
    std::uint8_t lowest = tally.lowest, highest = tally.highest;
    for (int i = 0; i < n; ++i) {
        const int v = std::clamp(128 + now[i] - before[i], 0, 255);
        count += (v <= darker_limit) + (v >= brighter_limit);
        lowest = std::min(lowest, static_cast<std::uint8_t>(v));
        highest = std::max(highest, static_cast<std::uint8_t>(v));
    }
    tally.count += count;
    tally.lowest = lowest;
    tally.highest = highest;
}

void Box3Row(const std::uint8_t* source, std::uint8_t* destination, int height, int width, int y) {
    constexpr int kStrip = 1024;
    static const Box3RowFn box_row = FastestBox3Row();
    constexpr fixed::BoxDivider kDivider = fixed::BoxDivider::ForRadius(1);
    const int pitch = RowBytes(width);
    std::uint16_t sums[kStrip * 3 + 6];
    const std::uint8_t* row = source + static_cast<std::ptrdiff_t>(y) * pitch;
    const std::uint8_t* below = y > 0 ? row - pitch : row;
    const std::uint8_t* above = y + 1 < height ? row + pitch : row;
    std::uint8_t* out = destination + static_cast<std::ptrdiff_t>(y) * pitch;
    for (int first = 0; first < width; first += kStrip) {
        const int count = std::min(kStrip, width - first);
        box_row(above + first * 3, row + first * 3, below + first * 3, out + first * 3, sums,
                count * 3, first == 0, first + count == width, kDivider);
    }
}

Box3RowFn FastestBox3Row() {
#if defined(__x86_64__)
    static const bool avx2 = __builtin_cpu_supports("avx2");
    if (avx2) return Box3RowAvx2;
#endif
    return Box3RowScalar;
}

DiffCountRowFn FastestDiffCountRow() {
#if defined(__x86_64__)
    static const bool avx2 = __builtin_cpu_supports("avx2");
    if (avx2) return DiffCountRowAvx2;
#endif
    return DiffCountRowScalar;
}

} // namespace tess::kernel
