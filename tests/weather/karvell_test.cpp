#include "settings/vb_date.h"
#include "support/recording_script.h"
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
    using S = CSVStatus;
    struct Case {
        const char* version;
        int fields;
        CSVStatus status;
    };
    // clang-format off
    for (const Case& c : {Case{"1.0", 39, S::Accepted}, {"1.0", 38, S::WrongFieldCount},
                          {"1.0", 40, S::WrongFieldCount}, {"1.01", 41, S::Accepted},
                          {"1.01", 40, S::WrongFieldCount}, {"1.01", 42, S::WrongFieldCount},
                          {"1.00", 39, S::Accepted}, {"2.0", 39, S::UnknownVersion},
                          {"v1", 41, S::UnknownVersion}, {"1.01", 100, S::WrongFieldCount}}) {
        // clang-format on
        Karvell k;
        const std::string line =
            StationLine(2024, 3, 7, 12, 0, 0, c.version, c.fields).Set(14, "4.5").Text();
        EXPECT_EQ(k.AcceptLine(line), c.status) << c.version << " with " << c.fields;
        EXPECT_EQ(k.CSVDataValid(), c.status == S::Accepted);
        EXPECT_EQ(k.CSVData(14), c.status == S::Accepted ? 4.5 : kNoValue);
    }

    // A version 1.0 line leaves the columns it does not have as "no value".
    Karvell k;
    ASSERT_EQ(k.AcceptLine(StationLine(2024, 3, 7, 12, 0, 0, "1.0", 39).Set(39, "7").Text()),
              S::Accepted);
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
                               .Set({{14, "12.30"},
                                     {15, " 1013.2 "},
                                     {12, "N/A"},
                                     {13, "1e999"},
                                     {11, "nan"},
                                     {16, ""}})
                               .Text()),
              CSVStatus::Accepted);
    EXPECT_EQ(k.CSVData(14), 12.3);
    EXPECT_EQ(k.CSVDataS(14), "12.30");
    EXPECT_EQ(k.CSVData(15), 1013.2);
    for (int i : {11, 12, 13, 16})
        EXPECT_EQ(k.CSVData(i), kNoValue) << i;
    EXPECT_EQ(k.CSVDataS(13), "1e999");
    EXPECT_EQ(k.CSVDataS(16), "");
}

