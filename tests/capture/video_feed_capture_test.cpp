#include "capture/frame_rate_choices.h"
#include "capture/padded_size.h"
#include "capture/video_feed.h"
#include "imaging/jpeg.h"
#include "scripted_driver.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace tess {
namespace {

constexpr double kSecond = 1.0 / 86400;
constexpr double kStart = 46000.5; // noon, some day

struct FeedFixture : ::testing::Test {
    ScriptedCatalog catalog;
    CaptureServices services;
    double now = kStart;
    std::vector<std::string> messages;

    FeedFixture() {
        services.drivers = &catalog;
        services.now = [this] { return now; };
        services.message = [this](std::string_view text, std::string_view caption) {
            messages.push_back(std::string(caption) + ": " + std::string(text));
        };
        catalog.names[0] = "Test Camera";
    }
    void Attach(VideoFeed& feed, int index) {
        feed.SetCaptureServices(&services);
        feed.SetVfWInput(index);
    }
    // A 24-bit frame of one colour, rows padded, as a driver delivers it.
    void Offer(int index, int width, int height, std::uint8_t blue) {
        ScriptedCamera& camera = catalog.cameras[index];
        camera.width = width;
        camera.height = height;
        camera.frame.assign(static_cast<std::size_t>(PaddedSize(width, height, 3)), 0);
        const std::size_t pitch = static_cast<std::size_t>(PaddedSize(width, 1, 3));
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                camera.frame[y * pitch + x * 3] = blue;
        camera.has_frame = true;
    }
};

TEST_F(FeedFixture, OpeningConnectsWithOneRetryAndFailsWithTheMessage) {
    VideoFeed feed;
    Attach(feed, 0);
    catalog.cameras[0].connect_failures = 1;
    feed.SetEnabled(true);
    EXPECT_TRUE(feed.Enabled());
    EXPECT_TRUE(feed.IsOpen());
    EXPECT_EQ(catalog.cameras[0].connects, 2);
    EXPECT_EQ(feed.FeedName(), "Test Camera");
    EXPECT_EQ(feed.NextTime(), kStart);
    EXPECT_TRUE(messages.empty());
    feed.SetEnabled(false);
    EXPECT_FALSE(feed.IsOpen());

    catalog.cameras[0].connect_failures = 2;
    feed.SetEnabled(true);
    EXPECT_FALSE(feed.Enabled());
    EXPECT_FALSE(feed.IsOpen());
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0], "Error: Error:  Could not connect to capture device.");

    VideoFeed empty; // an index without a driver
    Attach(empty, 4);
    empty.SetEnabled(true);
    EXPECT_FALSE(empty.Enabled());
    EXPECT_EQ(messages.size(), 2u);
}

TEST_F(FeedFixture, IdenticalCamerasAreNumberedInIndexOrder) {
    catalog.names = {"USB Camera", "USB Camera", "Gate", "", "", "", "", "", "", ""};
    VideoFeed first, second, gate;
    Attach(first, 0);
    Attach(second, 1);
    Attach(gate, 2);
    EXPECT_EQ(first.GetFeedName(), "(1) USB Camera");
    EXPECT_EQ(second.GetFeedName(), "(2) USB Camera");
    EXPECT_EQ(gate.GetFeedName(), "Gate");
    second.SetEnabled(true);
    EXPECT_EQ(second.FeedName(), "(2) USB Camera");
}

// One grab outstanding at a time; NextTime paces the grabs; a lost frame is asked again
// five seconds after the last one arrived.
TEST_F(FeedFixture, GrabRuleAndWatchdog) {
    VideoFeed feed;
    Attach(feed, 0);
    feed.SetRate(2);
    feed.SetEnabled(true);
    ScriptedCamera& camera = catalog.cameras[0];

    feed.Grab(now);
    EXPECT_EQ(camera.requests, 1);
    EXPECT_FALSE(feed.ResetFrame());
    feed.Grab(now + 0.1 * kSecond); // no frame yet: no second grab
    EXPECT_EQ(camera.requests, 1);

    Offer(0, 4, 2, 200);
    feed.Grab(kStart + 0.2 * kSecond);
    EXPECT_TRUE(feed.Valid());
    EXPECT_TRUE(feed.ResetFrame());
    EXPECT_NEAR(feed.NextTime(), kStart + 0.5 * kSecond, 1e-9);
    EXPECT_EQ(feed.LastFrameTime(), kStart + 0.2 * kSecond);
    feed.Grab(kStart + 0.3 * kSecond); // before NextTime
    EXPECT_EQ(camera.requests, 1);
    feed.Grab(kStart + 0.5 * kSecond);
    EXPECT_EQ(camera.requests, 2);

    // A frame that comes late moves NextTime up to its arrival, not beyond.
    Offer(0, 4, 2, 10);
    feed.Grab(kStart + 2 * kSecond);
    EXPECT_NEAR(feed.NextTime(), kStart + 2 * kSecond, 1e-9);
    feed.Grab(kStart + 2 * kSecond);
    EXPECT_EQ(camera.requests, 3);

    // The frame never comes: the watchdog re-issues after five seconds.
    const double last = feed.LastFrameTime();
    feed.Grab(last + 4.9 * kSecond);
    EXPECT_EQ(camera.requests, 3);
    EXPECT_DOUBLE_EQ(feed.NextDue(1e9), last + 5 * kSecond);
    feed.Grab(last + 5.1 * kSecond);
    EXPECT_EQ(camera.requests, 4);
    EXPECT_FALSE(feed.ResetFrame());
    EXPECT_NEAR(feed.NextDue(1e9), last + 10.1 * kSecond, 1e-9); // not on every tick
}

