#include "base/error.h"
#include "settings/numbers.h"

#include <clocale>
#include <cstdio>
#include <cstdlib>

#include <gtest/gtest.h>

namespace tess {
namespace {

TEST(Numbers, Str2BoolAcceptsTrueYesAndOne) {
    EXPECT_TRUE(Str2Bool(" yes "));
    EXPECT_TRUE(Str2Bool("True"));
    EXPECT_TRUE(Str2Bool("1"));
    EXPECT_FALSE(Str2Bool("On"));
    EXPECT_FALSE(Str2Bool(""));
    EXPECT_FALSE(Str2Bool("-1"));
}

TEST(Numbers, InvariantReadingNeverFailsAndSaturates) {
    EXPECT_EQ(Str2LngNI("3000000000"), 2000000000);
    EXPECT_EQ(Str2LngNI("2000000000"), 2000000000);
    EXPECT_EQ(Str2LngNI("-3000000000"), INT32_MIN);
    EXPECT_EQ(Str2LngNI("&HFFFFFF"), 0xFFFFFF); // colours
    EXPECT_EQ(Str2LngNI("&h808080"), 0x808080);
    EXPECT_EQ(Str2LngNI(" 42 "), 42);
    EXPECT_EQ(Str2LngNI("2.5"), 2); // half to even, as CLng does
    EXPECT_EQ(Str2LngNI("3.5"), 4);
    EXPECT_EQ(Str2LngNI("junk"), 0);
    EXPECT_EQ(Str2LngNI(""), 0);
    EXPECT_EQ(Str2IntNI("40000"), 32767);
    EXPECT_DOUBLE_EQ(Str2DblNI("-1.25e2"), -125.0);
    EXPECT_DOUBLE_EQ(Str2DblNI(".5"), 0.5);
    EXPECT_DOUBLE_EQ(Str2DblNI("1e999"), 0.0);
    EXPECT_DOUBLE_EQ(Str2DblNI("nan"), 0.0);
    EXPECT_DOUBLE_EQ(Str2DblNI("1,5"), 0.0); // the invariant form has no comma
    EXPECT_FLOAT_EQ(Str2SngNI("7.5"), 7.5f);
}

TEST(Numbers, ConversionsRaiseTheClassicErrors) {
    EXPECT_EQ(CLngNI("12"), 12);
    EXPECT_EQ(CIntNI(-2.5), -2);
    try {
        CLngNI("twelve");
        FAIL();
    } catch (const TessError& e) {
        EXPECT_EQ(e.Number(), 13);
    }
    EXPECT_THROW(CIntNI(32768.0), TessError);
    EXPECT_THROW(CDateNI("25:00"), TessError);
}

TEST(Numbers, CStrNIWritesWhatSettingsFilesHold) {
    EXPECT_EQ(CStrNI(0.05), "0.05");
    EXPECT_EQ(CStrNI(7.5), "7.5");
    EXPECT_EQ(CStrNI(12000.0), "12000");
    EXPECT_EQ(CStrNI(-0.0), "0");
    EXPECT_EQ(CStrNI(0.1 + 0.2), "0.3");
    EXPECT_EQ(CStrNI(1.0 / 3.0), "0.333333333333333");
    EXPECT_EQ(CStrNI(1e20), "1E+20");
    EXPECT_EQ(CStrNI(0.1f), "0.1");
    EXPECT_EQ(CStrNI(-30), "-30");
    EXPECT_EQ(CStrNI(true), "True");
}

TEST(Numbers, DatesAndTimesReadInvariantly) {
    EXPECT_DOUBLE_EQ(CDateNI("12:00:00"), 0.5);
    EXPECT_DOUBLE_EQ(CDateNI("12.00.00"), 0.5); // dots read as colons
    EXPECT_DOUBLE_EQ(Str2DateNI("not a time"), 0.0);
    EXPECT_EQ(GetFormatI("12.30"), "0.00");
    EXPECT_EQ(GetFormatI("12"), "0");
    EXPECT_EQ(GetFormatI("-1000"), "0");
    EXPECT_EQ(GetFormatI("5."), "0");
}

// Run in a child so the locale of the other tests is untouched.
TEST(Numbers, DecimalCommaLocaleKeepsInvariantText) {
    EXPECT_EXIT(
        {
            setenv("LC_ALL", "de_DE.UTF-8", 1);
            InitNumberFormat();
            bool ok = DecimalCommaFlag() && CStrNI(1.5) == "1.5" && CDblNI("1.5") == 1.5 &&
                      Str2DblNI("1.5") == 1.5 && FormatI(1.5, "0.0") == "1,5" &&
                      FormatNI(1.5, "0.0") == "1.5" && FormatI(1234.5, "#,##0.0") == "1.234,5" &&
                      NumberSeparator() == "," && Str2Dbl("7,5") == 7.5 && Str2Dbl("7.5") == 7.5;
            char printed[16];
            std::snprintf(printed, sizeof printed, "%.1f", 1.5); // the C library stays invariant
            ok = ok && std::string(printed) == "1.5";
            std::exit(ok ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST(Numbers, LimitClampsInPlace) {
    int v = 5;
    Limit(v, 0, 3);
    EXPECT_EQ(v, 3);
    double d = -2000;
    Limit(d, -1440, 1440);
    EXPECT_EQ(d, -1440);
    EXPECT_DOUBLE_EQ(FP(45000.75), 0.75);
}

} // namespace
} // namespace tess
