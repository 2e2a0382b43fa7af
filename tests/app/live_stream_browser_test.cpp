// A real browser (headless Chromium) watches a canvas's live stream "Canvas01.mjpg" served by
// the running program, the canvas showing a moving test-source camera: the page samples the
// picture it shows every 100 ms and tells how many different pictures it saw.

#include "support/run_process.h"
#include "support/temp_dir.h"
#include "support/web_client.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <regex>
#include <thread>

#include <asio/ip/tcp.hpp>
#include <gtest/gtest.h>

namespace tess {
namespace {

using namespace std::chrono_literals;

std::uint16_t FreePort() {
    asio::io_context loop;
    asio::ip::tcp::acceptor probe(loop, {asio::ip::address_v4::loopback(), 0});
    return probe.local_endpoint().port();
}

// Draws the streamed picture into a canvas on every sample and keeps a hash of its pixels.
const char* kWatchPage = R"(<html><body>
<img id="live" src="Canvas01.mjpg"><canvas id="copy"></canvas><pre id="seen">nothing</pre>
<script>
const hashes = new Set();
let samples = 0;
setInterval(() => {
  const img = document.getElementById("live");
  if (!img.naturalWidth) return;
  const copy = document.getElementById("copy");
  copy.width = img.naturalWidth;
  copy.height = img.naturalHeight;
  const g = copy.getContext("2d");
  g.drawImage(img, 0, 0);
  const d = g.getImageData(0, 0, copy.width, copy.height).data;
  let h = 0;
  for (let i = 0; i < d.length; i += 7) h = (h * 31 + d[i]) | 0;
  hashes.add(h);
  ++samples;
  document.getElementById("seen").textContent =
      `samples=${samples} distinct=${hashes.size} size=${copy.width}x${copy.height}`;
}, 100);
</script></body></html>)";

TEST(LiveStreamBrowser, ChromiumShowsTheCanvasStreamChanging) {
    test::TempDir dir;
    const std::uint16_t port = FreePort();
    test::WriteFileBytes(dir.File("Tessarolle.INI"),
                         "[General]\r\nLastPortfolio=site.por\r\n[Cameras]\r\n"
                         "Camera0=lavfi:testsrc2=size=320x240:rate=10\r\nCamera0Name=Test\r\n");
    test::WriteFileBytes(dir.File("site.por"),
                         "[Canvas01]\r\nFileName=cam.can\r\n[WebServer]\r\nEnabled=True\r\n"
                         "AllowNonCanvasServes=True\r\nWebPath=web\r\nPort=" +
                             std::to_string(port) +
                             "\r\n[VideoFeeds]\r\nFeed0Name=Test\r\nFeed0Enabled=True\r\n");
    test::WriteFileBytes(dir.File("cam.can"),
                         "[General]\r\nName=Cam\r\nWidth=320\r\nHeight=240\r\n[WebServer]\r\n"
                         "Enabled=True\r\nFileName=Canvas01.jpg\r\n[Graphic001]\r\nEnabled=True\r\n"
                         "SourceType=0\r\nSourceVideoFeedName=Test\r\n");
    std::filesystem::create_directories(dir.File("web"));
    test::WriteFileBytes(dir.File("web/watch.htm"), kWatchPage);

    test::Process program({TESS_BINARY, "--for", "120"}, dir.Path());
    bool served = false;
    for (int i = 0; i < 100 && !served; ++i) {
        std::this_thread::sleep_for(100ms);
        test::ClientSocket client(port);
        if (!client.Connected() || !client.Send(test::GetRequest("Canvas01.jpg"))) continue;
        auto answer = client.ReadResponse(2000ms);
        served = answer && answer->starts_with("HTTP/1.1 200");
    }
    ASSERT_TRUE(served);

    // The page's timer runs on virtual time, which Chromium lets pass only while nothing is
    // loading but the endless stream, so the samples span several real seconds of it.
    auto browser = test::RunProcess(
        {"/usr/bin/chromium", "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic",
         "--no-first-run", "--disable-background-networking", "--disable-component-update",
         "--disable-sync", "--user-data-dir=" + dir.File("chromium-profile"),
         "--virtual-time-budget=4000", "--dump-dom",
         "http://127.0.0.1:" + std::to_string(port) + "/watch.htm"},
        dir.Path(), 60);
    program.Signal(SIGINT);
    EXPECT_EQ(program.Wait(30).exit_code, 0);
    ASSERT_EQ(browser.exit_code, 0) << browser.err;
    std::smatch found;
    ASSERT_TRUE(std::regex_search(browser.out, found,
                                  std::regex(R"(samples=(\d+) distinct=(\d+) size=(\d+)x(\d+))")))
        << browser.out;
    EXPECT_EQ(found[3], "320");
    EXPECT_EQ(found[4], "240");
    // Pictures arrived one after the other over the one connection, and they moved.
    EXPECT_GE(std::stoi(found[2]), 3) << found[0];
}

} // namespace
} // namespace tess
