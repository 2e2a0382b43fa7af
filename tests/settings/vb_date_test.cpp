#include "settings/vb_date.h"

#include <gtest/gtest.h>

namespace tess {
namespace {

TEST(VbDate, SerialsMatchTheClassicCalendar) {
    EXPECT_EQ(DateSerial(1899, 12, 30), 0);
    EXPECT_EQ(DateSerial(1900, 1, 1), 2);
    EXPECT_EQ(DateSerial(2000, 1, 1), 36526);
    EXPECT_EQ(DateSerial(2026, 11, 22), 46348);
    EXPECT_EQ(DateSerial(2024, 13, 1), DateSerial(2025, 1, 1)); // months roll over
    EXPECT_EQ(DateSerial(2024, 3, 0), DateSerial(2024, 2, 29)); // day 0 is the day before
    EXPECT_EQ(DateSerial(2024, 0, 1), DateSerial(2023, 12, 1));
}

TEST(VbDate, SplitIsTheInverseAcrossYearsAndLeapDays) {
    for (int y : {1900, 1999, 2000, 2024, 2100}) {
        for (int m = 1; m <= 12; ++m) {
            for (int d = 1; d <= DaysInMonth(y, m); d += 7) {
                DateFields f = SplitDate(DateSerial(y, m, d) + TimeSerial(23, 59, 59));
                ASSERT_EQ(f.year, y);
                ASSERT_EQ(f.month, m);
                ASSERT_EQ(f.day, d);
                ASSERT_EQ(f.hour * 3600 + f.minute * 60 + f.second, 86399);
            }
        }
    }
    DateFields f = SplitDate(DateSerial(2024, 12, 31));
    EXPECT_EQ(f.day_of_year, 366);
    EXPECT_EQ(f.weekday, 3);            // a Tuesday
    EXPECT_EQ(SplitDate(0).weekday, 7); // 1899-12-30 was a Saturday
}

TEST(VbDate, ParsesTheTextForms) {
    double d = 0;
    ASSERT_TRUE(ParseDateText("2005-3-4 13:5:0", d));
    EXPECT_DOUBLE_EQ(d, DateSerial(2005, 3, 4) + TimeSerial(13, 5, 0));
    ASSERT_TRUE(ParseDateText("03/04/05", d));
    EXPECT_DOUBLE_EQ(d, DateSerial(2005, 3, 4));
    ASSERT_TRUE(ParseDateText("12/31/1999 11:59 PM", d));
    EXPECT_DOUBLE_EQ(d, DateSerial(1999, 12, 31) + TimeSerial(23, 59, 0));
    ASSERT_TRUE(ParseDateText("12:30AM", d));
    EXPECT_DOUBLE_EQ(d, TimeSerial(0, 30, 0));
    ASSERT_TRUE(ParseDateText(" 07:30 ", d));
    EXPECT_DOUBLE_EQ(d, 0.3125);
    ASSERT_TRUE(ParseDateText("0.5", d));
    EXPECT_DOUBLE_EQ(d, 0.5);
    for (const char* bad : {"", "24:00:00", "12:60", "2005-02-30", "13/01/2000", "noon", "13:00 PM",
                            "1:2:3:4", "2005-01-01 x"}) {
        EXPECT_FALSE(ParseDateText(bad, d)) << bad;
    }
}

} // namespace
} // namespace tess
