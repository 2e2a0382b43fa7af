#include "capture/motion_detect.h"
#include "capture/motion_frames.h"
#include "imaging/tags/process_text.h"
#include "settings/vb_date.h"
#include "support/recording_script.h"

#include <cmath>
#include <vector>

#include <gtest/gtest.h>

namespace tess {
namespace {

using test::Flat;
using test::WithBlock;
using test::WithChannels;

constexpr int kW = 100, kH = 100; // 30,000 channels

// Every test runs twice: counting only what the trigger needs, and keeping the full histogram
// as the setup view does. Both must decide alike.
class MotionDetectTest : public ::testing::TestWithParam<bool> {
protected:
    MotionDetectTest() {
        motion_.SetEnabled(true);
        motion_.SetFeedNumber(2);
        motion_.SetClock(Clock([this] { return now_; }));
        test::AllowEveryScriptEvent(script_settings_);
        events_.SetHandler(&script_);
        motion_.SetScriptEvents(&events_);
        motion_.SetLastFrameInterval(1.0);
        motion_.SetKeepHistogram(GetParam());
    }
    // Feeds the frames in turn; returns which of them triggered.
    std::vector<int> Run(const std::vector<const DIB*>& frames) {
        std::vector<int> triggered;
        for (std::size_t i = 0; i < frames.size(); ++i) {
            const auto before = motion_.TriggerCount();
            motion_.DiffFrames(*frames[i]);
            if (motion_.TriggerCount() != before) triggered.push_back(static_cast<int>(i));
        }
        return triggered;
    }

