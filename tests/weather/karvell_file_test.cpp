#include "settings/vb_date.h"
#include "support/station_line.h"
#include "support/temp_dir.h"
#include "weather/karvell.h"

#include <filesystem>
#include <sys/stat.h>

#include <gtest/gtest.h>

namespace tess {
namespace {

using test::StationLine;

double Noon(int day) {
    return DateSerial(2024, 3, day) + 0.5;
}

std::string Line(int minute, const char* temperature) {
    return StationLine(2024, 3, 7, 12, minute, 0).Set(14, temperature).Text();
}

TEST(KarvellFile, ReadsTheFirstLineAndSurvivesFilesThatAreNotThere) {
    test::TempDir dir;
    Karvell k;
    k.SetCSVFile(dir.File("station.csv"));
    EXPECT_EQ(k.GetCSVData(), CSVStatus::FileMissing);

    test::WriteFileBytes(dir.File("station.csv"), Line(0, "4.5") + "\r\n" + Line(1, "9") + "\r\n");
    EXPECT_EQ(k.GetCSVData(), CSVStatus::Accepted);
    EXPECT_EQ(k.CSVData(14), 4.5);
    EXPECT_EQ(k.CSVDataS(41), "0"); // the line end is not part of the last column

    // A file half-written, gone, replaced by a folder or a pipe: values stay as they were.
    test::WriteFileBytes(dir.File("station.csv"), Line(2, "5").substr(0, 60));
    EXPECT_EQ(k.GetCSVData(), CSVStatus::WrongFieldCount);
    std::filesystem::remove(dir.File("station.csv"));
    EXPECT_EQ(k.GetCSVData(), CSVStatus::FileMissing);
    std::filesystem::create_directory(dir.File("station.csv"));
    EXPECT_EQ(k.GetCSVData(), CSVStatus::FileUnreadable);
    std::filesystem::remove(dir.File("station.csv"));
    ASSERT_EQ(::mkfifo(dir.File("station.csv").c_str(), 0600), 0);
    EXPECT_EQ(k.GetCSVData(), CSVStatus::FileUnreadable); // and does not wait for a writer
    std::filesystem::remove(dir.File("station.csv"));
    test::WriteFileBytes(dir.File("station.csv"), std::string(5000, 'x') + "\n" + Line(3, "6"));
    EXPECT_EQ(k.GetCSVData(), CSVStatus::LineTooLong);
    EXPECT_EQ(k.CSVData(14), 4.5);

    // Windows paths from a portfolio file work.
    test::WriteFileBytes(dir.File("station.csv"), Line(4, "7") + "\n");
    k.SetCSVFile(dir.Path() + "\\station.csv");
    EXPECT_EQ(k.GetCSVData(), CSVStatus::Accepted);
    EXPECT_EQ(k.CSVData(14), 7);
}

TEST(KarvellFile, PollsOnTheDelayGridAndKeepsTheLastRecord) {
    test::TempDir dir;
    Karvell k;
    k.SetCSVFile(dir.File("station.csv"));
    k.SetLastDataPath(dir.File("lastdata.csv"));
    k.SetCSVDelay(60);
    k.SetCSVBaseTime(30);
    test::WriteFileBytes(dir.File("station.csv"), Line(0, "1") + "\n");
    const double t = Noon(7);
    const double second = 1.0 / 86400;

    EXPECT_FALSE(k.PollCSV(t)); // not enabled
    k.SetCSVEnabled(true);
    EXPECT_TRUE(k.PollCSV(t));
    EXPECT_NEAR(k.NextPollTime(), t + 30 * second, 1e-9);
    EXPECT_TRUE(std::filesystem::exists(dir.File("lastdata.csv")));

    test::WriteFileBytes(dir.File("station.csv"), Line(1, "2") + "\n");
    EXPECT_FALSE(k.PollCSV(t + 29 * second)); // not due: the new line waits
    EXPECT_EQ(k.CSVData(14), 1);
    EXPECT_TRUE(k.PollCSV(t + 30.01 * second));
    EXPECT_EQ(k.CSVData(14), 2);
    EXPECT_FALSE(k.PollCSV(t + 90 * second)); // due, but the same line
    EXPECT_EQ(k.LastStatus(), CSVStatus::NotNewer);

    // A delay of 0 reads at every poll, from the poll the old delay made due.
    k.SetCSVDelay(0);
    test::WriteFileBytes(dir.File("station.csv"), Line(2, "3") + "\n");
    EXPECT_TRUE(k.PollCSV(t + 150.01 * second));
    test::WriteFileBytes(dir.File("station.csv"), Line(3, "4") + "\n");
    EXPECT_TRUE(k.PollCSV(t + 150.01 * second));

    Karvell restarted;
    restarted.SetLastDataPath(dir.File("lastdata.csv"));
    ASSERT_TRUE(restarted.LoadLastData());
    EXPECT_EQ(restarted.CSVData(14), 4);
    EXPECT_EQ(restarted.CSVData(rec::kMaxTempToday), 4);
    EXPECT_EQ(restarted.CSVData(rec::kMinTempToday), 1);
    EXPECT_DOUBLE_EQ(restarted.CSVLastTime(), k.CSVLastTime());
    EXPECT_TRUE(restarted.CSVDataValid());
}

TEST(KarvellFile, LastDataRoundTripsExactlyAndRefusesDamagedFiles) {
    test::TempDir dir;
    Karvell k;
    k.SetLastDataPath(dir.File("lastdata.csv"));
    k.SetCSVAltitude(123.4);
    ASSERT_EQ(k.AcceptLine(Line(0, "12.30") + ",x"), CSVStatus::WrongFieldCount);
    ASSERT_EQ(k.AcceptLine(StationLine(2024, 3, 7, 12, 0, 0)
                               .Set(14, "12.30")
                               .Set(15, "1013.25")
                               .Set(19, "N/A")
                               .Set(41, "0.1")
                               .Text()),
              CSVStatus::Accepted);
    k.SetCSVData(rec::kStatDirection, 1.0 / 3.0);
    std::string error;
    ASSERT_TRUE(k.SaveLastData(&error)) << error;
    const std::string saved = test::ReadFileBytes(dir.File("lastdata.csv"));
    EXPECT_NE(saved.find("\n14,12.3,12.30\n"), std::string::npos) << saved;

    Karvell restored;
    restored.SetLastDataPath(dir.File("lastdata.csv"));
    restored.SetCSVLastTime(Noon(8)); // a later time the portfolio already knows stays
    ASSERT_TRUE(restored.LoadLastData(&error)) << error;
    EXPECT_EQ(restored.Record(), k.Record());
    for (int i = 0; i < kCSVColumns; ++i)
        EXPECT_EQ(restored.CSVDataS(i), k.CSVDataS(i)) << i;
    EXPECT_DOUBLE_EQ(restored.CSVLastTime(), Noon(8));

    // Anything damaged is not used at all.
    for (const std::string& damaged :
         {saved.substr(0, saved.size() / 2), std::string("junk\n") + saved,
          test::StationLine(2024, 3, 7, 12, 0, 0).Text(),
          [&] {
              std::string s = saved;
              s.replace(s.find("\n100,"), 6, "\n100,z");
              return s;
          }(),
          saved + "121,5\n"}) {
        test::WriteFileBytes(dir.File("lastdata.csv"), damaged);
        Karvell fresh;
        fresh.SetLastDataPath(dir.File("lastdata.csv"));
        EXPECT_FALSE(fresh.LoadLastData(&error));
        EXPECT_NE(error.find("lastdata.csv"), std::string::npos) << error;
        EXPECT_EQ(fresh.CSVData(14), kNoValue);
        EXPECT_FALSE(fresh.CSVDataValid());
    }
    std::filesystem::remove(dir.File("lastdata.csv"));
    EXPECT_FALSE(restored.LoadLastData(&error));
    EXPECT_NE(error.find("does not exist"), std::string::npos) << error;
}

TEST(KarvellFile, AByteOrderMarkBeforeTheLineIsSkipped) {
    test::TempDir dir;
    Karvell k;
    k.SetCSVFile(dir.File("station.csv"));
    test::WriteFileBytes(dir.File("station.csv"), "\xEF\xBB\xBF" + Line(0, "4.5") + "\r\n");
    EXPECT_EQ(k.GetCSVData(), CSVStatus::Accepted);
    EXPECT_EQ(k.CSVData(14), 4.5);
}

} // namespace
} // namespace tess

