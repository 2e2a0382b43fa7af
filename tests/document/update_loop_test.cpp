// The update tick's outputs with a clock the test sets: fixed files with their cascade,
// sequential files, the desktop background, and what goes wrong on the way.

#include "base/error.h"
#include "document/canvas_fixture.h"
#include "document/output_files.h"
#include "document/wallpaper.h"
#include "imaging/jpeg.h"
#include "imaging/picture.h"
#include "settings/ini.h"
#include "support/recording_script.h"
#include "support/scoped_time_zone.h"
#include "support/station_line.h"
#include "time/clock.h"
#include "time/local_time.h"
#include "time/time_zone.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <thread>

namespace tess {
namespace {

namespace fs = std::filesystem;
using test::At;
using test::Color;
using test::Near;

std::vector<std::string> FilesIn(const std::string& folder) {
    std::vector<std::string> names;
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(folder, ec))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

test::Bgr CentreOf(const std::string& jpeg_file) {
    DIB picture;
    EXPECT_EQ(LoadJpegIntoDIB(jpeg_file, picture), JpegResult::Loaded) << jpeg_file;
    if (!picture.HasBitmap()) return {};
    return test::PixelAt(picture, picture.Width() / 2, picture.Height() / 2);
}

class UpdateLoop : public test::CanvasFixture {
protected:
    // Ticks every `step` seconds from `from` up to and including `to`.
    void RunTicks(double from, double to, double step) {
        for (double t = from; t <= to + 1e-9; t += step)
            ASSERT_TRUE(portfolio.Tick(At(0, 0, t)));
    }
};

TEST(OutputFiles, NamesOfCascadeAndSequentialFiles) {
    EXPECT_EQ(CascadeFileName("images/fixed.jpg", 7), "images/fixed0007.jpg");
    EXPECT_EQ(CascadeFileName("images.d/fixed", 12), "images.d/fixed0012");
    EXPECT_EQ(CascadeFileName("fixed.jpeg", 1), "fixed0001.jpeg");
    // The moment that has begun, never rounded up: 23:59:59.999 is still the old day.
    EXPECT_EQ(SequentialFileName("seq\\", kSequentialTimeStamped, At(23, 59, 59.999), 0),
              "seq/24062123595999.jpg");
    EXPECT_EQ(SequentialFileName("seq", kSequentialTimeStamped, At(9, 5, 7.25), 0),
              "seq/24062109050725.jpg");
    EXPECT_EQ(SequentialFileName("", kSequentialNumbered, 0, 42), "00000042.jpg");
}

TEST_F(UpdateLoop, AFixedFileKeepsToItsGridAndItsCascadeKeepsTheOlderPictures) {
    Canvas& canvas = UseCanvas(1, 16, 16, 0x0000FF);
    canvas.SetFixedEnabled(true);
    canvas.SetFixedRate(2);
    canvas.SetFixedFileName("out\\fixed.jpg");
    canvas.SetCascadeEnabled(true);
    canvas.SetCascadeCount(3);
    canvas.SetCascadeMode(kCascadeWithCurrent);
    canvas.SetSequentialEnabled(true);
    canvas.SetSequentialRate(2);
    canvas.SetSequentialDirectory("seq\\");
    canvas.SetSequentialType(kSequentialTimeStamped);

    RunTicks(12 * 3600 + 0.01, 12 * 3600 + 10.01, 0.25);
    // The first tick only joins the grid; then one picture every 2 s, at the first tick
    // on or after each grid point, named after that tick's time.
    EXPECT_EQ(
        FilesIn(dir.File("seq")),
        (std::vector<std::string>{"24062112000201.jpg", "24062112000401.jpg", "24062112000601.jpg",
                                  "24062112000801.jpg", "24062112001001.jpg"}));
    EXPECT_EQ(
        FilesIn(dir.File("out")),
        (std::vector<std::string>{"fixed.jpg", "fixed0001.jpg", "fixed0002.jpg", "fixed0003.jpg"}));
    EXPECT_TRUE(Near(CentreOf(dir.File("out/fixed.jpg")), Color(0x0000FF), 6));
}

TEST_F(UpdateLoop, CascadeModesDifferInWhetherTheNewestCopyIsTheCurrentPicture) {
    for (std::int32_t mode : {kCascadeOlderCopies, kCascadeWithCurrent}) {
        const std::string name = "mode" + std::to_string(mode) + ".jpg";
        Canvas& canvas = UseCanvas(mode + 1, 16, 16, 0x000000);
        canvas.SetFixedEnabled(true);
        canvas.SetFixedRate(1);
        canvas.SetFixedFileName(name);
        canvas.SetCascadeEnabled(true);
        canvas.SetCascadeCount(2);
        canvas.SetCascadeMode(mode);
        GraphicItem& fill = AddRectangle(canvas, 1, 0, 0, 0, 16, 16, 0x0000FF);
        fill.SetInterval(0);
        const double base = 13 * 3600 + 0.01;
        RunTicks(base, base + 1, 1); // joins the grid, then red
        fill.SetBackgroundColor(0x00FF00);
        RunTicks(base + 2, base + 2, 1); // green
        fill.SetBackgroundColor(0xFF0000);
        RunTicks(base + 3, base + 3, 1); // blue
        canvas.SetEnabled(false);

        EXPECT_TRUE(Near(CentreOf(dir.File(name)), Color(0xFF0000), 8));
        const std::string first = dir.File(CascadeFileName(name, 1));
        const std::string second = dir.File(CascadeFileName(name, 2));
        if (mode == kCascadeOlderCopies) {
            EXPECT_TRUE(Near(CentreOf(first), Color(0x00FF00), 8));
            EXPECT_TRUE(Near(CentreOf(second), Color(0x0000FF), 8));
        } else {
            EXPECT_TRUE(Near(CentreOf(first), Color(0xFF0000), 8));
            EXPECT_TRUE(Near(CentreOf(second), Color(0x00FF00), 8));
        }
        EXPECT_FALSE(fs::exists(dir.File(CascadeFileName(name, 3))));
    }
}

TEST_F(UpdateLoop, AnOutputOffByItsScheduleMovesOnAndDoesNotBurstWhenItOpens) {
    Canvas& canvas = UseCanvas(1, 16, 16, 0);
    canvas.SetSequentialEnabled(true);
    canvas.SetSequentialRate(60);
    canvas.SetSequentialDirectory("seq");
    Schedule& window = canvas.SequentialSchedule();
    window.SetScheduleMode(1);
    window.SetStartAbsoluteTime((12 * 3600 + 150) / 86400.0); // 12:02:30
    window.SetStopAbsoluteTime(0.9);

    RunTicks(12 * 3600 + 0.01, 12 * 3600 + 300.01, 1);
    EXPECT_EQ(FilesIn(dir.File("seq")),
              (std::vector<std::string>{"24062112030001.jpg", "24062112040001.jpg",
                                        "24062112050001.jpg"}));
}

TEST_F(UpdateLoop, NumberedFilesWrapAfter99999999AndTheNumberIsKeptInTheCanvasFile) {
    Canvas& canvas = UseCanvas(1, 16, 16, 0);
    canvas.SaveFile();
    canvas.SetSequentialEnabled(true);
    canvas.SetSequentialRate(1);
    canvas.SetSequentialDirectory("numbered\\");
    canvas.SetSequentialType(kSequentialNumbered);
    canvas.SetSequentialNumber(99999998);

    RunTicks(12 * 3600 + 0.01, 12 * 3600 + 3.01, 1);
    EXPECT_EQ(FilesIn(dir.File("numbered")),
              (std::vector<std::string>{"00000000.jpg", "99999998.jpg", "99999999.jpg"}));
    EXPECT_EQ(canvas.SequentialNumber(), 1);
    INI file(canvas.FileName());
    EXPECT_EQ(file.GetKey("Capture", "SequentialNumber", WriteDefault::No, ""), "1");
}

TEST_F(UpdateLoop, TwoCanvasesWithOneFixedFileWriteItInSlotOrder) {
    for (int slot : {1, 2}) {
        Canvas& canvas = UseCanvas(slot, 16, 16, slot == 1 ? 0x0000FF : 0xFF0000);
        canvas.SetFixedEnabled(true);
        canvas.SetFixedRate(5);
        canvas.SetFixedFileName("shared.jpg");
    }
    RunTicks(12 * 3600 + 1.01, 12 * 3600 + 5.01, 4);
    EXPECT_TRUE(Near(CentreOf(dir.File("shared.jpg")), Color(0xFF0000), 6));
}

TEST_F(UpdateLoop, AFileThatCannotBeWrittenRaisesAnErrorNamingIt) {
    test::WriteFileBytes(dir.File("blocker"), "a file where a folder should be");
    Canvas& canvas = UseCanvas(1, 16, 16, 0);
    canvas.SetFixedEnabled(true);
    canvas.SetFixedRate(1);
    canvas.SetFixedFileName("blocker/fixed.jpg");
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 0.01)));
    try {
        portfolio.Tick(At(12, 0, 1.01));
        FAIL() << "no error raised";
    } catch (const TessError& e) {
        EXPECT_NE(e.Description().find("blocker"), std::string::npos) << e.Description();
    }
    EXPECT_EQ(FilesIn(dir.Path()), (std::vector<std::string>{"blocker"})); // nothing left over
}

