#include "imaging/bitmaps.h"
#include "imaging/blit.h"

#include <gtest/gtest.h>

namespace tess {
namespace {

using test::Bgr;
using test::PixelAt;
using test::SetPixel;

TEST(CopyRect, CopiesOnlyTheOverlapAtEveryEdge) {
    std::mt19937 rng(7);
    DIB src(7, 5);
    test::FillRandom(src, rng);
    // Rectangles hanging over each edge of either bitmap, and some wholly outside.
    const int cases[][6] = {{0, 0, 0, 0, 7, 5},   {-3, -2, 0, 0, 7, 5}, {4, 3, 0, 0, 7, 5},
                            {0, 0, -2, -1, 7, 5}, {0, 0, 5, 4, 7, 5},   {2, 1, 3, 2, 9, 9},
                            {9, 0, 0, 0, 3, 3},   {0, 0, 0, 7, 3, 3},   {-1, 6, 1, 1, 2, 2}};
    for (const auto& c : cases) {
        DIB dst(6, 6);
        dst.Clear(0x123456);
        const int dx = c[0], dy = c[1], sx = c[2], sy = c[3], w = c[4], h = c[5];
        CopyRect(dst, dx, dy, src, sx, sy, w, h);
        for (int y = 0; y < 6; ++y) {
            for (int x = 0; x < 6; ++x) {
                int ux = x - dx + sx, uy = y - dy + sy; // the source pixel that lands here
                bool inside = x >= dx && x < dx + w && y >= dy && y < dy + h && ux >= 0 && ux < 7 &&
                              uy >= 0 && uy < 5;
                Bgr want = inside ? PixelAt(src, ux, uy) : Bgr{0x12, 0x34, 0x56};
                ASSERT_EQ(PixelAt(dst, x, y), want)
                    << "case " << dx << "," << dy << " at " << x << "," << y;
            }
        }
    }
}

TEST(StretchCopy, NearestRepeatsAndDropsWholePixels) {
    DIB src(3, 2);
    for (int y = 0; y < 2; ++y) {
        for (int x = 0; x < 3; ++x)
            SetPixel(src, x, y, {std::uint8_t(x * 50), std::uint8_t(y * 100), 7});
    }
    DIB big(6, 4);
    StretchCopy(big, src, StretchMode::ColorOnColor);
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 6; ++x)
            ASSERT_EQ(PixelAt(big, x, y), PixelAt(src, x / 2, y / 2));
    }
    DIB small(3, 2);
    StretchCopy(small, big, StretchMode::ColorOnColor);
    EXPECT_TRUE(test::SamePixels(small, src));

    DIB same(3, 2);
    StretchCopy(same, src, StretchMode::Halftone); // equal sizes: a plain copy in both modes
    EXPECT_TRUE(test::SamePixels(same, src));
}

TEST(StretchCopy, HalftoneAveragesWhenShrinkingAndBlendsWhenEnlarging) {
    // A checker of single black and white pixels halves to mid grey.
    DIB checker(4, 4);
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 4; ++x) {
            std::uint8_t v = (x + y) % 2 ? 255 : 0;
            SetPixel(checker, x, y, {v, v, v});
        }
    }
    DIB half(2, 2);
    StretchCopy(half, checker, StretchMode::Halftone);
    for (int y = 0; y < 2; ++y) {
        for (int x = 0; x < 2; ++x)
            EXPECT_EQ(PixelAt(half, x, y), (Bgr{128, 128, 128}));
    }
    // Three pixels into two: each output covers one and a half inputs.
    DIB row(3, 1), two(2, 1);
    SetPixel(row, 0, 0, {0, 0, 0});
    SetPixel(row, 1, 0, {90, 90, 90});
    SetPixel(row, 2, 0, {240, 240, 240});
    StretchCopy(two, row, StretchMode::Halftone);
    EXPECT_EQ(PixelAt(two, 0, 0).b, 30);  // (0 + 90 / 2) / 1.5
    EXPECT_EQ(PixelAt(two, 1, 0).b, 190); // (45 + 240) / 1.5

    // Enlarging a ramp stays a ramp: never decreasing, ends kept.
    DIB ramp(4, 1), wide(13, 3);
    for (int x = 0; x < 4; ++x)
        SetPixel(ramp, x, 0, {std::uint8_t(x * 80), 0, 0});
    StretchCopy(wide, ramp, StretchMode::Halftone);
    EXPECT_EQ(PixelAt(wide, 0, 1).b, 0);
    EXPECT_EQ(PixelAt(wide, 12, 1).b, 240);
    for (int x = 1; x < 13; ++x)
        EXPECT_LE(PixelAt(wide, x - 1, 2).b, PixelAt(wide, x, 2).b);

    // A flat colour stays exactly that colour at any size, in both directions.
    DIB flat(17, 9), out(5, 23);
    flat.Clear(0x3C7FE1);
    StretchCopy(out, flat, StretchMode::Halftone);
    for (int y = 0; y < 23; ++y) {
        for (int x = 0; x < 5; ++x)
            ASSERT_EQ(PixelAt(out, x, y), (Bgr{0x3C, 0x7F, 0xE1}));
    }
}

} // namespace
} // namespace tess
