#include "imaging/kernel_support.h"
#include "imaging/kernels.h"

#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace tess {

namespace {

using u16 = std::uint16_t;

#if defined(__x86_64__)
// The weighted mix, 32 bytes at a time, with one multiply-add per 16 results instead of two
// multiplies: source and destination bytes are interleaved, shifted into signed range, and
// multiplied by the interleaved weights (a, 255 - a). Adding 255 * 128 back, plus the 128 of
// the rounding, gives t = s * a + d * (255 - a) + 128; the high half of t * 257 is then
// exactly what fixed::Mix computes, (t + (t >> 8)) >> 8, for every t up to 255 * 255 + 128.
__attribute__((target("avx2"))) inline __m256i Mix32(__m256i s, __m256i d, __m256i weights_lo,
                                                     __m256i weights_hi) {
    const __m256i flip = _mm256_set1_epi8(static_cast<char>(0x80));
    const __m256i bias = _mm256_set1_epi16(static_cast<short>(255 * 128 + 128));
    s = _mm256_xor_si256(s, flip);
    d = _mm256_xor_si256(d, flip);
    __m256i lo = _mm256_maddubs_epi16(weights_lo, _mm256_unpacklo_epi8(s, d));
    __m256i hi = _mm256_maddubs_epi16(weights_hi, _mm256_unpackhi_epi8(s, d));
    const __m256i by257 = _mm256_set1_epi16(257);
    lo = _mm256_mulhi_epu16(_mm256_add_epi16(lo, bias), by257);
    hi = _mm256_mulhi_epu16(_mm256_add_epi16(hi, bias), by257);
    return _mm256_packus_epi16(lo, hi);
}

__attribute__((target("avx2"))) void MixAtLevelAvx2(std::uint8_t* d, const std::uint8_t* s, int n,
                                                    u16 a) {
    const __m256i weights = _mm256_set1_epi16(static_cast<short>(a | ((255 - a) << 8)));
    int i = 0;
    for (; i + 32 <= n; i += 32) {
        const __m256i src = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + i));
        const __m256i dst = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(d + i));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + i), Mix32(src, dst, weights, weights));
    }
    for (; i < n; ++i)
        d[i] = fixed::Mix(s[i], d[i], a);
}

__attribute__((target("avx2"))) void MixWithAlphaAvx2(std::uint8_t* d, const std::uint8_t* s,
                                                      const std::uint8_t* alpha, int n) {
    const __m256i ones = _mm256_set1_epi8(static_cast<char>(0xFF));
    int i = 0;
    for (; i + 32 <= n; i += 32) {
        const __m256i src = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + i));
        const __m256i dst = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(d + i));
        const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(alpha + i));
        const __m256i rest = _mm256_sub_epi8(ones, a); // 255 - a, never borrows
        _mm256_storeu_si256(
            reinterpret_cast<__m256i*>(d + i),
            Mix32(src, dst, _mm256_unpacklo_epi8(a, rest), _mm256_unpackhi_epi8(a, rest)));
    }
    for (; i < n; ++i)
        d[i] = fixed::Mix(s[i], d[i], alpha[i]);
}

const bool kHaveAvx2 = __builtin_cpu_supports("avx2");
#else
constexpr bool kHaveAvx2 = false;
void MixAtLevelAvx2(std::uint8_t*, const std::uint8_t*, int, u16) {}
void MixWithAlphaAvx2(std::uint8_t*, const std::uint8_t*, const std::uint8_t*, int) {}
#endif

template <int Mode>
inline std::uint8_t Apply(u16 source, u16 destination, u16 a) {
    if constexpr (Mode == kOpacityAdditive)
        return fixed::AddScaled(source, destination, a);
    else if constexpr (Mode == kOpacityNegative)
        return fixed::SubtractScaled(source, destination, a);
    else
        return fixed::Mix(source, destination, a);
}

// The three row loops treat a row as a run of bytes: with one level for every channel there
// is no need to know where a pixel starts, and the compiler packs them 16 or 32 to a vector.
template <int Mode>
TESS_VECTOR_CLONES void RowAtLevel(std::uint8_t* __restrict d, const std::uint8_t* __restrict s,
                                   int n, u16 level) {
    for (int i = 0; i < n; ++i)
        d[i] = Apply<Mode>(s[i], d[i], level);
}

// The mix is the hot path (every item merged at partial opacity): hand-written for AVX2.
template <int Mode>
void MergeRowAtLevel(std::uint8_t* d, const std::uint8_t* s, int n, u16 level) {
    if (Mode == kOpacityMerge && kHaveAvx2)
        MixAtLevelAvx2(d, s, n, level);
    else
        RowAtLevel<Mode>(d, s, n, level);
}

template <int Mode>
void MergeRowWithAlpha(std::uint8_t* d, const std::uint8_t* s, const std::uint8_t* alpha, int n);

template <int Mode>
TESS_VECTOR_CLONES void RowWithOpacity(std::uint8_t* __restrict d, const std::uint8_t* __restrict s,
                                       const std::uint8_t* __restrict opacity, int n, u16 level) {
    for (int i = 0; i < n; ++i)
        d[i] = Apply<Mode>(s[i], d[i], fixed::MulDiv255(opacity[i], level));
}

template <int Mode>
TESS_VECTOR_CLONES void RowWithAlpha(std::uint8_t* __restrict d, const std::uint8_t* __restrict s,
                                     const std::uint8_t* __restrict alpha, int n) {
    for (int i = 0; i < n; ++i)
        d[i] = Apply<Mode>(s[i], d[i], alpha[i]);
}