TEST(Karvell, TakesOnlyANewerStationTime) {
    Karvell k;
    ScriptSettings settings;
    test::AllowEveryScriptEvent(settings);
    ScriptEvents events(settings);
    test::RecordingScript script;
    events.SetHandler(&script);
    k.SetScriptEvents(&events);
    ASSERT_EQ(k.AcceptLine(At(7, 12, 0).Set(14, "10").Text()), CSVStatus::Accepted);
    EXPECT_EQ(k.AcceptLine(At(7, 12, 0).Set(14, "11").Text()), CSVStatus::NotNewer);
    EXPECT_EQ(k.AcceptLine(At(7, 11, 59, 59).Set(14, "12").Text()), CSVStatus::NotNewer);
    EXPECT_EQ(k.CSVData(14), 10);
    EXPECT_EQ(k.CSVData(rec::kMaxTempToday), 10);
    EXPECT_EQ(k.AcceptLine(At(7, 12, 0, 1).Set(14, "13").Text()), CSVStatus::Accepted);
    EXPECT_EQ(k.CSVData(14), 13);
    EXPECT_EQ(script.heard, (std::vector<std::string>{"NewCSVData()", "NewCSVData()"}));

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
    for (auto line : {At(6, 23, 0).Set({{14, "8.5"}, {9, "20"}, {17, "1.5"}}),
                      At(6, 23, 58).Set({{14, "11"}, {9, "35"}, {17, "2.5"}}),
                      At(6, 23, 59).Set({{14, "9"}, {9, "12"}, {17, "2.5"}})}) {
        ASSERT_EQ(k.AcceptLine(line.Text()), CSVStatus::Accepted);
    }
    EXPECT_EQ(k.CSVData(rec::kMaxTempToday), 11);
    EXPECT_EQ(k.CSVData(rec::kMinTempToday), 8.5);
    EXPECT_EQ(k.CSVData(rec::kMaxGustToday), 35);
    EXPECT_EQ(k.CSVData(rec::kMaxTempYesterday), kNoValue); // the first line rolls nothing

    ASSERT_EQ(k.AcceptLine(At(7, 0, 1).Set({{14, "7"}, {9, "5"}, {17, "0"}}).Text()),
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
    ASSERT_EQ(k.AcceptLine(At(7, 6, 0).Set({{14, "3"}, {9, "9"}}).Text()), CSVStatus::Accepted);
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
    auto accept = [&](std::initializer_list<std::pair<int, const char*>> columns) {
        ASSERT_EQ(k.AcceptLine(At(7, 12, 0, second++).Set(columns).Text()), CSVStatus::Accepted);
    };
    accept({{34, "0.5"}, {36, "-1"}, {14, "15"}, {15, "1002"}});
    EXPECT_EQ(k.CSVData(rec::kTempTrend), 1); // reaching the threshold counts
    EXPECT_EQ(k.CSVData(rec::kBaromTrend), -1);
    EXPECT_EQ(k.CSVData(rec::kBarometer), 1000); // the offset is applied
    // 1000 hPa at 500 m and 15 C is about 1060.75 hPa at sea level (about 12 hPa per 100 m).
    EXPECT_NEAR(k.CSVData(rec::kSeaLevelBarometer), 1060.75, 0.01);

    accept({{34, "0.49"}, {36, "0.99"}, {14, "15"}, {15, "1002"}});
    EXPECT_EQ(k.CSVData(rec::kTempTrend), 0);
    EXPECT_EQ(k.CSVData(rec::kBaromTrend), 0);
    // A station without a rate column keeps the last trend.
    accept({{34, "-0.5"}, {36, "x"}});
    EXPECT_EQ(k.CSVData(rec::kTempTrend), -1);
    EXPECT_EQ(k.CSVData(rec::kBaromTrend), 0);

    // Feet and Fahrenheit: 1640.42 ft and 59 F are the 500 m and 15 C above.
    k.SetCSVAltitudeUnits(1);
    k.SetCSVTemperatureUnits(1);
    k.SetCSVAltitude(1640.42);
    accept({{14, "59"}, {15, "1002"}});
    EXPECT_NEAR(k.CSVData(rec::kSeaLevelBarometer), 1060.75, 0.01);
    accept({{14, ""}, {15, "1002"}});
    EXPECT_EQ(k.CSVData(rec::kSeaLevelBarometer), kNoValue);
    EXPECT_EQ(k.CSVData(rec::kMaxTempToday), 59); // a missing temperature changes no extreme
    accept({{14, "59"}, {15, "-"}});
    EXPECT_EQ(k.CSVData(rec::kSeaLevelBarometer), kNoValue);
}

TEST(Karvell, BadLinesChangeNothing) {
    Karvell k;
    ASSERT_EQ(k.AcceptLine(At(7, 12, 0).Set(14, "10").Text()), CSVStatus::Accepted);
    const WeatherRecord before = k.Record();

    // Exactly 1000 characters are read, 1001 are not.
    auto padded = [](std::size_t size) {
        std::string line = At(7, 13, 0).Set(14, "11").Text();
        return line.insert(line.find(",0,"), size - line.size(), ' ');
    };
    EXPECT_EQ(k.AcceptLine(padded(1001)), CSVStatus::LineTooLong);
    std::string with_nul = At(7, 13, 0).Set(14, "11").Text();
    with_nul.back() = '\0';
    EXPECT_EQ(k.AcceptLine(with_nul), CSVStatus::ControlCharacters);
    EXPECT_EQ(k.AcceptLine(std::string("\x89PNG\r\n\x1a\n\0\0", 10)), CSVStatus::ControlCharacters);
    EXPECT_EQ(k.AcceptLine(""), CSVStatus::WrongFieldCount);
    EXPECT_EQ(k.AcceptLine(std::string(999, ',')), CSVStatus::WrongFieldCount);
    EXPECT_EQ(k.Record(), before);
    EXPECT_EQ(k.CSVDataS(14), "10");

    EXPECT_EQ(k.AcceptLine(padded(1000)), CSVStatus::Accepted);
    EXPECT_EQ(k.CSVData(14), 11);
}

} // namespace
} // namespace tess
