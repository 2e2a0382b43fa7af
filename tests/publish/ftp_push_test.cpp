// A canvas's FTP push through its engine to a real pyftpdlib server.

#include "imaging/dib.h"
#include "imaging/jpeg.h"
#include "publish/ftp_push.h"
#include "publish/ftp_test_server.h"
#include "support/fixed_sun.h"

#include <filesystem>

#include <asio/io_context.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tess {
namespace {

using test::FtpTestServer;
using ::testing::ElementsAre;

DIB Picture(std::uint32_t color) {
    DIB dib(64, 48);
    dib.CreateDIB();
    dib.Clear(color);
    return dib;
}

void RunUntilIdle(asio::io_context& loop, FTPPush& push) {
    while (push.Uploading()) {
        if (loop.stopped()) loop.restart();
        loop.run_one_for(std::chrono::milliseconds(50));
    }
    loop.poll();
}

TEST(FTPPushTest, UploadSendsTheJpegToThePathsFolderAndSkipsWhileBusy) {
    FtpTestServer server;
    std::filesystem::create_directories(server.File("site/cam"));
    asio::io_context loop; // outlives the push's engine
    test::FixedSun sun;
    FTPPush push(sun);
    push.SetCanvasIndex(7);
    push.SetServerName(server.ServerName());
    push.SetUserName(FtpTestServer::kUser);
    push.SetPassword(FtpTestServer::kPassword);
    push.SetPath("site\\cam/now.jpg");
    push.SetQuality(90);
    std::vector<std::string> steps;
    push.SetStatusListener([&steps](const std::string& step) { steps.push_back(step); });
    EXPECT_EQ(push.Status(), "Idle");

    const DIB red = Picture(0x0000ff);
    ASSERT_TRUE(push.Upload(loop, red));
    EXPECT_FALSE(push.Upload(loop, Picture(0x00ff00))); // still sending: skipped, not queued
    RunUntilIdle(loop, push);
    EXPECT_EQ(push.Status(), "Idle");
    EXPECT_EQ(push.Stage(), 0);

    const std::string bytes = test::ReadIfThere(server.File("site/cam/now.jpg"));
    DIB decoded;
    ASSERT_TRUE(DecodeJpegIntoDIB(
        {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()}, decoded));
    EXPECT_EQ(decoded.Width(), 64);
    EXPECT_EQ(bytes, [&] {
        auto jpeg = EncodeJpeg(red, 90);
        return std::string(jpeg.begin(), jpeg.end());
    }());
    EXPECT_THAT(server.FileCommands(),
                ElementsAre("CWD site/cam", "STOR FTPPsh07.tmp", "DELE now.jpg",
                            "RNFR FTPPsh07.tmp", "RNTO now.jpg"));
    EXPECT_EQ(steps.front(), "Starting");
    EXPECT_EQ(steps.back(), "Complete");
}

TEST(FTPPushTest, PathsSplitIntoFolderAndName) {
    EXPECT_EQ(FTPPush::SplitPath("push.jpg"),
              std::make_pair(std::string(), std::string("push.jpg")));
    EXPECT_EQ(FTPPush::SplitPath("/cam.jpg"),
              std::make_pair(std::string("/"), std::string("cam.jpg")));
    EXPECT_EQ(FTPPush::SplitPath("a\\b/c.jpg"),
              std::make_pair(std::string("a\\b"), std::string("c.jpg")));
}

TEST(FTPPushTest, AFailingServerEndsInStageOneAndDisablingStopsTheEngine) {
    asio::io_context loop;
    test::FixedSun sun;
    FTPPush push(sun);
    push.SetEnabled(true);
    push.SetServerName("ftp://127.0.0.1:1");
    std::vector<std::string> steps;
    push.SetStatusListener([&steps](const std::string& step) { steps.push_back(step); });
    ASSERT_TRUE(push.Upload(loop, Picture(0)));
    RunUntilIdle(loop, push);
    EXPECT_EQ(push.Stage(), 1);
    EXPECT_THAT(push.Status(), ::testing::StartsWith("ERROR, "));
    EXPECT_EQ(std::count(steps.begin(), steps.end(), "Failed.  Retry #3"), 1);
    // Switching off drops the engine: idle again, and a later upload starts afresh.
    push.SetEnabled(false);
    EXPECT_EQ(push.Status(), "Idle");
    EXPECT_EQ(push.Stage(), 0);
}

} // namespace
} // namespace tess