struct Span {
    std::uint8_t* d;
    const std::uint8_t* s;
    const std::uint8_t* opacity; // null without an opacity bitmap
    int pixels;
};

// Transparent pixels get level 0, which leaves the destination as it is in every mode. The
// levels go through a small buffer on the stack, a piece of the row at a time.
template <int Mode>
void SpanWithTransparency(const Span& span, u16 level, const kernel::Transparency& transparency) {
    constexpr int kPiece = 256;
    std::uint8_t alpha[kPiece * 3];
    for (int start = 0; start < span.pixels; start += kPiece) {
        const int count = std::min(kPiece, span.pixels - start);
        const std::uint8_t* s = span.s + start * 3;
        const std::uint8_t* o = span.opacity ? span.opacity + start * 3 : nullptr;
        for (int i = 0; i < count * 3; i += 3) {
            if (transparency.Test(s + i)) {
                alpha[i] = alpha[i + 1] = alpha[i + 2] = 0;
            } else if (o) {
                alpha[i] = static_cast<std::uint8_t>(fixed::MulDiv255(o[i], level));
                alpha[i + 1] = static_cast<std::uint8_t>(fixed::MulDiv255(o[i + 1], level));
                alpha[i + 2] = static_cast<std::uint8_t>(fixed::MulDiv255(o[i + 2], level));
            } else {
                alpha[i] = alpha[i + 1] = alpha[i + 2] = static_cast<std::uint8_t>(level);
            }
        }
        MergeRowWithAlpha<Mode>(span.d + start * 3, s, alpha, count * 3);
    }
}

template <int Mode>
void MergeRowWithAlpha(std::uint8_t* d, const std::uint8_t* s, const std::uint8_t* alpha, int n) {
    if (Mode == kOpacityMerge && kHaveAvx2)
        MixWithAlphaAvx2(d, s, alpha, n);
    else
        RowWithAlpha<Mode>(d, s, alpha, n);
}

template <int Mode>
void MergeSpan(const Span& span, u16 level, const kernel::Transparency& transparency) {
    const int n = span.pixels * 3;
    if (transparency.Any())
        SpanWithTransparency<Mode>(span, level, transparency);
    else if (span.opacity && level == 255) // the opacity bitmap is the weight as it stands
        MergeRowWithAlpha<Mode>(span.d, span.s, span.opacity, n);
    else if (span.opacity)
        RowWithOpacity<Mode>(span.d, span.s, span.opacity, n, level);
    else if (Mode == kOpacityMerge && level == 255)
        std::memcpy(span.d, span.s, static_cast<std::size_t>(n)); // the opaque copy
    else
        MergeRowAtLevel<Mode>(span.d, span.s, n, level);
}

} // namespace

void Merge(std::uint8_t* destination, int destination_width, int destination_height,
           const std::uint8_t* source, int source_width, int source_height, int x, int y,
           int opacity_mode, std::uint32_t transparent_color, int opacity_level,
           const std::uint8_t* opacity, int /*reserved1*/, int /*reserved2*/,
           const TransparentColor* color_table, int color_count, int transparent_enabled) {
    if (!destination || !source || destination_width <= 0 || destination_height <= 0 ||
        source_width <= 0 || source_height <= 0)
        return;
    const u16 level = static_cast<u16>(std::clamp(opacity_level, 0, 255));
    if (level == 0) return; // nothing to draw in any mode
    // Clip to the columns and rows of the source that land inside the destination, in 64 bits:
    // a position may be anywhere in the 32-bit range.
    const std::int64_t x64 = x, y64 = y;
    const std::int64_t first_x64 = std::max<std::int64_t>(0, -x64);
    const std::int64_t last_x64 = std::min<std::int64_t>(source_width, destination_width - x64);
    const std::int64_t first_y64 = std::max<std::int64_t>(0, -y64);
    const std::int64_t last_y64 = std::min<std::int64_t>(source_height, destination_height - y64);
    if (first_x64 >= last_x64 || first_y64 >= last_y64) return;
    // Past the test every bound lies within the source, and x + first_x within the destination.
    const int first_x = static_cast<int>(first_x64), last_x = static_cast<int>(last_x64);
    const int first_y = static_cast<int>(first_y64), last_y = static_cast<int>(last_y64);

    int mode = opacity_mode;
    if (mode < kOpacityAdditive || mode > kOpacityPerPixel) mode = kOpacityMerge;
    if (mode == kOpacityPerPixel) mode = kOpacityMerge; // the bitmap, when given, does the rest
    const kernel::Transparency transparency(transparent_color, color_table, color_count,
                                            transparent_enabled);
    const int source_pitch = kernel::RowBytes(source_width);
    const int destination_pitch = kernel::RowBytes(destination_width);
    for (int row = first_y; row < last_y; ++row) {
        const std::ptrdiff_t s_at = static_cast<std::ptrdiff_t>(row) * source_pitch + first_x * 3;
        Span span{destination + static_cast<std::ptrdiff_t>(y + row) * destination_pitch +
                      (x + first_x) * 3,
                  source + s_at, opacity ? opacity + s_at : nullptr, last_x - first_x};
        switch (mode) {
        case kOpacityAdditive:
            MergeSpan<kOpacityAdditive>(span, level, transparency);
            break;
        case kOpacityNegative:
            MergeSpan<kOpacityNegative>(span, level, transparency);
            break;
        default:
            MergeSpan<kOpacityMerge>(span, level, transparency);
            break;
        }
    }
}

} // namespace tess
