// A Text item through the whole pipeline, as a canvas draws it: the text rasterised with its
// coverage as opacity, rotated, half opaque, with a shadow gathered into the layer's shadow
// bitmap and darkening the layer, compared with a picture checked by eye once and kept as
// tests/imaging/golden/text_item.png. Set TESS_UPDATE_GOLDEN=1 to write it again (then look
// at it before committing it).

#include "imaging/bitmaps.h"
#include "imaging/image.h"
#include "imaging/kernels.h"
#include "imaging/picture.h"
#include "imaging/text/text_renderer.h"
#include "support/run_process.h"
#include "support/temp_dir.h"

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

namespace tess {
namespace {

DIB ComposeTextItem() {
    TextRenderer renderer;
    TextStyle style;
    style.font_name = "Arial";
    style.font_size = 26;
    style.bold = true;
    style.color = 0x00FFFF; // yellow
    DIB picture, coverage;
    renderer.Render("Tessarolle 12:34", style, picture, coverage);

    Image text;
    text.SetPictureType(SourceType::CanvasImage);
    text.LoadIntoPictureDIB(std::move(picture), std::move(coverage));
    text.SetRotationAngle(20);
    text.SetAlignment(kCenter);
    text.SetOpacityValue(50);
    text.SetShadowEnabled(true);
    text.SetShadowSize(kShadow3x3Plus);

    // A layer with a gradient, so that the half-opaque letters show what lies beneath.
    DIB layer(320, 160), shadows(320, 160);
    for (int y = 0; y < 160; ++y) {
        for (int x = 0; x < 320; ++x)
            test::SetPixel(
                layer, x, y,
                {static_cast<std::uint8_t>(90 + y), 60, static_cast<std::uint8_t>(x * 255 / 319)});
    }
    text.MergeShadowTo(shadows, 40, 55);
    const TransparentColor black{0, 0};
    Merge(layer.DIBPtr(), 320, 160, shadows.DIBPtr(), 320, 160, 0, 0, kOpacityNegative, 0, 204,
          nullptr, 0, 0, &black, 1, 1); // shadow intensity 80 %
    text.MergeImageTo(layer, 40, 55);
    return layer;
}

TEST(TextItemGolden, ShadowedRotatedHalfOpaqueTextMatchesThePictureCheckedByEye) {
    const std::string golden = std::string(TESS_SOURCE_DIR) + "/tests/imaging/golden/text_item.png";
    const DIB layer = ComposeTextItem();
    if (std::getenv("TESS_UPDATE_GOLDEN")) {
        test::TempDir dir;
        test::WritePpm(dir.File("text_item.ppm"), layer);
        auto run =
            test::RunProcess({"/usr/bin/convert", dir.File("text_item.ppm"), golden}, dir.Path());
        ASSERT_EQ(run.exit_code, 0) << run.err;
    }
    Picture expected;
    ASSERT_EQ(expected.LoadFile(golden), PictureStatus::Ok) << golden;
    ASSERT_EQ(expected.Width(), layer.Width());
    ASSERT_EQ(expected.Height(), layer.Height());
    // Other FreeType or font versions may move a few edge pixels: allow small differences,
    // but a turned the other way, a missing shadow or an opaque text fail by far.
    int far_off = 0;
    for (int y = 0; y < layer.Height(); ++y) {
        for (int x = 0; x < layer.Width(); ++x) {
            const test::Bgr a = test::PixelAt(layer, x, y);
            const test::Bgr b = test::PixelAt(expected.Pixels(), x, y);
            far_off += std::abs(a.b - b.b) + std::abs(a.g - b.g) + std::abs(a.r - b.r) > 60;
        }
    }
    EXPECT_LT(test::MeanAbsDifference(layer, expected.Pixels()), 1.5);
    EXPECT_LT(far_off, layer.Width() * layer.Height() / 100);
}

} // namespace
} // namespace tess
