// The render, run and demo commands as whole processes, on the embedded demo.

#include "app/run_commands.h"
#include "imaging/jpeg.h"
#include "imaging/picture_decoders.h"
#include "support/run_process.h"
#include "support/temp_dir.h"
#include "support/web_client.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <sstream>
#include <thread>

#include <asio/ip/tcp.hpp>
#include <gtest/gtest.h>

namespace tess {
namespace {

namespace fs = std::filesystem;

test::ProcessResult Tessarolle(const std::vector<std::string>& args, const std::string& dir,
                               double timeout = 60) {
    std::vector<std::string> argv{TESS_BINARY};
    argv.insert(argv.end(), args.begin(), args.end());
    return test::RunProcess(argv, dir, timeout);
}

DIB Decoded(const std::string& path) {
    DIB picture;
    EXPECT_EQ(LoadJpegIntoDIB(path, picture), JpegResult::Loaded) << path;
    return picture;
}

int Luma(const DIB& picture, int x, int y) {
    const std::uint8_t* p = picture.scanline(y) + 3 * x;
    return (p[0] + 2 * p[1] + p[2]) / 4;
}

class DemoFolder : public ::testing::Test {
protected:
    DemoFolder() {
        DemoRequest request;
        request.dir = dir.Path();
        std::ostringstream err;
        EXPECT_TRUE(WriteDemo(request, err)) << err.str();
    }
    test::TempDir dir;
};

TEST_F(DemoFolder, RenderComposesACanvasAtTheGivenTimeAndLeavesItsFileAlone) {
    const std::string before = test::ReadFileBytes(dir.File("hillcam.can"));
    std::filesystem::create_directories(dir.File("out")); // render makes no folders
    auto first = Tessarolle({"render", "hillcam.can", "-o", "out/a.jpg", "--at",
                             "2024-06-21 13:05:09", "--quality", "95"},
                            dir.Path());
    ASSERT_EQ(first.exit_code, 0) << first.err;
    EXPECT_NE(first.out.find("1280 x 720"), std::string::npos) << first.out;
    auto second = Tessarolle({"render", "hillcam.can", "-o", "out/b.jpg", "--at",
                              "2024-06-21 13:05:10", "--quality", "95"},
                             dir.Path());
    ASSERT_EQ(second.exit_code, 0) << second.err;
    EXPECT_EQ(test::ReadFileBytes(dir.File("hillcam.can")), before);

    const DIB a = Decoded(dir.File("out/a.jpg")), b = Decoded(dir.File("out/b.jpg"));
    const DIB camera = Decoded(dir.File("camera.jpg"));
    ASSERT_EQ(a.Width(), 1280);
    ASSERT_EQ(a.Height(), 720);
    // Open sky is the camera's; the band at the bottom darkens it to 55 %.
    EXPECT_NEAR(Luma(a, 640, 250), Luma(camera, 640, 250), 8);
    EXPECT_NEAR(Luma(a, 1000, 712), Luma(camera, 1000, 712) * 55 / 100, 8);
    // One second later only the clock at the top left differs.
    int inside = 0, outside = 0;
    for (int y = 0; y < 720; ++y) {
        for (int x = 0; x < 1280; ++x) {
            const bool differs = std::abs(Luma(a, x, y) - Luma(b, x, y)) > 40;
            const bool clock = x < 320 && y < 96;
            (clock ? inside : outside) += differs;
        }
    }
    EXPECT_GT(inside, 50);
    EXPECT_EQ(outside, 0);
}

TEST_F(DemoFolder, RenderSaysWhatItCouldNotUse) {
    auto missing = Tessarolle({"render", "nothing.can", "-o", "x.jpg"}, dir.Path());
    EXPECT_EQ(missing.exit_code, 2);
    EXPECT_NE(missing.err.find("'nothing.can': no such canvas file"), std::string::npos);

    test::WriteFileBytes(dir.File("huge.can"), "[General]\r\nWidth=30000\r\nHeight=30000\r\n");
    auto huge = Tessarolle({"render", "huge.can", "-o", "x.jpg"}, dir.Path());
    EXPECT_EQ(huge.exit_code, 2);
    EXPECT_NE(huge.err.find("30000 x 30000"), std::string::npos) << huge.err;

    auto time = Tessarolle({"render", "hillcam.can", "-o", "x.jpg", "--at", "noonish"}, dir.Path());
    EXPECT_EQ(time.exit_code, 2);
    EXPECT_NE(time.err.find("'noonish' is not a date and time"), std::string::npos);

    test::WriteFileBytes(dir.File("blocker"), "");
    auto unwritable = Tessarolle({"render", "hillcam.can", "-o", "blocker/x.jpg"}, dir.Path());
    EXPECT_EQ(unwritable.exit_code, 1);
    EXPECT_NE(unwritable.err.find("blocker"), std::string::npos) << unwritable.err;
    EXPECT_FALSE(fs::exists(dir.File("x.jpg")));

    auto run = Tessarolle({"run", "nothing.por"}, dir.Path());
    EXPECT_EQ(run.exit_code, 2);
    EXPECT_NE(run.err.find("'nothing.por': no such portfolio file"), std::string::npos);
}

TEST_F(DemoFolder, AnOutputThatCannotBeWrittenEndsTheRunWithTheErrorReport) {
    test::WriteFileBytes(dir.File("blocker"), "");
    test::WriteFileBytes(dir.File("broken.por"), "[Canvas01]\r\nFileName=broken.can\r\n");
    test::WriteFileBytes(dir.File("broken.can"), "[General]\r\nWidth=64\r\nHeight=48\r\n"
                                                 "[Capture]\r\nFixedEnabled=True\r\n"
                                                 "FixedRate=1\r\nFixedFileName=blocker\\a.jpg\r\n");
    auto run = Tessarolle({"run", "broken.por", "--headless", "--for", "20"}, dir.Path());
    EXPECT_EQ(run.exit_code, 70);
    EXPECT_NE(run.err.find("Error Debug Report"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("blocker/a.jpg"), std::string::npos) << run.err;
}

TEST(DemoCommand, RunsTheDemoWritingItsFilesAndServingItsCanvases) {
    test::TempDir dir;
    std::uint16_t port = 0;
    {
        asio::io_context loop;
        asio::ip::tcp::acceptor probe(loop, {asio::ip::address_v4::loopback(), 0});
        port = probe.local_endpoint().port();
    }
    test::Process demo(
        {TESS_BINARY, "demo", "--dir", "run", "--for", "90", "--port", std::to_string(port)},
        dir.Path());
    // Served while it runs: the composed canvas, whatever the query.
    std::optional<std::string> answer;
    for (int attempt = 0; attempt < 40 && !answer; ++attempt) {
        std::this_thread::sleep_for(std::chrono::milliseconds(250));
        test::ClientSocket client(port);
        if (!client.Connected()) continue;
        client.Send("GET /canvas01.jpg?t=1 HTTP/1.1\r\nHost: x\r\n\r\n");
        answer = client.ReadResponse();
        // Before the first composition the server already listens and answers 404.
        if (answer && answer->starts_with("HTTP/1.0 404")) answer.reset();
    }
    ASSERT_TRUE(answer.has_value());
    const std::size_t body = answer->find("\r\n\r\n");
    ASSERT_NE(body, std::string::npos);
    EXPECT_EQ(answer->rfind("HTTP/1.1 200", 0), 0u) << answer->substr(0, 80);
    DIB served;
    const std::string bytes = answer->substr(body + 4);
    ASSERT_TRUE(DecodeJpegIntoDIB(
        {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()}, served));
    EXPECT_EQ(served.Width(), 1280);

    // The demo's own page, in a real browser, shows the weather cam: its green field is there.
    const std::string shot = dir.File("page.png");
    auto browser = test::BrowserScreenshot("http://127.0.0.1:" + std::to_string(port) + "/", shot,
                                           1400, 900, dir.Path());
    ASSERT_EQ(browser.exit_code, 0) << browser.err;
    const std::string png = test::ReadFileBytes(shot);
    DIB page, alpha;
    ASSERT_EQ(
        DecodePng({reinterpret_cast<const std::uint8_t*>(png.data()), png.size()}, page, alpha),
        PictureStatus::Ok);
    int green = 0;
    for (int y = 0; y < page.Height(); ++y) {
        for (int x = 0; x < page.Width(); ++x) {
            const std::uint8_t* p = page.scanline(y) + 3 * x;
            green += p[1] > 80 && p[1] > p[2] + 15 && p[1] > p[0] + 15;
        }
    }
    EXPECT_GT(green, 50000);

    // Ctrl-C once its first files are out (they are saved every few seconds), however long
    // the browser took on a loaded machine.
    for (int wait = 0; wait < 200; ++wait) {
        if (fs::exists(dir.File("run/images/hillcam.jpg")) &&
            fs::exists(dir.File("run/images/thumbnail.jpg"))) {
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    demo.Signal(SIGINT);
    auto result = demo.Wait(30);
    ASSERT_EQ(result.exit_code, 0) << result.err;
    EXPECT_NE(result.out.find("http://127.0.0.1:" + std::to_string(port) + "/"), std::string::npos);
    EXPECT_EQ(Decoded(dir.File("run/images/hillcam.jpg")).Width(), 1280);
    EXPECT_EQ(Decoded(dir.File("run/images/thumbnail.jpg")).Width(), 320);
    EXPECT_NE(test::ReadFileBytes(dir.File("run/Tessarolle.INI")).find("LastPortfolio=demo.por"),
              std::string::npos);
}

} // namespace
} // namespace tess
