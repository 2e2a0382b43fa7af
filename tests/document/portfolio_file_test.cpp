#include "base/error.h"
#include "document/key_comparison.h"
#include "document/portfolio.h"
#include "support/fixed_sun.h"
#include "support/golden.h"
#include "support/temp_dir.h"

#include <filesystem>

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace tess {
namespace {

using test::ExpectEveryKeyChanged;
using test::Golden;
using test::ReadFileBytes;
using test::WriteFileBytes;

void ChangeFeed(VideoFeed& feed, int i) {
    feed.SetFeedName(fmt::format("USB Camera {}", i));
    feed.SetEnabled(true);
    feed.SetRate(2.5);
    feed.SetShowPreview(true);
    MotionDetect& m = feed.MotionDetect();
    m.SetBrighterMotionLimit(200);
    m.SetCoverageLimit(0.3f);
    m.SetDarkerMotionLimit(50);
    m.SetDiffPreBlurRadius(2);
    m.SetEnabled(true);
    m.SetMotionBeep(true);
    m.SetMotionTriggerRestInterval(-5);
    m.SetSaveDiff(true);
    m.SetSaveFixed(true);
    m.SetSaveFixedFileName("cams\\motion.jpg");
    m.SetSaveSequential(true);
    m.SetSaveSequentialPath("cams\\motion\\");
    m.SetShowDiffImageCoverage(true);
    m.SetMaskFileName("cams\\mask.png");
    m.SetLightChangeGuard(75);
    m.SetTriggerCommand("notify-send 'motion %f' %s");
    m.SetTriggerCommandTimeLimit(5);
}

void ChangePortfolio(Portfolio& p, const test::TempDir& dir) {
    for (int slot = 1; slot <= Portfolio::kCanvasSlots; ++slot) {
        p.Canvas(slot).SetFileName(dir.File(fmt::format("c{}.can", slot)));
        p.Canvas(slot).SetEnabled(true);
    }
    for (int i = 0; i < Portfolio::kVideoFeeds; ++i)
        ChangeFeed(p.VideoFeed(i), i);
    Karvell& k = p.Karvell();
    k.SetCSVDelay(20);
    k.SetCSVEnabled(true);
    k.SetCSVBaseTime(3600);
    k.SetCSVFile("C:\\Weather\\data.csv");
    k.SetCSVWindStatisticsInterval(30);
    k.SetCSVTemperatureTrendThreshold(0.5);
    k.SetCSVBarometricTrendThreshold(0.03);
    k.SetCSVBarometerOffset(1.25);
    k.SetCSVAltitude(250.5);
    k.SetCSVAltitudeUnits(1);
    k.SetCSVTemperatureUnits(1);
    p.WebServer().SetEnabled(true);
    p.WebServer().SetAllowNonCanvasServes(true);
    p.WebServer().SetPort(8081);
    p.WebServer().SetWebPath("www\\site");
    ScriptSettings& s = p.Script();
    s.SetFileName("scripts\\main.vbs");
    s.SetAllowInterval(true);
    s.SetAllowTextUpdate(true);
    s.SetAllowGraphicUpdate(true);
    s.SetAllowStartup(true);
    s.SetAllowShutdown(true);
    s.SetAllowMotionDetected(true);
    s.SetAllowNewCSVData(true);
    s.SetAllowWebRequest(true);
    s.SetRate(2.5);
    s.SetBaseTime(90);
    s.SetEnabled(true);
}

class PortfolioFileTest : public ::testing::Test {
protected:
    test::TempDir dir_;
    test::FixedSun sun_;
};

TEST_F(PortfolioFileTest, ANewPortfolioFileHoldsEveryObjectsSettings) {
    Portfolio portfolio(sun_);
    EXPECT_FALSE(portfolio.NeedSaving());
    portfolio.SetFileName(dir_.File("new.por"));
    ASSERT_TRUE(portfolio.SaveFile());
    EXPECT_EQ(ReadFileBytes(dir_.File("new.por")), Golden("document", "new_portfolio.por"));
}

TEST_F(PortfolioFileTest, EveryKeyChangedFromItsDefaultSurvivesARoundTrip) {
    Portfolio changed(sun_);
    ChangePortfolio(changed, dir_);
    EXPECT_TRUE(changed.NeedSaving());
    changed.SetFileName(dir_.File("changed.por"));
    ASSERT_TRUE(changed.SaveFile());
    const std::string saved = ReadFileBytes(dir_.File("changed.por"));

    auto keys = ExpectEveryKeyChanged(saved, Golden("document", "new_portfolio.por"));
    EXPECT_EQ(keys.compared, 20 + 210 + 11 + 4 + 12);
    EXPECT_EQ(keys.only_changed, 0);

    Portfolio loaded(sun_);
    loaded.SetFileName(dir_.File("changed.por"));
    loaded.LoadFile();
    EXPECT_FALSE(loaded.NeedSaving());
    EXPECT_EQ(ReadFileBytes(dir_.File("changed.por")), saved);
    EXPECT_TRUE(loaded.Canvas(20).Enabled());
    // A missing canvas file is reported, not made: only a save writes it.
    EXPECT_FALSE(std::filesystem::exists(dir_.File("c20.can")));
    EXPECT_TRUE(loaded.Karvell().CSVEnableDatabase());
    loaded.SetFileName(dir_.File("again.por"));
    ASSERT_TRUE(loaded.SaveFile());
    EXPECT_EQ(ReadFileBytes(dir_.File("again.por")), saved);
}

TEST_F(PortfolioFileTest, OnlyOpenCanvasesAndNamedFeedsAreRestored) {
    const std::string path = dir_.File("p.por");
    WriteFileBytes(path, "[Canvas01]\r\nFileName=" + dir_.File("one.can") +
                             "\r\n[Canvas02]\r\nFileName=" + dir_.File("two.can") +
                             "\r\n[Canvas03]\r\nFileName=\r\n"
                             "[VideoFeeds]\r\nFeed4Enabled=True\r\nFeed4FrameRate=5\r\n"
                             "Feed5Name=Garden\r\nFeed5FrameRate=0.001\r\n"
                             "Feed5MotionBrighterMotionLimit=100\r\nFeed5MotionCoverageLimit=7\r\n"
                             "[WebServer]\r\nPort=99999\r\n");
    Portfolio portfolio(sun_);
    portfolio.SetFileName(path);
    portfolio.LoadFile();
    EXPECT_EQ(portfolio.FreeSlot(20), 3);
    EXPECT_EQ(portfolio.FreeSlot(2), 0);
    EXPECT_EQ(portfolio.Canvas(2).Name(), "New Canvas");
    EXPECT_FALSE(portfolio.VideoFeed(4).Enabled());
    EXPECT_EQ(portfolio.VideoFeed(4).Rate(), 30);
    EXPECT_EQ(portfolio.VideoFeed(4).VfWInput(), 4);
    EXPECT_EQ(portfolio.VideoFeed(5).Rate(), VideoFeed::kMinRate);
    EXPECT_EQ(portfolio.VideoFeed(5).MotionDetect().BrighterMotionLimit(), 128);
    EXPECT_EQ(portfolio.VideoFeed(5).MotionDetect().CoverageLimit(), 1.0f);
    EXPECT_EQ(portfolio.WebServer().Port(), 65535);
    const std::string text = ReadFileBytes(path);
    EXPECT_NE(text.find("Feed4Name=\r\n"), std::string::npos);
    EXPECT_EQ(text.find("Feed4ShowPreview"), std::string::npos); // not read, so not written
    EXPECT_NE(text.find("Feed5MotionSaveSequentialPath=motion\\\r\n"), std::string::npos);

    // A canvas that is no longer enabled is listed without a file, so it stays closed.
    portfolio.Canvas(2).SetEnabled(false);
    ASSERT_TRUE(portfolio.SaveFile());
    EXPECT_NE(ReadFileBytes(path).find("[Canvas02]\r\nFileName=\r\n"), std::string::npos);
    EXPECT_NE(ReadFileBytes(path).find("[Canvas01]\r\nFileName=" + dir_.File("one.can")),
              std::string::npos);
}

TEST_F(PortfolioFileTest, ChangesAnywhereMakeItNeedSavingAndSavingCanvasesClearsThem) {
    Portfolio portfolio(sun_);
    portfolio.SetFileName(dir_.File("p.por"));
    Canvas& canvas = portfolio.Canvas(1);
    canvas.SetFileName(dir_.File("c.can"));
    canvas.LoadFile();
    canvas.SetEnabled(true);
    EXPECT_FALSE(portfolio.NeedSaving());

    canvas.AddText(1);
    canvas.SetNeedSaving(false);
    canvas.Text(1)->Schedule().SetStartMode(1);
    EXPECT_TRUE(portfolio.NeedSaving()); // a change deep inside a canvas counts
    EXPECT_TRUE(portfolio.SaveCanvases());
    EXPECT_FALSE(portfolio.NeedSaving());

    portfolio.VideoFeed(3).MotionDetect().SetSaveDiff(true);
    EXPECT_TRUE(portfolio.NeedSaving());
    EXPECT_TRUE(portfolio.SaveFile());
    EXPECT_FALSE(portfolio.NeedSaving());

    // A canvas that is closed neither counts nor gets saved.
    canvas.SetEnabled(false);
    canvas.SetName("closed");
    EXPECT_FALSE(portfolio.NeedSaving());
    EXPECT_TRUE(portfolio.SaveCanvases());
    EXPECT_TRUE(canvas.NeedSaving());
    EXPECT_THROW(portfolio.Canvas(21), TessError);
    EXPECT_THROW(portfolio.VideoFeed(10), TessError);
}

TEST(PortfolioFile, AMisspeltKeyIsWarnedAndFeedKeysAreKnownUnderEveryNumber) {
    test::TempDir dir;
    test::FixedSun sun;
    const std::string path = dir.File("typo.por");
    WriteFileBytes(path, "[VideoFeeds]\r\nFeed7Name=Cam\r\nFeed7MotionSaveFixed=True\r\n"
                         "Feed7MotionSaveFixd=True\r\nFeedXName=Cam\r\n"
                         "[Scripting]\r\nAllowIntervall=True\r\n[Canvas05]\r\nFile=x.can\r\n");
    testing::internal::CaptureStderr();
    Portfolio portfolio(sun);
    portfolio.SetFileName(path);
    portfolio.LoadFile();
    const std::string warnings = testing::internal::GetCapturedStderr();
    for (const char* where : {"[VideoFeeds] Feed7MotionSaveFixd:", "[VideoFeeds] FeedXName:",
                              "[Scripting] AllowIntervall:", "[Canvas05] File:"}) {
        EXPECT_NE(warnings.find("'" + path + "' " + std::string(where)), std::string::npos)
            << where << "\n"
            << warnings;
    }
    EXPECT_EQ(warnings.find("Feed7MotionSaveFixed:"), std::string::npos);
    EXPECT_EQ(warnings.find("Feed7Name:"), std::string::npos);
    EXPECT_TRUE(portfolio.VideoFeed(7).MotionDetect().SaveFixed());
}

} // namespace
} // namespace tess
