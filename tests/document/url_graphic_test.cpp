// A graphic item whose picture comes from a URL, served by a real HTTP server on 127.0.0.1.

#include "document/canvas_fixture.h"
#include "publish/url_fetcher.h"
#include "support/http_test_server.h"

#include <chrono>
#include <memory>

namespace tess {
namespace {

using test::At;
using test::Color;

class UrlGraphic : public test::CanvasFixture {
protected:
    UrlGraphic() {
        portfolio.Composition().url_fetcher = &fetcher;
        portfolio.Composition().wake = [this] { ++wakes; };
    }

    std::string Bitmap(std::uint32_t color) {
        DIB picture(20, 20);
        picture.Clear(color);
        const std::vector<std::uint8_t> bmp = EncodeBmp(picture);
        return std::string(reinterpret_cast<const char*>(bmp.data()), bmp.size());
    }

    // Runs the loop until `done` holds (or ten seconds pass).
    template <typename Done>
    bool RunUntil(Done done) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        loop.restart();
        while (!done() && std::chrono::steady_clock::now() < deadline)
            loop.run_one_for(std::chrono::milliseconds(50));
        return done();
    }

    // Until the download in flight has finished and asked for a tick.
    void AwaitDownload() {
        const int before = wakes;
        ASSERT_TRUE(RunUntil([&] { return wakes > before; })) << "no download finished";
    }

    asio::io_context loop;
    UrlFetcher fetcher{loop, {1u << 20, 3.0, 2.0}};
    int wakes = 0;
};

TEST_F(UrlGraphic, APictureArrivesIsRenewedWhenDueAndOutlivesItsServer) {
    auto server = std::make_unique<test::HttpTestServer>(loop);
    server->Answer("/cam.bmp", test::HttpAnswer(200, "OK", Bitmap(0x0000FF)));
    Canvas& canvas = UseCanvas(1, 20, 20, 0x000000);
    GraphicItem& cam = canvas.AddGraphic(1);
    cam.SetEnabled(true);
    cam.SetSourceType(static_cast<int>(SourceType::URLGraphic));
    cam.SetSourceURL(server->Url("/cam.bmp"));
    cam.SetInterval(10);

    ASSERT_TRUE(portfolio.Tick(At(12, 0, 0.01))); // the download starts; nothing to show yet
    EXPECT_EQ(PixelOf(1, 10, 10), Color(0x000000));
    AwaitDownload();
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 0.2))); // taken at the next tick, not at the next due
    EXPECT_EQ(PixelOf(1, 10, 10), Color(0x0000FF));

    server->Answer("/cam.bmp", test::HttpAnswer(200, "OK", Bitmap(0x00FF00)));
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 5.01))); // not due: nothing is asked
    EXPECT_EQ(server->Requests().size(), 1u);
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 10.01)));
    AwaitDownload();
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 10.2)));
    EXPECT_EQ(PixelOf(1, 10, 10), Color(0x00FF00));

    // An error page, then bytes that are no picture, then no server at all: the last good
    // picture stays each time.
    server->Answer("/cam.bmp", test::HttpAnswer(404, "Not Found", "gone"));
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 20.01)));
    AwaitDownload();
    server->Answer("/cam.bmp", test::HttpAnswer(200, "OK", "<html>not a picture</html>"));
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 30.01)));
    AwaitDownload();
    server.reset();
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 40.01)));
    AwaitDownload();
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 40.2)));
    EXPECT_EQ(PixelOf(1, 10, 10), Color(0x00FF00));
}

TEST_F(UrlGraphic, ASlowServerHoldsOneDownloadAtATimeAndAnItemRemovedMeanwhileIsForgotten) {
    test::HttpTestServer server(loop);
    server.Silent("/slow.jpg");
    Canvas& canvas = UseCanvas(1, 20, 20, 0x000000);
    GraphicItem& cam = canvas.AddGraphic(1);
    cam.SetEnabled(true);
    cam.SetSourceType(static_cast<int>(SourceType::URLGraphic));
    cam.SetSourceURL(server.Url("/slow.jpg"));
    cam.SetInterval(0); // due at every tick
    for (double t = 0.01; t < 1; t += 0.1)
        ASSERT_TRUE(portfolio.Tick(At(12, 0, t)));
    EXPECT_EQ(fetcher.InFlight(), 1u);
    const int before = wakes;
    canvas.RemoveGraphic(1);
    // The download times out; its answer finds no item, is dropped and wakes nobody.
    ASSERT_TRUE(RunUntil([&] { return fetcher.InFlight() == 0; }));
    EXPECT_EQ(wakes, before);
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 5)));
}

} // namespace
} // namespace tess
