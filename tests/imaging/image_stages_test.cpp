// The Image stages that the other Image tests reach only in passing: the opacity file, a
// feather under rotation, colour processing and smooth stretching inside the pipeline, an
// empty source, and where the shadow of a turned item lands.

#include "imaging/alignment.h"
#include "imaging/bitmaps.h"
#include "imaging/blit.h"
#include "imaging/bmp_writer.h"
#include "imaging/image.h"
#include "imaging/jpeg.h"
#include "imaging/kernels.h"
#include "support/temp_dir.h"

#include <algorithm>
#include <string>

#include <gtest/gtest.h>

namespace tess {
namespace {

using test::Bgr;
using test::Box;
using test::LitBox;
using test::PixelAt;
using test::Solid;

std::string AsString(const std::vector<std::uint8_t>& bytes) {
    return {bytes.begin(), bytes.end()};
}

TEST(ImageStages, AnOpacityFileWeighsOnlyPerPixelAndIsStretchedToTheItem) {
    test::TempDir dir;
    DIB mask(2, 1); // white (opaque) on the left, black (clear) on the right
    test::SetPixel(mask, 0, 0, {255, 255, 255});
    const std::string file = dir.File("mask.bmp");
    test::WriteFileBytes(file, AsString(EncodeBmp(mask)));

    Image image;
    image.SetPictureType(SourceType::VideoFeed);
    image.LoadIntoPictureDIB(Solid(10, 4, 0x0000FF));
    image.SetOpacityType(1);
    image.SetOpacityFileName(file);

    // "2 - Merge": the item's one opacity value, whatever file it names.
    DIB canvas = Solid(20, 10, 0x00FF00);
    image.MergeImageTo(canvas, 5, 3);
    EXPECT_EQ(PixelAt(canvas, 6, 4).r, 255);
    EXPECT_EQ(PixelAt(canvas, 13, 4).r, 255);

    // Per pixel: each file pixel covers five item pixels, nearest, no blending at the seam.
    image.SetOpacityMode(kOpacityPerPixel);
    canvas.Clear(0x00FF00);
    image.MergeImageTo(canvas, 5, 3);
    EXPECT_EQ(PixelAt(canvas, 9, 6), (Bgr{0, 0, 255}));
    EXPECT_EQ(PixelAt(canvas, 10, 6), (Bgr{0, 255, 0}));
    EXPECT_EQ(PixelAt(canvas, 4, 4), (Bgr{0, 255, 0})); // outside the item

    // The opacity value still scales what the file lets through.
    image.SetOpacityValue(50);
    canvas.Clear(0x00FF00);
    image.MergeImageTo(canvas, 5, 3);
    EXPECT_NEAR(PixelAt(canvas, 7, 4).r, 128, 2);
    EXPECT_EQ(PixelAt(canvas, 12, 4).r, 0);

    // A file that cannot be read leaves no opacity: the item merges whole.
    image.SetOpacityValue(100);
    image.SetOpacityFileName(dir.File("missing.bmp"));
    canvas.Clear(0x00FF00);
    image.MergeImageTo(canvas, 5, 3);
    EXPECT_EQ(PixelAt(canvas, 12, 4).r, 255);
}

TEST(ImageStages, AFeatherTurnsWithTheItem) {
    Image image;
    image.SetPictureType(SourceType::VideoFeed);
    image.LoadIntoPictureDIB(Solid(40, 20, 0xFFFFFF));
    image.SetFeatherWidth(5);
    image.SetRotationAngle(90);
    image.SetAlignment(kCenter);
    DIB canvas(80, 80);
    image.MergeImageTo(canvas, 20, 30); // the centre, (40, 40), stays
    const Box box = LitBox(canvas);
    EXPECT_NEAR(box.right - box.left, 19, 1); // now 20 wide and 40 tall
    EXPECT_NEAR(box.bottom - box.top, 39, 1);
    EXPECT_EQ(PixelAt(canvas, 40, 40).g, 255);
    // The fade runs across the turned sides: faint at every edge, whole five pixels in.
    EXPECT_LT(PixelAt(canvas, box.left, 40).g, 100);
    EXPECT_LT(PixelAt(canvas, box.right, 40).g, 100);
    EXPECT_LT(PixelAt(canvas, 40, box.top).g, 100);
    EXPECT_LT(PixelAt(canvas, 40, box.bottom).g, 100);
    EXPECT_EQ(PixelAt(canvas, box.left + 6, 40).g, 255);
    EXPECT_EQ(PixelAt(canvas, 40, box.top + 6).g, 255);
    EXPECT_LT(PixelAt(canvas, box.left + 1, 40).g, PixelAt(canvas, box.left + 3, 40).g);
}

TEST(ImageStages, ColourProcessingAndBothStretchesMatchTheirKernels) {
    std::mt19937 rng(11);
    DIB source(13, 7);
    test::FillRandom(source, rng);
    DIB processed(13, 7);
    processed.Clear(0);
    CopyRect(processed, 0, 0, source, 0, 0, 13, 7);
    ColorProcess(processed.DIBPtr(), 13, 7, 3);

    Image image;
    image.SetPictureType(SourceType::VideoFeed);
    image.SetColorProcessing(3);
    image.LoadIntoPictureDIB(source);
    EXPECT_TRUE(test::SamePixels(image.GetImageDIB(), processed));

    image.SetStretchEnabled(true);
    image.SetStretchedWidthHeight(29, 5);
    for (StretchMode mode : {StretchMode::ColorOnColor, StretchMode::Halftone}) {
        image.SetStretchSmoothing(mode == StretchMode::Halftone);
        DIB want(29, 5);
        StretchCopy(want, processed, mode);
        EXPECT_TRUE(test::SamePixels(image.GetStretchedDIB(), want)) << static_cast<int>(mode);
    }

    // The same processing on the JPEG path, applied to what the decoder gives.
    test::TempDir dir;
    DIB smooth(64, 32);
    test::FillSmooth(smooth);
    const std::string jpeg = dir.File("cam.jpg");
    test::WriteFileBytes(jpeg, AsString(EncodeJpeg(smooth, 90)));
    DIB decoded;
    ASSERT_EQ(LoadJpegIntoDIB(jpeg, decoded), JpegResult::Loaded);
    ColorProcess(decoded.DIBPtr(), decoded.Width(), decoded.Height(), 4);
    Image file;
    file.SetColorProcessing(4);
    file.SetPictureFileName(jpeg);
    ASSERT_EQ(file.LoadPicture(), JpegResult::Loaded);
    EXPECT_TRUE(test::SamePixels(file.GetImageDIB(), decoded));
}

TEST(ImageStages, AnEmptySourceStretchesToTheBackgroundColour) {
    Image image;
    image.SetPictureFileName(""); // a graphic file item with no file yet
    image.LoadPicture();
    EXPECT_EQ(image.Width(), 0);
    image.SetBackgroundColor(0x336699); // red 0x99, as colours are stored
    image.SetStretchEnabled(true);
    image.SetStretchedWidthHeight(6, 3);
    const DIB& stretched = image.GetStretchedDIB();
    ASSERT_EQ(stretched.Width(), 6);
    ASSERT_EQ(stretched.Height(), 3);
    EXPECT_EQ(PixelAt(stretched, 0, 0), (Bgr{0x33, 0x66, 0x99}));
    EXPECT_EQ(PixelAt(stretched, 5, 2), (Bgr{0x33, 0x66, 0x99}));
}

TEST(ImageStages, TheShadowOfATurnedAlignedItemLiesUnderIt) {
    Image image;
    image.SetPictureType(SourceType::VideoFeed);
    image.LoadIntoPictureDIB(Solid(30, 10, 0xFFFFFF));
    image.SetShadowEnabled(true);
    image.SetTransparentEnabled(true); // the turned bitmap's corners vanish
    for (float angle : {90.0f, 25.0f}) {
        for (int alignment : {kTopLeft, kCenter, kBottomRight}) {
            image.SetRotationAngle(angle);
            image.SetAlignment(alignment);
            DIB item(120, 120), shadow(120, 120);
            image.MergeImageTo(item, 50, 50);
            image.SetShadowSize(kShadowSameAsImage);
            image.MergeShadowTo(shadow, 50, 50);
            const Box drawn = LitBox(item);
            EXPECT_EQ(LitBox(shadow), drawn) << angle << " " << alignment;

            // A softened shadow spreads by at most two pixels, inside the bounds it reports.
            image.SetShadowSize(kShadow3x3Plus);
            DIB soft(120, 120);
            image.MergeShadowTo(soft, 50, 50);
            const Box spread = LitBox(soft);
            const Image::Bounds bounds = image.ShadowBounds(50, 50);
            EXPECT_EQ(spread.left, drawn.left - 2) << angle << " " << alignment;
            EXPECT_EQ(spread.bottom, drawn.bottom + 2) << angle << " " << alignment;
            EXPECT_GE(spread.left, bounds.left);
            EXPECT_GE(spread.top, bounds.top);
            EXPECT_LT(spread.right, bounds.left + bounds.width);
            EXPECT_LT(spread.bottom, bounds.top + bounds.height);
        }
    }
}

} // namespace
} // namespace tess
