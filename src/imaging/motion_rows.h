#pragma once

// The row loops behind the motion detector's kernels (the 3 x 3 Blur and DiffCount), shared by
// their scalar and AVX2 files and reachable by the tests, which pin each loop against the
// reference. Not for callers of the kernels.

#include "imaging/fixed_point.h"

#include <cstdint>

namespace tess::kernel {

// Running totals of DiffCount.
struct DiffTally {
    std::uint64_t count = 0;
    std::uint8_t lowest = 128, highest = 128;
};

// One output row of a strip of the 3 x 3 box: `above`, `row` and `below` point at the strip's
// first byte in the source rows (the same row repeated at the picture's top and bottom), `n`
// is the strip's width x 3 bytes, `sums` has room for n + 6. The pixel on either side of the
// strip is read from the source unless the strip ends at the picture's edge, where the edge
// pixel repeats.
using Box3RowFn = void (*)(const std::uint8_t* above, const std::uint8_t* row,
                           const std::uint8_t* below, std::uint8_t* out, std::uint16_t* sums, int n,
                           bool left_edge, bool right_edge, fixed::BoxDivider divider);
// One row of DiffCount over `n` channel values.
using DiffCountRowFn = void (*)(const std::uint8_t* now, const std::uint8_t* before, int n,
                                std::uint8_t darker_limit, std::uint8_t brighter_limit,
                                DiffTally& tally);

void Box3RowScalar(const std::uint8_t* above, const std::uint8_t* row, const std::uint8_t* below,
                   std::uint8_t* out, std::uint16_t* sums, int n, bool left_edge, bool right_edge,
                   fixed::BoxDivider divider);
void DiffCountRowScalar(const std::uint8_t* now, const std::uint8_t* before, int n,
                        std::uint8_t darker_limit, std::uint8_t brighter_limit, DiffTally& tally);
#if defined(__x86_64__)
// Only for machines with AVX2.
void Box3RowAvx2(const std::uint8_t* above, const std::uint8_t* row, const std::uint8_t* below,
                 std::uint8_t* out, std::uint16_t* sums, int n, bool left_edge, bool right_edge,
                 fixed::BoxDivider divider);
void DiffCountRowAvx2(const std::uint8_t* now, const std::uint8_t* before, int n,
                      std::uint8_t darker_limit, std::uint8_t brighter_limit, DiffTally& tally);
#endif

// Fills the sums beyond a strip's ends that lie outside the picture with the edge pixel's.
void RepeatEdges(std::uint16_t* sums_at_strip, int n, bool left_edge, bool right_edge);

// Row y of the 3 x 3 box of a whole picture, with the fastest loop, in strips whose column
// sums stay in the first-level cache.
void Box3Row(const std::uint8_t* source, std::uint8_t* destination, int height, int width, int y);

// The loops this machine runs.
Box3RowFn FastestBox3Row();
DiffCountRowFn FastestDiffCountRow();

} // namespace tess::kernel
