#include "imaging/dib.h"

#include <gtest/gtest.h>

namespace tess {
namespace {

TEST(DIB, RowsArePaddedToFourBytes) {
    EXPECT_EQ(DIB::PadBytes(1), 1);
    EXPECT_EQ(DIB::PadBytes(2), 2);
    EXPECT_EQ(DIB::PadBytes(3), 3);
    EXPECT_EQ(DIB::PadBytes(4), 0);
    EXPECT_EQ(DIB::RowBytes(5), 16);
    // Allocated bitmaps: rows of 4, 8, 12, 12 bytes, the last row first in memory.
    for (int width = 1; width <= 4; ++width) {
        DIB d(width, 3);
        EXPECT_EQ(d.Pitch(), (3 * width + 3) / 4 * 4) << width;
        EXPECT_EQ(d.BufferSize(), static_cast<std::size_t>(d.Pitch()) * 3) << width;
        EXPECT_EQ(d.scanline(1) - d.scanline(0), d.Stride()) << width;
        EXPECT_EQ(d.scanline(2), d.DIBPtr()) << width;
    }
}

TEST(DIB, SizeChangesFollowTheCreateAndDestroyRules) {
    DIB d;
    EXPECT_FALSE(d.HasBitmap());
    ASSERT_TRUE(d.SetWidthHeight(3, 2));
    ASSERT_TRUE(d.HasBitmap());
    d.Clear(0x123456);
    std::uint8_t* before = d.DIBPtr();
    d.SetWidthHeight(3, 2); // same size: pixels kept
    EXPECT_EQ(d.DIBPtr(), before);
    EXPECT_EQ(d.scanline(0)[0], 0x12); // blue, the high byte, comes first

    d.SetWidthHeight(0, 2); // a zero leaves no bitmap, and Clear does nothing
    EXPECT_FALSE(d.HasBitmap());
    d.Clear(0xFFFFFF);

    DIB w;
    w.SetWidth(4); // height still 0: only stored
    EXPECT_FALSE(w.HasBitmap());
    w.SetHeight(2);
    EXPECT_TRUE(w.HasBitmap());
    w.SetWidth(0); // re-created at width 0: no bitmap
    EXPECT_FALSE(w.HasBitmap());
    DIB h; // the same rules with the sides swapped
    h.SetHeight(2);
    EXPECT_FALSE(h.HasBitmap());
    h.SetWidth(3);
    ASSERT_TRUE(h.HasBitmap());
    EXPECT_EQ(h.Height(), 2);
    h.SetHeight(0);
    EXPECT_FALSE(h.HasBitmap());

    DIB huge;
    EXPECT_FALSE(huge.SetWidthHeight(100000, 100000)); // refused before any memory is taken
    EXPECT_EQ(huge.Width(), 0);
    EXPECT_FALSE(huge.HasBitmap());
    EXPECT_FALSE(huge.SetWidthHeight(100000, 0)); // refused too, though it holds no pixels
    EXPECT_FALSE(huge.SetWidthHeight(-5, 0));
    EXPECT_EQ(huge.Width(), 0);
}

TEST(DIB, ClearFillsEveryPixelAndScanlinesRunTopDown) {
    for (int width = 1; width <= 6; ++width) {
        DIB d(width, 3);
        d.Clear(0xFFFFFF);
        d.Clear(0x0000FF); // red: blue-green-red bytes 00 00 FF
        for (int y = 0; y < 3; ++y) {
            for (int x = 0; x < width; ++x) {
                ASSERT_EQ(d.scanline(y)[x * 3], 0);
                ASSERT_EQ(d.scanline(y)[x * 3 + 2], 0xFF);
            }
        }
    }
    DIB d(2, 2);
    EXPECT_EQ(d.scanline(1), d.DIBPtr()); // the bottom row comes first in memory
    EXPECT_EQ(d.scanline(0) - d.scanline(1), d.Pitch());
    EXPECT_EQ(d.scanline(1) - d.scanline(0), d.Stride());
}

} // namespace
} // namespace tess