TEST_F(FeedFixture, CountsFramesPerSecondIntervalsAndTheFrameNumber) {
    VideoFeed feed;
    Attach(feed, 0);
    feed.SetRate(30);
    feed.SetEnabled(true);
    const double second = std::floor(kStart * 86400) / 86400;
    auto deliver = [&](double at) {
        Offer(0, 2, 2, 1);
        feed.Grab(at);
    };
    deliver(second + 0.1 * kSecond);
    EXPECT_EQ(feed.LastFrameInterval(), 0);
    for (int i = 2; i <= 7; ++i)
        deliver(second + i * 0.1 * kSecond);
    EXPECT_EQ(feed.FPS(), 0); // the first second has not ended
    EXPECT_NEAR(feed.LastFrameInterval() / kSecond, 0.1, 1e-6);
    deliver(second + 1.05 * kSecond);
    EXPECT_EQ(feed.FPS(), 7);
    EXPECT_NEAR(feed.LastFrameInterval() / kSecond, 0.35, 1e-6);
    deliver(second + 3.5 * kSecond); // a second without frames ends with one counted
    EXPECT_EQ(feed.FPS(), 1);
    EXPECT_EQ(feed.FRAME(), 9);
    EXPECT_EQ(feed.BPP(), 24);
}

TEST_F(FeedFixture, FrameNumberWrapsAfterTenMillion) {
    VideoFeed feed;
    Attach(feed, 0);
    feed.SetEnabled(true);
    ScriptedCamera& camera = catalog.cameras[0];
    Offer(0, 1, 1, 1);
    const std::vector<std::uint8_t> pixel = camera.frame;
    VideoHeader header;
    header.data = pixel.data();
    header.bytes_used = header.buffer_length = static_cast<std::uint32_t>(pixel.size());
    for (int i = 0; i < VideoFeed::kFrameWrap; ++i)
        feed.FrameCallback(header, now);
    EXPECT_EQ(feed.FRAME(), VideoFeed::kFrameWrap);
    feed.FrameCallback(header, now);
    EXPECT_EQ(feed.FRAME(), 0);
    feed.FrameCallback(header, now);
    EXPECT_EQ(feed.FRAME(), 1);
}

// A raw 16-bit device: 5-5-5 pixels widened to the picture; 12-bit and broken frames leave
// the picture and its flags as they were.
TEST_F(FeedFixture, SixteenBitFramesAreWidenedOthersLeaveThePicture) {
    VideoFeed feed;
    Attach(feed, 0);
    feed.SetEnabled(true);
    ScriptedCamera& camera = catalog.cameras[0];
    camera.width = 3;
    camera.height = 2;
    // Rows of 6 bytes padded to 8, bottom row first: pure red, green, blue, then white.
    camera.frame = {0x00, 0x7C, 0xE0, 0x03, 0x1F, 0x00, 0, 0,
                    0xFF, 0x7F, 0xFF, 0x7F, 0x10, 0x42, 0, 0};
    camera.has_frame = true;
    feed.Grab(now);
    ASSERT_TRUE(feed.Valid());
    EXPECT_EQ(feed.BPP(), 15);
    const DIB& dib = feed.DIB();
    ASSERT_EQ(dib.Width(), 3);
    const std::uint8_t* bottom = dib.scanline(1);
    const std::vector<std::uint8_t> red_green_blue(bottom, bottom + 9);
    EXPECT_EQ(red_green_blue, (std::vector<std::uint8_t>{0, 0, 255, 0, 255, 0, 255, 0, 0}));
    const std::uint8_t* top = dib.scanline(0);
    EXPECT_EQ(top[0], 255);
    EXPECT_EQ(top[6], 132); // 16 of 31, 5 bits repeated
    const std::uint64_t revision = feed.FrameRevision();
    feed.SetNewDIB(false);

    // 12-bit: 3 x 2 pixels at 1.5 bytes: rows of 4 bytes (4.5 truncated to 4).
    camera.frame.assign(8, 0x55);
    camera.has_frame = true;
    feed.Grab(now + kSecond);
    EXPECT_EQ(feed.BPP(), 12);
    EXPECT_FALSE(feed.NewDIB());
    EXPECT_EQ(feed.FrameRevision(), revision);
    EXPECT_EQ(dib.scanline(1)[2], 255);

    // More bytes than the buffer holds: dropped before anything is looked at.
    Offer(0, 3, 2, 9);
    camera.buffer_length = 4;
    feed.Grab(now + 2 * kSecond);
    EXPECT_EQ(feed.BPP(), 12);
    EXPECT_EQ(feed.FrameRevision(), revision);
    EXPECT_EQ(feed.FRAME(), 1);
}

