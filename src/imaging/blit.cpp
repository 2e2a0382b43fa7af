#include "imaging/blit.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

namespace tess {

void CopyRect(DIB& dst, int dst_x, int dst_y, const DIB& src, int src_x, int src_y, int width,
              int height) {
    if (!dst.HasBitmap() || !src.HasBitmap()) return;
    // Clip against the source, then the destination, moving both corners together; in 64 bits,
    // since a corner may be anywhere in the 32-bit range.
    auto clip = [](std::int64_t& from, std::int64_t& to, std::int64_t& length,
                   std::int64_t limit_from, std::int64_t limit_to) {
        if (from < 0) {
            to -= from;
            length += from;
            from = 0;
        }
        if (to < 0) {
            from -= to;
            length += to;
            to = 0;
        }
        length = std::min({length, limit_from - from, limit_to - to});
    };
    std::int64_t sx = src_x, dx = dst_x, w = width, sy = src_y, dy = dst_y, h = height;
    clip(sx, dx, w, src.Width(), dst.Width());
    clip(sy, dy, h, src.Height(), dst.Height());
    if (w <= 0 || h <= 0) return;
    const std::size_t bytes = static_cast<std::size_t>(w) * 3;
    for (std::int64_t row = 0; row < h; ++row)
        std::memcpy(dst.scanline(static_cast<int>(dy + row)) + dx * 3,
                    src.scanline(static_cast<int>(sy + row)) + sx * 3, bytes);
}

namespace {

// The source index each destination index takes, sampling at pixel centres.
std::vector<int> NearestIndexes(int src_size, int dst_size) {
    std::vector<int> index(dst_size);
    for (int i = 0; i < dst_size; ++i)
        index[i] = static_cast<int>((2LL * i + 1) * src_size / (2LL * dst_size));
    return index;
}

void StretchNearest(DIB& dst, const DIB& src) {
    const std::vector<int> columns = NearestIndexes(src.Width(), dst.Width());
    const std::vector<int> rows = NearestIndexes(src.Height(), dst.Height());
    for (int y = 0; y < dst.Height(); ++y) {
        std::uint8_t* out = dst.scanline(y);
        if (y > 0 && rows[y] == rows[y - 1]) { // a repeated row is one copy
            std::memcpy(out, dst.scanline(y - 1), static_cast<std::size_t>(dst.Width()) * 3);
            continue;
        }
        const std::uint8_t* in = src.scanline(rows[y]);
        for (int x = 0; x < dst.Width(); ++x) {
            const std::uint8_t* p = in + columns[x] * 3;
            out[x * 3] = p[0];
            out[x * 3 + 1] = p[1];
            out[x * 3 + 2] = p[2];
        }
    }
}

// Weights of the source pixels that make one destination pixel, in 1/4096ths summing to 4096.
constexpr int kWeightBits = 12;
constexpr int kWeightOne = 1 << kWeightBits;

struct AxisWeights {
    std::vector<int> first;  // first source index of each destination index
    std::vector<int> start;  // where its weights begin in `weight`
    std::vector<int> count;  // how many source indexes it takes
    std::vector<int> weight; // kWeightOne in total for each destination index
};

void AddWeights(AxisWeights& axis, int first, const std::vector<double>& shares) {
    axis.first.push_back(first);
    axis.start.push_back(static_cast<int>(axis.weight.size()));
    axis.count.push_back(static_cast<int>(shares.size()));
    int total = 0;
    std::size_t largest = 0;
    for (std::size_t k = 0; k < shares.size(); ++k) {
        int w = static_cast<int>(std::lround(shares[k] * kWeightOne));
        axis.weight.push_back(w);
        total += w;
        if (shares[k] > shares[largest]) largest = k;
    }
    axis.weight[axis.start.back() + largest] += kWeightOne - total; // rounding left-over
}

// Shrinking averages the exact area each destination pixel covers; enlarging interpolates
// linearly between the two nearest source pixel centres.
AxisWeights SmoothWeights(int src_size, int dst_size) {
    AxisWeights axis;
    std::vector<double> shares;
    for (int i = 0; i < dst_size; ++i) {
        shares.clear();
        if (dst_size <= src_size) {
            // In units of 1/dst_size source pixels the span is [i * src, (i + 1) * src).
            const std::int64_t begin = std::int64_t{i} * src_size;
            const std::int64_t end = begin + src_size;
            const int first = static_cast<int>(begin / dst_size);
            const int last = static_cast<int>((end - 1) / dst_size);
            for (int j = first; j <= last; ++j) {
                std::int64_t lo = std::max(begin, std::int64_t{j} * dst_size);
                std::int64_t hi = std::min(end, std::int64_t{j + 1} * dst_size);
                shares.push_back(static_cast<double>(hi - lo) / src_size);
            }
            AddWeights(axis, first, shares);
        } else {
            double u = (i + 0.5) * src_size / dst_size - 0.5;
            int j = static_cast<int>(std::floor(u));
            double f = u - j;
            if (j < 0) {
                j = 0;
                f = 0;
            }
            if (j >= src_size - 1) {
                j = src_size - 1;
                f = 0;
            }
            shares.push_back(1 - f);
            if (f > 0) shares.push_back(f);
            AddWeights(axis, j, shares);
        }
    }
    return axis;
}

void StretchSmooth(DIB& dst, const DIB& src) {
    const AxisWeights across = SmoothWeights(src.Width(), dst.Width());
    const AxisWeights down = SmoothWeights(src.Height(), dst.Height());
    const int dst_bytes = dst.Width() * 3;
    // Horizontal pass into 8.8 fixed point, one row per source row.
    std::vector<std::uint16_t> rows(static_cast<std::size_t>(src.Height()) * dst_bytes);
    for (int y = 0; y < src.Height(); ++y) {
        const std::uint8_t* in = src.scanline(y);
        std::uint16_t* out = rows.data() + static_cast<std::size_t>(y) * dst_bytes;
        for (int x = 0; x < dst.Width(); ++x) {
            const std::uint8_t* p = in + across.first[x] * 3;
            const int* w = across.weight.data() + across.start[x];
            std::uint32_t b = 0, g = 0, r = 0;
            for (int k = 0; k < across.count[x]; ++k, p += 3) {
                b += w[k] * p[0];
                g += w[k] * p[1];
                r += w[k] * p[2];
            }
            out[x * 3] = static_cast<std::uint16_t>((b + 8) >> 4);
            out[x * 3 + 1] = static_cast<std::uint16_t>((g + 8) >> 4);
            out[x * 3 + 2] = static_cast<std::uint16_t>((r + 8) >> 4);
        }
    }
    // Vertical pass: 8.8 values times 12-bit weights, rounded back to bytes.
    std::vector<std::uint32_t> sum(dst_bytes);
    for (int y = 0; y < dst.Height(); ++y) {
        std::fill(sum.begin(), sum.end(), 0u);
        const int* w = down.weight.data() + down.start[y];
        for (int k = 0; k < down.count[y]; ++k) {
            const std::uint16_t* in =
                rows.data() + static_cast<std::size_t>(down.first[y] + k) * dst_bytes;
            const std::uint32_t wk = w[k];
            for (int i = 0; i < dst_bytes; ++i)
                sum[i] += wk * in[i];
        }
        std::uint8_t* out = dst.scanline(y);
        for (int i = 0; i < dst_bytes; ++i)
            out[i] = static_cast<std::uint8_t>((sum[i] + (1u << 19)) >> 20);
    }
}

} // namespace

void StretchCopy(DIB& dst, const DIB& src, StretchMode mode) {
    if (!dst.HasBitmap() || !src.HasBitmap()) return;
    if (dst.Width() == src.Width() && dst.Height() == src.Height()) {
        std::memcpy(dst.DIBPtr(), src.DIBPtr(), src.BufferSize());
        return;
    }
    if (mode == StretchMode::Halftone)
        StretchSmooth(dst, src);
    else
        StretchNearest(dst, src);
}

} // namespace tess
