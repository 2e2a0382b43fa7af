// A slow server must never hold up the event loop: while the engine uploads to a pyftpdlib
// server that takes the data at a throttled rate and then stops answering for a second, a
// probe timer on the same loop should keep to its 5 ms grid.
//
// Judged on the 99th percentile of the probe's lateness rather than its single worst tick:
// on a shared 2-core machine the kernel may hold the whole process back now and then, which
// no code of ours can help. Because the probe's ticks are due on a fixed grid, a call that
// blocked the loop for more than about 6 periods would make more than 1 % of them late and
// fail the test.
//
// Disabled because it fails: libcurl waits for the server's answer after the data (the
// "226 Transfer complete") inside the transfer's last step with a blocking poll, and sends
// QUIT the same way, so the loop stops for as long as the server takes to answer (2 s with
// this throttle, then the whole frozen second). Run it with
// --gtest_also_run_disabled_tests once the engine no longer lets libcurl wait like that.

#include "publish/ftp_engine_fixture.h"
#include "publish/ftp_test_server.h"
#include "support/lateness_probe.h"

#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tess {
namespace {

using namespace std::chrono_literals;
using test::FtpTestServer;

TEST(FtpThrottleTest, DISABLED_ASlowServerNeverMakesATickLate) {
    // pyftpdlib's throttle takes this many bytes, then sleeps about two seconds per batch.
    constexpr int kRate = 100000;
    test::FtpServerOptions options;
    options.throttle_bytes_per_second = kRate;
    FtpTestServer server(options);
    std::string picture(3 * kRate, '\0');
    for (std::size_t i = 0; i < picture.size(); ++i)
        picture[i] = static_cast<char>(i * 7 + (i >> 9));

    // A first small upload loads libcurl, a one-time cost that is not the server's doing.
    test::EngineRun warm_up;
    warm_up.LogIn(server.ServerName(), FtpTestServer::kUser, FtpTestServer::kPassword);
    ASSERT_TRUE(warm_up.ftp.SendDataFile("x", "", "first.jpg", 7));
    ASSERT_TRUE(warm_up.RunToEnd());

    test::EngineRun run;
    run.LogIn(server.ServerName(), FtpTestServer::kUser, FtpTestServer::kPassword);
    test::LatenessProbe probe(run.loop, 5ms);
    // Half a second in, the server stops answering for a second. The thread only sends
    // signals, so the freeze lasts a second whatever the loop does.
    std::thread freezer([&server] {
        std::this_thread::sleep_for(500ms);
        server.Freeze();
        std::this_thread::sleep_for(1s);
        server.Thaw();
    });
    const auto start = std::chrono::steady_clock::now();
    probe.Start();
    ASSERT_TRUE(run.ftp.SendDataFile(picture, "", "slow.jpg", 6));
    const bool ended = run.RunToEnd();
    // A hold-up just before the end shows in the ticks that were due meanwhile, which run
    // (late) as soon as the loop gets to them.
    run.loop.restart();
    run.loop.run_for(50ms);
    probe.Stop();
    freezer.join();
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();

    ASSERT_TRUE(ended);
    ASSERT_EQ(run.statuses.back(), "Complete") << ::testing::PrintToString(run.statuses);
    EXPECT_TRUE(test::ReadIfThere(server.File("slow.jpg")) == picture);
    // The server really was slow: the throttle's sleeps and the frozen second.
    EXPECT_GT(seconds, 2.0);
    EXPECT_GT(probe.Ticks(), static_cast<std::size_t>(seconds * 150));
    EXPECT_LE(probe.PercentileMs(0.99), 5.0)
        << "ticks " << probe.Ticks() << ", median " << probe.PercentileMs(0.5) << " ms, max "
        << probe.MaxMs() << " ms";
    std::printf("upload %.2f s, %zu ticks, lateness median %.3f ms, p99 %.3f ms, max %.3f ms\n",
                seconds, probe.Ticks(), probe.PercentileMs(0.5), probe.PercentileMs(0.99),
                probe.MaxMs());
}

} // namespace
} // namespace tess
