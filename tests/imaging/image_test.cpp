#include "imaging/bitmaps.h"
#include "imaging/image.h"
#include "imaging/kernels.h"
#include "support/temp_dir.h"

#include <string>

#include <gtest/gtest.h>

namespace tess {
namespace {

using test::Bgr;
using test::Box;
using test::LitBox;
using test::PixelAt;
using test::Solid;
using test::TempDir;

std::string Bytes(const std::vector<std::uint8_t>& v) {
    return {v.begin(), v.end()};
}

TEST(Image, SettersClampAndStoreTheDocumentedValues) {
    Image image;
    image.SetRotationAngle(360);
    EXPECT_EQ(image.RotationAngle(), 0);
    image.SetRotationAngle(400); // limited to 360, which is 0
    EXPECT_EQ(image.RotationAngle(), 0);
    image.SetRotationAngle(-5);
    EXPECT_EQ(image.RotationAngle(), 0);
    image.SetRotationAngle(12.5f);
    EXPECT_EQ(image.RotationAngle(), 12.5f);
    image.SetOpacityValue(-5);
    EXPECT_EQ(image.OpacityValue(), 0);
    image.SetOpacityValue(150);
    EXPECT_EQ(image.OpacityValue(), 100);
    image.SetStretchedWidthHeight(5000, 0);
    EXPECT_EQ(image.StretchedWidth(), 3000);
    EXPECT_EQ(image.StretchedHeight(), 1);
    image.SetShadowSize(0);
    EXPECT_EQ(image.ShadowSize(), 1);
    EXPECT_EQ(image.TransparentColorCount(), 1); // one entry, black
    EXPECT_EQ(image.TransparentColorTable()[0].color, 0u);
}

TEST(Image, CropAndStretchSizes) {
    Image image;
    image.SetPictureType(SourceType::VideoFeed);
    DIB source(10, 6);
    std::mt19937 rng(1);
    test::FillRandom(source, rng);
    image.LoadIntoPictureDIB(source);
    EXPECT_EQ(&image.GetCroppedDIB(), &image.GetImageDIB()); // no margins: no cropped bitmap

    image.SetCrop(1, 0, 0, 0);
    const DIB& cropped = image.GetCroppedDIB();
    ASSERT_EQ(cropped.Width(), 9);
    EXPECT_EQ(PixelAt(cropped, 0, 0), PixelAt(source, 1, 0));
    image.SetCrop(2, 1, 2, 3); // the rectangle at (2, 2), 7 x 1
    EXPECT_EQ(image.GetCroppedDIB().Width(), 7);
    EXPECT_EQ(image.GetCroppedDIB().Height(), 1);
    EXPECT_EQ(PixelAt(image.GetCroppedDIB(), 6, 0), PixelAt(source, 8, 2));
    image.SetCrop(8, 8, 5, 5); // nothing left: still one pixel
    EXPECT_EQ(image.GetCroppedDIB().Width(), 1);
    EXPECT_EQ(image.GetCroppedDIB().Height(), 1);

    image.SetCrop(0, 0, 0, 0);
    image.SetStretchEnabled(true);
    image.SetStretchedWidthHeight(10, 6); // the size it has: nothing resampled
    EXPECT_EQ(&image.GetStretchedDIB(), &image.GetImageDIB());
    image.SetStretchedWidthHeight(20, 3);
    const DIB& stretched = image.GetStretchedDIB();
    ASSERT_EQ(stretched.Width(), 20);
    EXPECT_EQ(PixelAt(stretched, 3, 1), PixelAt(source, 1, 3)); // nearest, at pixel centres
    EXPECT_EQ(image.FinalWidth(), 20);

    image.SetPictureType(SourceType::Rectangle); // rectangles are never stretched
    image.SetBackgroundColor(0x00FF00);
    image.SetGraphics(4, 3);
    image.LoadIntoPictureDIB();
    EXPECT_EQ(image.FinalWidth(), 4);
    EXPECT_EQ(PixelAt(image.GetFinalizedDIB(), 2, 2), (Bgr{0, 0xFF, 0}));
}

TEST(Image, AnchorOffsetsMatchHandComputedValues) {
    // A 100 x 50 item, turned 90 degrees into a 50 x 100 bitmap. Top-left corner: distance
    // D = sqrt(99^2 + 49^2) / 2 = 55.231 at 2.678 rad, less 1.571 gives 1.107 rad: it lands
    // at (24.5 + 55.231 cos 1.107, 49.5 - 55.231 sin 1.107) = (49.2, 0.1), offset (49, 0).
    AlignmentOffsets quarter = ComputeAlignmentOffsets(100, 50, 50, 100, 90);
    EXPECT_EQ(quarter.x[kTopLeft], 49);
    EXPECT_EQ(quarter.y[kTopLeft], 0);
    EXPECT_EQ(quarter.x[kTopRight], -51); // (-50.8, 98.9)
    EXPECT_EQ(quarter.y[kTopRight], 99);
    EXPECT_EQ(quarter.y[kMiddleLeft], -31); // (24.5, -30.7) with D, not W / 2
    EXPECT_EQ(quarter.x[kBottomRight], -100);
    EXPECT_EQ(quarter.y[kBottomRight], 49);

    // The same item at 30 degrees in a 112 x 94 bitmap, a = 0.5236 rad.
    AlignmentOffsets thirty = ComputeAlignmentOffsets(100, 50, 112, 94, 30);
    EXPECT_EQ(thirty.x[kTopLeft], 25); // (25.07, 0.41)
    EXPECT_EQ(thirty.y[kTopLeft], 0);
    EXPECT_EQ(thirty.x[kTopCenter], 18); // 25 at 90 degrees: (55.5 + 25 cos 60, 46.5 - 25 sin 60)
    EXPECT_EQ(thirty.y[kTopCenter], 25); //   - (50, 0) = (18, 24.85)
    // Middle left, the deliberate half diagonal: (55.5 - 55.231 cos 30, 46.5 - 55.231 sin 30)
    // - (0, 25) = (7.67, -6.12). Half the width would give 12.2.
    EXPECT_EQ(thirty.x[kMiddleLeft], 8);
    EXPECT_EQ(thirty.y[kMiddleLeft], -6);
    EXPECT_EQ(thirty.x[kBottomLeft], 0); // (0.36, -6.61), with the deliberate 3.145192655
    EXPECT_EQ(thirty.y[kBottomLeft], -7);
    EXPECT_EQ(thirty.x[kBottomRight], -14); // (-14.07, 42.59)
    EXPECT_EQ(thirty.y[kBottomRight], 43);

    AlignmentOffsets none = ComputeAlignmentOffsets(100, 50, 100, 50, 0);
    for (int k = 0; k < 9; ++k)
        EXPECT_EQ(none.x[k] | none.y[k], 0);
}

TEST(Image, RotationSwapsSidesAndKeepsTheAlignedPointInPlace) {
    Image image;
    image.SetPictureType(SourceType::VideoFeed);
    image.LoadIntoPictureDIB(Solid(41, 21, 0xFFFFFF));
    EXPECT_EQ(image.FinalWidth(), 41); // angle 0: no rotated bitmap
    image.SetRotationAngle(90);
    EXPECT_EQ(image.FinalWidth(), 21);
    EXPECT_EQ(image.FinalHeight(), 41);

    image.SetTransparentEnabled(true); // the uncovered corners take black, the first colour
    for (float angle : {90.0f, 30.0f}) {
        image.SetRotationAngle(angle);
        image.SetAlignment(kCenter);
        DIB canvas(200, 160);
        image.MergeImageTo(canvas, 80, 60); // centre of the unrotated item: (100, 70)
        Box box = LitBox(canvas);
        EXPECT_NEAR((box.left + box.right) / 2.0, 100, 1.5) << angle;
        EXPECT_NEAR((box.top + box.bottom) / 2.0, 70, 1.5) << angle;

        image.SetAlignment(kTopLeft);
        DIB again(200, 160);
        image.MergeImageTo(again, 80, 60);
        // The top-left corner stays at (80, 60), give or take a pixel, and being the top of
        // the item after a clockwise turn of up to 90 degrees, it is the top of the drawing.
        box = LitBox(again);
        bool near = false;
        for (int dy = -1; dy <= 1; ++dy) {
            for (int dx = -1; dx <= 1; ++dx)
                near |= PixelAt(again, 80 + dx, 60 + dy) != Bgr{};
        }
        EXPECT_TRUE(near) << angle;
        EXPECT_NEAR(box.top, 60, 1) << angle;
        if (angle == 90) {
            EXPECT_NEAR(box.right, 80, 1); // it hangs to the lower left
        }
    }
}

TEST(Image, BrokenOrMissingJpegKeepsTheLastGoodPicture) {
    TempDir dir;
    test::ScopedCurrentDir here(dir.Path()); // errors.txt lands here
    DIB picture(48, 32);
    test::FillSmooth(picture);
    test::WriteFileBytes(dir.File("cam.jpg"), Bytes(EncodeJpeg(picture, 95)));
    Image image;
    image.SetPictureFileName(dir.File("cam.jpg"));
    ASSERT_EQ(image.FinalWidth(), 48);
    const double error = test::MeanAbsDifference(image.GetFinalizedDIB(), picture);
    EXPECT_LT(error, 3.0);

    test::WriteFileBytes(dir.File("cam.jpg"), "half a picture");
    EXPECT_EQ(image.LoadPicture(), JpegResult::Refused);
    EXPECT_EQ(image.FinalWidth(), 48);
    EXPECT_EQ(test::MeanAbsDifference(image.GetFinalizedDIB(), picture), error);
    std::remove(dir.File("cam.jpg").c_str());
    EXPECT_EQ(image.LoadPicture(), JpegResult::Missing);
    EXPECT_EQ(test::MeanAbsDifference(image.GetFinalizedDIB(), picture), error);

    // Other formats go through Picture; a name that never loads leaves a line in errors.txt.
    test::WritePpm(dir.File("in.ppm"), picture);
    Image png;
    png.SetPictureFileName(dir.File("nothing.png"));
    EXPECT_EQ(png.FinalWidth(), 0);
    const std::string errors = test::ReadFileBytes(dir.File("errors.txt"));
    EXPECT_EQ(errors.rfind("Error Image.cls (Sub LoadImageDIB ), Time=", 0), 0u) << errors;
    EXPECT_NE(errors.find("nothing.png, 0, 0, 0"), std::string::npos) << errors;
    png.SetPictureFileName("");
    EXPECT_EQ(png.FinalWidth(), 0);
}

TEST(Image, UnchangedItemsMergeFromTheirCacheAndChangesRebuildOnlyWhatFollows) {
    TempDir dir;
    DIB picture(30, 20);
    test::FillSmooth(picture);
    test::WriteFileBytes(dir.File("a.jpg"), Bytes(EncodeJpeg(picture, 90)));
    Image image;
    image.SetPictureFileName(dir.File("a.jpg"));
    image.SetRotationAngle(20);
    const DIB* finished = &image.GetFinalizedDIB();
    const std::uint8_t* pixels = finished->DIBPtr();
    // The file goes away: nothing asks for it again until the owner reloads or renames.
    std::remove(dir.File("a.jpg").c_str());
    EXPECT_EQ(&image.GetFinalizedDIB(), finished);
    EXPECT_EQ(image.GetFinalizedDIB().DIBPtr(), pixels);
    image.SetRotationAngle(90); // the rotation reruns from the image it has
    EXPECT_EQ(image.FinalWidth(), 20);
    image.SetCrop(0, 10, 0, 0);
    EXPECT_EQ(image.FinalHeight(), 20);
    EXPECT_EQ(image.FinalWidth(), 20);
    EXPECT_EQ(image.Width(), 30); // the source is still the first picture
}

TEST(Image, MergeOpacityTransparencyAndTheCopyShortcut) {
    Image image;
    image.SetPictureType(SourceType::VideoFeed);
    DIB source = Solid(4, 2, 0x0000C8); // red 200
    test::SetPixel(source, 0, 0, {0, 0, 0});
    image.LoadIntoPictureDIB(source);
    DIB canvas = Solid(8, 6, 0x000064); // red 100
    image.MergeImageTo(canvas, 2, 3);   // opaque: a plain copy at (2, 3) from the top
    EXPECT_EQ(PixelAt(canvas, 2, 3), (Bgr{0, 0, 0}));
    EXPECT_EQ(PixelAt(canvas, 5, 4).r, 200);
    EXPECT_EQ(PixelAt(canvas, 5, 5).r, 100);
    EXPECT_EQ(PixelAt(canvas, 1, 3).r, 100);

    canvas.Clear(0x000064);
    image.SetOpacityValue(50); // 128 of 255
    image.SetTransparentEnabled(true);
    image.MergeImageTo(canvas, 2, 3);
    EXPECT_EQ(PixelAt(canvas, 2, 3).r, 100); // black is the transparent colour
    EXPECT_EQ(PixelAt(canvas, 3, 3).r, 150);
    image.SetOpacityValue(0);
    image.SetTransparentEnabled(false);
    canvas.Clear(0x000064);
    image.MergeImageTo(canvas, 2, 3);
    EXPECT_EQ(PixelAt(canvas, 3, 3).r, 100); // nothing drawn

    // A feather: opaque in the middle, fading to the edges.
    Image feathered;
    feathered.SetPictureType(SourceType::VideoFeed);
    feathered.LoadIntoPictureDIB(Solid(21, 21, 0xFFFFFF));
    feathered.SetFeatherWidth(5);
    feathered.SetFeatherRadius(6); // rounded corners fade sooner than the sides
    DIB black(21, 21);
    feathered.MergeImageTo(black, 0, 0);
    EXPECT_EQ(PixelAt(black, 10, 10).g, 255);
    EXPECT_LT(PixelAt(black, 0, 10).g, 40);
    EXPECT_LT(PixelAt(black, 0, 0).g, PixelAt(black, 0, 10).g);
    EXPECT_LT(PixelAt(black, 2, 10).g, PixelAt(black, 4, 10).g);
}

TEST(Image, OwnerDrawnSourcesKeepTheirOpacityThroughRotation) {
    // Like a text item: colour everywhere, coverage only where the "glyph" is.
    DIB colour = Solid(30, 10, 0x0000FF);
    DIB coverage(30, 10);
    for (int y = 3; y < 7; ++y) {
        for (int x = 5; x < 25; ++x)
            test::SetPixel(coverage, x, y, {255, 255, 255});
    }
    Image text;
    text.SetPictureType(SourceType::CanvasImage);
    text.LoadIntoPictureDIB(std::move(colour), std::move(coverage));
    DIB canvas(60, 60);
    text.MergeImageTo(canvas, 10, 10);
    EXPECT_EQ(PixelAt(canvas, 10, 10), Bgr{}); // no coverage: nothing drawn
    EXPECT_EQ(PixelAt(canvas, 20, 15).r, 255);

    text.SetRotationAngle(45);
    text.SetAlignment(kCenter);
    DIB turned(60, 60);
    text.MergeImageTo(turned, 10, 10);
    Box box = LitBox(turned);
    // A 20 x 4 bar turned 45 degrees: about 17 pixels each way, centred on (25, 15). The
    // corners of the rotated bitmap stay clear.
    EXPECT_NEAR(box.right - box.left, 17, 3);
    EXPECT_NEAR(box.bottom - box.top, 17, 3);
    EXPECT_NEAR((box.left + box.right) / 2.0, 25, 1.5);
    EXPECT_NEAR((box.top + box.bottom) / 2.0, 15, 1.5);
}

TEST(Image, ShadowsGatherUnderTheItemAndDarkenTheLayer) {
    Image image;
    image.SetPictureType(SourceType::VideoFeed);
    image.LoadIntoPictureDIB(Solid(10, 6, 0x00FFFF));
    image.SetShadowEnabled(true);
    image.SetShadowSize(kShadow3x3);
    DIB shadows(40, 30); // black: nothing gathered yet
    image.MergeShadowTo(shadows, 5, 5);
    image.MergeShadowTo(shadows, 7, 5); // a second item overlapping: light adds up
    EXPECT_EQ(PixelAt(shadows, 9, 7).g, 255);
    EXPECT_GT(PixelAt(shadows, 4, 7).g, 0); // one pixel of spread on the left
    EXPECT_LT(PixelAt(shadows, 4, 7).g, 255);
    EXPECT_EQ(PixelAt(shadows, 2, 7).g, 0);

    // The canvas darkens its layer by the gathered light at its shadow intensity (50 %).
    DIB layer = Solid(40, 30, 0xC8C8C8);
    const TransparentColor black{0, 0};
    Merge(layer.DIBPtr(), 40, 30, shadows.DIBPtr(), 40, 30, 0, 0, kOpacityNegative, 0, 128, nullptr,
          0, 0, &black, 1, 1);
    EXPECT_EQ(PixelAt(layer, 9, 7).g, 200 - 128);
    EXPECT_EQ(PixelAt(layer, 30, 20).g, 200);
    image.MergeImageTo(layer, 5, 5); // the item itself then lies on top
    EXPECT_EQ(PixelAt(layer, 9, 7), (Bgr{0, 0xFF, 0xFF}));
}

} // namespace
} // namespace tess
