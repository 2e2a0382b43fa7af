#include "publish/canvas_web_server.h"
#include "publish/ftp_push.h"
#include "publish/web_server.h"
#include "support/fixed_sun.h"

#include <gtest/gtest.h>

namespace tess {
namespace {

TEST(FTPPushSettings, ClampsAndANewGridMakesTheNextUploadDueAtOnce) {
    test::FixedSun sun;
    FTPPush push(sun);
    EXPECT_EQ(push.Status(), "Idle");
    push.SetQuality(0);
    EXPECT_EQ(push.Quality(), 1);
    push.SetQuality(150);
    EXPECT_EQ(push.Quality(), 100);
    push.SetFTPMode(3);
    EXPECT_EQ(push.FTPMode(), 2);

    push.SetNextUploadTime(45000.5);
    push.SetInterval(5); // unchanged
    EXPECT_EQ(push.NextUploadTime(), 45000.5);
    push.SetBaseTime(90000);
    EXPECT_EQ(push.BaseTime(), 86400);
    EXPECT_EQ(push.NextUploadTime(), 0);
    push.SetNextUploadTime(45000.5);
    push.SetInterval(10);
    EXPECT_EQ(push.NextUploadTime(), 0);

    push.SetCanvasIndex(4);
    push.Schedule().SetScheduleMode(1);
    push.SetServerName("ftp.example.org");
    push.Reset();
    EXPECT_EQ(push.Quality(), 70);
    EXPECT_EQ(push.Interval(), 5);
    EXPECT_EQ(push.Path(), "push.jpg");
    EXPECT_EQ(push.ServerName(), "");
    EXPECT_EQ(push.Schedule().ScheduleMode(), ScheduleKind::AllDay);
    EXPECT_EQ(push.CanvasIndex(), 4);
}

TEST(CanvasWebServerSettings, ClampsAndReset) {
    test::FixedSun sun;
    CanvasWebServer web(sun);
    web.SetInterval(75);
    EXPECT_EQ(web.Interval(), 60);
    web.SetQuality(0);
    EXPECT_EQ(web.Quality(), 1);
    web.SetOffScheduleFile("night.jpg");
    web.Reset();
    EXPECT_EQ(web.Quality(), 80);
    EXPECT_EQ(web.OffScheduleFile(), "offair.jpg");
    EXPECT_TRUE(web.NeedsSaving());

    WebServer server;
    EXPECT_EQ(server.Port(), 18080);
    server.SetPort(70000);
    EXPECT_EQ(server.Port(), 65535);
}

} // namespace
} // namespace tess
