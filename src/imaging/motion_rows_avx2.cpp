// The motion kernels' row loops 32 channel values at a time.

#include "imaging/motion_rows.h"

#if defined(__x86_64__)
#include <algorithm>
#include <immintrin.h>

#define TESS_AVX2 __attribute__((target("avx2")))

namespace tess::kernel {
namespace {

// Sixteen bytes widened to sixteen 16-bit lanes.
TESS_AVX2 inline __m256i Widen(const std::uint8_t* p) {
    return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
}

TESS_AVX2 inline __m256i Load(const std::uint16_t* p) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}

// Sixteen outputs of the box from the column sums at `s`: the three neighbours, divided.
TESS_AVX2 inline __m256i Box(const std::uint16_t* s, __m256i half, __m256i multiplier,
                             __m128i shift) {
    __m256i sum = _mm256_add_epi16(_mm256_add_epi16(Load(s - 3), Load(s)), Load(s + 3));
    sum = _mm256_mulhi_epu16(_mm256_add_epi16(sum, half), multiplier);
    return _mm256_srl_epi16(sum, shift);
}

} // namespace

TESS_AVX2 void Box3RowAvx2(const std::uint8_t* above, const std::uint8_t* row,
                           const std::uint8_t* below, std::uint8_t* out, std::uint16_t* sums, int n,
                           bool left_edge, bool right_edge, fixed::BoxDivider divider) {
    std::uint16_t* s = sums + 3;
    const int lo = left_edge ? 0 : -3, hi = right_edge ? n : n + 3;
    int i = lo;
    for (; i + 16 <= hi; i += 16) {
        const __m256i v =
            _mm256_add_epi16(_mm256_add_epi16(Widen(above + i), Widen(row + i)), Widen(below + i));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(s + i), v);
    }
    for (; i < hi; ++i)
        s[i] = static_cast<std::uint16_t>(above[i] + row[i] + below[i]);
    RepeatEdges(s, n, left_edge, right_edge);
    const __m256i half = _mm256_set1_epi16(static_cast<short>(divider.half));
    const __m256i multiplier = _mm256_set1_epi16(static_cast<short>(divider.multiplier));
    const __m128i shift = _mm_cvtsi32_si128(divider.shift);
    i = 0;
    for (; i + 32 <= n; i += 32) {
        // packus interleaves the 128-bit halves; the permute puts them back in order.
        const __m256i packed = _mm256_packus_epi16(Box(s + i, half, multiplier, shift),
                                                   Box(s + i + 16, half, multiplier, shift));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i),
                            _mm256_permute4x64_epi64(packed, 0xD8));
    }
    for (; i < n; ++i)
        out[i] = static_cast<std::uint8_t>(
            divider.Divide(static_cast<std::uint16_t>(s[i - 3] + s[i] + s[i + 3])));
}

TESS_AVX2 void DiffCountRowAvx2(const std::uint8_t* now, const std::uint8_t* before, int n,
                                std::uint8_t darker_limit, std::uint8_t brighter_limit,
                                DiffTally& tally) {
    const __m256i mid = _mm256_set1_epi8(static_cast<char>(128));
    const __m256i dark = _mm256_set1_epi8(static_cast<char>(darker_limit));
    const __m256i bright = _mm256_set1_epi8(static_cast<char>(brighter_limit));
    __m256i lowest = _mm256_set1_epi8(static_cast<char>(tally.lowest));
    __m256i highest = _mm256_set1_epi8(static_cast<char>(tally.highest));
    __m256i total = _mm256_setzero_si256(); // four 64-bit sums
    int i = 0;
    while (i + 32 <= n) {
        // Byte counters take at most 127 rounds of two counts each before they are summed.
        __m256i counts = _mm256_setzero_si256();
        for (int round = 0; round < 127 && i + 32 <= n; ++round, i += 32) {
            const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(now + i));
            const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(before + i));
            // 128 + a - b, clamped: only one of the two saturated differences is non-zero.
            const __m256i v = _mm256_subs_epu8(_mm256_adds_epu8(mid, _mm256_subs_epu8(a, b)),
                                               _mm256_subs_epu8(b, a));
            const __m256i is_dark = _mm256_cmpeq_epi8(_mm256_min_epu8(v, dark), v);
            const __m256i is_bright = _mm256_cmpeq_epi8(_mm256_max_epu8(v, bright), v);
            counts = _mm256_sub_epi8(_mm256_sub_epi8(counts, is_dark), is_bright);
            lowest = _mm256_min_epu8(lowest, v);
            highest = _mm256_max_epu8(highest, v);
        }
        total = _mm256_add_epi64(total, _mm256_sad_epu8(counts, _mm256_setzero_si256()));
    }
    alignas(32) std::uint64_t sums[4];
    alignas(32) std::uint8_t low[32], high[32];
    _mm256_store_si256(reinterpret_cast<__m256i*>(sums), total);
    _mm256_store_si256(reinterpret_cast<__m256i*>(low), lowest);
    _mm256_store_si256(reinterpret_cast<__m256i*>(high), highest);
    tally.count += sums[0] + sums[1] + sums[2] + sums[3];
    for (int k = 0; k < 32; ++k) {
        tally.lowest = std::min(tally.lowest, low[k]);
        tally.highest = std::max(tally.highest, high[k]);
    }
    DiffCountRowScalar(now + i, before + i, n - i, darker_limit, brighter_limit, tally);
}

} // namespace tess::kernel

#endif
