// The running program's web server: started by the portfolio it opens, shown failing through
// the user interface, and seen by a real browser.

#include "app/application.h"
#include "app/main_procedure.h"
#include "app/quit.h"
#include "app/scripted_ui.h"
#include "document/portfolio.h"
#include "imaging/bmp_writer.h"
#include "imaging/jpeg.h"
#include "imaging/picture_decoders.h"
#include "publish/quadrants_picture.h"
#include "support/free_port.h"
#include "support/http_test_server.h"
#include "support/run_process.h"
#include "support/temp_dir.h"
#include "support/web_client.h"

#include <algorithm>
#include <filesystem>
#include <set>

#include <asio/ip/tcp.hpp>
#include <gtest/gtest.h>

namespace tess {
namespace {

using test::FreePort;

// A program folder whose last portfolio serves canvas 1 as "Canvas01.jpg" on `port`, with a
// page in its web folder that shows the picture.
void WriteSite(const test::TempDir& dir, std::uint16_t port) {
    test::WriteFileBytes(dir.File("Tessarolle.INI"), "[General]\r\nLastPortfolio=site.por\r\n");
    test::WriteFileBytes(dir.File("site.por"),
                         "[Canvas01]\r\nFileName=cam.can\r\n[WebServer]\r\nEnabled=True\r\n"
                         "AllowNonCanvasServes=True\r\nWebPath=web\r\nPort=" +
                             std::to_string(port) + "\r\n");
    test::WriteFileBytes(dir.File("cam.can"), "[General]\r\nName=Cam\r\nWidth=320\r\n"
                                              "Height=240\r\n[WebServer]\r\nEnabled=True\r\n"
                                              "FileName=Canvas01.jpg\r\n[Graphic001]\r\n"
                                              "Enabled=True\r\nSourceType=1\r\n"
                                              "SourceFileName=quadrants.bmp\r\n");
    DIB quadrants;
    test::FillQuadrants(quadrants, 320, 240);
    const std::vector<std::uint8_t> bmp = EncodeBmp(quadrants);
    test::WriteFileBytes(dir.File("quadrants.bmp"),
                         std::string(reinterpret_cast<const char*>(bmp.data()), bmp.size()));
    std::filesystem::create_directories(dir.File("web"));
    test::WriteFileBytes(dir.File("web/index.htm"),
                         "<html><body style=\"margin:0\"><img src=\"Canvas01.jpg\" "
                         "style=\"display:block;width:320px;height:240px\"></body></html>");
}

// The whole JPEGs of a multipart answer, in order.
std::vector<std::string> PartsOf(const std::string& bytes, const std::string& boundary) {
    std::vector<std::string> pictures;
    for (std::size_t at = bytes.find(boundary); at != std::string::npos;) {
        const std::size_t head_end = bytes.find("\r\n\r\n", at);
        const std::size_t next = bytes.find(boundary, at + 1);
        if (head_end == std::string::npos || next == std::string::npos) break;
        pictures.push_back(bytes.substr(head_end + 4, next - head_end - 6));
        at = next;
    }
    return pictures;
}

const std::string kStreamBoundary = "--tessarolleframe\r\n";

// What a viewer of a canvas stream has read once `parts` whole parts have come, or after
// `tries` reads of 50 ms.
std::string ReadStream(test::ClientSocket& viewer, std::size_t parts, int tries) {
    std::string bytes;
    for (int i = 0; i < tries && PartsOf(bytes, kStreamBoundary).size() < parts; ++i)
        bytes += viewer.ReadFor(test::Millis(50));
    return bytes;
}

DIB DecodedPart(const std::string& jpeg) {
    DIB decoded;
    EXPECT_TRUE(DecodeJpegIntoDIB({reinterpret_cast<const std::uint8_t*>(jpeg.data()), jpeg.size()},
                                  decoded));
    return decoded;
}

class WebHosting : public ::testing::Test {
protected:
    test::TempDir dir;
    test::ScopedCurrentDir in_dir{dir.Path()};
    ScriptedUI ui;
};

TEST_F(WebHosting, TheLoadedPortfolioServesItsCanvasToABrowser) {
    std::uint16_t port = FreePort();
    WriteSite(dir, port);
    Application app(ui, ".");
    ASSERT_EQ(Main(app), 0);
    Portfolio* portfolio = app.CurrentPortfolio();
    ASSERT_NE(portfolio, nullptr);
    // Enabled was read last: the server listens on the file's port, not the default.
    EXPECT_EQ(portfolio->WebServer().ListeningPort(), port);

    {
        test::LoopThread thread(app.Loop());
        std::string shot = dir.File("shot.png");
        auto result = test::BrowserScreenshot("http://127.0.0.1:" + std::to_string(port) + "/",
                                              shot, 320, 240, dir.Path());
        ASSERT_EQ(result.exit_code, 0) << result.err;
        std::string png = test::ReadFileBytes(shot);
        DIB pixels, opacity;
        ASSERT_EQ(DecodePng({reinterpret_cast<const std::uint8_t*>(png.data()), png.size()}, pixels,
                            opacity),
                  PictureStatus::Ok);
        ASSERT_EQ(pixels.Width(), 320);
        ASSERT_EQ(pixels.Height(), 240);
        // Each quadrant's centre shows its colour: the picture is there, not a blank page.
        auto at = [&](int x, int y) {
            const std::uint8_t* p = pixels.scanline(y) + 3 * x;
            return std::to_string(p[2] / 128) + std::to_string(p[1] / 128) +
                   std::to_string(p[0] / 128);
        };
        EXPECT_EQ(at(80, 60), "100");   // red
        EXPECT_EQ(at(240, 60), "010");  // green
        EXPECT_EQ(at(80, 180), "001");  // blue
        EXPECT_EQ(at(240, 180), "111"); // white

        thread.OnLoop([&] {
            modMain_Shutdown(app);
            return 0;
        });
    }
    // Unloading the portfolio stopped the server.
    EXPECT_FALSE(test::ClientSocket(port).Connected());
}

// The stream follows the running program's canvas: a clock that shows seconds recomposes
// it every second, and every change arrives as a new whole picture.
TEST_F(WebHosting, TheCanvasStreamShowsEachRecomposition) {
    std::uint16_t port = FreePort();
    WriteSite(dir, port);
    test::WriteFileBytes(dir.File("cam.can"),
                         test::ReadFileBytes(dir.File("cam.can")) +
                             "[Text001]\r\nEnabled=True\r\nText=<TIME>\r\nFontName=DejaVu Sans\r\n"
                             "FontSize=20\r\nColor=&HFFFFFF\r\nLayer=3\r\nInterval=1\r\n");
    Application app(ui, ".");
    ASSERT_EQ(Main(app), 0);
    {
        test::LoopThread thread(app.Loop());
        test::ClientSocket viewer(port);
        ASSERT_TRUE(viewer.Send(test::GetRequest("CANVAS01.MJPG")));
        // Header, then three parts: at least two recompositions by the clock.
        const std::string bytes = ReadStream(viewer, 3, 160);
        ASSERT_NE(bytes.find("multipart/x-mixed-replace"), std::string::npos);
        const std::vector<std::string> pictures = PartsOf(bytes, kStreamBoundary);
        ASSERT_GE(pictures.size(), 3u);
        for (const std::string& jpeg : pictures) {
            const DIB decoded = DecodedPart(jpeg);
            EXPECT_EQ(decoded.Width(), 320);
            EXPECT_EQ(decoded.Height(), 240);
        }
        EXPECT_NE(pictures[1], pictures[2]); // the seconds moved on
        thread.OnLoop([&] {
            modMain_Shutdown(app);
            return 0;
        });
    }
}

// An MJPEG camera filling the canvas, with a white box and a shadowed caption over it: its
// frames go to the stream without being drawn, and every part shows the box over a moving
// picture.
TEST_F(WebHosting, AnMjpegCameraCanvasStreamsEachFrameWithItsItems) {
    asio::io_context camera_loop;
    test::HttpTestServer camera(camera_loop);
    std::string parts;
    for (int k = 0; k < 8; ++k) {
        DIB frame(320, 240);
        frame.Clear(0x204060 + 0x100000 * k);
        const std::vector<std::uint8_t> jpeg = EncodeJpeg(frame, 90);
        parts += "--frame\r\nContent-Type: image/jpeg\r\nContent-Length: " +
                 std::to_string(jpeg.size()) + "\r\n\r\n" + std::string(jpeg.begin(), jpeg.end()) +
                 "\r\n";
    }
    camera.Endless(
        "/cam", "HTTP/1.1 200 OK\r\nContent-Type: multipart/x-mixed-replace;boundary=frame\r\n\r\n",
        parts);
    test::LoopThread camera_thread(camera_loop);

    const std::uint16_t port = FreePort();
    WriteSite(dir, port);
    test::WriteFileBytes(dir.File("Tessarolle.INI"),
                         "[General]\r\nLastPortfolio=site.por\r\n[Cameras]\r\nCamera0=" +
                             camera.Url("/cam") + "\r\nCamera0Name=Cam\r\n");
    test::WriteFileBytes(dir.File("site.por"), test::ReadFileBytes(dir.File("site.por")) +
                                                   "[VideoFeeds]\r\nFeed0Name=Cam\r\n"
                                                   "Feed0Enabled=True\r\nFeed0FrameRate=100\r\n");
    test::WriteFileBytes(
        dir.File("cam.can"),
        "[General]\r\nName=Cam\r\nWidth=320\r\nHeight=240\r\nShadowIntensity=60\r\n"
        "[WebServer]\r\nEnabled=True\r\nFileName=Canvas01.jpg\r\n"
        "[Graphic001]\r\nEnabled=True\r\nSourceType=0\r\nSourceVideoFeedName=Cam\r\n"
        "[Graphic002]\r\nEnabled=True\r\nSourceType=3\r\nBackgroundColor=&HFFFFFF\r\n"
        "StretchedWidth=60\r\nStretchedHeight=40\r\nLocationX=20\r\nLocationY=20\r\n"
        "Layer=1\r\nInterval=3600\r\n"
        "[Text001]\r\nEnabled=True\r\nText=Cam\r\nFontName=DejaVu Sans\r\nFontSize=20\r\n"
        "Color=&HFFFFFF\r\nLayer=2\r\nLocationX=20\r\nLocationY=180\r\nInterval=3600\r\n"
        "Shadow=True\r\nShadowOffsetX=2\r\nShadowOffsetY=2\r\n");
    Application app(ui, ".");
    ASSERT_EQ(Main(app), 0);
    {
        test::LoopThread thread(app.Loop());
        test::ClientSocket viewer(port);
        ASSERT_TRUE(viewer.Send(test::GetRequest("Canvas01.mjpg")));
        const std::vector<std::string> pictures =
            PartsOf(ReadStream(viewer, 30, 200), kStreamBoundary);
        ASSERT_GE(pictures.size(), 30u);
        std::set<int> camera_blues;
        for (const std::string& jpeg : pictures) {
            const DIB decoded = DecodedPart(jpeg);
            ASSERT_EQ(decoded.Width(), 320);
            const std::uint8_t* box = decoded.scanline(40) + 50 * 3;
            EXPECT_GE(std::min({box[0], box[1], box[2]}), 245);
            camera_blues.insert(decoded.scanline(120)[200 * 3] / 8);
        }
        EXPECT_GE(camera_blues.size(), 3u);
        const std::uint64_t passed =
            thread.OnLoop([&] { return app.CurrentPortfolio()->Canvas(1).PassedFrames(); });
        EXPECT_GT(passed, 10u);
        thread.OnLoop([&] {
            modMain_Shutdown(app);
            return 0;
        });
    }
}

TEST_F(WebHosting, ABusyPortIsShownAndTheServerStaysOff) {
    asio::io_context loop;
    asio::ip::tcp::acceptor taken(loop, {asio::ip::address_v4::any(), 0});
    std::uint16_t port = taken.local_endpoint().port();
    WriteSite(dir, port);
    Application app(ui, ".");
    ASSERT_EQ(Main(app), 0);
    ASSERT_NE(app.CurrentPortfolio(), nullptr);
    EXPECT_FALSE(app.CurrentPortfolio()->WebServer().Enabled());
    int shown = 0;
    for (const auto& record : ui.Record()) {
        if (record.kind != "message") continue;
        ++shown;
        EXPECT_EQ(record.caption, "Web Start Error");
        EXPECT_EQ(record.text, "There was an error starting the web server.  Make sure the port "
                               "is not already in use and the network is available.");
    }
    EXPECT_EQ(shown, 1);
    modMain_Shutdown(app);
}

} // namespace
} // namespace tess
