#pragma once

// One weather record: the station time at index 0, the CSV columns 1..99 and the values we
// derive from them at 100..119. Scripts and the history ring see records of exactly this
// size (120 doubles, 960 bytes).

#include <array>

namespace tess {

// "No value": a column the line does not carry, or one whose text is not a number.
inline constexpr double kNoValue = -1000;

inline constexpr int kCSVColumns = 100; // record indexes 0..99 hold the station's line
inline constexpr int kRecordSize = 120;

using WeatherRecord = std::array<double, kRecordSize>;

// Where the columns and derived values sit in a record.
namespace rec {
inline constexpr int kTime = 0;
inline constexpr int kVersion = 1;
inline constexpr int kYear = 2; // 2..7: year, month, day, hour, minute, second
inline constexpr int kWind = 8;
inline constexpr int kGust = 9;
inline constexpr int kDirection = 10;
inline constexpr int kOutTemp = 14;
inline constexpr int kBarometer = 15;
inline constexpr int kDailyRain = 17;
inline constexpr int kWeather = 19;
inline constexpr int kOutTempRate = 34;
inline constexpr int kBaromRate = 36;

inline constexpr int kMaxTempToday = 100;
inline constexpr int kMinTempToday = 101;
inline constexpr int kMaxTempYesterday = 102;
inline constexpr int kMinTempYesterday = 103;
inline constexpr int kBaromTrend = 104;
inline constexpr int kTempTrend = 105;
inline constexpr int kStatWind = 106;
inline constexpr int kStatDirection = 107;
inline constexpr int kStatGust = 108;
inline constexpr int kMaxGustYesterday = 109;
inline constexpr int kMaxGustToday = 110;
inline constexpr int kRainToday = 111;
inline constexpr int kRainYesterday = 112;
inline constexpr int kSeaLevelBarometer = 115;
} // namespace rec

} // namespace tess
