#include "imaging/tags/process_text.h"
#include "imaging/tags/tag_words.h"
#include "settings/numbers.h"
#include "settings/vb_date.h"
#include "support/scoped_time_zone.h"
#include "support/station_line.h"
#include "support/temp_dir.h"
#include "time/clock.h"
#include "time/sun_times.h"
#include "time/time_zone.h"
#include "weather/karvell.h"

#include <cstdlib>

#include <gtest/gtest.h>

namespace tess {
namespace {

class FixedSun : public SunTimes {
public:
    double Sunrise() override { return TimeSerial(6, 5, 0); }
    double Sunset() override { return TimeSerial(20, 30, 0); }
};

double At(int year, int month, int day, int hour, int minute, double second) {
    return DateSerial(year, month, day) + (hour * 3600 + minute * 60 + second) / 86400;
}

// A version 1.01 line whose every column differs, with decimals of every kind.
const char* const kLine =
    "1.01,2005,3,7,13,5,9,5.5,12.25,200,45,80,21.5,12.30,1013.2,100.05,2.4,0.2,6,10.5,55,11,56,"
    "12,57,0.5,3,450,10.1,22,13,8.9,0,0.8,0.1,-1.2,0.3,0.4,0.6,20.4,300.1";

class ProcessTextTest : public ::testing::Test {
protected:
    ProcessTextTest() {
        context_.now = At(2005, 3, 7, 13, 5, 9);
        context_.sun = &sun_;
        context_.karvell = &karvell_;
    }
    std::string Expand(std::string_view text) { return ProcessText(text, context_); }

