#include "app/app_settings_properties.h"
#include "app/app_setup.h"
#include "app/application.h"
#include "app/main_procedure.h"
#include "app/quit.h"
#include "app/scripted_ui.h"
#include "settings/ini.h"
#include "support/property_checks.h"
#include "support/scoped_time_zone.h"
#include "support/temp_dir.h"

#include <gtest/gtest.h>

namespace tess {
namespace {

using test::ReadFileBytes;

const char* const kFreshIni = "[General]\r\n"
                              "AutoLoad=True\r\n"
                              "LastPortfolio=\r\n"
                              "StartupMode=2\r\n"
                              "StartupWidth=12000\r\n"
                              "StartupHeight=9000\r\n"
                              "StartupTop=0\r\n"
                              "StartupLeft=0\r\n"
                              "StartupState=2\r\n"
                              "StartupLastNonMinimizedState=2\r\n"
                              "StationLongitude=0\r\n"
                              "StationLatitude=0\r\n";

TEST(AppSetup, MissingFileBecomesTheDefaultsInOrder) {
    test::TempDir dir;
    INI ini(dir.File("Tessarolle.INI"));
    AppSettings s;
    s.AutoLoad = false;
    LoadSetup(ini, s);
    EXPECT_EQ(ReadFileBytes(dir.File("Tessarolle.INI")), kFreshIni);
    EXPECT_TRUE(s.AutoLoad);
    EXPECT_EQ(s.StartupWidth, 12000);
    EXPECT_EQ(s.StartupHeight, 9000);
    // Saving unchanged values leaves the file as it was.
    SaveSetup(ini, s);
    EXPECT_EQ(ReadFileBytes(dir.File("Tessarolle.INI")), kFreshIni);
}

TEST(AppSetup, ValuesRoundTripInvariantly) {
    test::TempDir dir;
    INI ini(dir.File("Tessarolle.INI"));
    AppSettings s;
    s.AutoLoad = false;
    s.LastPortfolio = "C:\\Webcam\\site \"main\".por";
    s.StartupMode = 1;
    s.StartupState = 0;
    s.StationLatitude = 52.5;
    s.StationLongitude = -13.25;
    SaveSetup(ini, s);
    std::string text = ReadFileBytes(dir.File("Tessarolle.INI"));
    EXPECT_NE(text.find("LastPortfolio=C:\\Webcam\\site &34main&34.por\r\n"), std::string::npos);
    EXPECT_NE(text.find("StationLongitude=-13.25\r\nStationLatitude=52.5\r\n"), std::string::npos);
    AppSettings back;
    LoadSetup(ini, back);
    EXPECT_FALSE(back.AutoLoad);
    EXPECT_EQ(back.LastPortfolio, s.LastPortfolio);
    EXPECT_EQ(back.StartupMode, 1);
    EXPECT_DOUBLE_EQ(back.StationLatitude, 52.5);
    EXPECT_DOUBLE_EQ(back.StationLongitude, -13.25);
}

TEST(AppSetup, EveryKeySetByNameIsSavedAndReadBackByName) {
    test::TempDir dir;
    INI ini(dir.File("Tessarolle.INI"));
    AppSettings s;
    int k = 0;
    auto values = test::SetDistinctValues(AppSettingsProperties(), s, k);
    SaveSetup(ini, s);
    AppSettings back;
    LoadSetup(ini, back);
    test::ExpectReadBack(AppSettingsProperties(), back, values, "Tessarolle.INI");
}

TEST(AppSetup, ValuesThatAreNotNumbersAreWarnedAndTakeTheirDefaults) {
    test::TempDir dir;
    const std::string path = dir.File("Tessarolle.INI");
    test::WriteFileBytes(path, "[General]\r\nStationLatitude=52,52\r\nStartupWidth=wide\r\n"
                               "StationLongitude=13.4\r\n[Wallpaper]\r\nFolder=/srv/bg\r\n");
    INI ini(path);
    AppSettings s;
    testing::internal::CaptureStderr();
    LoadSetup(ini, s);
    const std::string warnings = testing::internal::GetCapturedStderr();
    EXPECT_EQ(s.StationLatitude, 0);
    EXPECT_EQ(s.StationLongitude, 13.4);
    EXPECT_EQ(s.StartupWidth, 12000);
    EXPECT_EQ(s.WallpaperFolder, "/srv/bg");
    EXPECT_NE(warnings.find("'" + path + "' [General] StationLatitude: '52,52'"), std::string::npos)
        << warnings;
    EXPECT_NE(warnings.find("[General] StartupWidth: 'wide'"), std::string::npos) << warnings;
    // The user's text stays for them to mend; the optional section gains nothing.
    const std::string text = ReadFileBytes(path);
    EXPECT_NE(text.find("StationLatitude=52,52\r\n"), std::string::npos);
    EXPECT_EQ(text.find("ApplyCommand"), std::string::npos);
}

// The picture limit: never written; nonsense is warned, and 0 or less means the default
// rather than refusing every picture.
TEST(AppSetup, ThePicturePixelLimitIsReadOnlyWhenPresent) {
    test::TempDir dir;
    const std::string path = dir.File("Tessarolle.INI");
    const std::pair<const char*, std::int64_t> cases[] = {
        {"[Limits]\r\nMaxPicturePixels=1000\r\n", 1000},
        {"[Limits]\r\nMaxPicturePixels=0\r\n", kDefaultMaxPicturePixels},
        {"[Limits]\r\nMaxPicturePixels=many\r\n", kDefaultMaxPicturePixels},
        {"[Limits]\r\nMaxPicturePixels=1e30\r\n", AppSettings::kMostPicturePixels},
        {"[General]\r\nAutoLoad=True\r\n", kDefaultMaxPicturePixels},
    };
    for (const auto& [text, expected] : cases) {
        test::WriteFileBytes(path, text);
        INI ini(path);
        AppSettings s;
        s.MaxPicturePixels = 5;
        testing::internal::CaptureStderr();
        LoadSetup(ini, s);
        const std::string warnings = testing::internal::GetCapturedStderr();
        EXPECT_EQ(s.MaxPicturePixels, expected) << text;
        EXPECT_EQ(warnings.find("MaxPicturePixels") != std::string::npos,
                  std::string_view(text).find("many") != std::string_view::npos)
            << warnings;
        SaveSetup(ini, s);
        EXPECT_EQ(ReadFileBytes(path).find("MaxPicturePixels") != std::string::npos,
                  std::string_view(text).find("[Limits]") != std::string_view::npos);
    }
    SetMaxPicturePixels(kDefaultMaxPicturePixels);
}

TEST(AppSetup, MainWindowPlanFollowsTheStartupMode) {
    AppSettings s;
    MainWindowPlan plan = PlanMainWindow(s); // defaults: maximized
    EXPECT_EQ(plan.state, WindowState::Maximized);
    EXPECT_FALSE(plan.apply_rectangle);

    s.StartupMode = 0;
    s.StartupLastNonMinimizedState = 0;
    plan = PlanMainWindow(s);
    EXPECT_EQ(plan.state, WindowState::Minimized);
    EXPECT_EQ(plan.last_non_minimized_state, 2);

    s.StartupMode = 1;
    s.StartupState = 0;
    s.StartupLeft = 150;
    s.StartupWidth = 9000;
    plan = PlanMainWindow(s);
    EXPECT_EQ(plan.state, WindowState::Normal);
    EXPECT_TRUE(plan.apply_rectangle);
    EXPECT_EQ(plan.left, 150);
    EXPECT_EQ(plan.width, 9000);
    EXPECT_EQ(plan.last_non_minimized_state, 0);

    s.StartupState = 2;
    EXPECT_FALSE(PlanMainWindow(s).apply_rectangle);

    s.StartupMode = 7;
    EXPECT_TRUE(PlanMainWindow(s).shown_as_loaded);
}

// Maximized and minimized start-ups are written back at quit as the next start expects:
// maximized is the state and the state to restore to; minimized keeps the last state.
TEST(AppSetup, TheStartUpStateIsWrittenBackAtQuit) {
    for (int mode : {2, 0}) {
        test::TempDir dir;
        const std::string path = dir.File("Tessarolle.INI");
        test::WriteFileBytes(path, "[General]\r\nStartupMode=" + std::to_string(mode) +
                                       "\r\nStartupState=0\r\nStartupLastNonMinimizedState=0\r\n");
        ScriptedUI ui;
        Application app(ui, dir.Path());
        ASSERT_EQ(Main(app), 0);
        ASSERT_TRUE(RequestQuit(app));
        const std::string text = ReadFileBytes(path);
        EXPECT_NE(text.find(mode == 2 ? "StartupState=2\r\n" : "StartupState=0\r\n"),
                  std::string::npos)
            << text;
        EXPECT_NE(text.find("StartupLastNonMinimizedState=2\r\n"), std::string::npos) << text;
    }
}

TEST(AppSetup, StartUpHandsTheStationAndTheZoneNamesToTheTimeServices) {
    test::ScopedTimeZone tz("UTC0");
    test::TempDir dir;
    test::WriteFileBytes(dir.File("Tessarolle.INI"),
                         "[General]\r\nStationLatitude=-33.9\r\nStationLongitude=18.4\r\n");
    test::WriteFileBytes(dir.File("timezone.txt"), "UTC,Universal Time\r\n");
    ScriptedUI ui;
    Application app(ui, dir.Path());
    ASSERT_EQ(Main(app), 0);
    EXPECT_EQ(app.StationSun().StationLatitude(), -33.9);
    EXPECT_EQ(app.StationSun().StationLongitude(), 18.4);
    EXPECT_EQ(app.Zone().ConvertedTimeZone(), "Universal Time");
    app.Stop();
}

} // namespace
} // namespace tess
