#include "capture/video_feed.h"

#include <gtest/gtest.h>

namespace tess {
namespace {

TEST(VideoFeedSettings, WithoutADriverNothingSwitchesOn) {
    VideoFeed feed;
    feed.SetEnabled(true);
    EXPECT_FALSE(feed.Enabled());
    EXPECT_FALSE(feed.NeedsSaving());
    feed.SetFeedName("USB Camera");
    EXPECT_EQ(feed.FeedName(), ""); // a name belongs to a driver

    feed.SetVfWInput(3);
    EXPECT_EQ(feed.MotionDetect().FeedNumber(), 3);
    EXPECT_EQ(feed.FeedName(), "USB Camera");
    feed.SetEnabled(true);
    EXPECT_TRUE(feed.Enabled());
    feed.SetVfWInput(5); // not while the feed is open
    EXPECT_EQ(feed.VfWInput(), 3);
    feed.SetEnabled(false);
    feed.SetVfWInput(12);
    EXPECT_EQ(feed.VfWInput(), VideoFeed::kNoInput);
}

TEST(VideoFeedSettings, RatesAndMotionLimitsAreClamped) {
    VideoFeed feed;
    feed.SetRate(0.001);
    EXPECT_EQ(feed.Rate(), 1.0 / 60);
    feed.SetNeedsSaving(false);
    feed.SetRate(0); // clamps to the stored value: no change
    EXPECT_FALSE(feed.NeedsSaving());

    MotionDetect& m = feed.MotionDetect();
    m.SetMotionTriggerRestInterval(90);
    EXPECT_EQ(m.MotionTriggerRestInterval(), 60);
    m.SetMotionTriggerRestInterval(-100);
    EXPECT_EQ(m.MotionTriggerRestInterval(), -60);
    m.SetBrighterMotionLimit(100);
    EXPECT_EQ(m.BrighterMotionLimit(), 128);
    m.SetDarkerMotionLimit(-100);
    EXPECT_EQ(m.DarkerMotionLimit(), 0);
    m.SetCoverageLimit(100);
    EXPECT_EQ(m.CoverageLimit(), 1.0f);
    EXPECT_TRUE(feed.NeedsSaving());
    feed.SetNeedsSaving(false);
    EXPECT_FALSE(m.NeedsSaving());
}

} // namespace
} // namespace tess
