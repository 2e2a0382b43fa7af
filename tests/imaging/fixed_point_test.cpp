#include "imaging/fixed_point.h"

#include <cmath>

#include <gtest/gtest.h>

namespace tess::fixed {
namespace {

TEST(FixedPoint, DivideBy255RoundsEveryProductExactly) {
    for (std::uint32_t x = 0; x <= 255 * 255; ++x) {
        const std::uint32_t want = (2 * x + 255) / 510; // x / 255, halves up
        ASSERT_EQ(Div255(x), want) << x;
        ASSERT_EQ(Div255x16(static_cast<std::uint16_t>(x)), want) << x;
    }
    for (std::uint16_t a = 0; a < 256; ++a) {
        for (std::uint16_t b = 0; b < 256; ++b)
            ASSERT_EQ(MulDiv255(a, b), (2 * a * b + 255) / 510) << a << " " << b;
    }
}

TEST(FixedPoint, MixCopiesAtFullLevelKeepsAtZeroAndRoundsBetween) {
    for (int s = 0; s < 256; ++s) {
        for (int d = 0; d < 256; ++d) {
            ASSERT_EQ(Mix(s, d, 255), s);
            ASSERT_EQ(Mix(s, d, 0), d);
            for (int a = 1; a < 255; ++a) {
                const double exact = (s * a + d * (255.0 - a)) / 255.0;
                ASSERT_LE(std::abs(Mix(s, d, a) - exact), 0.5) << s << " " << d << " " << a;
            }
        }
    }
}

TEST(FixedPoint, ScaledAddAndSubtractSaturate) {
    for (int s = 0; s < 256; ++s) {
        for (int d = 0; d < 256; ++d) {
            for (int a : {0, 1, 77, 128, 254, 255}) {
                const int scaled = (2 * s * a + 255) / 510;
                ASSERT_EQ(AddScaled(s, d, a), std::min(255, d + scaled));
                ASSERT_EQ(SubtractScaled(s, d, a), std::max(0, d - scaled));
            }
        }
    }
}

TEST(FixedPoint, BoxDividerIsExactForEveryRadiusItServes) {
    for (int radius = 1; radius <= BoxDivider::kMaxExactRadius; ++radius) {
        const BoxDivider divider = BoxDivider::ForRadius(radius);
        const int area = (2 * radius + 1) * (2 * radius + 1);
        for (int sum = 0; sum <= area * 255; ++sum)
            ASSERT_EQ(divider.Divide(static_cast<std::uint16_t>(sum)), (sum + area / 2) / area)
                << "radius " << radius << " sum " << sum;
    }
}

} // namespace
} // namespace tess::fixed
