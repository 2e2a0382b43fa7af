#include "support/run_process.h"
#include "support/scoped_time_zone.h"
#include "support/station_line.h"
#include "support/temp_dir.h"
#include "weather/karvell.h"

#include <filesystem>

#include <gtest/gtest.h>

namespace tess {
namespace {

using test::RunProcess;

TEST(TagsCommand, ExpandsAtTheGivenTimeWithTheGivenStation) {
    test::ScopedTimeZone tz(test::kCentralEurope);
    test::TempDir dir;
    const std::string ini = "[General]\r\nStationLatitude=52.52\r\nStationLongitude=13.405\r\n";
    test::WriteFileBytes(dir.File("Tessarolle.INI"), ini);
    test::WriteFileBytes(dir.File("w.csv"),
                         test::StationLine(2024, 6, 21, 9, 30, 0).Set(14, "18.40").Text() + "\r\n");

    auto result = RunProcess(
        {TESS_BINARY, "tags", "<DATE> <TIME12H> <TIMEZONE>", "--at", "2024-06-21 13:05:00"},
        dir.Path());
    ASSERT_EQ(result.exit_code, 0) << result.err;
    EXPECT_EQ(result.out, "06/21/2024 01:05:00 PM CEST\n");

    // Berlin's almanac sunrise that day is 04:43; the settings file is not changed.
    result = RunProcess({TESS_BINARY, "tags", "<SUNRISE24H> <csvouttemp> at <csv24h>:<csvmin>",
                         "--at", "2024-06-21 13:05:00", "--csv", "w.csv"},
                        dir.Path());
    ASSERT_EQ(result.exit_code, 0) << result.err;
    EXPECT_EQ(result.out, "04:43 18.40 at 09:30\n");
    EXPECT_EQ(test::ReadFileBytes(dir.File("Tessarolle.INI")), ini);
    result = RunProcess({TESS_BINARY, "tags", "<SUNRISE24H>", "--at", "2024-06-21 13:05:00",
                         "--lat", "0", "--lon", "0"},
                        dir.Path());
    EXPECT_EQ(result.out, "07:58\n"); // 05:58 UTC on the equator, in summer time
}

TEST(TagsCommand, ShowsTheLastRecordOfTheFolderAndCreatesNothing) {
    test::TempDir dir;
    {
        Karvell k;
        k.SetLastDataPath(dir.File("lastdata.csv"));
        ASSERT_EQ(k.AcceptLine(test::StationLine(2024, 6, 21, 9, 30, 0).Set(8, "3.5").Text()),
                  CSVStatus::Accepted);
        ASSERT_TRUE(k.SaveLastData());
    }
    auto result =
        RunProcess({TESS_BINARY, "tags", "wind <csvwind>, no tag <csvnothing>"}, dir.Path());
    ASSERT_EQ(result.exit_code, 0) << result.err;
    EXPECT_EQ(result.out, "wind 3.5, no tag <csvnothing>\n");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.Path()), {}), 1);

    test::WriteFileBytes(dir.File("lastdata.csv"), "damaged");
    result = RunProcess({TESS_BINARY, "tags", "<csvwind>"}, dir.Path());
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.out, "-1000\n");
    EXPECT_NE(result.err.find("lastdata.csv"), std::string::npos) << result.err;
}

TEST(TagsCommand, RefusesBadTimesAndBadStationFiles) {
    test::TempDir dir;
    auto result =
        RunProcess({TESS_BINARY, "tags", "<TIME>", "--at", "2024-02-30 10:00:00"}, dir.Path());
    EXPECT_EQ(result.exit_code, 2);
    EXPECT_NE(result.err.find("'2024-02-30 10:00:00' is not a date"), std::string::npos);
    result = RunProcess({TESS_BINARY, "tags", "<csvwind>", "--csv", "none.csv"}, dir.Path());
    EXPECT_EQ(result.exit_code, 2);
    EXPECT_NE(result.err.find("'none.csv': the file does not exist"), std::string::npos);
    test::WriteFileBytes(dir.File("short.csv"), "1.01,2024,6,21,9,30,0\n");
    result = RunProcess({TESS_BINARY, "tags", "<csvwind>", "--csv", "short.csv"}, dir.Path());
    EXPECT_EQ(result.exit_code, 2);
    EXPECT_NE(result.err.find("'short.csv': the line does not have"), std::string::npos);
    EXPECT_TRUE(result.out.empty());
}

} // namespace
} // namespace tess
