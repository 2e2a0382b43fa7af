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
#include "support/run_process.h"
#include "support/temp_dir.h"
#include "support/web_client.h"

#include <filesystem>

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
        std::string bytes;
        const std::string boundary = "--tessarolleframe\r\n";
        // Header, then three parts: at least two recompositions by the clock.
        for (int tries = 0; tries < 160; ++tries) {
            bytes += viewer.ReadFor(test::Millis(50));
            std::size_t parts = 0;
            for (std::size_t at = bytes.find(boundary); at != std::string::npos;
                 at = bytes.find(boundary, at + 1))
                ++parts;
            if (parts >= 4) break; // the fourth boundary closes the third part
        }
        ASSERT_NE(bytes.find("multipart/x-mixed-replace"), std::string::npos);
        std::vector<std::string> pictures;
        for (std::size_t at = bytes.find(boundary); at != std::string::npos;) {
            std::size_t head_end = bytes.find("\r\n\r\n", at);
            std::size_t next = bytes.find(boundary, at + 1);
            if (head_end == std::string::npos || next == std::string::npos) break;
            pictures.push_back(bytes.substr(head_end + 4, next - head_end - 6));
            at = next;
        }
        ASSERT_GE(pictures.size(), 3u);
        for (const std::string& jpeg : pictures) {
            DIB decoded;
            ASSERT_TRUE(DecodeJpegIntoDIB(
                {reinterpret_cast<const std::uint8_t*>(jpeg.data()), jpeg.size()}, decoded));
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