namespace tess {
namespace {

// A station clock gone wrong for one line must not freeze the weather: the line is refused,
// and a "newest" time from the future carried over in lastdata.csv is forgotten.
TEST(KarvellFile, ALineFromTheFutureIsRefusedAndAPoisonedRecordRecovers) {
    test::TempDir dir;
    Karvell k;
    k.SetCSVFile(dir.File("station.csv"));
    k.SetLastDataPath(dir.File("lastdata.csv"));
    k.SetCSVDelay(0);
    k.SetCSVEnabled(true);
    const double now = Noon(7);
    auto poll = [&](const std::string& line, double at) {
        test::WriteFileBytes(dir.File("station.csv"), line + "\n");
        return k.PollCSV(at);
    };
    ASSERT_TRUE(poll(Line(0, "1"), now));
    EXPECT_FALSE(poll(StationLine(2099, 1, 1, 0, 0, 0).Set(14, "99").Text(), now));
    EXPECT_EQ(k.LastStatus(), CSVStatus::AheadOfClock);
    EXPECT_EQ(k.CSVData(14), 1);
    // Less than a day ahead is a station in another zone, not a broken clock.
    EXPECT_TRUE(poll(StationLine(2024, 3, 8, 6, 0, 0).Set(14, "2").Text(), now));
    EXPECT_TRUE(poll(StationLine(2024, 3, 8, 6, 1, 0).Set(14, "3").Text(), now));

    // An older version took the 2099 line and kept it: the restarted program takes the
    // current line all the same, and the lines after it.
    Karvell poisoned;
    poisoned.SetCSVFile(dir.File("station.csv"));
    poisoned.SetLastDataPath(dir.File("lastdata.csv"));
    poisoned.SetCSVDelay(0);
    poisoned.SetCSVEnabled(true);
    ASSERT_EQ(poisoned.AcceptLine(StationLine(2099, 1, 1, 0, 0, 0).Text()), CSVStatus::Accepted);
    ASSERT_TRUE(poisoned.SaveLastData());
    Karvell restarted;
    restarted.SetCSVFile(dir.File("station.csv"));
    restarted.SetLastDataPath(dir.File("lastdata.csv"));
    restarted.SetCSVDelay(0);
    restarted.SetCSVEnabled(true);
    ASSERT_TRUE(restarted.LoadLastData());
    test::WriteFileBytes(dir.File("station.csv"), Line(5, "6") + "\n");
    EXPECT_TRUE(restarted.PollCSV(now));
    EXPECT_EQ(restarted.CSVData(14), 6);
    test::WriteFileBytes(dir.File("station.csv"), Line(6, "7") + "\n");
    EXPECT_TRUE(restarted.PollCSV(now + 0.001));
    EXPECT_EQ(restarted.CSVData(14), 7);
}

} // namespace
} // namespace tess
