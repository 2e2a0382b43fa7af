// The FFmpeg capture path on real streams: a lavfi test source, HTTP MJPEG cameras (good,
// corrupt and silent) served on 127.0.0.1, and GStreamer's RTSP server stopped and started.

#include "capture/capture_drivers.h"
#include "capture/ffmpeg_capture.h"
#include "capture/video_feed.h"
#include "imaging/dib.h"
#include "imaging/jpeg.h"
#include "imaging/ycbcr_planes.h"
#include "support/free_port.h"
#include "support/http_test_server.h"
#include "support/run_process.h"

#include <algorithm>
#include <arpa/inet.h>
#include <chrono>
#include <csignal>
#include <fstream>
#include <netinet/in.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <gtest/gtest.h>

namespace tess {
namespace {

using Steady = std::chrono::steady_clock;
using namespace std::chrono_literals;

// A blocked tick would take seconds (a connect or read time-out); the budget only leaves room
// for a shared, sanitised build being scheduled out now and then.
constexpr double kTickBudgetMs = 100;

double SteadyDate() {
    return std::chrono::duration<double>(Steady::now().time_since_epoch()).count() / 86400.0;
}

// A port nobody listens on at the moment.
using test::FreePort;

// Waits until something listens on the port; false after `limit`.
bool Listening(int port, std::chrono::milliseconds limit) {
    const auto end = Steady::now() + limit;
    while (Steady::now() < end) {
        const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        const bool ok = ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
        ::close(fd);
        if (ok) return true;
        std::this_thread::sleep_for(20ms);
    }
    return false;
}

// A feed on driver 0 with the real clock, ticked like the update loop does.
struct LiveFeed {
    CaptureDrivers drivers;
    CaptureServices services;
    VideoFeed feed;
    double slowest_tick_ms = 0;

