#include "imaging/kernel_support.h"
#include "imaging/kernels.h"
#include "imaging/motion_rows.h"

#include <cstring>

namespace tess {

namespace {

TESS_VECTOR_CLONES void DiffRow(std::uint8_t* __restrict out, const std::uint8_t* __restrict now,
                                const std::uint8_t* __restrict before, int n) {
    for (int i = 0; i < n; ++i) {
        const int v = 128 + now[i] - before[i];
        out[i] = static_cast<std::uint8_t>(v < 0 ? 0 : (v > 255 ? 255 : v));
    }
}

// Counting into four tables by turns keeps successive equal values (most of a still picture
// is 128) from waiting on each other's increments.
void CountRow(std::uint32_t (&tables)[4][256], const std::uint8_t* values, int n) {
    int i = 0;
    for (; i + 4 <= n; i += 4) {
        ++tables[0][values[i]];
        ++tables[1][values[i + 1]];
        ++tables[2][values[i + 2]];
        ++tables[3][values[i + 3]];
    }
    for (; i < n; ++i)
        ++tables[0][values[i]];
}

} // namespace

void Diff(const std::uint8_t* current, const std::uint8_t* previous, std::uint8_t* difference,
          int width, int height, std::uint32_t* histogram) {
    if (!current || !previous || !difference || width <= 0 || height <= 0) return;
    const int pitch = kernel::RowBytes(width), n = width * 3;
    std::uint32_t tables[4][256] = {};
    for (int y = 0; y < height; ++y) {
        const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(y) * pitch;
        DiffRow(difference + at, current + at, previous + at, n);
        if (histogram) CountRow(tables, difference + at, n);
    }
    if (!histogram) return;
    for (int bin = 0; bin < 256; ++bin)
        histogram[bin] = tables[0][bin] + tables[1][bin] + tables[2][bin] + tables[3][bin];
}

DiffCounts DiffCount(const std::uint8_t* current, const std::uint8_t* previous, int width,
                     int height, int darker_limit, int brighter_limit) {
    DiffCounts out;
    if (!current || !previous || width <= 0 || height <= 0) return out;
    const int darker = std::clamp(darker_limit, 0, 255),
              brighter = std::clamp(brighter_limit, 0, 255);
    const int pitch = kernel::RowBytes(width), n = width * 3;
    const kernel::DiffCountRowFn count_row = kernel::FastestDiffCountRow();
    kernel::DiffTally tally;
    for (int y = 0; y < height; ++y) {
        const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(y) * pitch;
        count_row(current + at, previous + at, n, static_cast<std::uint8_t>(darker),
                  static_cast<std::uint8_t>(brighter), tally);
    }
    out.count = tally.count;
    out.lowest = tally.lowest;
    out.highest = tally.highest;
    return out;
}

} // namespace tess
