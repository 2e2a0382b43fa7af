#include "base/error.h"
#include "document/canvas.h"
#include "document/key_comparison.h"
#include "support/fixed_sun.h"
#include "support/golden.h"
#include "support/temp_dir.h"

#include <filesystem>

#include <gtest/gtest.h>

namespace tess {
namespace {

using test::ExpectEveryKeyChanged;
using test::Golden;
using test::ReadFileBytes;
using test::WriteFileBytes;

void ChangeText(TextItem& t) {
    t.SetEnabled(true);
    t.SetText("Temp [CSV14] \"outside\"");
    t.SetLayer(3);
    t.SetAlign(7);
    t.SetColor(0x12AB34);
    t.SetFontBold(true);
    t.SetFontItalic(true);
    t.SetFontName("DejaVu Sans");
    t.SetFontSize(28);
    t.SetOpacity(55);
    t.SetOpacityMode(1);
    t.SetInterval(0.5);
    t.SetRotationAngle(12.5f);
    t.Schedule().SetScheduleMode(1);
    t.Schedule().SetStartMode(1);
    t.Schedule().SetStopMode(2);
    t.Schedule().SetStartAbsoluteTime(0.25);
    t.Schedule().SetStartSunriseOffset(-30);
    t.Schedule().SetStartSunsetOffset(12);
    t.Schedule().SetStopAbsoluteTime(0.75);
    t.Schedule().SetStopSunriseOffset(7.5);
    t.Schedule().SetStopSunsetOffset(45);
    t.SetScripted(true);
    t.SetShadow(true);
    t.SetShadowOffsetX(-3);
    t.SetShadowOffsetY(4);
    t.SetShadowSize(3);
    t.SetUpdateBaseTime(3661);
    t.SetLocationX(15);
    t.SetLocationY(-20);
}

void ChangeGraphic(GraphicItem& g) {
    g.SetEnabled(true);
    g.SetAlign(4);
    g.SetBackgroundColor(0x0000FF);
    g.SetColorProcessing(2);
    g.SetCropBottom(1);
    g.SetCropLeft(2);
    g.SetCropRight(3);
    g.SetCropTop(4);
    g.SetFeatherRadius(5);
    g.SetFeatherWidth(6);
    g.SetLayer(0);
    g.SetOpacity(40);
    g.SetOpacityFileName("masks\\round.png");
    g.SetOpacityMode(3);
    g.SetOpacityUseFile(true);
    g.SetInterval(2);
    g.SetRotationAngle(90);
    g.Schedule().SetScheduleMode(1);
    g.Schedule().SetStartMode(2);
    g.Schedule().SetStopMode(1);
    g.Schedule().SetStartAbsoluteTime(0.5);
    g.Schedule().SetStartSunriseOffset(1);
    g.Schedule().SetStartSunsetOffset(2);
    g.Schedule().SetStopAbsoluteTime(0.6);
    g.Schedule().SetStopSunriseOffset(3);
    g.Schedule().SetStopSunsetOffset(4);
    g.SetScripted(true);
    g.SetShadow(true);
    g.SetShadowSize(4);
    g.SetShadowOffsetX(5);
    g.SetShadowOffsetY(6);
    g.SetSourceFileName("C:\\Webcam\\logo.png");
    g.SetSourceType(0);
    g.SetSourceURL("http://example.com/cam.jpg");
    g.SetSourceVideoFeedName("(2) USB Camera");
    g.SetSourceCanvas(7);
    g.SetStretched(true);
    g.SetStretchedHeight(480);
    g.SetStretchedWidth(640);
    g.SetStretchedSmoothing(true);
    g.SetTransparentColorCount(3);
    g.SetTransparentColorEnabled(true);
    g.SetTransparentColorEntry(1, {0x00FF00, 30});
    g.SetTransparentColorEntry(2, {0xABCDEF, 255});
    g.SetTransparentColorEntry(3, {0x000001, 1});
    g.SetUpdateBaseTime(86399);
    g.SetLocationX(100);
    g.SetLocationY(200);
}

void ChangeCanvas(Canvas& c) {
    c.SetName("Harbour Cam");
    c.SetWidthHeight(1280, 720);
    c.SetSizeLocked(true);
    c.SetWindowState(0);
    c.SetLeft(40);
    c.SetTop(50);
    c.SetShadowIntensity(75);
    c.SetFormType(1);
    c.SetBackgroundColor(0x102030);
    c.SetFixedEnabled(true);
    c.SetFixedRate(1.0 / 30);
    c.SetFixedBaseTime(30);
    c.SetFixedFileName("C:\\Webcam\\out\\cam.jpg");
    c.SetFixedQuality(90);
    c.SetCascadeEnabled(true);
    c.SetCascadeCount(12);
    c.SetCascadeMode(1);
    c.SetSequentialEnabled(true);
    c.SetSequentialRate(300);
    c.SetSequentialBaseTime(120);
    c.SetSequentialDirectory("archive\\");
    c.SetSequentialType(1);
    c.SetSequentialNumber(99999999);
    c.SetSequentialQuality(60);
    c.SetBackgroundEnabled(true);
    c.SetBackgroundRate(600);
    c.SetBackgroundBaseTime(7200);
    for (Schedule* s : {&c.FixedSchedule(), &c.SequentialSchedule(), &c.BackgroundSchedule(),
                        &c.FTPPush().Schedule(), &c.CanvasWebServer().Schedule()}) {
        s->SetScheduleMode(1);
        s->SetStartMode(2);
        s->SetStopMode(1);
        s->SetStartAbsoluteTime(0.25);
        s->SetStartSunriseOffset(-15);
        s->SetStartSunsetOffset(30);
        s->SetStopAbsoluteTime(0.75);
        s->SetStopSunriseOffset(15);
        s->SetStopSunsetOffset(-30);
    }
    FTPPush& p = c.FTPPush();
    p.SetEnabled(true);
    p.SetBaseTime(45);
    p.SetPath("/www/cams/harbour.jpg");
    p.SetFTPMode(2);
    p.SetInterval(30);
    p.SetPassword("p\"w=d");
    p.SetQuality(55);
    p.SetServerName("ftp.harbour.example");
    p.SetUserName("webcam");
    CanvasWebServer& w = c.CanvasWebServer();
    w.SetEnabled(true);
    w.SetFileName("harbour.jpg");
    w.SetInterval(2.5);
    w.SetQuality(65);
    w.SetOffScheduleFile("night.jpg");
    ChangeText(c.AddText(1));
    ChangeText(c.AddText(Canvas::kMaxText));
    ChangeGraphic(c.AddGraphic(1));
    ChangeGraphic(c.AddGraphic(Canvas::kMaxGraphic));
}

class CanvasFileTest : public ::testing::Test {
protected:
    test::TempDir dir_;
    test::FixedSun sun_;
};

TEST_F(CanvasFileTest, ANewCanvasFileHoldsEveryDefaultInReadOrder) {
    Canvas canvas(3, sun_);
    canvas.SetFileName(dir_.File("new.can"));
    ASSERT_TRUE(canvas.LoadFile());
    EXPECT_EQ(canvas.Name(), "New Canvas");
    EXPECT_FALSE(canvas.NeedSaving());
    ASSERT_TRUE(canvas.SaveFile());
    EXPECT_EQ(ReadFileBytes(dir_.File("new.can")), Golden("document", "new_canvas03.can"));

    // Items are written after everything else, each in its own order.
    canvas.AddText(1).SetEnabled(true);
    canvas.AddGraphic(2).SetEnabled(true);
    EXPECT_TRUE(canvas.NeedSaving());
    ASSERT_TRUE(canvas.SaveFile());
    EXPECT_EQ(ReadFileBytes(dir_.File("new.can")),
              Golden("document", "new_canvas03.can") + Golden("document", "default_items.can"));
}

TEST_F(CanvasFileTest, EveryKeyChangedFromItsDefaultSurvivesARoundTrip) {
    Canvas changed(5, sun_);
    ChangeCanvas(changed);
    changed.SetFileName(dir_.File("changed.can"));
    ASSERT_TRUE(changed.SaveFile());
    EXPECT_FALSE(changed.NeedSaving());

    Canvas defaults(5, sun_);
    defaults.SetFileName(dir_.File("defaults-read.can"));
    defaults.LoadFile();
    for (int i : {1, Canvas::kMaxText})
        defaults.AddText(i);
    for (int i : {1, Canvas::kMaxGraphic})
        defaults.AddGraphic(i);
    defaults.SetFileName(dir_.File("defaults.can"));
    defaults.SaveFile();
    auto keys = ExpectEveryKeyChanged(ReadFileBytes(dir_.File("changed.can")),
                                      ReadFileBytes(dir_.File("defaults.can")));
    EXPECT_EQ(keys.only_changed, 2 * 4);            // the table entries beyond the first
    EXPECT_EQ(keys.compared, 87 + 2 * 30 + 2 * 47); // canvas keys, two texts, two graphics

    const std::string saved = ReadFileBytes(dir_.File("changed.can"));
    Canvas loaded(5, sun_);
    loaded.SetFileName(dir_.File("changed.can"));
    loaded.LoadFile();
    EXPECT_FALSE(loaded.NeedSaving());
    EXPECT_EQ(ReadFileBytes(dir_.File("changed.can")), saved); // nothing was missing
    loaded.SetFileName(dir_.File("again.can"));
    loaded.SaveFile();
    EXPECT_EQ(ReadFileBytes(dir_.File("again.can")), ReadFileBytes(dir_.File("changed.can")));
    EXPECT_EQ(loaded.Text(2), nullptr);
    ASSERT_NE(loaded.Graphic(100), nullptr);
    EXPECT_EQ(loaded.Graphic(100)->TransparentColorEntry(2).tolerance, 255);
    EXPECT_EQ(loaded.FTPPush().Password(), "p\"w=d");
    EXPECT_EQ(loaded.FixedFileName(), "C:\\Webcam\\out\\cam.jpg"); // kept as written
}

TEST_F(CanvasFileTest, LoadingFillsInMissingSectionsButCreatesNoItems) {
    const std::string path = dir_.File("old.can");
    WriteFileBytes(path, "[General]\r\nName=Old\r\n"
                         "[Text002]\r\nText=no Enabled key, so no item\r\nLayer=2\r\n"
                         "[Text003]\r\nEnabled=maybe\r\n"
                         "[Graphic001]\r\nEnabled=True\r\nStrechedSmoothing=True\r\n"
                         "StretchedSmoothing=False\r\nTransparentColorCount=1000000\r\n"
                         "[Text102]\r\nEnabled=True\r\n[Graphic101]\r\nEnabled=True\r\n"
                         "[Graphic99999]\r\nEnabled=True\r\n");
    Canvas canvas(1, sun_);
    canvas.SetFileName(path);
    canvas.LoadFile();
    const std::string text = ReadFileBytes(path);

    EXPECT_NE(text.find("[FTPPush]\r\nEnabled=False\r\nBaseTime=00:00:00\r\n"
                        "FilePath=FTPPush01.jpg\r\n"),
              std::string::npos);
    EXPECT_NE(text.find("[Text002]\r\nText=no Enabled key, so no item\r\nLayer=2\r\n[Text003]"),
              std::string::npos);
    EXPECT_EQ(canvas.Text(2), nullptr);
    // Any value makes an item; only "True" and its kind switch it on.
    ASSERT_NE(canvas.Text(3), nullptr);
    EXPECT_FALSE(canvas.Text(3)->Enabled());
    ASSERT_NE(canvas.Graphic(1), nullptr);
    EXPECT_TRUE(canvas.Graphic(1)->StretchedSmoothing());
    EXPECT_EQ(canvas.Graphic(1)->TransparentColorCount(), GraphicItem::kMaxTransparentColors);
    EXPECT_NE(text.find("TransparentColorTable016=&H000000\r\n"
                        "TransparentColorTolerance016=0\r\n"),
              std::string::npos);
    EXPECT_EQ(text.find("TransparentColorTable017"), std::string::npos);
    EXPECT_EQ(canvas.Text(102), nullptr);
    EXPECT_EQ(canvas.Graphic(101), nullptr);
    EXPECT_NE(text.find("[Text102]\r\nEnabled=True\r\n[Graphic101]"), std::string::npos);
}

TEST_F(CanvasFileTest, UnusableNumbersTakeTheirDefaultsAndSayWhere) {
    const std::string path = dir_.File("junk.can");
    WriteFileBytes(path, "garbage before any section\r\n[General]\r\nWidth=wide\r\nHeight=1e9\r\n"
                         "[Capture]\r\nFixedRate=1,5\r\nFixedBaseTime=25:99\r\n"
                         "[Background]\r\nBackgroundColor=&HFFFFFFFFFF\r\n"
                         "[Text001]\r\nEnabled=True\r\nColor=&Hnope\r\nLayer=-7\r\n"
                         "[Unknown]\r\nWhatever=1\r\n");
    testing::internal::CaptureStderr();
    Canvas canvas(1, sun_);
    canvas.SetFileName(path);
    canvas.LoadFile();
    const std::string warnings = testing::internal::GetCapturedStderr();

    EXPECT_EQ(canvas.Width(), 320);
    EXPECT_EQ(canvas.Height(), Canvas::kMaxDimension);
    EXPECT_EQ(canvas.FixedRate(), 60);
    EXPECT_EQ(canvas.FixedBaseTime(), 0);
    EXPECT_EQ(canvas.BackgroundColor(), 0xFFFFFFu);
    EXPECT_EQ(canvas.Text(1)->Color(), 0x808080u);
    EXPECT_EQ(canvas.Text(1)->Layer(), 0);
    for (const char* where : {"[General] Width: 'wide'", "[Capture] FixedRate: '1,5'",
                              "[Capture] FixedBaseTime", "[Text001] Color: '&Hnope'"}) {
        EXPECT_NE(warnings.find("'" + path + "' " + where), std::string::npos) << where;
    }
    // What was written stays; the file keeps the user's text for them to mend.
    EXPECT_NE(ReadFileBytes(path).find("Width=wide\r\n"), std::string::npos);
    EXPECT_NE(ReadFileBytes(path).find("[Unknown]\r\nWhatever=1\r\n"), std::string::npos);
}

// One warning per key no setting reads, in a section the canvas knows; other sections are
// the user's own business, and the file keeps the key for them to mend.
TEST_F(CanvasFileTest, AMisspeltKeyIsWarnedOnceAndLeftInTheFile) {
    const std::string path = dir_.File("typo.can");
    WriteFileBytes(path, "[General]\r\nName=Roof\r\nNmae=Roof\r\n"
                         "[FixedCaptureSchedule]\r\nStartMode=1\r\n"
                         "[Text001]\r\nEnabled=True\r\nLocatoinX=5\r\n"
                         "[Text002]\r\nLocatoinX=5\r\n"
                         "[Graphic003]\r\nEnabled=True\r\nTransparentColorCount=2\r\n"
                         "TransparentColorTable002=&H00FF00\r\nTransparentColorTolerance002=4\r\n"
                         "[Notes]\r\nWhatever=1\r\n");
    testing::internal::CaptureStderr();
    Canvas canvas(1, sun_);
    canvas.SetFileName(path);
    canvas.LoadFile();
    const std::string warnings = testing::internal::GetCapturedStderr();

    const std::string typo = "'" + path + "' [Text001] LocatoinX: no setting has this key";
    ASSERT_NE(warnings.find(typo), std::string::npos) << warnings;
    EXPECT_EQ(warnings.find(typo, warnings.find(typo) + 1), std::string::npos) << warnings;
    EXPECT_NE(warnings.find("[General] Nmae: no setting"), std::string::npos) << warnings;
    for (const char* quiet : {"Text002", "Graphic003", "Notes", "FixedCaptureSchedule"})
        EXPECT_EQ(warnings.find(quiet), std::string::npos) << quiet;
    EXPECT_EQ(canvas.Graphic(3)->TransparentColorEntry(2).tolerance, 4);
    EXPECT_NE(ReadFileBytes(path).find("[Text001]\r\nEnabled=True\r\nLocatoinX=5\r\n"),
              std::string::npos);
}

TEST_F(CanvasFileTest, BackslashPathsAreKeptAndConvertedOnlyToOpenTheFile) {
    std::filesystem::create_directory(dir_.File("cams"));
    Canvas canvas(2, sun_);
    canvas.SetFileName(dir_.Path() + "\\cams\\roof.can");
    ASSERT_TRUE(canvas.LoadFile());
    EXPECT_TRUE(std::filesystem::exists(dir_.File("cams/roof.can")));
    EXPECT_EQ(canvas.FileName(), dir_.Path() + "\\cams\\roof.can");
    EXPECT_EQ(canvas.SequentialDirectory(), "sequential\\");
}

TEST_F(CanvasFileTest, ARemovedItemDoesNotComeBack) {
    const std::string path = dir_.File("items.can");
    Canvas canvas(1, sun_);
    canvas.SetFileName(path);
    canvas.LoadFile();
    canvas.AddText(4).SetText("going");
    canvas.AddText(5).SetText("staying");
    canvas.SaveFile();
    canvas.RemoveText(4);
    EXPECT_TRUE(canvas.NeedSaving());
    canvas.SaveFile();
    EXPECT_EQ(ReadFileBytes(path).find("[Text004]"), std::string::npos);

    Canvas again(1, sun_);
    again.SetFileName(path);
    again.LoadFile();
    EXPECT_EQ(again.Text(4), nullptr);
    ASSERT_NE(again.Text(5), nullptr);
    EXPECT_EQ(again.Text(5)->Text(), "staying");
    EXPECT_THROW(again.AddText(5), TessError);
    EXPECT_THROW(again.AddGraphic(Canvas::kMaxGraphic + 1), TessError);
}

TEST_F(CanvasFileTest, AFileThatCannotBeWrittenIsReported) {
    const std::string path = dir_.File("c.can");
    Canvas canvas(1, sun_);
    canvas.SetFileName(path);
    canvas.LoadFile();
    canvas.SetName("changed");
    // Something else took the file's place; even root cannot write a file over a folder.
    std::filesystem::remove(path);
    std::filesystem::create_directory(path);
    testing::internal::CaptureStderr();
    EXPECT_FALSE(canvas.SaveFile());
    EXPECT_NE(testing::internal::GetCapturedStderr().find(path), std::string::npos);
    EXPECT_TRUE(canvas.NeedSaving());
}

} // namespace
} // namespace tess
