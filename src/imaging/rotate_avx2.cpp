// The Rotate row loop eight pixels at a time: the shears undone in 32-bit lanes, the source
// pixels fetched with one gather, packed to 24 bytes and written over the row.

#include "imaging/rotate_rows.h"

#if defined(__x86_64__)
#include <cstring>
#include <immintrin.h>

#include <climits>

#define TESS_AVX2 __attribute__((target("avx2")))

namespace tess::kernel {
namespace {

// Unsigned v < limit in every lane; the limit comes with its sign bit already flipped, which
// turns the test into a signed compare.
TESS_AVX2 inline __m256i Below(__m256i v, __m256i flipped_limit) {
    return _mm256_cmpgt_epi32(flipped_limit, _mm256_xor_si256(v, _mm256_set1_epi32(INT_MIN)));
}

// Eight BGRx lanes to 24 bytes of BGR at the bottom of the register.
TESS_AVX2 inline __m256i PackBgr(__m256i v) {
    const __m256i squeeze =
        _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1, 0, 1, 2, 4, 5, 6,
                         8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
    const __m256i join = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7);
    return _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(v, squeeze), join);
}

// Exactly the 24 bytes of eight pixels, nothing on either side.
TESS_AVX2 inline __m256i Load24(const std::uint8_t* p) {
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    const __m128i high = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + 16));
    return _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
}

TESS_AVX2 inline void Store24(std::uint8_t* p, __m256i v) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm256_castsi256_si128(v));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(p + 16), _mm256_extracti128_si256(v, 1));
}

// The lanes the gather skipped because their four bytes would run past the source. Rare, so
// kept out of line: inlined, it crowds the loop's constants out of the registers.
TESS_AVX2 __attribute__((noinline)) void CopyLanes(const std::uint8_t* source, __m256i offsets,
                                                   int lanes, std::uint8_t* out) {
    alignas(32) std::int32_t at[8];
    _mm256_store_si256(reinterpret_cast<__m256i*>(at), offsets);
    for (int i = 0; i < 8; ++i) {
        if (lanes & (1 << i)) std::memcpy(out + 3 * i, source + at[i], 3);
    }
}

} // namespace

TESS_AVX2 void RotateRowAvx2(const RotateFrame& frame, std::uint8_t* out, int x1, int y2,
                             int count) {
    const __m256i lane = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
    const __m256i half = _mm256_set1_epi32(32768);
    const __m256i a = _mm256_set1_epi32(frame.shear_a), b = _mm256_set1_epi32(frame.shear_b);
    const __m256i row = _mm256_set1_epi32(y2);
    const __m256i center_x = _mm256_set1_epi32(frame.center_x);
    const __m256i center_y = _mm256_set1_epi32(frame.center_y);
    const __m256i width = _mm256_set1_epi32(frame.turned_width ^ INT_MIN);
    const __m256i height = _mm256_set1_epi32(frame.turned_height ^ INT_MIN);
    const __m256i origin = _mm256_set1_epi32(static_cast<int>(frame.origin));
    const __m256i step_x = _mm256_set1_epi32(static_cast<int>(frame.step_x));
    const __m256i step_y = _mm256_set1_epi32(static_cast<int>(frame.step_y));
    // A lane gathers four bytes, so only offsets below this keep the fourth inside the source.
    const __m256i gather_end = _mm256_set1_epi32(static_cast<int>(frame.source_bytes - 3));
    const int* base = reinterpret_cast<const int*>(frame.source);

    int done = 0;
    for (; done + 8 <= count; done += 8, out += 24) {
        const __m256i x1s = _mm256_add_epi32(_mm256_set1_epi32(x1 + done), lane);
        const __m256i bx = _mm256_add_epi32(_mm256_mullo_epi32(b, x1s), half);
        const __m256i y = _mm256_sub_epi32(row, _mm256_srai_epi32(bx, 16));
        const __m256i ay = _mm256_add_epi32(_mm256_mullo_epi32(a, y), half);
        const __m256i x = _mm256_sub_epi32(x1s, _mm256_srai_epi32(ay, 16));
        const __m256i tx = _mm256_add_epi32(x, center_x), ty = _mm256_add_epi32(y, center_y);
        const __m256i inside = _mm256_and_si256(Below(tx, width), Below(ty, height));
        const int inside_bits = _mm256_movemask_ps(_mm256_castsi256_ps(inside));
        if (inside_bits == 0) continue;

        const __m256i offset =
            _mm256_add_epi32(origin, _mm256_add_epi32(_mm256_mullo_epi32(tx, step_x),
                                                      _mm256_mullo_epi32(ty, step_y)));
        const __m256i whole = _mm256_and_si256(inside, _mm256_cmpgt_epi32(gather_end, offset));
        const __m256i pixels =
            PackBgr(_mm256_mask_i32gather_epi32(_mm256_setzero_si256(), base, offset, whole, 1));
        const int whole_bits = _mm256_movemask_ps(_mm256_castsi256_ps(whole));
        if (whole_bits == 0xFF)
            Store24(out, pixels);
        else // pixels from outside stay as they were
            Store24(out, _mm256_blendv_epi8(Load24(out), pixels, PackBgr(whole)));
        if (whole_bits != inside_bits)
            CopyLanes(frame.source, offset, inside_bits & ~whole_bits, out);
    }
    RotateRowScalar(frame, out, x1 + done, y2, count - done);
}

} // namespace tess::kernel

#endif
