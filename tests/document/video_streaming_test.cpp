// The publishing refresh: when a canvas's FTP push is started, and when its next time moves.

#include "document/video_streaming.h"
#include "imaging/dib.h"
#include "publish/canvas_web_server.h"
#include "publish/ftp_push.h"
#include "publish/ftp_test_server.h"
#include "support/fixed_sun.h"

#include <chrono>
#include <functional>

#include <asio/io_context.hpp>
#include <gtest/gtest.h>

namespace tess {
namespace {

TEST(VideoStreamingRefresh, TheNextUploadTimeMovesOnlyWhenAnUploadStarted) {
    test::FtpTestServer server;
    asio::io_context loop;
    test::FixedSun sun;
    FTPPush push(sun);
    CanvasWebServer web(sun);
    VideoStreaming streaming(push, web);
    push.SetServerName(server.ServerName());
    push.SetUserName(test::FtpTestServer::kUser);
    push.SetPassword(test::FtpTestServer::kPassword);
    push.SetPath("cam.jpg");
    push.SetInterval(60);
    DIB picture(32, 32);
    picture.CreateDIB();
    picture.Clear(0x808080);
    const std::function<const DIB&()> picture_of = [&picture]() -> const DIB& { return picture; };
    int calls = 0;
    auto upload = [&](FTPPush& p, const DIB& d) {
        ++calls;
        return p.Upload(loop, d);
    };
    const double now = 45000.5; // 12:00:00
    auto run_while = [&loop](const std::function<bool()>& condition) {
        while (condition()) {
            if (loop.stopped()) loop.restart();
            loop.run_one_for(std::chrono::milliseconds(50));
        }
    };

    streaming.Refresh(now, picture_of, upload); // disabled: nothing
    EXPECT_EQ(calls, 0);
    push.SetEnabled(true);
    streaming.Refresh(now, picture_of, upload);
    EXPECT_EQ(calls, 1);
    EXPECT_NEAR(push.NextUploadTime(), now + 60.0 / 86400, 1e-9);

    // Due again while the first upload is still under way: tried, refused, due at once next.
    push.SetNextUploadTime(0);
    run_while([&push] { return push.Stage() < 20; });
    streaming.Refresh(now, picture_of, upload);
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(push.NextUploadTime(), 0);
    run_while([&push] { return push.Uploading(); });
    streaming.Refresh(now, picture_of, upload);
    EXPECT_EQ(calls, 3);
    EXPECT_GT(push.NextUploadTime(), now);
    run_while([&push] { return push.Uploading(); });
    EXPECT_FALSE(test::ReadIfThere(server.File("cam.jpg")).empty());
}

} // namespace
} // namespace tess
