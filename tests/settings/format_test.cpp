#include "settings/format.h"
#include "settings/numbers.h"
#include "settings/vb_date.h"

#include <gtest/gtest.h>

namespace tess {
namespace {

double At(int y, int mo, int d, int h, int mi, int s) {
    return DateSerial(y, mo, d) + TimeSerial(h, mi, s);
}

TEST(Format, DatePatterns) {
    const double t = At(2005, 3, 4, 13, 5, 9); // a Friday
    EXPECT_EQ(FormatNI(t, "YYYY"), "2005");
    EXPECT_EQ(FormatNI(t, "YY"), "05");
    EXPECT_EQ(FormatNI(t, "MM"), "03");
    EXPECT_EQ(FormatNI(t, "M"), "3");
    EXPECT_EQ(FormatNI(t, " M"), " 3");
    EXPECT_EQ(FormatNI(t, "DD"), "04");
    EXPECT_EQ(FormatNI(t, "D"), "4");
    EXPECT_EQ(FormatNI(t, "MMMM"), "March");
    EXPECT_EQ(FormatNI(t, "MMM"), "Mar");
    EXPECT_EQ(FormatNI(t, "dddd"), "Friday");
    EXPECT_EQ(FormatNI(t, "HH:MM:SS"), "13:05:09");
    EXPECT_EQ(FormatNI(t, "HH"), "13");
    EXPECT_EQ(FormatNI(t, "H"), "13");
    EXPECT_EQ(FormatNI(t, "NN"), "05");
    EXPECT_EQ(FormatNI(t, "SS"), "09");
    EXPECT_EQ(FormatNI(t, "H:MM AM/PM"), "1:05 PM");
    EXPECT_EQ(FormatNI(t, "HH AM/PM"), "01 PM");
    EXPECT_EQ(FormatNI(t, "AM/PM"), "PM");
    EXPECT_EQ(FormatNI(t, "am/pm"), "pm");
    EXPECT_EQ(FormatNI(t, "HH:MM:SS AM/PM"), "01:05:09 PM");
    EXPECT_EQ(FormatNI(t, "YYMMDDHHMMSS"), "050304130509");
    EXPECT_EQ(FormatNI(t, "MM/DD/YY"), "03/04/05");
    EXPECT_EQ(FormatNI(t, "\"Month\" M"), "Month 3");
}

TEST(Format, MidnightNoonAndRounding) {
    EXPECT_EQ(FormatNI(At(2026, 1, 1, 0, 0, 0), "H:MM AM/PM"), "12:00 AM");
    EXPECT_EQ(FormatNI(At(2026, 1, 1, 12, 0, 0), "H:MM AM/PM"), "12:00 PM");
    EXPECT_EQ(FormatNI(At(2026, 1, 1, 12, 0, 0) + 0.99 / 86400, "HH:MM:SS"), "12:00:01");
    EXPECT_EQ(FormatNI(DateSerial(2026, 12, 31) + 0.9999999, "YYYY-MM-DD HH:MM:SS"),
              "2027-01-01 00:00:00");
    EXPECT_EQ(FormatNI(0.3125, "HH:MM:SS"), "07:30:00");
}

TEST(Format, DigitPatterns) {
    EXPECT_EQ(FormatNI(3, "00"), "03");
    EXPECT_EQ(FormatNI(12, "0000"), "0012");
    EXPECT_EQ(FormatNI(99999999, "00000000"), "99999999");
    EXPECT_EQ(FormatNI(7, "00000000"), "00000007");
    EXPECT_EQ(FormatNI(2.5, "0"), "3"); // half away from zero
    EXPECT_EQ(FormatNI(-2.5, "0"), "-3");
    EXPECT_EQ(FormatNI(0.125, "0.00"), "0.13");
    EXPECT_EQ(FormatNI(1.005, "0.00"), "1.01"); // rounded on the decimal form
    EXPECT_EQ(FormatNI(0.04, "0.0"), "0.0");
    EXPECT_EQ(FormatNI(-0.04, "0.0"), "0.0"); // no negative zero
    EXPECT_EQ(FormatNI(9.96, "0.0"), "10.0");
    EXPECT_EQ(FormatNI(0, "#"), "");
    EXPECT_EQ(FormatNI(5, "#"), "5");
    EXPECT_EQ(FormatNI(1234567.891, "#,##0.0"), "1,234,567.9");
    EXPECT_EQ(FormatNI(12.3, "#,##0.0"), "12.3");
    EXPECT_EQ(FormatNI(-1000, "0"), "-1000");
    EXPECT_EQ(FormatNI(1e-20, "0.00"), "0.00");
    EXPECT_EQ(FormatNI(123456789012.0, "0"), "123456789012");
}

} // namespace
} // namespace tess
