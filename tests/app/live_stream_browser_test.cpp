// A real browser (headless Chromium) watches a canvas's live stream "Canvas01.mjpg" served by
// the running program, the canvas showing a moving test-source camera: the page samples the
// picture it shows every 100 ms and reports how many different pictures it saw to a listener of
// the test. The page runs on real time, so a slow machine only makes it wait longer.

#include "support/free_port.h"
#include "support/run_process.h"
#include "support/temp_dir.h"
#include "support/web_client.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <regex>
#include <thread>

#include <asio/ip/tcp.hpp>
#include <asio/write.hpp>
#include <gtest/gtest.h>

namespace tess {
namespace {

using namespace std::chrono_literals;

using test::FreePort;

// Draws the streamed picture into a canvas on every sample and keeps a hash of its pixels; reports
// once it has seen five pictures, or after eight seconds.
std::string WatchPage(std::uint16_t report_port) {
    return R"(<html><body>
<img id="live" src="Canvas01.mjpg"><canvas id="copy"></canvas>
<script>
const hashes = new Set();
const started = Date.now();
let samples = 0;
const timer = setInterval(() => {
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
  if (hashes.size < 5 && Date.now() - started < 8000) return;
  clearInterval(timer);
  new Image().src = `http://127.0.0.1:)" +
           std::to_string(report_port) + R"(/report?samples=${samples}&distinct=${hashes.size}` +
      `&size=${copy.width}x${copy.height}`;
}, 100);
</script></body></html>)";
}

// Waits up to `timeout` for the page's report and returns its request line.
std::string AwaitReport(asio::ip::tcp::acceptor& listener, std::chrono::seconds timeout) {
    listener.non_blocking(true);
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (std::chrono::steady_clock::now() < deadline) {
        asio::error_code error;
        asio::ip::tcp::socket peer = listener.accept(error);
        if (error) {
            std::this_thread::sleep_for(50ms);
            continue;
        }
        peer.non_blocking(false);
        std::string request(4096, '\0');
        request.resize(peer.read_some(asio::buffer(request), error));
        asio::write(peer, asio::buffer(std::string_view("HTTP/1.1 204 No Content\r\n\r\n")), error);
        if (request.starts_with("GET /report?")) return request.substr(0, request.find('\r'));
    }
    return {};
}

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

    test::Process program({TESS_BINARY, "--for", "120"}, dir.Path());
    bool served = false;
    for (int i = 0; i < 300 && !served; ++i) { // a loaded machine may take a while
        std::this_thread::sleep_for(100ms);
        test::ClientSocket client(port);
        if (!client.Connected() || !client.Send(test::GetRequest("Canvas01.jpg"))) continue;
        auto answer = client.ReadResponse(2000ms);
        served = answer && answer->starts_with("HTTP/1.1 200");
    }
    if (!served) {
        program.Signal(SIGINT);
        const test::ProcessResult ran = program.Wait(30);
        FAIL() << "Canvas01.jpg was not served; the program said:\n" << ran.out << ran.err;
    }

    asio::io_context loop;
    asio::ip::tcp::acceptor listener(loop, {asio::ip::address_v4::loopback(), 0});
    test::WriteFileBytes(dir.File("web/watch.htm"), WatchPage(listener.local_endpoint().port()));
    test::Process browser({"/usr/bin/chromium", "--headless", "--no-sandbox", "--disable-gpu",
                           "--disable-quic", "--no-first-run", "--disable-background-networking",
                           "--disable-component-update", "--disable-sync",
                           "--user-data-dir=" + dir.File("chromium-profile"),
                           "http://127.0.0.1:" + std::to_string(port) + "/watch.htm"},
                          dir.Path());
    const std::string report = AwaitReport(listener, 60s);
    browser.Signal(SIGTERM);
    const test::ProcessResult browsed = browser.Wait(30);
    program.Signal(SIGINT);
    EXPECT_EQ(program.Wait(30).exit_code, 0);
    std::smatch found;
    ASSERT_TRUE(std::regex_search(report, found,
                                  std::regex(R"(samples=(\d+)&distinct=(\d+)&size=(\d+)x(\d+))")))
        << "report: " << report << "\n"
        << browsed.err;
    EXPECT_EQ(found[3], "320");
    EXPECT_EQ(found[4], "240");
    // Pictures arrived one after the other over the one connection, and they moved.
    EXPECT_GE(std::stoi(found[2]), 3) << found[0];
}

} // namespace
} // namespace tess
