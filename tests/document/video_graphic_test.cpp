// Graphic items showing a video feed: a new frame makes them due, the next tick draws it, and
// a feed without frames for ten seconds shows its last one dimmed.

#include "capture/padded_size.h"
#include "capture/scripted_driver.h"
#include "document/canvas_fixture.h"

namespace tess {
namespace {

using test::At;
using test::Near;

class VideoGraphic : public test::CanvasFixture {
protected:
    ScriptedCatalog catalog;
    std::shared_ptr<ScriptedCatalog> shared{std::shared_ptr<ScriptedCatalog>(), &catalog};
    double now = At(12, 0, 0);

    VideoGraphic() {
        catalog.names[0] = "Gate";
        CaptureServices services;
        services.now = [this] { return now; };
        portfolio.SetCapture(shared, services);
    }
    // A 40 x 30 frame of one colour waiting in the driver.
    void Offer(std::uint8_t blue, std::uint8_t green, std::uint8_t red) {
        ScriptedCamera& camera = catalog.cameras[0];
        camera.width = 40;
        camera.height = 30;
        camera.frame.assign(static_cast<std::size_t>(PaddedSize(40, 30, 3)), 0);
        for (int y = 0; y < 30; ++y)
            for (int x = 0; x < 40; ++x) {
                std::uint8_t* p = camera.frame.data() + y * 120 + x * 3;
                p[0] = blue;
                p[1] = green;
                p[2] = red;
            }
        camera.has_frame = true;
    }
    bool Tick(double seconds) {
        now = At(12, 0, seconds);
        return portfolio.Tick(now);
    }
};

TEST_F(VideoGraphic, NewFramesAreDrawnAtTheNextTickAndOldOnesDimmed) {
    Canvas& canvas = UseCanvas(1, 64, 48, 0x000000);
    GraphicItem& item = canvas.AddGraphic(1);
    item.SetEnabled(true);
    item.SetSourceType(static_cast<int>(SourceType::VideoFeed));
    item.SetSourceVideoFeedName("gate"); // names compare without case
    item.SetInterval(3600);              // frames, not the interval, make it due
    item.SetLocationX(10);
    item.SetLocationY(10);
    portfolio.VideoFeed(0).SetEnabled(true);
    ASSERT_TRUE(portfolio.VideoFeed(0).IsOpen());

    Offer(0, 0, 255);
    ASSERT_TRUE(Tick(0.1)); // the grab takes the frame after the composition
    EXPECT_EQ(portfolio.FrameTime(), now);
    EXPECT_DOUBLE_EQ(portfolio.NextDue(now + 1), now); // the loop comes back at once
    ASSERT_TRUE(Tick(0.11));
    EXPECT_TRUE(Near(PixelOf(1, 12, 12), {0, 0, 255}, 1));

    Offer(255, 0, 0);
    ASSERT_TRUE(Tick(0.2));
    ASSERT_TRUE(Tick(0.21));
    EXPECT_TRUE(Near(PixelOf(1, 12, 12), {255, 0, 0}, 1));
    EXPECT_TRUE(Near(PixelOf(1, 5, 5), {0, 0, 0}, 1)); // outside the item

    // No frame for ten seconds: the item turns dim, and the loop knows when to look.
    const double stale = FeedPicture::StaleTime(portfolio.VideoFeed(0), now, now + 60);
    EXPECT_NEAR((stale - At(12, 0, 0.2)) * 86400, 10.01, 0.001);
    EXPECT_LE(portfolio.NextDue(now + 60), stale);
    ASSERT_TRUE(Tick(9));
    EXPECT_TRUE(Near(PixelOf(1, 12, 12), {255, 0, 0}, 1));
    ASSERT_TRUE(Tick(10.3));
    EXPECT_TRUE(Near(PixelOf(1, 12, 12), {102, 0, 0}, 1)) << int(PixelOf(1, 12, 12).b);

    Offer(0, 255, 0); // and live again with the next frame
    ASSERT_TRUE(Tick(11));
    ASSERT_TRUE(Tick(11.01));
    EXPECT_TRUE(Near(PixelOf(1, 12, 12), {0, 255, 0}, 1));
}

// A frame covering the whole canvas hides its background, which is then not painted at all;
// once the frame leaves any part uncovered, that part shows the background again, never what
// an earlier frame left there.
TEST_F(VideoGraphic, AFrameCoveringTheCanvasAndOneThatNoLongerDoes) {
    Canvas& canvas = UseCanvas(1, 40, 30, 0x00FF00); // green
    GraphicItem& item = canvas.AddGraphic(1);
    item.SetEnabled(true);
    item.SetSourceType(static_cast<int>(SourceType::VideoFeed));
    item.SetSourceVideoFeedName("Gate");
    item.SetInterval(3600);
    portfolio.VideoFeed(0).SetEnabled(true);

    Offer(0, 0, 255);
    ASSERT_TRUE(Tick(0.1));
    ASSERT_TRUE(Tick(0.11));
    for (int x : {0, 20, 39})
        for (int y : {0, 15, 29})
            EXPECT_TRUE(Near(PixelOf(1, x, y), {0, 0, 255}, 1)) << x << "," << y;

    item.SetLocationX(5); // the left five columns uncovered
    item.SetLocationY(2); // and the top two rows
    Offer(255, 0, 0);
    ASSERT_TRUE(Tick(0.2));
    ASSERT_TRUE(Tick(0.21));
    EXPECT_TRUE(Near(PixelOf(1, 2, 15), {0, 255, 0}, 1));
    EXPECT_TRUE(Near(PixelOf(1, 20, 0), {0, 255, 0}, 1));
    EXPECT_TRUE(Near(PixelOf(1, 20, 15), {255, 0, 0}, 1));

    // Half see-through: the background shows through the frame.
    item.SetLocationX(0);
    item.SetLocationY(0);
    item.SetOpacity(50);
    Offer(0, 0, 254);
    ASSERT_TRUE(Tick(0.3));
    ASSERT_TRUE(Tick(0.31));
    const auto mixed = PixelOf(1, 20, 15);
    EXPECT_GT(mixed.g, 60) << int(mixed.g);
    EXPECT_GT(mixed.r, 60) << int(mixed.r);
}

} // namespace
} // namespace tess
