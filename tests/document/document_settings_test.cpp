#include "base/error.h"
#include "document/canvas.h"
#include "document/portfolio.h"
#include "imaging/jpeg.h"
#include "settings/script_settings.h"
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

    text.SetLayer(7);
    text.SetNeedsSaving(false);
    text.SetLayer(9); // clamps to the stored 3
    text.SetFontName("Arial");
    EXPECT_FALSE(text.NeedsSaving());
    text.Schedule().SetStopMode(2);
    EXPECT_TRUE(text.NeedsSaving());

    GraphicItem graphic(sun);
    graphic.SetStretchedWidth(5000);
    graphic.SetStretchedHeight(0);
    EXPECT_EQ(graphic.StretchedWidth(), 3000);
    EXPECT_EQ(graphic.StretchedHeight(), 1);
    graphic.SetSourceType(9);
    EXPECT_EQ(graphic.SourceType(), SourceType::CanvasImage);
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

TEST(PortfolioWeb, FindsTheFirstServedCanvasByNameAndEncodesItsComposedPicture) {
    test::FixedSun sun;
    Portfolio portfolio(sun);
    for (int slot : {2, 5, 7}) {
        CanvasWebServer& web = portfolio.Canvas(slot).CanvasWebServer();
        web.SetEnabled(slot != 7);
        web.SetFileName(slot == 2 ? "Cam.jpg" : "cam.JPG");
    }
    portfolio.Canvas(7).CanvasWebServer().SetFileName("Other.jpg");
    EXPECT_EQ(portfolio.FindServedCanvas("CAM.jpg"), &portfolio.Canvas(2).CanvasWebServer());
    EXPECT_EQ(portfolio.FindServedCanvas("Other.jpg"), nullptr); // serving switched off
    EXPECT_EQ(portfolio.FindServedCanvas(""), nullptr);

    // The served picture is the canvas's composed one.
    CanvasWebServer& web = *portfolio.FindServedCanvas("cam.jpg");
    EXPECT_TRUE(web.JPEGData(45000.5)->empty());
    Canvas& two = portfolio.Canvas(2);
    two.SetFileName("two.can");
    two.SetEnabled(true);
    two.SetWidthHeight(40, 30);
    portfolio.Tick(45000.55); // composes the canvas: its background alone
    DIB decoded;
    ASSERT_TRUE(DecodeJpegIntoDIB(web.JPEGData(45000.6)->Bytes(), decoded));
    EXPECT_EQ(decoded.Width(), 40);
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
