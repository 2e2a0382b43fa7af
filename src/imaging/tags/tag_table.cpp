#include "imaging/tags/tag_table.h"

#include "weather/weather_record.h"

namespace tess {

namespace {

using K = TagKind;

constexpr TagDef kZoneTags[] = {
    // The system names zones by their abbreviation here, so the first two agree; the long
    // form is the user's, from timezone.txt.
    {"<TIMEZONE>", K::ZoneName},
    {"<TIMEZONEABBREV>", K::ZoneName},
    {"<TIMEZONELOOKUP>", K::ZoneLookup},
};

constexpr TagDef kSunTags[] = {
    {"<SUNRISE>", K::Sunrise, 0, 0, "H:MM AM/PM"},
    {"<SUNSET>", K::Sunset, 0, 0, "H:MM AM/PM"},
    {"<SUNRISE24H>", K::Sunrise, 0, 0, "HH:MM"},
    {"<SUNSET24H>", K::Sunset, 0, 0, "HH:MM"},
};

constexpr TagDef kDateTags[] = {
    {"<DATEYY>", K::Now, 0, 0, "YY"},          {"<DATEYYYY>", K::Now, 0, 0, "YYYY"},
    {"<DATE0M>", K::Now, 0, 0, "MM"},          {"<DATEM>", K::Now, 0, 0, "M"},
    {"<DATE M>", K::Now, 0, 0, " M"},          {"<DATEMONTH>", K::Now, 0, 0, "MMMM"},
    {"<DATE0D>", K::Now, 0, 0, "DD"},          {"<DATED>", K::Now, 0, 0, "D"},
    {"<DATE D>", K::Now, 0, 0, " D"},          {"<DATE>", K::Now, 0, 0, "MM/DD/YYYY"},
    {"<DATESHORTMONTH>", K::Now, 0, 0, "MMM"}, {"<DATEFORMALDAY>", K::NowFormalDay},
};

constexpr TagDef kTimeTags[] = {
    {"<TIME>", K::Now, 0, 0, "HH:MM:SS"},
    {"<TIME12H>", K::Now, 0, 0, "HH:MM:SS AM/PM"},
    {"<TIMEAMPM>", K::Now, 0, 0, "AM/PM"},
    {"<TIMEHH>", K::Now, 0, 0, "HH"},
    {"<TIME0H>", K::Now, 0, 0, "HH"},
    {"<TIMEH>", K::Now, 0, 0, "H"},
    {"<TIME H>", K::Now, 0, 0, " H"},
    {"<TIMEHH12H>", K::Now, 0, 0, "HH AM/PM"},
    {"<TIME0H12H>", K::Now, 0, 0, "HH AM/PM"},
    {"<TIMEH12H>", K::Now, 0, 0, "H AM/PM"},
    {"<TIME H12H>", K::Now, 0, 0, " H AM/PM"},
    {"<TIMEMM>", K::Now, 0, 0, "NN"},
    {"<TIMESS>", K::Now, 0, 0, "SS"},
    {"<TIME10>", K::NowFraction, 1, 0, "HH:MM:SS"},
    {"<TIME100>", K::NowFraction, 2, 0, "HH:MM:SS"},
    {"<TIME1012H>", K::NowFraction, 1, 0, "HH:MM:SS AM/PM"},
    {"<TIME10012H>", K::NowFraction, 2, 0, "HH:MM:SS AM/PM"},
    {"<TIME10S>", K::NowFraction, 1, 0, "SS"},
    {"<TIME100S>", K::NowFraction, 2, 0, "SS"},
};

constexpr TagDef kMotionTags[] = {
    {"<MotionDetectTime", K::Motion, 0, 0, "HH:MM:SS"},
    {"<MotionDetectDate", K::Motion, 0, 0, "MM/DD/YY"},
};

// Measured values: the tag and its column, whose text also gives the decimals shown.
constexpr TagDef Column(std::string_view name, int column) {
    return {name, K::Value, column, column};
}
// Derived values: the record index and the column they come from.
constexpr TagDef Derived(std::string_view name, int index, int column) {
    return {name, K::Value, index, column};
}

constexpr TagDef kWeatherTags[] = {
    {"<csvyyyy>", K::StationNumber, rec::kYear, 0, "0000"},
    {"<csvyy>", K::StationYear2, rec::kYear},
    {"<csvm>", K::StationNumber, 3, 0, "0"},
    {"<csvmonth>", K::StationMonthName},
    {"<csvd>", K::StationNumber, 4, 0, "0"},
    {"<csv12h>", K::StationHour12},
    {"<csv24h>", K::StationNumber, 5, 0, "00"},
    {"<csvampm>", K::StationAmPm, 0},
    {"<CSVampm>", K::StationAmPm, 0},
    {"<csvAMPM>", K::StationAmPm, 1},
    {"<CSVAMPM>", K::StationAmPm, 1},
    {"<csvmin>", K::StationNumber, 6, 0, "00"},
    {"<csvsec>", K::StationNumber, 7, 0, "00"},
    {"<csvsunrise>", K::Sunrise, 0, 0, "H:MM AM/PM"},
    {"<csvsunset>", K::Sunset, 0, 0, "H:MM AM/PM"},
    {"<csvsunrise24h>", K::Sunrise, 0, 0, "HH:MM"},
    {"<csvsunset24h>", K::Sunset, 0, 0, "HH:MM"},

    Column("<csvwind>", 8),
    Column("<csvgust>", 9),
    Column("<csvdir>", 10),
    {"<csvcomp>", K::Compass, rec::kDirection},
    Column("<csvinhum>", 11),
    Column("<csvouthum>", 12),
    Column("<csvintemp>", 13),
    Column("<csvouttemp>", 14),
    Column("<csvbarom>", 15),
    Column("<csvtotalrain>", 16),
    Column("<csvdailyrain>", 17),
    Column("<csvhourlyrain>", 18),
    {"<csvweather>", K::Condition, rec::kWeather},
    Column("<csvch1temp>", 20),
    Column("<csvch1hum>", 21),
    Column("<csvch2temp>", 22),
    Column("<csvch2hum>", 23),
    Column("<csvch3temp>", 24),
    Column("<csvch3hum>", 25),
    Column("<csvevap>", 26),
    Column("<csvuvindex>", 27),
    Column("<csvsolarrad>", 28),
    Column("<csvchill>", 29),
    Column("<csvinheat>", 30),
    Column("<csvoutheat>", 31),
    Column("<csvdew>", 32),
    Column("<csvrainrate>", 33),
    Column("<csvouttemprate>", 34),
    Column("<csvintemprate>", 35),
    Column("<csvbaromrate>", 36),
    Column("<csvch1temprate>", 37),
    Column("<csvch2temprate>", 38),
    Column("<csvch3temprate>", 39),
    Column("<csvmonthlyrain>", 40),
    Column("<csvyearlyrain>", 41),

    Derived("<csvmaxtemptoday>", rec::kMaxTempToday, rec::kOutTemp),
    Derived("<csvmintemptoday>", rec::kMinTempToday, rec::kOutTemp),
    Derived("<csvmaxtempyesterday>", rec::kMaxTempYesterday, rec::kOutTemp),
    Derived("<csvmintempyesterday>", rec::kMinTempYesterday, rec::kOutTemp),
    Derived("<csvmaxgusttoday>", rec::kMaxGustToday, rec::kGust),
    Derived("<csvmaxgustyesterday>", rec::kMaxGustYesterday, rec::kGust),
    Derived("<csvrainyesterday>", rec::kRainYesterday, rec::kDailyRain),
    Derived("<csvslbarom>", rec::kSeaLevelBarometer, rec::kBarometer),
    Derived("<csvstatwind>", rec::kStatWind, rec::kWind),
    Derived("<CSVSTATWIND>", rec::kStatWind, rec::kWind),
    Derived("<csvstatdir>", rec::kStatDirection, rec::kDirection),
    Derived("<CSVSTATDIR>", rec::kStatDirection, rec::kDirection),
    Derived("<csvstatgust>", rec::kStatGust, rec::kGust),
    Derived("<CSVSTATGUST>", rec::kStatGust, rec::kGust),
    {"<csvstatcomp>", K::Compass, rec::kStatDirection},
    {"<CSVSTATCOMP>", K::Compass, rec::kStatDirection},

    {"<csvbaromtrend>", K::TrendWord, rec::kBaromTrend},
    {"<CSVBAROMTREND>", K::TrendWord, rec::kBaromTrend},
    {"<csvtemptrend>", K::TrendWord, rec::kTempTrend},
    {"<CSVTEMPTREND>", K::TrendWord, rec::kTempTrend},
    {"<csvbaromtrendarrow>", K::TrendMarker, rec::kBaromTrend},
    {"<CSVBAROMTRENDARROW>", K::TrendMarker, rec::kBaromTrend},
    {"<csvtemptrendarrow>", K::TrendMarker, rec::kTempTrend},
    {"<CSVTEMPTRENDARROW>", K::TrendMarker, rec::kTempTrend},
};

constexpr TagGroup kGroups[] = {
    {"<TIMEZONE", kZoneTags},       {"<SUN", kSunTags},
    {"<DATE", kDateTags},           {"<TIME", kTimeTags},
    {"<MOTIONDETECT", kMotionTags}, {"<CSV", kWeatherTags},
};

} // namespace

std::span<const TagGroup> TagGroups() {
    return kGroups;
}

} // namespace tess
