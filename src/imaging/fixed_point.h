#pragma once

// Integer arithmetic of the pixel kernels, in one place so the vector loops and the plain
// reference loops compute the very same numbers. Channel values and opacity levels are
// 0..255; 255 stands for 1.

#include <cstdint>

namespace tess::fixed {

// x / 255 rounded to nearest, for 0 <= x <= 255 * 255.
constexpr std::uint32_t Div255(std::uint32_t x) {
    x += 128;
    return (x + (x >> 8)) >> 8;
}

// The same in 16-bit lanes (no intermediate exceeds 16 bits for x <= 255 * 255), the form
// the compiler turns into packed 16-bit vector code.
constexpr std::uint16_t Div255x16(std::uint16_t x) {
    std::uint16_t t = static_cast<std::uint16_t>(x + 128);
    return static_cast<std::uint16_t>(static_cast<std::uint16_t>(t + (t >> 8)) >> 8);
}

// a * b / 255 rounded: a channel scaled by a level.
constexpr std::uint16_t MulDiv255(std::uint16_t a, std::uint16_t b) {
    return Div255x16(static_cast<std::uint16_t>(a * b));
}

// The weighted mix: `a` of the source over 255 - `a` of the destination. 255 gives the
// source exactly, 0 the destination exactly.
constexpr std::uint8_t Mix(std::uint16_t source, std::uint16_t destination, std::uint16_t a) {
    return static_cast<std::uint8_t>(Div255x16(static_cast<std::uint16_t>(
        static_cast<std::uint16_t>(source * a) +
        static_cast<std::uint16_t>(destination * static_cast<std::uint16_t>(255 - a)))));
}

// The destination lightened by the source at level `a`, saturating at 255.
constexpr std::uint8_t AddScaled(std::uint16_t source, std::uint16_t destination, std::uint16_t a) {
    std::uint16_t v = static_cast<std::uint16_t>(destination + MulDiv255(source, a));
    return static_cast<std::uint8_t>(v > 255 ? 255 : v);
}

// The destination darkened by the source at level `a`, stopping at 0.
constexpr std::uint8_t SubtractScaled(std::uint16_t source, std::uint16_t destination,
                                      std::uint16_t a) {
    std::uint16_t m = MulDiv255(source, a);
    return static_cast<std::uint8_t>(destination > m ? destination - m : 0);
}

// Rounded division of a box-filter sum by the odd box area d = (2r + 1)^2, as a 16-bit
// multiply-high and a shift: q = (((x + d / 2) * multiplier) >> 16) >> shift. Exact for every
// sum a box of radius up to kMaxExactRadius can make.
struct BoxDivider {
    std::uint16_t half = 0;
    std::uint16_t multiplier = 0;
    int shift = 0;

    static constexpr int kMaxExactRadius = 6;

    static constexpr BoxDivider ForRadius(int radius) {
        const std::uint32_t d = static_cast<std::uint32_t>((2 * radius + 1) * (2 * radius + 1));
        BoxDivider out;
        out.half = static_cast<std::uint16_t>(d / 2);
        // The largest shift whose rounded-up multiplier still fits 16 bits.
        int shift = 0;
        while (((std::uint64_t{1} << (16 + shift + 1)) + d - 1) / d < 65536)
            ++shift;
        out.shift = shift;
        out.multiplier =
            static_cast<std::uint16_t>(((std::uint64_t{1} << (16 + shift)) + d - 1) / d);
        return out;
    }

    constexpr std::uint16_t Divide(std::uint16_t sum) const {
        std::uint16_t x = static_cast<std::uint16_t>(sum + half);
        std::uint16_t high = static_cast<std::uint16_t>((std::uint32_t{x} * multiplier) >> 16);
        return static_cast<std::uint16_t>(high >> shift);
    }
};

} // namespace tess::fixed
