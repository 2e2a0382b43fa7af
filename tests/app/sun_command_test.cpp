#include "settings/numbers.h"
#include "settings/vb_date.h"
#include "support/run_process.h"
#include "support/scoped_time_zone.h"
#include "support/temp_dir.h"
#include "time/sun_event.h"

#include <filesystem>

#include <gtest/gtest.h>

namespace tess {
namespace {

using test::RunProcess;

std::string EventLine(const char* name, double time) {
    std::string padded = std::string(name) + std::string(9 - std::string(name).size(), ' ');
    return padded + FormatNI(time, "HH:MM") + "  " + FormatNI(time, "H:MM AM/PM") + "\n";
}

TEST(SunCommand, UsesTheStationOfTheSettingsFileWithoutChangingIt) {
    test::ScopedTimeZone tz(test::kCentralEurope); // the child inherits it
    test::TempDir dir;
    const std::string ini = "[General]\r\nStationLatitude=52.52\r\nStationLongitude=13.405\r\n";
    test::WriteFileBytes(dir.File("Tessarolle.INI"), ini);

    auto result = RunProcess({TESS_BINARY, "sun", "--date", "2024-06-21"}, dir.Path());
    ASSERT_EQ(result.exit_code, 0) << result.err;
    const double day = DateSerial(2024, 6, 21);
    EXPECT_EQ(result.out, "52.52 N, 13.405 E on 2024-06-21 (CEST, UTC+2)\n" +
                              EventLine("Sunrise", SunEventTime(52.52, 13.405, -2, "R", day)) +
                              EventLine("Sunset", SunEventTime(52.52, 13.405, -2, "S", day)));
    // Berlin's almanac times that day are 04:43 and 21:33.
    EXPECT_NE(result.out.find("Sunrise  04:43  4:43 AM\n"), std::string::npos);
    EXPECT_NE(result.out.find("Sunset   21:33  9:33 PM\n"), std::string::npos);
    EXPECT_EQ(test::ReadFileBytes(dir.File("Tessarolle.INI")), ini);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.Path()), {}), 1);

    // Options win over the file; winter time applies in December.
    result = RunProcess({TESS_BINARY, "sun", "--lat", "-45", "--date", "2024-12-21"}, dir.Path());
    ASSERT_EQ(result.exit_code, 0) << result.err;
    const double december = DateSerial(2024, 12, 21);
    EXPECT_EQ(result.out, "45 S, 13.405 E on 2024-12-21 (CET, UTC+1)\n" +
                              EventLine("Sunrise", SunEventTime(-45, 13.405, -1, "R", december)) +
                              EventLine("Sunset", SunEventTime(-45, 13.405, -1, "S", december)));
}

TEST(SunCommand, CreatesNoFilesAndSaysWhenThereAreNoSunTimes) {
    test::ScopedTimeZone tz("UTC0");
    test::TempDir dir;
    auto result = RunProcess({TESS_BINARY, "sun", "--lat", "70", "--lon", "-20"}, dir.Path());
    ASSERT_EQ(result.exit_code, 0) << result.err;
    EXPECT_NE(result.out.find("70 N, 20 W on "), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("Sunrise  none\nSunset   none\n"), std::string::npos);
    EXPECT_NE(result.out.find("only up to 63 degrees"), std::string::npos);
    EXPECT_TRUE(std::filesystem::is_empty(dir.Path()));

    // Today at the equator by default.
    result = RunProcess({TESS_BINARY, "sun"}, dir.Path());
    ASSERT_EQ(result.exit_code, 0) << result.err;
    EXPECT_EQ(result.out.rfind("0 N, 0 E on ", 0), 0u) << result.out;
    EXPECT_NE(result.out.find(" AM\nSunset   "), std::string::npos) << result.out;
    EXPECT_TRUE(std::filesystem::is_empty(dir.Path()));
}

TEST(SunCommand, RefusesImpossibleInput) {
    test::TempDir dir;
    auto result = RunProcess({TESS_BINARY, "sun", "--date", "2024-02-30"}, dir.Path());
    EXPECT_EQ(result.exit_code, 2);
    EXPECT_NE(result.err.find("'2024-02-30' is not a date"), std::string::npos) << result.err;
    result = RunProcess({TESS_BINARY, "sun", "--lat", "95"}, dir.Path());
    EXPECT_NE(result.exit_code, 0);
    EXPECT_NE(result.err.find("--lat"), std::string::npos) << result.err;
    EXPECT_TRUE(result.out.empty());
}

} // namespace
} // namespace tess