TEST_F(UpdateLoop, TheDesktopBackgroundIsWrittenAndHandedToTheConfiguredCommand) {
    Wallpaper wallpaper(dir.File("data"), "cp %f " + dir.File("shown.jpg"));
    portfolio.Outputs().wallpaper = &wallpaper;
    Canvas& canvas = UseCanvas(1, 24, 12, 0x00FF00);
    canvas.SetBackgroundEnabled(true);
    canvas.SetBackgroundRate(10);
    RunTicks(12 * 3600 + 5.01, 12 * 3600 + 10.01, 5);
    EXPECT_EQ(wallpaper.Applied(), 1);
    tess::Picture bitmap;
    ASSERT_EQ(bitmap.LoadFile(dir.File("data/TessarolleWallPaper.bmp")), PictureStatus::Ok);
    EXPECT_EQ(test::PixelAt(bitmap.Pixels(), 3, 3), Color(0x00FF00));
    EXPECT_TRUE(Near(CentreOf(dir.File("data/TessarolleWallPaper.jpg")), Color(0x00FF00), 6));
    for (int i = 0; i < 200 && !fs::exists(dir.File("shown.jpg")); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_TRUE(fs::exists(dir.File("shown.jpg")));

    // "none" writes the files and shows nothing.
    Wallpaper quiet(dir.File("quiet"), std::string(Wallpaper::kNoCommand));
    portfolio.Outputs().wallpaper = &quiet;
    RunTicks(12 * 3600 + 20.01, 12 * 3600 + 20.01, 1);
    EXPECT_EQ(quiet.Applied(), 0);
    EXPECT_TRUE(fs::exists(dir.File("quiet/TessarolleWallPaper.bmp")));
}

TEST_F(UpdateLoop, TheWeatherRecordOfTheLastRunComesBackAndAnOlderLineIsNotTakenAgain) {
    auto station = [&](int hour, const char* temperature) {
        test::WriteFileBytes(
            dir.File("wx.csv"),
            test::StationLine(2024, 6, 21, hour, 0, 0).Set(14, temperature).Text() + "\n");
    };
    test::WriteFileBytes(dir.File("wx.por"),
                         "[Karvell]\r\nCSVEnabled=True\r\nCSVFile=wx.csv\r\nCSVDelay=15\r\n");
    station(12, "20.0");
    {
        Portfolio first(sun);
        first.SetFileName("wx.por");
        first.LoadFile();
        ASSERT_TRUE(first.Tick(At(12, 0, 30)));
        ASSERT_EQ(first.Karvell().CSVData(100), 20.0); // today's highest
    }
    station(11, "5.0"); // the station's program was set back
    Portfolio second(sun);
    second.SetFileName("wx.por");
    second.LoadFile();
    EXPECT_EQ(second.Karvell().CSVData(100), 20.0); // back before any line is read
    ASSERT_TRUE(second.Tick(At(12, 1, 0)));
    EXPECT_EQ(second.Karvell().CSVData(14), 20.0);
    EXPECT_EQ(second.Karvell().CSVData(101), 20.0); // today's lowest: the 5 degrees never came
}

} // namespace
} // namespace tess