    FixedSun sun_;
    Karvell karvell_;
    TagContext context_;
};

TEST_F(ProcessTextTest, LeavesWhatIsNotATagAsTyped) {
    EXPECT_EQ(Expand("Webcam, 50 m above the lake"), "Webcam, 50 m above the lake");
    EXPECT_EQ(Expand(""), "");
    EXPECT_EQ(Expand("a < b > c <time> <TIME <SUNRISE"), "a < b > c <time> <TIME <SUNRISE");
    EXPECT_EQ(Expand("<<TIME>> <b><TIMEHH></b>"), "<13:05:09> <b>13</b>");
    EXPECT_EQ(Expand("<trendup> <MotionDetectTime10> <MotionDetectTime>"),
              "<trendup> <MotionDetectTime10> <MotionDetectTime>");
    // Services the tick does not have leave their tags alone.
    TagContext bare;
    bare.now = context_.now;
    EXPECT_EQ(ProcessText("<TIMEZONE> <SUNRISE> <csvwind> <TIMEH>", bare),
              "<TIMEZONE> <SUNRISE> <csvwind> 13");
}

TEST_F(ProcessTextTest, DateTagsOnSingleDigitDaysAndMonths) {
    EXPECT_EQ(Expand("<DATEYY>|<DATEYYYY>|<DATE0M>|<DATEM>|<DATE M>|<DATEMONTH>|<DATESHORTMONTH>"),
              "05|2005|03|3| 3|March|Mar");
    EXPECT_EQ(Expand("<DATE0D>|<DATED>|<DATE D>|<DATE>|<DATEFORMALDAY>"), "07|7| 7|03/07/2005|7th");
    context_.now = At(2024, 12, 31, 0, 0, 0);
    // The patterns put a blank before the number, whatever its width.
    EXPECT_EQ(Expand("<DATE M>/<DATE D> <DATE> <DATEFORMALDAY>"), " 12/ 31 12/31/2024 31st");
    for (auto [day, text] : std::initializer_list<std::pair<int, const char*>>{{1, "1st"},
                                                                               {2, "2nd"},
                                                                               {3, "3rd"},
                                                                               {4, "4th"},
                                                                               {11, "11th"},
                                                                               {12, "12th"},
                                                                               {13, "13th"},
                                                                               {21, "21st"},
                                                                               {22, "22nd"},
                                                                               {23, "23rd"},
                                                                               {30, "30th"}}) {
        context_.now = At(2024, 1, day, 12, 0, 0);
        EXPECT_EQ(Expand("<DATEFORMALDAY>"), text);
    }
}

TEST_F(ProcessTextTest, TimeTagsAtMidnightNoonAndAfternoon) {
    const std::string tags = "<TIME>|<TIME12H>|<TIMEAMPM>|<TIMEHH>|<TIME0H>|<TIMEH>|<TIME H>|"
                             "<TIMEHH12H>|<TIME0H12H>|<TIMEH12H>|<TIME H12H>|<TIMEMM>|<TIMESS>";
    context_.now = At(2005, 3, 7, 0, 0, 0);
    EXPECT_EQ(Expand(tags), "00:00:00|12:00:00 AM|AM|00|00|0| 0|12 AM|12 AM|12 AM| 12 AM|00|00");
    context_.now = At(2005, 3, 7, 12, 0, 0);
    EXPECT_EQ(Expand(tags), "12:00:00|12:00:00 PM|PM|12|12|12| 12|12 PM|12 PM|12 PM| 12 PM|00|00");
    context_.now = At(2005, 3, 7, 13, 5, 9.25);
    EXPECT_EQ(Expand(tags), "13:05:09|01:05:09 PM|PM|13|13|13| 13|01 PM|01 PM|1 PM| 1 PM|05|09");
    EXPECT_EQ(Expand("<TIME10>|<TIME100>|<TIME1012H>|<TIME10012H>|<TIME10S>|<TIME100S>"),
              "13:05:09.2|13:05:09.25|01:05:09.2 PM|01:05:09.25 PM|09.2|09.25");
    // A clock shows the second that has begun: no jump into the next day before midnight.
    context_.now = At(2005, 3, 7, 23, 59, 59.96);
    EXPECT_EQ(Expand("<DATED> <TIME> <TIME100>"), "7 23:59:59 23:59:59.96");
}

TEST_F(ProcessTextTest, ZoneSunAndMotionTags) {
    test::ScopedTimeZone tz(test::kCentralEurope);
    test::TempDir dir;
    test::WriteFileBytes(dir.File("timezone.txt"), "CET, Central European <TIMEH> o'clock\n");
    Clock clock;
    clock.SetFixed(context_.now);
    TimeZone zone(clock);
    zone.LoadTimeZoneLookup(dir.File("timezone.txt"));
    context_.zone = &zone;
    // The looked-up text goes through the later groups too.
    EXPECT_EQ(Expand("<TIMEZONE> <TIMEZONEABBREV> <TIMEZONELOOKUP>"),
              "CET CET Central European 13 o'clock");
    // The zone is the one in force at the tick's time, whatever the clock says meanwhile.
    const double winter = context_.now;
    context_.now = At(2005, 7, 7, 12, 0, 0);
    EXPECT_EQ(Expand("<TIMEZONE> <TIMEZONELOOKUP>"), "CEST Not defined in timezone.txt");
    context_.now = winter;

    EXPECT_EQ(Expand("<SUNRISE> <SUNSET> <SUNRISE24H> <SUNSET24H>"), "6:05 AM 8:30 PM 06:05 20:30");
    EXPECT_EQ(Expand("<csvsunrise> <csvsunset> <csvsunrise24h> <csvsunset24h>"),
              "6:05 AM 8:30 PM 06:05 20:30");

    // Until video feeds report motion every feed shows the zero date.
    EXPECT_EQ(Expand("<MotionDetectTime0> <MotionDetectDate9>"), "00:00:00 12/30/99");
    context_.motion_time = [](int feed) { return feed == 3 ? At(2005, 3, 14, 12, 5, 1) : 0.0; };
    EXPECT_EQ(Expand("<MotionDetectTime3> on <MotionDetectDate3>, <MotionDetectTime0>"),
              "12:05:01 on 03/14/05, 00:00:00");
}

TEST_F(ProcessTextTest, EveryWeatherTagAgainstAStationLine) {
    ASSERT_EQ(karvell_.AcceptLine(kLine), CSVStatus::Accepted);
    EXPECT_EQ(Expand("<csvyyyy> <csvyy> <csvm> <csvmonth> <csvd> <csv12h> <csv24h> <csvmin> "
                     "<csvsec> <csvampm> <CSVampm> <csvAMPM> <CSVAMPM>"),
              "2005 05 3 March 7 1 13 05 09 pm pm PM PM");
    struct Case {
        const char* tag;
        const char* value;
    };
    // The measured values show as the station wrote them: same column, same decimals.
    for (const Case& c : {Case{"wind", "5.5"},     {"gust", "12.25"},      {"dir", "200"},
                          {"comp", "SSW"},         {"inhum", "45"},        {"outhum", "80"},
                          {"intemp", "21.5"},      {"outtemp", "12.30"},   {"barom", "1013.2"},
                          {"totalrain", "100.05"}, {"dailyrain", "2.4"},   {"hourlyrain", "0.2"},
                          {"weather", "Rain"},     {"ch1temp", "10.5"},    {"ch1hum", "55"},
                          {"ch2temp", "11"},       {"ch2hum", "56"},       {"ch3temp", "12"},
                          {"ch3hum", "57"},        {"evap", "0.5"},        {"uvindex", "3"},
                          {"solarrad", "450"},     {"chill", "10.1"},      {"inheat", "22"},
                          {"outheat", "13"},       {"dew", "8.9"},         {"rainrate", "0"},
                          {"outtemprate", "0.8"},  {"intemprate", "0.1"},  {"baromrate", "-1.2"},
                          {"ch1temprate", "0.3"},  {"ch2temprate", "0.4"}, {"ch3temprate", "0.6"},
                          {"monthlyrain", "20.4"}, {"yearlyrain", "300.1"}}) {
        EXPECT_EQ(Expand(std::string("<csv") + c.tag + ">"), c.value) << c.tag;
    }

    EXPECT_EQ(Expand("<csvstatwind>"), "-1000.0"); // statistics need the history on

    // A second line the next day, to give every derived value its own number.
    karvell_.SetCSVEnableDatabase(true);
    karvell_.SetCSVWindStatisticsInterval(600);
    karvell_.SetCSVAltitude(500);
    const std::string next = test::StationLine(2005, 3, 8, 0, 10, 0)
                                 .Set({{8, "2.5"},
                                       {9, "3.75"},
                                       {10, "350"},
                                       {14, "-2.50"},
                                       {15, "1000.0"},
                                       {17, "0.0"},
                                       {34, "-0.1"},
                                       {36, "0"}})
                                 .Text();
    ASSERT_EQ(karvell_.AcceptLine(next), CSVStatus::Accepted);
    EXPECT_EQ(Expand("<csvmaxtemptoday> <csvmintemptoday> <csvmaxtempyesterday> "
                     "<csvmintempyesterday> <csvmaxgusttoday> <csvmaxgustyesterday> "
                     "<csvrainyesterday> <csvslbarom> <csvtemptrend> <csvbaromtrend>"),
              "-2.50 -2.50 12.30 12.30 3.75 12.25 2.4 1064.8 Falling Rising");
    EXPECT_EQ(Expand("<csvstatwind> <csvstatdir> <csvstatgust> <csvstatcomp>"), "2.5 350 3.75 N");
    EXPECT_EQ(Expand("<CSVSTATWIND> <CSVSTATDIR> <CSVSTATGUST> <CSVSTATCOMP>"), "2.5 350 3.75 N");
    EXPECT_EQ(Expand("<csvwind><csvgust>"), "2.53.75");
}

TEST_F(ProcessTextTest, TrendWordsAndMarkers) {
    const std::string tags = "<csvbaromtrend> <CSVBAROMTREND> <csvtemptrend> <CSVTEMPTREND> "
                             "<csvbaromtrendarrow> <CSVBAROMTRENDARROW> <csvtemptrendarrow> "
                             "<CSVTEMPTRENDARROW>";
    karvell_.SetCSVData(rec::kBaromTrend, 1);
    karvell_.SetCSVData(rec::kTempTrend, -1);
    EXPECT_EQ(Expand(tags),
              "Rising Rising Falling Falling <trendup> <trendup> <trenddown> <trenddown>");
    karvell_.SetCSVData(rec::kBaromTrend, 0);
    EXPECT_EQ(Expand("<csvbaromtrend> <csvbaromtrendarrow>"), "Steady <trendsteady>");
    karvell_.SetCSVData(rec::kBaromTrend, kNoValue); // a station that never sent a rate
    EXPECT_EQ(Expand("<csvbaromtrend> <csvbaromtrendarrow>"), "Steady <trendsteady>");
}

TEST_F(ProcessTextTest, MissingWeatherValuesShowTheMarker) {
    EXPECT_EQ(Expand("<csvouttemp> <csvcomp> <csvweather> <csvmonth> <csvampm> <csvslbarom>"),
              "-1000 -1000 -1000 -1000 -1000 -1000");
    ASSERT_EQ(karvell_.AcceptLine(
                  test::StationLine(2005, 3, 7, 9, 0, 0).Set({{14, ""}, {15, "1013.2"}}).Text()),
              CSVStatus::Accepted);
    EXPECT_EQ(Expand("<csvouttemp>|<csvslbarom>|<csvampm>|<csv12h>|<csvweather>"),
              "-1000|-1000.0|am|9|Clear");
    karvell_.SetCSVData(rec::kWeather, 22);
    EXPECT_EQ(Expand("<csvweather>"), "Unknown");
}

TEST(TagWords, CompassSectorsAreCentredOnTheirPoints) {
    struct Case {
        double degrees;
        const char* point;
    };
    for (const Case& c : {Case{0, "N"},
                          {11.24, "N"},
                          {11.25, "NNE"},
                          {22.5, "NNE"},
                          {33.74, "NNE"},
                          {33.75, "NE"},
                          {90, "E"},
                          {180, "S"},
                          {191.25, "SSW"},
                          {270, "W"},
                          {348.74, "NNW"},
                          {348.75, "N"},
                          {360, "N"},
                          {450, "E"},
                          {-90, "W"},
                          {-11.25, "N"}}) {
        EXPECT_EQ(CompassPoint(c.degrees), c.point) << c.degrees;
    }
    EXPECT_EQ(ConditionWord(0), "Clear");
    EXPECT_EQ(ConditionWord(8), "Showers");
    EXPECT_EQ(ConditionWord(21), "Thundershowers");
    for (double bad : {-1.0, 22.0, 2.5})
        EXPECT_EQ(ConditionWord(bad), "Unknown") << bad;
}

// Run in a child so the locale of the other tests is untouched.
TEST(ProcessTextLocale, WeatherValuesFollowTheLocaleAndTimesDoNot) {
    EXPECT_EXIT(
        {
            setenv("LC_ALL", "de_DE.UTF-8", 1);
            InitNumberFormat();
            Karvell k;
            TagContext context;
            context.karvell = &k;
            context.now = At(2005, 3, 7, 13, 5, 9.5);
            const bool ok =
                k.AcceptLine(kLine) == CSVStatus::Accepted &&
                ProcessText("<csvouttemp> <csvbaromrate> <csvtotalrain> <TIME> <TIME10>",
                            context) == "12,30 -1,2 100,05 13:05:09 13:05:09.5";
            std::exit(ok ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace tess
