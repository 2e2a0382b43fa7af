#include "imaging/dct.h"

#include "imaging/kernel_support.h"

#include <algorithm>
#include <cmath>

namespace tess {

namespace {

// Eight floats, one row of a block: each pass of a transform is eight multiply-adds of a
// broadcast number and a row.
typedef float Row __attribute__((vector_size(32)));
typedef std::int32_t IntRow __attribute__((vector_size(32)));
typedef std::int16_t ShortRow __attribute__((vector_size(16)));

// The helpers below pass vectors by value; they are always inlined into the functions built
// for each instruction set, so no call ever crosses them.
#pragma GCC diagnostic ignored "-Wpsabi"

// basis[u][x] = c(u) / 2 x cos((2x + 1) u pi / 16), c(0) = 1 / sqrt 2: the samples are
// basis' x coefficients x basis, the coefficients basis x samples x basis'.
struct alignas(32) Basis {
    float at[8][8];
    float transposed[8][8];
    Basis() {
        for (int u = 0; u < 8; ++u)
            for (int x = 0; x < 8; ++x) {
                const double c = u == 0 ? std::sqrt(0.5) : 1.0;
                at[u][x] = static_cast<float>(c / 2 * std::cos((2 * x + 1) * u * M_PI / 16));
                transposed[x][u] = at[u][x];
            }
    }
    Row AtRow(int u) const { return LoadRow(at[u]); }
    Row TransposedRow(int x) const { return LoadRow(transposed[x]); }
    static Row LoadRow(const float* p) {
        Row r;
        __builtin_memcpy(&r, p, sizeof r);
        return r;
    }
};

const Basis kBasis;

void StoreRow(float* p, Row r) {
    __builtin_memcpy(p, &r, sizeof r);
}

// Nearest, halves away from zero (as libjpeg quantizes), within the +-1023 a baseline JPEG
// can code: a damaged camera frame may hold any value, and the encoder would write a code
// no decoder reads for one beyond that.
[[gnu::always_inline]] inline IntRow Quantized(Row v) {
    v = v > 1023 ? Row{} + 1023 : v;
    v = v < -1023 ? Row{} - 1023 : v;
    const Row half = v >= 0 ? Row{} + 0.5f : Row{} - 0.5f;
    return __builtin_convertvector(v + half, IntRow);
}

} // namespace

TESS_VECTOR_CLONES
void InverseDct8x8(const std::int16_t* coefficients, const std::uint16_t* quant,
                   std::uint8_t* samples, int stride) {
    alignas(32) float f[64];
    for (int i = 0; i < 64; ++i)
        f[i] = static_cast<float>(coefficients[i]) * quant[i];
    // Rows of coefficients x basis: the block's rows are mostly zero above the first few.
    Row rows[8];
    for (int v = 0; v < 8; ++v) {
        Row r{};
        for (int u = 0; u < 8; ++u)
            if (f[8 * v + u] != 0) r += f[8 * v + u] * kBasis.AtRow(u);
        rows[v] = r;
    }
    for (int y = 0; y < 8; ++y) {
        Row out = Row{} + 128.5f;
        for (int v = 0; v < 8; ++v)
            out += kBasis.at[v][y] * rows[v];
        IntRow level = __builtin_convertvector(out, IntRow);
        level = level < 0 ? IntRow{} : level;
        level = level > 255 ? IntRow{} + 255 : level;
        std::uint8_t* line = samples + static_cast<std::ptrdiff_t>(y) * stride;
        for (int x = 0; x < 8; ++x)
            line[x] = static_cast<std::uint8_t>(level[x]);
    }
}

TESS_VECTOR_CLONES
void ForwardDct8x8(const std::uint8_t* samples, int stride, const float* reciprocal,
                   std::int16_t* coefficients) {
    Row s[8];
    for (int y = 0; y < 8; ++y) {
        const std::uint8_t* line = samples + static_cast<std::ptrdiff_t>(y) * stride;
        for (int x = 0; x < 8; ++x)
            s[y][x] = static_cast<float>(line[x]) - 128;
    }
    alignas(32) float columns[64];
    for (int v = 0; v < 8; ++v) {
        Row r{};
        for (int y = 0; y < 8; ++y)
            r += kBasis.at[v][y] * s[y];
        StoreRow(columns + 8 * v, r);
    }
    for (int v = 0; v < 8; ++v) {
        Row out{};
        for (int x = 0; x < 8; ++x)
            out += columns[8 * v + x] * kBasis.TransposedRow(x);
        const IntRow q = Quantized(out * Basis::LoadRow(reciprocal + 8 * v));
        for (int u = 0; u < 8; ++u)
            coefficients[8 * v + u] = static_cast<std::int16_t>(q[u]);
    }
}

// Most rows of a block are zero past the first few, and stay zero: each block is done down
// to its last row with anything in it.
TESS_VECTOR_CLONES
void Requantize8x8(std::int16_t* blocks, int count, const float* factor) {
    typedef std::int64_t Halves __attribute__((vector_size(16)));
    for (int b = 0; b < count; ++b) {
        std::int16_t* block = blocks + 64 * b;
        ShortRow rows[8];
        __builtin_memcpy(rows, block, sizeof rows);
        int last = 7;
        for (; last >= 0; --last) {
            const Halves bits = reinterpret_cast<Halves>(rows[last]);
            if ((bits[0] | bits[1]) != 0) break;
        }
        for (int v = 0; v <= last; ++v) {
            const Row r = __builtin_convertvector(rows[v], Row);
            rows[v] =
                __builtin_convertvector(Quantized(r * Basis::LoadRow(factor + 8 * v)), ShortRow);
        }
        __builtin_memcpy(block, rows, sizeof(ShortRow) * static_cast<std::size_t>(last + 1));
    }
}

} // namespace tess