    MotionDetect motion_;
    double now_ = DateSerial(2005, 3, 14) + TimeSerial(12, 5, 1);
    ScriptSettings script_settings_;
    ScriptEvents events_{script_settings_};
    test::RecordingScript script_;
};

TEST_P(MotionDetectTest, IdenticalFramesNeverTrigger) {
    motion_.SetCoverageLimit(0);
    motion_.SetCoverageLimit(0.01f);
    const DIB frame = WithBlock(Flat(kW, kH, 90), 10, 10, 20, 20, 200);
    EXPECT_FALSE(motion_.PreviousDataValid());
    EXPECT_TRUE(Run({&frame, &frame, &frame, &frame}).empty());
    EXPECT_TRUE(motion_.PreviousDataValid());
    EXPECT_EQ(motion_.View().coverage, 0.0f);
    EXPECT_EQ(motion_.View().histogram_valid, GetParam());
    if (GetParam()) {
        EXPECT_EQ(motion_.View().histogram[128], static_cast<std::uint32_t>(kW * kH * 3));
    }
    EXPECT_EQ(motion_.View().dark_min, 128);
    EXPECT_EQ(motion_.View().light_max, 128);
    EXPECT_EQ(motion_.LastMotionCoverage(), -1.0f);
    EXPECT_EQ(motion_.LastMotionTriggerTime(), 0.0);
    EXPECT_TRUE(script_.heard.empty());
}

TEST_P(MotionDetectTest, CoverageFollowsTheShareOfChangedChannels) {
    motion_.SetBrighterMotionLimit(150);
    motion_.SetDarkerMotionLimit(100);
    const DIB still = Flat(kW, kH, 100);
    // 300 of 30,000 channels (1 %) brighter by 60, 30 darker by 60, some below the limits.
    DIB moved = WithChannels(Flat(kW, kH, 100), 300, 160);
    moved = WithBlock(std::move(moved), 50, 50, 10, 1, 40);
    moved = WithBlock(std::move(moved), 70, 70, 10, 10, 110); // +10: not motion
    motion_.SetCoverageLimit(0.7f);
    EXPECT_TRUE(Run({&still, &moved}).empty());
    const float expected = static_cast<float>(1 + std::log10(330.0 / 30000) / 6);
    EXPECT_NEAR(motion_.View().coverage, expected, 1e-5);
    EXPECT_EQ(motion_.View().dark_min, 128 - 60);
    EXPECT_EQ(motion_.View().light_max, 128 + 60);

    motion_.SetCoverageLimit(0.65f);
    // Back to still is as much change as away from it.
    EXPECT_EQ(Run({&still, &moved}), (std::vector<int>{0, 1}));
    EXPECT_NEAR(motion_.LastMotionCoverage(), expected, 1e-5);
    EXPECT_EQ(motion_.LastDarkMin(), 68);
    EXPECT_EQ(motion_.LastLightMax(), 188);
    // A trigger always leaves the histogram and the difference picture for the views.
    EXPECT_TRUE(motion_.View().histogram_valid);
    EXPECT_EQ(motion_.View().histogram[188], 300u);
    EXPECT_EQ(motion_.DifferenceDIB().scanline(0)[0], 188);
    EXPECT_EQ(motion_.LastMotionTriggerTime(), now_);
    // Feed 2, counted from 1.
    EXPECT_EQ(script_.heard, (std::vector<std::string>{"MotionDetected(3)", "MotionDetected(3)"}));
    EXPECT_EQ(motion_.View().box_width, std::lround(kW * std::pow(10.0, 3 * 0.65 - 3)));
}

TEST_P(MotionDetectTest, DefaultLimitNeedsEveryChannelChangedToTheExtremes) {
    const DIB black = Flat(kW, kH, 0), white = Flat(kW, kH, 255);
    const DIB almost = WithBlock(Flat(kW, kH, 255), 3, 3, 1, 1, 100);
    const DIB grey = Flat(kW, kH, 126); // +126: one short of the top bin
    EXPECT_TRUE(Run({&black, &grey, &black, &almost}).empty());
    EXPECT_EQ(Run({&black, &white, &black}), (std::vector<int>{1, 2}));
    EXPECT_EQ(motion_.LastMotionCoverage(), 1.0f);
    EXPECT_EQ(motion_.LastDarkMin(), 0);
    EXPECT_EQ(motion_.LastLightMax(), 128); // the last trigger only got darker
}

TEST_P(MotionDetectTest, RestIntervalsInFramesAndSeconds) {
    const DIB black = Flat(8, 8, 0), white = Flat(8, 8, 255);
    const std::vector<const DIB*> flicker = {&black, &white, &black, &white, &black, &white,
                                             &black, &white, &black, &white, &black};
    motion_.SetMotionTriggerRestInterval(0);
    EXPECT_EQ(Run(flicker), (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));

    MotionDetect frames;
    frames.SetMotionTriggerRestInterval(-1);
    std::vector<int> every_second;
    for (int i = 0; i < 8; ++i) {
        const auto before = frames.TriggerCount();
        frames.DiffFrames(*flicker[i]);
        if (frames.TriggerCount() != before) every_second.push_back(i);
    }
    EXPECT_EQ(every_second, (std::vector<int>{1, 3, 5, 7}));

    MotionDetect seconds;
    seconds.SetMotionTriggerRestInterval(5);
    seconds.SetLastFrameInterval(1.0);
    std::vector<int> every_fifth;
    for (int i = 0; i < 11; ++i) {
        const auto before = seconds.TriggerCount();
        seconds.DiffFrames(*flicker[i]);
        if (seconds.TriggerCount() != before) every_fifth.push_back(i);
    }
    EXPECT_EQ(every_fifth, (std::vector<int>{4, 9}));
    EXPECT_EQ(seconds.MotionTriggerTime(), 1.0);

    seconds.SetLastFrameInterval(4000); // a camera back after an hour
    seconds.DiffFrames(black);
    seconds.DiffFrames(black);
    EXPECT_EQ(seconds.MotionTriggerTime(), MotionDetect::kMaxRestCounter);
}

TEST_P(MotionDetectTest, SizeChangeReprimesAndBadFramesAreSkipped) {
    const DIB big = Flat(40, 30, 0), small = Flat(20, 10, 255), empty;
    EXPECT_TRUE(Run({&big, &small, &big, &empty, &big}).empty());
    EXPECT_TRUE(motion_.PreviousDataValid());
    EXPECT_TRUE(motion_.Enabled());
    const DIB white = Flat(40, 30, 255);
    EXPECT_EQ(Run({&white}), (std::vector<int>{0})); // still compares after all that
    // Switched off and on again, a frame is not compared with the one from before.
    motion_.SetEnabled(false);
    motion_.SetEnabled(true);
    EXPECT_FALSE(motion_.PreviousDataValid());
    EXPECT_TRUE(Run({&big}).empty());
    // A camera that changes its size on every frame never triggers and never stops the detector.
    const DIB wide = Flat(64, 8, 255);
    for (int i = 0; i < 10; ++i)
        EXPECT_TRUE(Run({i % 2 ? &wide : &big}).empty());
    EXPECT_TRUE(motion_.Enabled());
    const DIB odd = Flat(33, 7, 0); // rows padded to 4 bytes
    EXPECT_TRUE(Run({&odd, &odd}).empty());
    if (GetParam()) {
        EXPECT_EQ(motion_.View().histogram[128], 33u * 7 * 3);
    }
}

TEST_P(MotionDetectTest, TagsShowTheTriggerTime) {
    const DIB black = Flat(8, 8, 0), white = Flat(8, 8, 255);
    Run({&black, &white});
    TagContext context;
    context.motion_time = [this](int feed) {
        return feed == motion_.FeedNumber() ? motion_.LastMotionTriggerTime() : 0.0;
    };
    EXPECT_EQ(ProcessText("<MotionDetectTime2> <MotionDetectDate2>", context), "12:05:01 03/14/05");
}

TEST_P(MotionDetectTest, LightChangeGuardKeepsPeopleButNotSunrise) {
    motion_.SetBrighterMotionLimit(150);
    motion_.SetDarkerMotionLimit(100);
    motion_.SetCoverageLimit(0.5f);
    motion_.SetLightChangeGuard(60);
    const DIB dusk = Flat(kW, kH, 60), day = Flat(kW, kH, 160);
    const DIB person = WithBlock(Flat(kW, kH, 160), 40, 20, 12, 50, 20);
    EXPECT_TRUE(Run({&dusk, &day}).empty());
    EXPECT_EQ(Run({&person}), (std::vector<int>{0}));
    motion_.SetLightChangeGuard(0);
    EXPECT_EQ(Run({&dusk}), (std::vector<int>{0}));
}

INSTANTIATE_TEST_SUITE_P(CountsAndHistogram, MotionDetectTest, ::testing::Bool());

} // namespace
} // namespace tess
