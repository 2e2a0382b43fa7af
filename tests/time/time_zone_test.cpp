#include "support/scoped_time_zone.h"
#include "support/temp_dir.h"
#include "time/clock.h"
#include "time/dates.h"
#include "time/time_zone.h"

#include <filesystem>

#include <gtest/gtest.h>

namespace tess {
namespace {

using test::At;

TEST(TimeZone, NameAndOffsetAreThoseInForceAtTheClocksNow) {
    test::ScopedTimeZone tz(test::kCentralEurope);
    Clock clock;
    TimeZone zone(clock);
    clock.SetFixed(At(2024, 1, 15, 12, 0, 0));
    EXPECT_EQ(zone.GetTimeZone(), "CET");
    EXPECT_EQ(zone.GMTOffset(), -1);
    clock.SetFixed(At(2024, 7, 1, 12, 0, 0));
    EXPECT_EQ(zone.GetTimeZone(), "CEST");
    EXPECT_EQ(zone.GMTOffset(), -2);
    clock.SetFixed(At(2024, 10, 27, 3, 0, 0)); // just after the change back
    EXPECT_EQ(zone.GetTimeZone(), "CET");

    test::ScopedTimeZone new_york("EST5EDT,M3.2.0,M11.1.0");
    clock.SetFixed(At(2024, 1, 15, 12, 0, 0));
    EXPECT_EQ(zone.GetTimeZone(), "EST");
    EXPECT_EQ(zone.GMTOffset(), 5);

    test::ScopedTimeZone india("IST-5:30");
    EXPECT_EQ(zone.GetTimeZone(), "IST");
    EXPECT_EQ(zone.GMTOffset(), -5.5);
}

class TimeZoneTable : public ::testing::Test {
protected:
    test::ScopedTimeZone tz_{test::kCentralEurope};
    test::TempDir dir_;
    std::string path_ = dir_.File("timezone.txt");
    Clock clock_{[] { return At(2024, 1, 15, 12, 0, 0); }};
    TimeZone zone_{clock_};
};

TEST_F(TimeZoneTable, FirstMatchingRowWinsWithoutRegardToCase) {
    test::WriteFileBytes(path_, "a line without a comma\r\n"
                                "  cet  ,  Central European Time  \r\n"
                                "CET,second row of the same name\r\n"
                                "CEST,Summer, Central Europe\r\n"
                                "\r\n");
    zone_.LoadTimeZoneLookup(path_);
    EXPECT_EQ(zone_.ConvertedTimeZone(), "Central European Time");
    clock_.SetFixed(At(2024, 7, 1, 12, 0, 0));
    EXPECT_EQ(zone_.ConvertedTimeZone(), "Summer, Central Europe"); // the second comma stays
}

TEST_F(TimeZoneTable, MissingFileOrZoneGivesTheNotDefinedText) {
    zone_.LoadTimeZoneLookup(path_);
    EXPECT_EQ(zone_.ConvertedTimeZone(), "Not defined in timezone.txt");
    EXPECT_FALSE(std::filesystem::exists(path_));

    test::WriteFileBytes(path_, "EST,Eastern\r\nCET\r\n");
    zone_.LoadTimeZoneLookup(path_);
    EXPECT_EQ(zone_.ConvertedTimeZone(), "Not defined in timezone.txt");

    // Loading again replaces the table (lines may end in LF alone); a file that went away
    // empties it.
    test::WriteFileBytes(path_, "UTC,Universal\nCET,Central");
    zone_.LoadTimeZoneLookup(path_);
    EXPECT_EQ(zone_.ConvertedTimeZone(), "Central");
    std::filesystem::remove(path_);
    zone_.LoadTimeZoneLookup(path_);
    EXPECT_EQ(zone_.ConvertedTimeZone(), "Not defined in timezone.txt");
}

TEST_F(TimeZoneTable, AByteOrderMarkDoesNotHideTheFirstRow) {
    test::WriteFileBytes(path_, "\xEF\xBB\xBF"
                                "CET,Central European Time\r\nCEST,Summer\r\n");
    zone_.LoadTimeZoneLookup(path_);
    EXPECT_EQ(zone_.ConvertedTimeZone(), "Central European Time");
}

} // namespace
} // namespace tess