namespace tess {
namespace {

// The night the clocks go back, driven by the real moments as the system clock gives them:
// 02:00 to 03:00 comes twice, first in summer time, then in winter time.
TEST_F(UpdateLoop, TheRepeatedHourKeepsBothPassesPicturesAndNamesTheZoneInForce) {
    test::ScopedTimeZone central_europe(test::kCentralEurope);
    Clock clock;
    TimeZone zone(clock);
    portfolio.Composition().tags.zone = &zone;
    Canvas& canvas = UseCanvas(1, 16, 16, 0x00FF00);
    canvas.SetSequentialEnabled(true);
    canvas.SetSequentialRate(240);
    canvas.SetSequentialDirectory("seq");
    canvas.SetSequentialType(kSequentialTimeStamped);
    TextItem& text = canvas.AddText(1);
    text.SetEnabled(true);
    text.SetText("<TIMEZONE>");
    text.SetInterval(0);

    const time_t change = 1729990800; // 2024-10-27 01:00 UTC: 03:00 summer time is 02:00 again
    std::vector<std::string> zones;
    for (time_t t = change - 3600; t < change + 3600; t += 60) {
        ASSERT_TRUE(portfolio.Tick(DateFromTimespec({t, 0})));
        if ((t - change) % 1800 == 0) zones.push_back(text.ExpandedText());
    }
    EXPECT_EQ(zones, (std::vector<std::string>{"CEST", "CEST", "CET", "CET"}));
    // Fifteen pictures in each pass (the first tick only joins the grid), none written over.
    EXPECT_EQ(FilesIn(dir.File("seq")).size(), 29u);
}

// The script hears its Interval on its own grid and each refresh of a scripted item, and
// what it does there is drawn at once; a script that ends the program stops the tick.
TEST_F(UpdateLoop, TheScriptHearsItsIntervalAndTheRefreshesOfScriptedItems) {
    Canvas& canvas = UseCanvas(3, 16, 16, 0xFFFFFF);
    TextItem& text = canvas.AddText(1);
    text.SetEnabled(true);
    text.SetText("before");
    text.SetInterval(1);
    text.SetScripted(true);
    GraphicItem& box = AddRectangle(canvas, 1, 1, 0, 0, 4, 4, 0x0000FF);
    box.SetScripted(true);
    box.SetInterval(1);
    AddRectangle(canvas, 2, 1, 8, 8, 4, 4, 0x00FF00).SetInterval(1); // not scripted

    test::RecordingScript script;
    test::AllowEveryScriptEvent(portfolio.Script());
    portfolio.Script().SetRate(2);
    portfolio.Events().SetHandler(&script);
    script.on_event = [&](ScriptEvent event) {
        if (event == ScriptEvent::TextUpdate) canvas.Text(1)->SetText("after");
    };
    RunTicks(12 * 3600 + 0.01, 12 * 3600 + 2.01, 0.5);
    // Interval at 0 s and 2 s; the text and the scripted graphic at 0, 1 and 2 s.
    const auto count = [&](std::string_view line) {
        return std::count(script.heard.begin(), script.heard.end(), line);
    };
    EXPECT_EQ(count("Interval()"), 2);
    EXPECT_EQ(count("TextUpdate(3,1)"), 3);
    EXPECT_EQ(count("GraphicUpdate(3,1)"), 3);
    EXPECT_EQ(count("GraphicUpdate(3,2)"), 0);
    EXPECT_EQ(canvas.Text(1)->ExpandedText(), "after");

    // Not allowed: not heard.
    portfolio.Script().SetAllowTextUpdate(false);
    script.heard.clear();
    RunTicks(12 * 3600 + 3.01, 12 * 3600 + 3.01, 1);
    EXPECT_EQ(script.heard, std::vector<std::string>{"GraphicUpdate(3,1)"});

    // The program told to stop during an event: that tick goes no further.
    bool running = true;
    portfolio.Composition().running = [&] { return running; };
    script.on_event = [&](ScriptEvent) { running = false; };
    script.heard.clear();
    EXPECT_FALSE(portfolio.Tick(At(12, 0, 4.01)));
    EXPECT_EQ(script.heard, std::vector<std::string>{"Interval()"});
}

} // namespace
} // namespace tess
