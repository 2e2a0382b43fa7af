#pragma once

// Pieces shared by the fast kernels and their reference twins: the transparency test, the
// colour recipes, the rotation's integer shears. Not for callers of the kernels.

#include "imaging/fixed_point.h"
#include "imaging/transparent_color.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

// The hot loops are built three times and the loader picks one for the machine at hand: AVX2;
// SSE4.1, which the small fanless machines without AVX2 (Atom, Celeron, Pentium Silver) have
// and which lets the compiler shuffle 3-byte pixels; and the SSE2 baseline.
#if defined(__x86_64__) && !defined(__clang__)
#define TESS_VECTOR_CLONES __attribute__((target_clones("avx2", "sse4.1", "default")))
#else
#define TESS_VECTOR_CLONES
#endif

namespace tess::kernel {

inline int RowBytes(int width) {
    return (width * 3 + 3) & ~3;
}

// Decides which source pixels are transparent: the table when enabled, else the single
// colour (kNoColor for none). Built once per call, asked per pixel.
class Transparency {
public:
    Transparency(std::uint32_t single, const TransparentColor* table, int count, int enabled) {
        if (enabled && table && count > 0) {
            table_ = table;
            count_ = count;
        } else if (single < kNoColor) {
            single_.color = single;
            table_ = &single_;
            count_ = 1;
        }
    }
    bool Any() const { return count_ > 0; }
    bool Test(const std::uint8_t* bgr) const {
        for (int i = 0; i < count_; ++i) {
            const std::uint32_t c = table_[i].color;
            const int t = table_[i].tolerance;
            if (std::abs(bgr[0] - static_cast<int>((c >> 16) & 0xFF)) <= t &&
                std::abs(bgr[1] - static_cast<int>((c >> 8) & 0xFF)) <= t &&
                std::abs(bgr[2] - static_cast<int>(c & 0xFF)) <= t)
                return true;
        }
        return false;
    }

private:
    TransparentColor single_;
    const TransparentColor* table_ = nullptr;
    int count_ = 0;
};

// The colour recipes, one pixel at a time (blue, green, red in place).
inline std::uint8_t Clamp255(int v) {
    return static_cast<std::uint8_t>(v < 0 ? 0 : (v > 255 ? 255 : v));
}

template <int Code>
inline void Recolor(std::uint8_t* p) {
    const int b = p[0], g = p[1], r = p[2];
    const int grey = (r * 77 + g * 150 + b * 29 + 128) >> 8;
    if constexpr (Code == 2) {
        p[0] = p[1] = p[2] = static_cast<std::uint8_t>(grey);
    } else if constexpr (Code == 3) { // the classic sepia matrix
        p[2] = Clamp255((r * 101 + g * 197 + b * 48) >> 8);
        p[1] = Clamp255((r * 89 + g * 176 + b * 43) >> 8);
        p[0] = Clamp255((r * 70 + g * 137 + b * 34) >> 8);
    } else if constexpr (Code == 4) {
        // Half the colour gone, blacks lifted and whites dimmed, a warm cast.
        p[2] = Clamp255(52 + ((((r + grey + 1) >> 1) * 176) >> 8));
        p[1] = Clamp255(44 + ((((g + grey + 1) >> 1) * 176) >> 8));
        p[0] = Clamp255(24 + ((((b + grey + 1) >> 1) * 176) >> 8));
    } else if constexpr (Code == 5) {
        p[2] = static_cast<std::uint8_t>((r * 7) >> 3);
        p[0] = Clamp255(b + (b >> 2) + 10);
    }
}

// Rounds a 16.16 product to whole pixels (halves up).
inline int ShiftOf(std::int64_t factor_times_coordinate) {
    return static_cast<int>((factor_times_coordinate + 32768) >> 16);
}

// The whole quarter turns in an angle: the callers reduce the exact angle by 90 while above
// 45 degrees, and the kernel sees only its whole degrees. Those cannot tell 45 from 45.5; the
// sign of the vertical shear can (+45 against about -44.5).
inline int QuarterTurns(int angle, int shear_b) {
    int a = angle % 360;
    if (a < 0) a += 360;
    int turns = 0;
    while (a > 45) {
        a -= 90;
        ++turns;
    }
    if (a == 45 && shear_b < 0) ++turns;
    return turns % 4;
}

// Where the quarter-turned picture's pixel (x, y), counted from its top-left corner, lives in
// the source: source + origin + x * step_x + y * step_y.
struct TurnedSource {
    int width = 0, height = 0; // of the turned picture
    std::ptrdiff_t origin = 0, step_x = 0, step_y = 0;

    TurnedSource(int source_width, int source_height, int turns) {
        const std::ptrdiff_t pitch = RowBytes(source_width);
        // Byte offset of the source pixel (sx, sy), sy from the top.
        auto at = [&](int sx, int sy) { return (source_height - 1 - sy) * pitch + sx * 3; };
        const bool swap = turns % 2 != 0;
        width = swap ? source_height : source_width;
        height = swap ? source_width : source_height;
        switch (turns) {
        case 0:
            origin = at(0, 0), step_x = 3, step_y = -pitch;
            break;
        case 1:
            origin = at(0, source_height - 1), step_x = pitch, step_y = 3;
            break;
        case 2:
            origin = at(source_width - 1, source_height - 1), step_x = -3, step_y = pitch;
            break;
        default:
            origin = at(source_width - 1, 0), step_x = -pitch, step_y = -3;
            break;
        }
    }
};

} // namespace tess::kernel
