#include "settings/ini.h"
#include "settings/limit.h"
#include "settings/vb_date.h"
#include "support/temp_dir.h"
#include "time/schedule.h"
#include "time/sun_times.h"

#include <vector>

#include <gtest/gtest.h>

namespace tess {
namespace {

class FakeSun : public SunTimes {
public:
    double Sunrise() override {
        ++calls;
        return rise;
    }
    double Sunset() override {
        ++calls;
        return set;
    }
    double rise = TimeSerial(6, 0, 0);
    double set = TimeSerial(21, 0, 0);
    int calls = 0;
};

// A time of day as the window compares it: exactly, so that both ends can be hit.
double On(int hour, int minute, int second = 0) {
    return TimeSerial(hour, minute, second);
}

class ScheduleTest : public ::testing::Test {
protected:
    void Window(int start_mode, double start, int stop_mode, double stop) {
        schedule_.SetScheduleMode(1);
        schedule_.SetStartMode(start_mode);
        schedule_.SetStopMode(stop_mode);
        if (start_mode == 0) schedule_.SetStartAbsoluteTime(start);
        if (start_mode == 1) schedule_.SetStartSunriseOffset(start);
        if (start_mode == 2) schedule_.SetStartSunsetOffset(start);
        if (stop_mode == 0) schedule_.SetStopAbsoluteTime(stop);
        if (stop_mode == 1) schedule_.SetStopSunriseOffset(stop);
        if (stop_mode == 2) schedule_.SetStopSunsetOffset(stop);
    }
    // Expects the window open at the `on` times and closed at the `off` times.
    void ExpectWindow(std::vector<double> on, std::vector<double> off) {
        for (double t : on)
            EXPECT_TRUE(schedule_.EnableNow(t)) << FP(t) * 24 << " h";
        for (double t : off)
            EXPECT_FALSE(schedule_.EnableNow(t)) << FP(t) * 24 << " h";
    }

