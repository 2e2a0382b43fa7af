#include "base/error.h"
#include "document/canvas.h"
#include "document/script_settings.h"
#include "support/fixed_sun.h"

#include <gtest/gtest.h>

namespace tess {
namespace {

TEST(ItemSettings, ValuesAreClampedAndOnlyRealChangesNeedSaving) {
    test::FixedSun sun;
    TextItem text(sun);
    text.SetOpacity(-5);
    EXPECT_EQ(text.Opacity(), 0);
    text.SetOpacity(150);
    EXPECT_EQ(text.Opacity(), 100);
    text.SetRotationAngle(360);
    EXPECT_EQ(text.RotationAngle(), 0);
    text.SetRotationAngle(400); // stored as 360, which is no turn
    EXPECT_EQ(text.RotationAngle(), 0);
    text.SetRotationAngle(-30);
    EXPECT_EQ(text.RotationAngle(), 0);
    text.SetLayer(4);
    EXPECT_EQ(text.Layer(), 3);
    text.SetAlign(9);
    EXPECT_EQ(text.Align(), 8);
    text.SetShadowSize(0);
    EXPECT_EQ(text.ShadowSize(), 1);
    text.SetColor(0x1000000);
    EXPECT_EQ(text.Color(), 0xFFFFFFu);

    text.SetNeedsSaving(false);
    text.SetLayer(7); // clamps to the stored 3
    text.SetFontName("Arial");
    EXPECT_FALSE(text.NeedsSaving());
    text.Schedule().SetStopMode(2);
    EXPECT_TRUE(text.NeedsSaving());

    GraphicItem graphic(sun);
    graphic.SetStretchedWidth(5000);
    graphic.SetStretchedHeight(0);
    EXPECT_EQ(graphic.StretchedWidth(), 3000);
    EXPECT_EQ(graphic.StretchedHeight(), 1);
    graphic.SetCropLeft(-1);
    EXPECT_EQ(graphic.CropLeft(), 0);
    graphic.SetSourceType(9);
    EXPECT_EQ(graphic.SourceType(), SourceType::CanvasImage);
    graphic.SetSourceCanvas(0);
    EXPECT_EQ(graphic.SourceCanvas(), 1);
    graphic.SetTransparentColorCount(0);
    EXPECT_EQ(graphic.TransparentColorCount(), 1);
    EXPECT_THROW(graphic.TransparentColorEntry(0), TessError);
    EXPECT_THROW(graphic.SetTransparentColorEntry(GraphicItem::kMaxTransparentColors + 1, {}),
                 TessError);
}

TEST(CanvasSettings, ValuesAreClampedAndTheCanvasKnowsWhenItChanged) {
    test::FixedSun sun;
    Canvas canvas(4, sun);
    EXPECT_FALSE(canvas.NeedSaving());
    canvas.SetWidthHeight(0, 100000);
    EXPECT_EQ(canvas.Width(), 1);
    EXPECT_EQ(canvas.Height(), Canvas::kMaxDimension);
    canvas.SetFixedQuality(101);
    EXPECT_EQ(canvas.FixedQuality(), 100);
    canvas.SetSequentialNumber(100000000);
    EXPECT_EQ(canvas.SequentialNumber(), Canvas::kMaxSequentialNumber);
    canvas.SetShadowIntensity(-1);
    EXPECT_EQ(canvas.ShadowIntensity(), 0);
    canvas.SetFixedRate(-2);
    EXPECT_EQ(canvas.FixedRate(), 0);
    EXPECT_TRUE(canvas.NeedSaving());

    canvas.SetNeedSaving(false);
    canvas.SetEnabled(true); // not kept in the canvas file
    canvas.SetVisible(true);
    canvas.SetWidthHeight(1, Canvas::kMaxDimension);
    EXPECT_FALSE(canvas.NeedSaving());
    canvas.CanvasWebServer().Schedule().SetScheduleMode(1);
    EXPECT_TRUE(canvas.NeedSaving());
    canvas.SetNeedSaving(false);
    EXPECT_FALSE(canvas.CanvasWebServer().Schedule().NeedsSaving());
}

TEST(ScriptSettings, RateAndBaseTimeAreClamped) {
    ScriptSettings script;
    script.SetRate(0.01);
    EXPECT_EQ(script.Rate(), 0.1);
    script.SetRate(100000);
    EXPECT_EQ(script.Rate(), 86400);
    script.SetBaseTime(-1);
    EXPECT_EQ(script.BaseTime(), 0);
    EXPECT_TRUE(script.NeedsSaving());
}

} // namespace
} // namespace tess
