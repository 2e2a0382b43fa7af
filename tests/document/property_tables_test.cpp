// Every setting of a canvas file and of a portfolio file by name: set to a value of its own,
// saved, loaded into a fresh document and read back by name; and every ranged setting
// clamped at both ends.

#include "capture/video_feed_properties.h"
#include "document/canvas_properties.h"
#include "document/item_properties.h"
#include "document/portfolio.h"
#include "document/portfolio_properties.h"
#include "publish/publish_properties.h"
#include "support/fixed_sun.h"
#include "support/property_checks.h"
#include "support/temp_dir.h"
#include "time/schedule_properties.h"
#include "weather/karvell_properties.h"

#include <gtest/gtest.h>

namespace tess {
namespace {

using test::ExpectClampsAtBothEnds;
using test::ExpectReadBack;
using test::SetDistinctValues;

// The objects of one canvas that have tables, each with the values it was given.
struct CanvasValues {
    std::vector<PropertyValue> canvas, fixed, sequential, background, push, push_schedule, web,
        web_schedule, text, text_schedule, graphic, graphic_schedule;
};

CanvasValues SetEveryCanvasKey(Canvas& c) {
    int k = 0;
    CanvasValues v;
    const auto& schedule = ScheduleProperties();
    v.canvas = SetDistinctValues(CanvasProperties(), c, k);
    v.fixed = SetDistinctValues(schedule, c.FixedSchedule(), k);
    v.sequential = SetDistinctValues(schedule, c.SequentialSchedule(), k);
    v.background = SetDistinctValues(schedule, c.BackgroundSchedule(), k);
    v.push = SetDistinctValues(FTPPushProperties(), c.FTPPush(), k);
    v.push_schedule = SetDistinctValues(schedule, c.FTPPush().Schedule(), k);
    v.web = SetDistinctValues(CanvasWebServerProperties(), c.CanvasWebServer(), k);
    v.web_schedule = SetDistinctValues(schedule, c.CanvasWebServer().Schedule(), k);
    TextItem& text = c.AddText(7);
    v.text = SetDistinctValues(TextItemProperties(), text, k);
    v.text_schedule = SetDistinctValues(schedule, text.Schedule(), k);
    GraphicItem& graphic = c.AddGraphic(12);
    v.graphic = SetDistinctValues(GraphicItemProperties(), graphic, k);
    v.graphic_schedule = SetDistinctValues(schedule, graphic.Schedule(), k);
    return v;
}

void ExpectEveryCanvasKey(Canvas& c, const CanvasValues& v) {
    const auto& schedule = ScheduleProperties();
    ExpectReadBack(CanvasProperties(), c, v.canvas, "canvas");
    ExpectReadBack(schedule, c.FixedSchedule(), v.fixed, "fixed");
    ExpectReadBack(schedule, c.SequentialSchedule(), v.sequential, "sequential");
    ExpectReadBack(schedule, c.BackgroundSchedule(), v.background, "background");
    ExpectReadBack(FTPPushProperties(), c.FTPPush(), v.push, "push");
    ExpectReadBack(schedule, c.FTPPush().Schedule(), v.push_schedule, "push");
    ExpectReadBack(CanvasWebServerProperties(), c.CanvasWebServer(), v.web, "web");
    ExpectReadBack(schedule, c.CanvasWebServer().Schedule(), v.web_schedule, "web");
    ASSERT_NE(c.Text(7), nullptr);
    ExpectReadBack(TextItemProperties(), *c.Text(7), v.text, "text");
    ExpectReadBack(schedule, c.Text(7)->Schedule(), v.text_schedule, "text");
    ASSERT_NE(c.Graphic(12), nullptr);
    ExpectReadBack(GraphicItemProperties(), *c.Graphic(12), v.graphic, "graphic");
    ExpectReadBack(schedule, c.Graphic(12)->Schedule(), v.graphic_schedule, "graphic");
}

TEST(PropertyTables, EveryCanvasKeySetByNameIsSavedAndReadBackByName) {
    test::TempDir dir;
    test::FixedSun sun;
    Canvas canvas(4, sun);
    canvas.SetFileName(dir.File("every.can"));
    const CanvasValues values = SetEveryCanvasKey(canvas);
    ASSERT_TRUE(canvas.SaveFile());

    Canvas loaded(4, sun);
    loaded.SetFileName(dir.File("every.can"));
    ASSERT_TRUE(loaded.LoadFile());
    ExpectEveryCanvasKey(loaded, values);
    EXPECT_FALSE(loaded.NeedSaving());
}

TEST(PropertyTables, EveryPortfolioKeySetByNameIsSavedAndReadBackByName) {
    test::TempDir dir;
    test::ScopedCurrentDir here(dir.Path());
    test::FixedSun sun;
    Portfolio portfolio(sun);
    portfolio.SetFileName(dir.File("every.por"));
    int k = 0;
    auto karvell = SetDistinctValues(KarvellProperties(), portfolio.Karvell(), k);
    auto web = SetDistinctValues(WebServerProperties(), portfolio.WebServer(), k);
    auto script = SetDistinctValues(ScriptSettingsProperties(), portfolio.Script(), k);
    std::vector<std::vector<PropertyValue>> feeds, motions;
    for (int i = 0; i < Portfolio::kVideoFeeds; ++i) {
        feeds.push_back(SetDistinctValues(VideoFeedProperties(), portfolio.VideoFeed(i), k));
        motions.push_back(
            SetDistinctValues(MotionDetectProperties(), portfolio.VideoFeed(i).MotionDetect(), k));
    }
    ASSERT_TRUE(portfolio.SaveFile());

    Portfolio loaded(sun);
    loaded.SetFileName(dir.File("every.por"));
    loaded.LoadFile();
    ExpectReadBack(KarvellProperties(), loaded.Karvell(), karvell, "karvell");
    ExpectReadBack(WebServerProperties(), loaded.WebServer(), web, "web server");
    ExpectReadBack(ScriptSettingsProperties(), loaded.Script(), script, "script");
    for (int i = 0; i < Portfolio::kVideoFeeds; ++i) {
        ExpectReadBack(VideoFeedProperties(), loaded.VideoFeed(i), feeds[i], "feed");
        ExpectReadBack(MotionDetectProperties(), loaded.VideoFeed(i).MotionDetect(), motions[i],
                       "motion");
    }
    EXPECT_FALSE(loaded.NeedSaving());
}

TEST(PropertyTables, EveryRangedSettingClampsAtBothEnds) {
    test::FixedSun sun;
    Portfolio portfolio(sun);
    Canvas& c = portfolio.Canvas(1);
    ExpectClampsAtBothEnds(CanvasProperties(), c);
    for (Schedule* s : {&c.FixedSchedule(), &c.SequentialSchedule(), &c.BackgroundSchedule()})
        ExpectClampsAtBothEnds(ScheduleProperties(), *s);
    ExpectClampsAtBothEnds(FTPPushProperties(), c.FTPPush());
    ExpectClampsAtBothEnds(CanvasWebServerProperties(), c.CanvasWebServer());
    ExpectClampsAtBothEnds(TextItemProperties(), c.AddText(1), {"RotationAngle"});
    ExpectClampsAtBothEnds(GraphicItemProperties(), c.AddGraphic(1), {"RotationAngle"});
    ExpectClampsAtBothEnds(KarvellProperties(), portfolio.Karvell());
    ExpectClampsAtBothEnds(WebServerProperties(), portfolio.WebServer());
    ExpectClampsAtBothEnds(ScriptSettingsProperties(), portfolio.Script());
    ExpectClampsAtBothEnds(VideoFeedProperties(), portfolio.VideoFeed(0));
    ExpectClampsAtBothEnds(MotionDetectProperties(), portfolio.VideoFeed(0).MotionDetect());
}

TEST(PropertyTables, NamesAreFoundWithoutRegardToCaseAndUnknownNamesAreNot) {
    const auto& text = TextItemProperties();
    ASSERT_NE(text.Find("fontitalics"), nullptr);
    EXPECT_EQ(text.Find("FONTITALICS")->Info().key, "FontItalic");
    EXPECT_EQ(text.Find("x")->Info().key, "LocationX");
    EXPECT_EQ(GraphicItemProperties().Find("stretchedsmoothing")->Info().key, "StrechedSmoothing");
    EXPECT_EQ(text.Find("LocatoinX"), nullptr);
    EXPECT_EQ(CanvasProperties().Find(""), nullptr);
}

} // namespace
} // namespace tess
