// The running program fed hundreds of megabytes of garbage by broken HTTP cameras on
// 127.0.0.1: each feed is named in the log, its memory stays bounded, and another canvas
// and the web server go on as if nothing happened.

#include "imaging/jpeg.h"
#include "support/free_port.h"
#include "support/run_process.h"
#include "support/temp_dir.h"
#include "support/web_client.h"

#include <chrono>
#include <csignal>
#include <fstream>
#include <optional>
#include <thread>

#include <asio/ip/tcp.hpp>
#include <gtest/gtest.h>

namespace tess {
namespace {

using namespace std::chrono_literals;

constexpr long long kMegabyte = 1024 * 1024;

using test::FreePort;

// A /proc/PID/status field in kB; -1 once the process is gone.
long long StatusKb(int pid, const std::string& field) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    std::string line;
    while (std::getline(status, line))
        if (line.starts_with(field + ":")) return std::stoll(line.substr(field.size() + 1));
    return -1;
}

// Whether a line of `log` holds both parts, in that order.
bool HasLine(const std::string& log, const std::string& first, const std::string& then) {
    for (std::size_t at = log.find(first); at != std::string::npos; at = log.find(first, at + 1)) {
        const std::size_t end = log.find('\n', at);
        const std::size_t found = log.find(then, at + first.size());
        if (found != std::string::npos && found < end) return true;
    }
    return false;
}

long long BytesSent(const std::string& count_file) {
    std::ifstream in(count_file);
    long long bytes = 0;
    in >> bytes;
    return bytes;
}

// The canvas's served picture, or nullopt when the server gave none.
std::optional<std::string> Fetch(std::uint16_t port, const std::string& name) {
    test::ClientSocket client(port);
    if (!client.Connected() || !client.Send(test::GetRequest(name))) return std::nullopt;
    auto answer = client.ReadResponse(3000ms);
    if (!answer || !answer->starts_with("HTTP/1.1 200")) return std::nullopt;
    return test::BodyOf(*answer);
}

struct GarbageCamera {
    std::string count_file;
    std::uint16_t port;
    std::unique_ptr<test::Process> server;

