#include "settings/vb_date.h"
#include "support/station_line.h"
#include "weather/karvell.h"

#include <gtest/gtest.h>

namespace tess {
namespace {

using test::StationLine;

StationLine At(int day, int hour, int minute, int second = 0) {
    return StationLine(2024, 3, day, hour, minute, second);
}

TEST(Karvell, AcceptsExactlyTheFieldCountOfEachVersion) {
    struct Case {
        const char* version;
        int fields;
        CSVStatus status;
    };
    for (const Case& c : {Case{"1.0", 39, CSVStatus::Accepted},
                          {"1.0", 38, CSVStatus::WrongFieldCount},
                          {"1.0", 40, CSVStatus::WrongFieldCount},
                          {"1.01", 41, CSVStatus::Accepted},
                          {"1.01", 40, CSVStatus::WrongFieldCount},
                          {"1.01", 42, CSVStatus::WrongFieldCount},
                          {"1.00", 39, CSVStatus::Accepted},
                          {"2.0", 39, CSVStatus::UnknownVersion},
                          {"v1", 41, CSVStatus::UnknownVersion},
                          {"1.01", 100, CSVStatus::WrongFieldCount}}) {
        Karvell k;
        const std::string line =
            StationLine(2024, 3, 7, 12, 0, 0, c.version, c.fields).Set(14, "4.5").Text();
        EXPECT_EQ(k.AcceptLine(line), c.status) << c.version << " with " << c.fields;
        EXPECT_EQ(k.CSVDataValid(), c.status == CSVStatus::Accepted);
        EXPECT_EQ(k.CSVData(14), c.status == CSVStatus::Accepted ? 4.5 : kNoValue);
    }

    // A version 1.0 line leaves the columns it does not have as "no value".
    Karvell k;
    ASSERT_EQ(k.AcceptLine(StationLine(2024, 3, 7, 12, 0, 0, "1.0", 39).Set(39, "7").Text()),
              CSVStatus::Accepted);
    EXPECT_EQ(k.CSVData(39), 7);
    for (int i : {40, 41, 99}) {
        EXPECT_EQ(k.CSVData(i), kNoValue);
        EXPECT_EQ(k.CSVDataS(i), "-1000");
    }
    EXPECT_DOUBLE_EQ(k.CSVData(0), DateSerial(2024, 3, 7) + 0.5);
    EXPECT_EQ(k.CSVDataS(0), "2024-03-07 12:00:00");
    EXPECT_DOUBLE_EQ(k.CSVLastTime(), DateSerial(2024, 3, 7) + 0.5);
}

TEST(Karvell, KeepsTextsAsWrittenAndMarksWhatIsNoNumber) {
    Karvell k;
    ASSERT_EQ(k.AcceptLine(At(7, 12, 0)
                               .Set(14, "12.30")
                               .Set(15, " 1013.2 ")
                               .Set(12, "N/A")
                               .Set(13, "1e999")
                               .Set(11, "nan")
                               .Set(16, "")
                               .Text()),
              CSVStatus::Accepted);
    EXPECT_EQ(k.CSVData(14), 12.3);
    EXPECT_EQ(k.CSVDataS(14), "12.30");
    EXPECT_EQ(k.CSVData(15), 1013.2);
    for (int i : {11, 12, 13, 16})
        EXPECT_EQ(k.CSVData(i), kNoValue) << i;
    EXPECT_EQ(k.CSVDataS(12), "N/A");
    EXPECT_EQ(k.CSVDataS(13), "1e999");
    EXPECT_EQ(k.CSVDataS(16), "");
}

TEST(Karvell, TakesOnlyANewerStationTime) {
    Karvell k;
    ASSERT_EQ(k.AcceptLine(At(7, 12, 0).Set(14, "10").Text()), CSVStatus::Accepted);
    EXPECT_EQ(k.AcceptLine(At(7, 12, 0).Set(14, "11").Text()), CSVStatus::NotNewer);
    EXPECT_EQ(k.AcceptLine(At(7, 11, 59, 59).Set(14, "12").Text()), CSVStatus::NotNewer);
    EXPECT_EQ(k.CSVData(14), 10);
    EXPECT_EQ(k.CSVData(rec::kMaxTempToday), 10);
    EXPECT_EQ(k.AcceptLine(At(7, 12, 0, 1).Set(14, "13").Text()), CSVStatus::Accepted);
    EXPECT_EQ(k.CSVData(14), 13);

    // Impossible station times are refused; two-digit years follow the classic window.
    for (const auto& bad :
         {At(7, 24, 0), At(7, 12, 60), StationLine(2023, 2, 29, 0, 0, 0),
          StationLine(2024, 13, 1, 0, 0, 0), At(7, 12, 0).Set(7, "5.5"), At(7, 12, 0).Set(2, "")}) {
        EXPECT_EQ(k.AcceptLine(bad.Text()), CSVStatus::BadStationTime) << bad.Text();
    }
    Karvell two_digits;
    ASSERT_EQ(two_digits.AcceptLine(StationLine(5, 3, 7, 9, 5, 0).Text()), CSVStatus::Accepted);
    EXPECT_EQ(two_digits.CSVDataS(0), "2005-03-07 09:05:00");
}

TEST(Karvell, RollsTheDailyValuesAtTheFirstLineOfANewStationDay) {
    Karvell k;
    ASSERT_EQ(k.AcceptLine(At(6, 23, 0).Set(14, "8.5").Set(9, "20").Set(17, "1.5").Text()),
              CSVStatus::Accepted);
    ASSERT_EQ(k.AcceptLine(At(6, 23, 58).Set(14, "11").Set(9, "35").Set(17, "2.5").Text()),
              CSVStatus::Accepted);
    ASSERT_EQ(k.AcceptLine(At(6, 23, 59).Set(14, "9").Set(9, "12").Set(17, "2.5").Text()),
              CSVStatus::Accepted);
    EXPECT_EQ(k.CSVData(rec::kMaxTempToday), 11);
    EXPECT_EQ(k.CSVData(rec::kMinTempToday), 8.5);
    EXPECT_EQ(k.CSVData(rec::kMaxGustToday), 35);
    EXPECT_EQ(k.CSVData(rec::kMaxTempYesterday), kNoValue); // the first line rolls nothing

    ASSERT_EQ(k.AcceptLine(At(7, 0, 1).Set(14, "7").Set(9, "5").Set(17, "0").Text()),
              CSVStatus::Accepted);
    EXPECT_EQ(k.CSVData(rec::kMaxTempYesterday), 11);
    EXPECT_EQ(k.CSVData(rec::kMinTempYesterday), 8.5);
    EXPECT_EQ(k.CSVData(rec::kMaxTempToday), 7);
    EXPECT_EQ(k.CSVData(rec::kMinTempToday), 7);
    EXPECT_EQ(k.CSVData(rec::kMaxGustYesterday), 35);
    EXPECT_EQ(k.CSVData(rec::kMaxGustToday), 5);
    EXPECT_EQ(k.CSVData(rec::kRainYesterday), 2.5);
    EXPECT_EQ(k.CSVData(rec::kRainToday), 0);

    // The next line of the same day only extends today's range.
    ASSERT_EQ(k.AcceptLine(At(7, 6, 0).Set(14, "3").Set(9, "9").Text()), CSVStatus::Accepted);
    EXPECT_EQ(k.CSVData(rec::kMaxTempToday), 7);
    EXPECT_EQ(k.CSVData(rec::kMinTempToday), 3);
    EXPECT_EQ(k.CSVData(rec::kMaxGustToday), 9);
    EXPECT_EQ(k.CSVData(rec::kMaxTempYesterday), 11);
}

TEST(Karvell, DerivesTrendsAndTheSeaLevelBarometer) {
    Karvell k;
    k.SetCSVTemperatureTrendThreshold(0.5);
    k.SetCSVBarometricTrendThreshold(1);
    k.SetCSVAltitude(500);
    k.SetCSVBarometerOffset(-2);
    int second = 0;
    auto accept = [&](StationLine line) {
        ASSERT_EQ(k.AcceptLine(line.Set(7, std::to_string(second++)).Text()), CSVStatus::Accepted);
    };
    accept(At(7, 12, 0).Set(34, "0.5").Set(36, "-1").Set(14, "15").Set(15, "1002"));
    EXPECT_EQ(k.CSVData(rec::kTempTrend), 1); // reaching the threshold counts
    EXPECT_EQ(k.CSVData(rec::kBaromTrend), -1);
    EXPECT_EQ(k.CSVData(rec::kBarometer), 1000); // the offset is applied
    // 1000 hPa at 500 m and 15 C is about 1060.75 hPa at sea level (about 12 hPa per 100 m).
    EXPECT_NEAR(k.CSVData(rec::kSeaLevelBarometer), 1060.75, 0.01);

    accept(At(7, 12, 0).Set(34, "0.49").Set(36, "0.99").Set(14, "15").Set(15, "1002"));
    EXPECT_EQ(k.CSVData(rec::kTempTrend), 0);
    EXPECT_EQ(k.CSVData(rec::kBaromTrend), 0);
    // A station without a rate column keeps the last trend.
    accept(At(7, 12, 0).Set(34, "-0.5").Set(36, "x"));
    EXPECT_EQ(k.CSVData(rec::kTempTrend), -1);
    EXPECT_EQ(k.CSVData(rec::kBaromTrend), 0);

    // Feet and Fahrenheit: 1640.42 ft and 59 F are the 500 m and 15 C above.
    k.SetCSVAltitudeUnits(1);
    k.SetCSVTemperatureUnits(1);
    k.SetCSVAltitude(1640.42);
    accept(At(7, 12, 0).Set(14, "59").Set(15, "1002"));
    EXPECT_NEAR(k.CSVData(rec::kSeaLevelBarometer), 1060.75, 0.01);
    accept(At(7, 12, 0).Set(14, "").Set(15, "1002"));
    EXPECT_EQ(k.CSVData(rec::kSeaLevelBarometer), kNoValue);
    EXPECT_EQ(k.CSVData(rec::kMaxTempToday), 59); // a missing temperature changes no extreme
    accept(At(7, 12, 0).Set(14, "59").Set(15, "-"));
    EXPECT_EQ(k.CSVData(rec::kSeaLevelBarometer), kNoValue);
}

TEST(Karvell, BadLinesChangeNothing) {
    Karvell k;
    const std::string good = At(7, 12, 0).Set(14, "10").Text();
    ASSERT_EQ(k.AcceptLine(good), CSVStatus::Accepted);
    const WeatherRecord before = k.Record();

    // Exactly 1000 characters are read, 1001 are not.
    std::string longest = At(7, 13, 0).Set(14, "11").Text();
    longest.insert(longest.find(",0,"), 1000 - longest.size(), ' ');
    ASSERT_EQ(longest.size(), 1000u);
    std::string too_long = At(7, 13, 0).Set(14, "11").Text();
    too_long.insert(too_long.find(",0,"), 1001 - too_long.size(), ' ');
    EXPECT_EQ(k.AcceptLine(too_long), CSVStatus::LineTooLong);

    std::string with_nul = At(7, 13, 0).Set(14, "11").Text();
    with_nul[with_nul.size() - 1] = '\0';
    EXPECT_EQ(k.AcceptLine(with_nul), CSVStatus::ControlCharacters);
    EXPECT_EQ(k.AcceptLine(std::string("\x89PNG\r\n\x1a\n\0\0", 10)), CSVStatus::ControlCharacters);
    EXPECT_EQ(k.AcceptLine(""), CSVStatus::WrongFieldCount);
    EXPECT_EQ(k.AcceptLine(std::string(999, ',')), CSVStatus::WrongFieldCount);
    EXPECT_EQ(k.Record(), before);
    EXPECT_EQ(k.CSVDataS(14), "10");

    EXPECT_EQ(k.AcceptLine(longest), CSVStatus::Accepted);
    EXPECT_EQ(k.CSVData(14), 11);
}

TEST(Karvell, CallsTheNewDataHandlerForEachAcceptedLine) {
    Karvell k;
    int calls = 0;
    double seen = 0;
    k.SetNewCSVDataHandler([&] {
        ++calls;
        seen = k.CSVData(14);
    });
    k.AcceptLine(At(7, 12, 0).Set(14, "3").Text());
    k.AcceptLine(At(7, 12, 0).Set(14, "4").Text());
    k.AcceptLine(At(7, 12, 1).Set(14, "5").Text());
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(seen, 5);
}

TEST(Karvell, ClampsItsSettingsAndNotesRealChanges) {
    Karvell k;
    k.SetCSVAltitudeUnits(7);
    EXPECT_EQ(k.CSVAltitudeUnits(), 1);
    EXPECT_TRUE(k.NeedsSaving());
    k.SetNeedsSaving(false);
    k.SetCSVAltitudeUnits(1);
    k.SetCSVDelay(-5);
    EXPECT_FALSE(k.NeedsSaving()); // -5 clamps to the 0 it already was
    // Values outside the record are "no value" and are not stored.
    k.SetCSVData(120, 5);
    k.SetCSVData(14, std::numeric_limits<double>::infinity());
    EXPECT_EQ(k.CSVData(120), kNoValue);
    EXPECT_EQ(k.CSVData(14), kNoValue);
    EXPECT_EQ(k.CSVDataS(-1), "-1000");
}

} // namespace
} // namespace tess