    explicit LiveFeed(const std::string& url) {
        drivers.Declare(0, url, "Live");
        services.drivers = &drivers;
        services.now = SteadyDate;
        feed.SetCaptureServices(&services);
        feed.SetVfWInput(0);
        feed.SetEnabled(true);
    }
    // Ticks every 5 ms until `done` or the time runs out.
    template <typename Done>
    bool TickUntil(Done done, std::chrono::milliseconds limit) {
        const auto end = Steady::now() + limit;
        while (Steady::now() < end) {
            const auto start = Steady::now();
            feed.Grab(SteadyDate());
            const double ms =
                std::chrono::duration<double, std::milli>(Steady::now() - start).count();
            slowest_tick_ms = std::max(slowest_tick_ms, ms);
            if (done()) return true;
            std::this_thread::sleep_for(5ms);
        }
        return false;
    }
    std::int32_t Frames() const { return feed.FRAME(); }
};

std::string Part(const std::vector<std::uint8_t>& jpeg) {
    return "--frame\r\nContent-Type: image/jpeg\r\nContent-Length: " + std::to_string(jpeg.size()) +
           "\r\n\r\n" + std::string(jpeg.begin(), jpeg.end()) + "\r\n";
}

std::vector<std::uint8_t> SolidJpeg(std::uint32_t color) {
    DIB dib(96, 64);
    dib.Clear(color);
    return EncodeJpeg(dib, 90);
}

struct ServedCamera {
    asio::io_context loop;
    test::HttpTestServer server{loop};
    std::thread thread;
    ~ServedCamera() {
        loop.stop();
        if (thread.joinable()) thread.join();
    }
    void Start() {
        thread = std::thread([this] {
            auto work = asio::make_work_guard(loop);
            loop.run();
        });
    }
};

const char* kMultipartHead =
    "HTTP/1.1 200 OK\r\nContent-Type: multipart/x-mixed-replace;boundary=frame\r\n\r\n";

TEST(CameraStreams, TestSourceFramesArriveAndOnlyTheNewestIsKept) {
    // Red, with a blue band along the top: the frame must not come out upside down.
    LiveFeed live("lavfi:color=c=red:size=64x48:rate=25,drawbox=x=0:y=0:w=64:h=8:c=blue:t=fill");
    ASSERT_TRUE(live.feed.IsOpen());
    ASSERT_TRUE(live.TickUntil([&] { return live.feed.Valid(); }, 5000ms));
    EXPECT_EQ(live.feed.Width(), 64);
    EXPECT_EQ(live.feed.Height(), 48);
    EXPECT_EQ(live.feed.BPP(), 24);
    const std::uint8_t* pixel = live.feed.DIB().scanline(20) + 30 * 3;
    EXPECT_LE(pixel[0], 4);
    EXPECT_LE(pixel[1], 4);
    EXPECT_GE(pixel[2], 250);
    const std::uint8_t* top = live.feed.DIB().scanline(2) + 30 * 3;
    EXPECT_GE(top[0], 250);
    EXPECT_LE(top[2], 4);

    // Ten frames come while nobody grabs; the next grab gets one frame, the newest.
    const std::int32_t before = live.Frames();
    std::this_thread::sleep_for(400ms);
    live.feed.Grab(SteadyDate());
    live.feed.Grab(SteadyDate());
    EXPECT_LE(live.Frames() - before, 1);
    EXPECT_LT(live.slowest_tick_ms, kTickBudgetMs);
}

// A width that is not a whole number of the converter's blocks: its rows overrun their end,
// which must neither spill into the row beside it nor past the frame.
TEST(CameraStreams, AnOddWidthFrameKeepsEveryRowIntact) {
    LiveFeed live("lavfi:color=c=red:size=50x16:rate=25,format=yuvj422p,"
                  "drawbox=x=0:y=0:w=8:h=16:c=blue:t=fill");
    ASSERT_TRUE(live.TickUntil([&] { return live.feed.Valid(); }, 5000ms));
    ASSERT_EQ(live.feed.Width(), 50);
    for (int y = 0; y < 16; ++y) {
        for (int x = 0; x < 50; ++x) {
            if (x >= 6 && x < 10) continue; // the edge between the two colours is blurred
            const std::uint8_t* p = live.feed.DIB().scanline(y) + x * 3;
            const bool blue = x < 8;
            EXPECT_GE(p[blue ? 0 : 2], 230) << x << "," << y;
            EXPECT_LE(p[blue ? 2 : 0], 25) << x << "," << y;
        }
    }
}

TEST(CameraStreams, HttpMjpegCameraAndCorruptFramesAmongGoodOnes) {
    const std::vector<std::uint8_t> red = SolidJpeg(0x0000FF);
    std::vector<std::uint8_t> truncated = SolidJpeg(0xFF0000);
    truncated.resize(40); // the header and little else
    const std::string garbage(3000, '\x5a');
    ServedCamera camera;
    camera.server.Endless("/good", kMultipartHead, Part(red));
    camera.server.Endless("/mixed", kMultipartHead,
                          Part(red) + Part(truncated) +
                              "--frame\r\nContent-Type: image/jpeg\r\n\r\n" + garbage + "\r\n");
    camera.Start();

    LiveFeed good(camera.server.Url("/good"));
    ASSERT_TRUE(good.TickUntil([&] { return good.Frames() >= 5; }, 10000ms));
    EXPECT_EQ(good.feed.Width(), 96);
    EXPECT_GE(good.feed.DIB().scanline(10)[2], 250);

    // Broken pictures never reach the feed: every picture it shows is the red one.
    LiveFeed mixed(camera.server.Url("/mixed"));
    int checked = 0;
    std::uint64_t revision = 0;
    mixed.TickUntil(
        [&] {
            if (mixed.feed.FrameRevision() != revision) {
                revision = mixed.feed.FrameRevision();
                const std::uint8_t* p = mixed.feed.DIB().scanline(32) + 48 * 3;
                EXPECT_GE(p[2], 250);
                EXPECT_LE(p[0], 4);
                ++checked;
            }
            return checked >= 10;
        },
        10000ms);
    EXPECT_GE(checked, 10);
}

// While only the JPEG or its planes are asked for, MJPEG frames come as the camera sent them;
// the bitmap made when one is wanted after all is exactly the frame's own decoding, and when
// bitmaps are wanted frame after frame, frames come as bitmaps for a while. Broken frames
// among the good ones still never show.
TEST(CameraStreams, MjpegFramesComeUndecodedWhileNothingWantsTheirBitmaps) {
    const std::vector<std::uint8_t> red = SolidJpeg(0x0000FF);
    std::vector<std::uint8_t> truncated = SolidJpeg(0xFF0000);
    truncated.resize(40);
    ServedCamera camera;
    camera.server.Endless("/mixed", kMultipartHead, Part(red) + Part(truncated));
    camera.Start();

    LiveFeed live(camera.server.Url("/mixed"));
    std::uint64_t revision = 0;
    int undecoded = 0;
    ASSERT_TRUE(live.TickUntil(
        [&] {
            const YCbCrPlanes* planes = live.feed.Planes();
            if (live.feed.FrameRevision() == revision || !planes) return false;
            revision = live.feed.FrameRevision();
            const std::span<const std::uint8_t> jpeg = live.feed.Jpeg();
            EXPECT_TRUE(std::equal(jpeg.begin(), jpeg.end(), red.begin(), red.end()));
            EXPECT_EQ(planes->width, 96);
            EXPECT_EQ(planes->height, 64);
            EXPECT_NEAR(planes->y[planes->width * 10 + 10], 76, 3); // red's luma
            EXPECT_GE(planes->cr[planes->ChromaWidth() * 5 + 5], 250);
            return ++undecoded >= 5;
        },
        10000ms));
    DIB expected;
    ASSERT_TRUE(DecodeJpegIntoDIB(red, expected));
    const DIB& made = live.feed.DIB();
    ASSERT_EQ(made.BufferSize(), expected.BufferSize());
    EXPECT_TRUE(std::equal(made.DIBPtr(), made.DIBPtr() + made.BufferSize(), expected.DIBPtr()));

    // Counts the next `frames` frames that came as bitmaps, leaving out the first two (the
    // reader may have decoded them before it heard), making the bitmap of each if asked.
    auto bitmaps_among = [&](int frames, bool make_bitmaps) {
        int seen = 0, bitmaps = 0;
        live.TickUntil(
            [&] {
                if (live.feed.FrameRevision() == revision) return false;
                revision = live.feed.FrameRevision();
                const bool bitmap = live.feed.Jpeg().empty(); // asking keeps JPEGs wanted
                bitmaps += ++seen > 2 && bitmap;
                if (make_bitmaps) live.feed.DIB();
                return seen >= frames;
            },
            10000ms);
        return seen == frames ? bitmaps : -1;
    };
    // One bitmap now and then (a still picture asked for) keeps the JPEGs coming; bitmaps of
    // several frames in a row turn the feed to bitmaps.
    EXPECT_EQ(bitmaps_among(8, false), 0);
    bitmaps_among(VideoFeed::kBitmapStreak + 1, true);
    EXPECT_EQ(bitmaps_among(8, false), 6);
}

bool Mapped(const std::string& library) {
    std::ifstream maps("/proc/self/maps");
    std::string line;
    while (std::getline(maps, line))
        if (line.find(library) != std::string::npos) return true;
    return false;
}

// FFmpeg's libraries cost tens of megabytes in every process: none is there before a camera
// opens, a network camera does without the device layer, and the first test source loads it.
TEST(CameraStreams, FfmpegLoadsWithTheFirstCameraAndItsDeviceLayerOnlyForATestSource) {
    ASSERT_FALSE(Mapped("libavformat"));
    ASSERT_FALSE(Mapped("libavdevice"));
    ServedCamera camera;
    camera.server.Endless("/good", kMultipartHead, Part(SolidJpeg(0x00FF00)));
    camera.Start();
    LiveFeed http(camera.server.Url("/good"));
    ASSERT_TRUE(http.TickUntil([&] { return http.Frames() >= 2; }, 10000ms));
    EXPECT_TRUE(Mapped("libavformat"));
    EXPECT_FALSE(Mapped("libavdevice"));

    LiveFeed test_source("lavfi:color=c=red:size=32x24:rate=25");
    ASSERT_TRUE(test_source.TickUntil([&] { return test_source.Frames() >= 2; }, 10000ms));
    EXPECT_TRUE(Mapped("libavdevice"));
}

template <typename Done>
bool WaitFor(Done done, std::chrono::milliseconds limit) {
    const auto end = Steady::now() + limit;
    while (!done()) {
        if (Steady::now() > end) return false;
        std::this_thread::sleep_for(5ms);
    }
    return true;
}

// A camera that sends far faster than anybody grabs: the first frame is decoded as it comes,
// the frames that come while it waits untaken stay compressed, and the one taken is decoded
// whole.
TEST(CameraStreams, FramesThatComeWhileOneWaitsAreNotDecoded) {
    const std::vector<std::uint8_t> red = SolidJpeg(0x0000FF);
    ServedCamera camera;
    camera.server.Endless("/cam", kMultipartHead, Part(red));
    camera.Start();
    FfmpegCapture capture(ParseCameraUrl(camera.server.Url("/cam")), [] {});
    ASSERT_TRUE(capture.Connect());
    ASSERT_TRUE(WaitFor([&] { return capture.FramesReceived() >= 40; }, 10000ms));
    EXPECT_EQ(capture.FramesDecoded(), 1u);
    capture.RequestFrame();
    int taken = 0;
    ASSERT_TRUE(capture.DeliverFrame([&](const VideoHeader& header) {
        ++taken;
        ASSERT_EQ(header.bytes_used, RawFrame::Pitch(96, 3) * 64);
        const std::uint8_t* middle = header.data + RawFrame::Pitch(96, 3) * 32 + 48 * 3;
        EXPECT_GE(middle[2], 250);
        EXPECT_LE(middle[0], 4);
    }));
    EXPECT_EQ(taken, 1);
    // One more may have come and been decoded at once while the grab was out.
    EXPECT_LE(capture.FramesDecoded(), 3u);
    EXPECT_GT(capture.FramesReceived(), capture.FramesDecoded() * 10);
    EXPECT_EQ(capture.StateText(), "receiving frames");
}

// A kept frame that cannot be decoded is dropped when taken; the grab stays out and the next
// frame, decoded by the reader as it comes, answers it.
TEST(CameraStreams, AKeptFrameThatCannotBeDecodedLeavesTheGrabOut) {
    const std::vector<std::uint8_t> red = SolidJpeg(0x0000FF);
    std::vector<std::uint8_t> truncated = red;
    truncated.resize(red.size() / 2);
    std::string stream = std::string(kMultipartHead) + Part(red);
    for (int i = 0; i < 8; ++i)
        stream += Part(truncated);
    ServedCamera camera;
    camera.server.Trickle("/cam", stream, stream.size(), 0ms); // then it hangs up
    camera.Start();
    FfmpegCapture capture(ParseCameraUrl(camera.server.Url("/cam")), [] {});
    capture.SetSnapshotInterval(200ms); // asked again soon after the hang-up
    ASSERT_TRUE(capture.Connect());
    ASSERT_TRUE(WaitFor([&] { return capture.FramesReceived() >= 8; }, 10000ms));
    EXPECT_EQ(capture.FramesDecoded(), 1u);
    capture.RequestFrame();
    EXPECT_FALSE(capture.DeliverFrame([](const VideoHeader&) { FAIL() << "a broken frame"; }));
    // The camera is asked again: its first frame, red, answers the grab still out.
    int taken = 0;
    EXPECT_TRUE(WaitFor(
        [&] {
            return capture.DeliverFrame([&](const VideoHeader& header) {
                ++taken;
                EXPECT_GE(header.data[RawFrame::Pitch(96, 3) * 32 + 48 * 3 + 2], 250);
            });
        },
        10000ms));
    EXPECT_EQ(taken, 1);
}

// An endless stream of garbage under an MJPEG header: no frame, no crash, and the feed still
// closes at once.
TEST(CameraStreams, EndlessGarbageGivesNoFrame) {
    std::string noise(64 * 1024, '\0');
    for (std::size_t i = 0; i < noise.size(); ++i)
        noise[i] = static_cast<char>((i * 2654435761u) >> 13);
    ServedCamera camera;
    camera.server.Endless("/cam", kMultipartHead, noise);
    camera.Start();
    LiveFeed live(camera.server.Url("/cam"));
    EXPECT_FALSE(live.TickUntil([&] { return live.feed.Valid(); }, 2000ms));
    EXPECT_LT(live.slowest_tick_ms, kTickBudgetMs);
    const auto start = Steady::now();
    live.feed.SetEnabled(false);
    EXPECT_LT(Steady::now() - start, 500ms);
}

// A camera host that takes the connection and never answers costs the loop nothing, and
// closing the feed does not wait for the host either.
TEST(CameraStreams, SilentHostDelaysNoTick) {
    ServedCamera camera;
    camera.server.Silent("/cam");
    camera.Start();
    LiveFeed live(camera.server.Url("/cam"));
    EXPECT_FALSE(live.TickUntil([] { return false; }, 1500ms));
    EXPECT_FALSE(live.feed.Valid());
    EXPECT_LT(live.slowest_tick_ms, kTickBudgetMs);
    EXPECT_EQ(camera.server.Accepted(), 1);
    const auto start = Steady::now();
    live.feed.SetEnabled(false);
    EXPECT_LT(Steady::now() - start, 500ms);
}

TEST(CameraStreams, JunkAddressFailsAtOnceWithTheMessage) {
    CaptureDrivers drivers;
    drivers.Declare(0, "gopher://camera", "Junk");
    std::vector<std::string> messages;
    CaptureServices services;
    services.drivers = &drivers;
    services.now = SteadyDate;
    services.message = [&](std::string_view text, std::string_view) {
        messages.emplace_back(text);
    };
    VideoFeed feed;
    feed.SetCaptureServices(&services);
    feed.SetVfWInput(0);
    feed.SetEnabled(true);
    EXPECT_FALSE(feed.Enabled());
    ASSERT_EQ(messages.size(), 1u);
}

// The RTSP server goes away and comes back: the feed keeps its picture meanwhile and has
// new frames within three seconds of the server's return, with nobody doing anything.
TEST(CameraStreams, RtspCameraComesBackAfterTheServerRestarts) {
    const int port_number = FreePort();
    const std::string port = std::to_string(port_number);
    const std::vector<std::string> server = {"/usr/bin/python3",
                                             TESS_SOURCE_DIR "/tests/capture/rtsp_camera.py", port};
    auto rtsp = std::make_unique<test::Process>(server, ".");
    LiveFeed live("rtsp://127.0.0.1:" + port + "/cam");
    ASSERT_TRUE(live.TickUntil([&] { return live.Frames() >= 3; }, 20000ms))
        << live.feed.DriverState();
    EXPECT_EQ(live.feed.Width(), 320);

    rtsp->Signal(SIGKILL);
    rtsp->Wait(5);
    ASSERT_TRUE(live.TickUntil(
        [&] { return live.feed.DriverState().find("lost") != std::string::npos; }, 15000ms))
        << live.feed.DriverState();
    EXPECT_TRUE(live.feed.Valid());
    EXPECT_EQ(live.feed.Width(), 320); // the last good frame stays

    rtsp = std::make_unique<test::Process>(server, ".");
    ASSERT_TRUE(Listening(port_number, 20000ms));
    const std::int32_t before = live.Frames();
    const auto back = Steady::now(); // the server answers again
    ASSERT_TRUE(live.TickUntil([&] { return live.Frames() > before; }, 10000ms));
    EXPECT_LT(Steady::now() - back, 3s);
    EXPECT_LT(live.slowest_tick_ms, kTickBudgetMs);
    rtsp->Signal(SIGKILL);
    rtsp->Wait(5);
}

} // namespace
} // namespace tess