    FakeSun sun_;
    Schedule schedule_{sun_};
};

TEST_F(ScheduleTest, AbsoluteWindowsIncludeBothEndsAndMaySpanMidnight) {
    Window(0, TimeSerial(22, 0, 0), 0, TimeSerial(6, 0, 0));
    ExpectWindow({On(23, 30), On(5, 59), On(6, 0, 0), On(22, 0, 0), On(0, 0)},
                 {On(12, 0), On(6, 0, 1), On(21, 59, 59)});
    Window(0, TimeSerial(7, 0, 0), 0, TimeSerial(19, 0, 0));
    ExpectWindow({On(7, 0), On(12, 0), On(19, 0, 0)}, {On(6, 59, 59), On(19, 0, 1), On(0, 0)});
    // The date part of "now" does not count.
    ExpectWindow({DateSerial(2024, 5, 6) + On(12, 0)}, {DateSerial(2024, 5, 6) + On(20, 0)});
    EXPECT_EQ(sun_.calls, 0);
}

TEST_F(ScheduleTest, EqualEndsAndAllDayModeAreAlwaysOn) {
    schedule_.SetScheduleMode(1); // ends both 0, as after Reset
    ExpectWindow({On(0, 0), On(12, 0), On(23, 59, 59)}, {});
    Window(0, TimeSerial(10, 0, 0), 0, TimeSerial(10, 0, 0));
    ExpectWindow({On(3, 0), On(10, 0), On(17, 0)}, {});
    Window(0, TimeSerial(7, 0, 0), 0, TimeSerial(19, 0, 0));
    schedule_.SetScheduleMode(0);
    ExpectWindow({On(3, 0), On(23, 0)}, {});
}

TEST_F(ScheduleTest, SunRelativeEndsAreNotWrappedIntoTheDay) {
    // Sunset 21:00 + 300 min is 1.0833, which no time of day reaches: with a stop at 23:00
    // the window counts as spanning midnight and is on until 23:00, nearly all day.
    Window(2, 300, 0, TimeSerial(23, 0, 0));
    ExpectWindow({On(0, 0), On(12, 0), On(23, 0, 0)}, {On(23, 0, 1), On(23, 59)});

    // Sunset + 30 min to sunrise - 15 min: 21:30 to 05:45.
    Window(2, 30, 1, -15);
    ExpectWindow({On(21, 30), On(23, 0), On(5, 45)}, {On(21, 29), On(5, 46), On(12, 0)});

    // Sunrise at 00:10 less 30 min is below 0: the stop is never reached after midnight.
    sun_.rise = TimeSerial(0, 10, 0);
    Window(0, TimeSerial(22, 0, 0), 1, -30);
    ExpectWindow({On(22, 0), On(23, 59)}, {On(0, 5), On(21, 0)});

    // Without sun times (polar days) the ends collapse to midnight plus the offsets.
    sun_.rise = sun_.set = 0;
    Window(1, 60, 2, 120);
    ExpectWindow({On(1, 0), On(2, 0)}, {On(0, 59), On(2, 1), On(21, 30)});
}

TEST_F(ScheduleTest, SettersClampAndMarkOnlyRealChanges) {
    schedule_.SetStartMode(0);
    schedule_.SetStartAbsoluteTime(0);
    schedule_.SetStopSunsetOffset(0);
    EXPECT_FALSE(schedule_.NeedsSaving());

    schedule_.SetStartMode(5);
    EXPECT_EQ(schedule_.StartMode(), WindowEnd::Sunset);
    EXPECT_TRUE(schedule_.NeedsSaving());
    schedule_.SetStartSunriseOffset(-2000);
    EXPECT_EQ(schedule_.StartSunriseOffset(), -1440);
    schedule_.SetStartAbsoluteTime(1.0);
    EXPECT_EQ(schedule_.StartAbsoluteTime(), 0.99988427);

    schedule_.SetNeedsSaving(false);
    schedule_.SetStartMode(2);
    EXPECT_FALSE(schedule_.NeedsSaving());
    // A value that clamps to the stored one is an equal value: nothing changes.
    schedule_.SetStartMode(5);
    schedule_.SetStartSunriseOffset(-2000);
    schedule_.SetStartAbsoluteTime(3.5);
    EXPECT_FALSE(schedule_.NeedsSaving());

    schedule_.Reset();
    EXPECT_EQ(schedule_.StartMode(), WindowEnd::Time);
    EXPECT_EQ(schedule_.StartSunriseOffset(), 0);
    EXPECT_FALSE(schedule_.NeedsSaving()); // left as it was
}

TEST_F(ScheduleTest, RedrawsItsCanvasOnEveryChangeOfState) {
    std::vector<int> redraws;
    schedule_.SetRedrawCallback([&redraws](int canvas) { redraws.push_back(canvas); });
    Window(0, TimeSerial(7, 0, 0), 0, TimeSerial(19, 0, 0));

    // Without a canvas nothing is redrawn.
    schedule_.EnableNow(On(12, 0));
    schedule_.EnableNow(On(20, 0));
    schedule_.EnableNow(On(12, 0));
    EXPECT_TRUE(redraws.empty());

    schedule_.SetCanvasIndex(3);
    schedule_.EnableNow(On(13, 0)); // still on: no change
    schedule_.EnableNow(On(20, 0));
    schedule_.EnableNow(On(21, 0));
    schedule_.EnableNow(On(8, 0));
    EXPECT_EQ(redraws, (std::vector<int>{3, 3}));

    // After Reset the window counts as closed, so the first "on" is a change again.
    schedule_.Reset();
    schedule_.EnableNow(On(8, 0));
    EXPECT_EQ(redraws, (std::vector<int>{3, 3, 3}));
}

TEST_F(ScheduleTest, DescriptionsReadAsUsersKnowThem) {
    EXPECT_EQ(schedule_.Description(), "24-hours");
    Window(0, TimeSerial(7, 0, 0), 0, TimeSerial(19, 0, 0));
    EXPECT_EQ(schedule_.Description(), "07:00:00 to 19:00:00");
    Window(2, 30, 1, -15);
    EXPECT_EQ(schedule_.Description(), "sunset+30 min to sunrise-15 minutes");
    schedule_.SetStartSunsetOffset(0);
    schedule_.SetStopSunriseOffset(0);
    EXPECT_EQ(schedule_.Description(), "sunset to sunrise");
    Window(1, 0, 0, TimeSerial(22, 0, 0));
    EXPECT_EQ(schedule_.Description(), "sunrise to 22:00:00");
    Window(1, 7.5, 2, -30);
    EXPECT_EQ(schedule_.Description(), "sunrise+7.5 min to sunset-30 min");
}

TEST(ScheduleSettings, SavedInCanvasFileOrderAndReadBack) {
    test::TempDir dir;
    FakeSun sun;
    Schedule saved(sun);
    saved.SetScheduleMode(1);
    saved.SetStartMode(0);
    saved.SetStopMode(2);
    saved.SetStartAbsoluteTime(TimeSerial(7, 30, 0));
    saved.SetStopAbsoluteTime(1.0);
    saved.SetStartSunsetOffset(30);
    saved.SetStopSunriseOffset(-15);
    saved.SetStopSunsetOffset(7.5);
    INI ini(dir.File("a.can"));
    saved.SaveSettings(ini, "FixedCaptureSchedule");
    EXPECT_EQ(test::ReadFileBytes(dir.File("a.can")), "[FixedCaptureSchedule]\r\n"
                                                      "ScheduleMode=1\r\n"
                                                      "StartMode=0\r\n"
                                                      "StopMode=2\r\n"
                                                      "StartAbsoluteTime=0.3125\r\n"
                                                      "StartSunriseOffset=0\r\n"
                                                      "StartSunsetOffset=30\r\n"
                                                      "StopAbsoluteTime=0.99988427\r\n"
                                                      "StopSunriseOffset=-15\r\n"
                                                      "StopSunsetOffset=7.5\r\n");

    Schedule loaded(sun);
    loaded.LoadSettings(ini, "FixedCaptureSchedule");
    EXPECT_EQ(loaded.Description(), saved.Description());
    EXPECT_EQ(loaded.StopSunriseOffset(), -15);
    EXPECT_NEAR(loaded.StopAbsoluteTime(), saved.StopAbsoluteTime(), 1.0 / 86400);
    EXPECT_FALSE(loaded.NeedsSaving());
}

TEST(ScheduleSettings, MissingKeysAreWrittenAndBadValuesClamped) {
    test::TempDir dir;
    test::WriteFileBytes(dir.File("b.can"), "[WebServerSchedule]\r\n"
                                            "StartMode=7\r\n"
                                            "StartSunriseOffset=-5000\r\n"
                                            "StopAbsoluteTime=not a time\r\n");
    FakeSun sun;
    Schedule schedule(sun);
    INI ini(dir.File("b.can"));
    schedule.LoadSettings(ini, "webserverschedule");
    EXPECT_EQ(schedule.StartMode(), WindowEnd::Sunset);
    EXPECT_EQ(schedule.StartSunriseOffset(), -1440);
    EXPECT_EQ(schedule.StopAbsoluteTime(), 0);
    EXPECT_EQ(test::ReadFileBytes(dir.File("b.can")), "[WebServerSchedule]\r\n"
                                                      "StartMode=7\r\n"
                                                      "StartSunriseOffset=-5000\r\n"
                                                      "StopAbsoluteTime=not a time\r\n"
                                                      "ScheduleMode=0\r\n"
                                                      "StopMode=0\r\n"
                                                      "StartAbsoluteTime=0\r\n"
                                                      "StartSunsetOffset=0\r\n"
                                                      "StopSunriseOffset=0\r\n"
                                                      "StopSunsetOffset=0\r\n");
}

} // namespace
} // namespace tess