    GarbageCamera(const test::TempDir& dir, const std::string& mode)
        : count_file(dir.File(mode + ".count")), port(FreePort()) {}
    void Start(const test::TempDir& dir, const std::string& mode) {
        server = std::make_unique<test::Process>(
            std::vector<std::string>{"/usr/bin/python3",
                                     TESS_SOURCE_DIR "/tests/app/garbage_camera.py",
                                     std::to_string(port), count_file, mode},
            dir.Path());
    }
    ~GarbageCamera() {
        if (!server) return;
        server->Signal(SIGKILL);
        server->Wait(5);
    }
    std::string Url() const { return "http://127.0.0.1:" + std::to_string(port) + "/cam"; }
};

void WriteCanvas(const test::TempDir& dir, const std::string& file, const std::string& served,
                 const std::string& feed) {
    test::WriteFileBytes(dir.File(file), "[General]\r\nName=" + feed +
                                             "\r\nWidth=320\r\nHeight=240\r\n[WebServer]\r\n"
                                             "Enabled=True\r\nFileName=" +
                                             served +
                                             "\r\n[Graphic001]\r\nEnabled=True\r\nSourceType=0\r\n"
                                             "SourceVideoFeedName=" +
                                             feed + "\r\n");
}

// Three broken cameras: one whose parts are garbage (the decoder gets 48 KB of it a part),
// one whose single part never ends (what FFmpeg would grow into one packet without bound),
// one that does not pass for a stream at all. A test source feeds another canvas.
TEST(GarbageCamera, HundredsOfMegabytesOfGarbageAreNamedAndHeldInBoundedMemory) {
    test::TempDir dir;
    GarbageCamera framed(dir, "framed"), endless(dir, "endless"), raw(dir, "raw");
    const std::uint16_t web_port = FreePort();
    test::WriteFileBytes(
        dir.File("Tessarolle.INI"),
        "[General]\r\nLastPortfolio=site.por\r\n[Cameras]\r\nCamera0=" + framed.Url() +
            "\r\nCamera0Name=Framed Junk\r\nCamera1=" + endless.Url() +
            "\r\nCamera1Name=Endless Junk\r\nCamera2=" + raw.Url() +
            "\r\nCamera2Name=Raw Junk\r\n"
            "Camera3=lavfi:testsrc2=size=320x240:rate=10\r\nCamera3Name=Good\r\n");
    std::string portfolio = "[Canvas01]\r\nFileName=junk.can\r\n[Canvas02]\r\nFileName=good.can\r\n"
                            "[WebServer]\r\nEnabled=True\r\nPort=" +
                            std::to_string(web_port) + "\r\n[VideoFeeds]\r\n";
    const char* names[] = {"Framed Junk", "Endless Junk", "Raw Junk", "Good"};
    for (int i = 0; i < 4; ++i)
        portfolio += "Feed" + std::to_string(i) + "Name=" + names[i] + "\r\nFeed" +
                     std::to_string(i) + "Enabled=True\r\n";
    test::WriteFileBytes(dir.File("site.por"), portfolio);
    WriteCanvas(dir, "junk.can", "Canvas01.jpg", "Framed Junk");
    WriteCanvas(dir, "good.can", "Canvas02.jpg", "Good");

    // The sanitizer holds 256 MB of freed memory back by default, which would hide what the
    // program itself keeps; a small quarantine still catches use after free.
    test::Process program({TESS_BINARY, "--for", "180"}, dir.Path(),
                          {"ASAN_OPTIONS=quarantine_size_mb=8"});
    std::optional<std::string> before;
    for (int i = 0; i < 100 && !before; ++i) {
        std::this_thread::sleep_for(100ms);
        before = Fetch(web_port, "Canvas02.jpg");
    }
    ASSERT_TRUE(before.has_value());
    std::this_thread::sleep_for(1s); // settled: fonts, the first encodings, the good feed
    const long long settled_kb = StatusKb(program.Pid(), "VmHWM");

    // The cameras come up while the program runs; it finds them within its retries.
    framed.Start(dir, "framed");
    endless.Start(dir, "endless");
    raw.Start(dir, "raw");
    const auto start = std::chrono::steady_clock::now();
    int pictures_changed = 0;
    std::string last = *before;
    while (BytesSent(framed.count_file) < 200 * kMegabyte ||
           BytesSent(endless.count_file) < 16 * kMegabyte) {
        ASSERT_LT(std::chrono::steady_clock::now() - start, 120s)
            << BytesSent(framed.count_file) << " " << BytesSent(endless.count_file);
        std::this_thread::sleep_for(500ms);
        // The web server answers, and the good camera's canvas keeps moving meanwhile.
        auto picture = Fetch(web_port, "Canvas02.jpg");
        ASSERT_TRUE(picture.has_value());
        pictures_changed += *picture != last;
        last = *picture;
    }
    const long long peak_kb = StatusKb(program.Pid(), "VmHWM");
    program.Signal(SIGINT);
    const auto result = program.Wait(30);
    EXPECT_EQ(result.exit_code, 0) << result.err;

    // 200 MB went through the stream parser and the decoder, and the never-ending part was
    // cut off at 16 MB: the peak grew by far less than the garbage read. The sanitizer's
    // redzones and quarantine take their share; a release build peaks about 11 MB above.
    EXPECT_LT(peak_kb - settled_kb, 96 * 1024) << settled_kb << " kB settled, peak " << peak_kb;
    EXPECT_GE(pictures_changed, 5);
    DIB good;
    ASSERT_TRUE(
        DecodeJpegIntoDIB({reinterpret_cast<const std::uint8_t*>(last.data()), last.size()}, good));
    EXPECT_EQ(good.Width(), 320);

    const std::string log = test::ReadFileBytes(dir.File("Tessarolle.log"));
    EXPECT_NE(log.find("video feed 0 'Framed Junk': frames arrive but none can be decoded"),
              std::string::npos)
        << log;
    // Cut off while reading or while FFmpeg still probed the stream, as the timing goes.
    EXPECT_TRUE(HasLine(log, "video feed 1 'Endless Junk': lost (", "no picture within 16 MB)"))
        << log;
    EXPECT_NE(log.find("video feed 2 'Raw Junk': lost (cannot open: Invalid data"),
              std::string::npos)
        << log;
    EXPECT_EQ(log.find("'Good': lost"), std::string::npos) << log;
    std::printf("peak resident memory %lld kB, %lld kB above the settled program; garbage read: "
                "%lld MB framed, %lld MB in endless parts, %lld MB raw\n",
                peak_kb, peak_kb - settled_kb, BytesSent(framed.count_file) / kMegabyte,
                BytesSent(endless.count_file) / kMegabyte, BytesSent(raw.count_file) / kMegabyte);
}

} // namespace
} // namespace tess