// While something takes the camera's JPEG, MJPEG frames come undecoded: their planes and
// bitmap are made when asked for, and a frame that turns out damaged leaves the bitmap of
// the frame before.
TEST_F(FeedFixture, KeptJpegFramesDecodeWhenAskedAndADamagedOneLeavesThePicture) {
    VideoFeed feed;
    Attach(feed, 0);
    feed.SetEnabled(true);
    ScriptedCamera& camera = catalog.cameras[0];
    auto offer_jpeg = [&](std::uint8_t blue) {
        Offer(0, 48, 32, blue);
        DIB picture(48, 32);
        picture.Clear(blue); // 0xBBGGRR: a red level
        camera.jpeg = EncodeJpeg(picture, 90);
    };
    // A consumer asks for the JPEG after every frame, as a canvas passing it through does;
    // the driver hears of it when the next frame has come, and the one after is a JPEG.
    int frames = 0;
    while (camera.jpegs_delivered == 0 && frames < 5) {
        offer_jpeg(200);
        feed.Grab(now + frames++ * kSecond);
        EXPECT_EQ(feed.Jpeg().empty(), camera.jpegs_delivered == 0);
    }
    EXPECT_EQ(frames, 3);
    ASSERT_EQ(camera.jpegs_delivered, 1);
    const std::span<const std::uint8_t> jpeg = feed.Jpeg();
    EXPECT_TRUE(std::equal(jpeg.begin(), jpeg.end(), camera.jpeg.begin(), camera.jpeg.end()));
    const YCbCrPlanes* planes = feed.Planes();
    ASSERT_NE(planes, nullptr);
    EXPECT_EQ(planes->width, 48);
    EXPECT_NEAR(feed.DIB().scanline(5)[2], 200, 2);
    EXPECT_EQ(feed.FRAME(), 3);

    // Its scan scrambled: the frame counts, but neither planes nor a bitmap come of it.
    offer_jpeg(40);
    for (std::size_t i = camera.jpeg.size() - 60; i < camera.jpeg.size() - 2; ++i)
        camera.jpeg[i] = 0xFF;
    feed.Grab(now + frames++ * kSecond);
    EXPECT_EQ(camera.jpegs_delivered, 2);
    EXPECT_FALSE(feed.Jpeg().empty());
    EXPECT_EQ(feed.Planes(), nullptr);
    EXPECT_NEAR(feed.DIB().scanline(5)[2], 200, 2);

    // The next good frame is had again.
    offer_jpeg(90);
    feed.Grab(now + frames * kSecond);
    ASSERT_NE(feed.Planes(), nullptr);
    EXPECT_NEAR(feed.DIB().scanline(5)[2], 90, 2);
}

TEST(FrameRateChoices, TheOneAMinuteTestLooksAtPositionNine) {
    EXPECT_EQ(RateAfterChoice(0, 5), 30);
    EXPECT_EQ(RateAfterChoice(7, 5), 0.5);
    EXPECT_DOUBLE_EQ(RateAfterChoice(8, 5), 0.2);
    EXPECT_DOUBLE_EQ(RateAfterChoice(9, 5), 1.0 / 60);
    EXPECT_DOUBLE_EQ(RateAfterChoice(10, 5), 1.0 / 30);
    EXPECT_EQ(RateAfterChoice(11, 5), 5);
    EXPECT_STREQ(kFrameRateChoices[11], "1/60 fps");
    EXPECT_EQ(MeasuredRateText(1), "<=1 fps");
    EXPECT_EQ(MeasuredRateText(25), "25 fps");
    EXPECT_EQ(FrameSizeText(false, 640, 480), "N/A");
    EXPECT_EQ(FrameSizeText(true, 640, 480), "640 x 480");
    EXPECT_EQ(PaddedSize(3, 2, 1.5), 8);
    EXPECT_EQ(PaddedSize(5, 1, 3), 16);
}

} // namespace
} // namespace tess
