#include "capture/camera_source.h"
#include "capture/capture_drivers.h"
#include "capture/host_probe.h"
#include "capture/v4l2_devices.h"
#include "support/temp_dir.h"

#include <filesystem>

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <gtest/gtest.h>

namespace tess {
namespace {

using test::TempDir;
using test::WriteFileBytes;

// A machine with three webcams: one offers a second (metadata) node, one has no card name.
struct FakeDevices : ::testing::Test {
    TempDir dir;
    V4l2Roots roots;

    FakeDevices() {
        roots.dev = dir.File("dev");
        roots.sysfs = dir.File("sys");
        std::filesystem::create_directories(roots.dev);
        Add(10, "0", "HD Pro Webcam C920");
        Add(0, "0", "USB Camera");
        Add(1, "1", "USB Camera"); // the metadata node of video0
        Add(2, "0", "USB Camera");
        Add(5, "", "");
        std::filesystem::create_directories(roots.sysfs + "/video7"); // no /dev node
        std::filesystem::create_directories(roots.sysfs + "/vbi0");
    }
    void Add(int n, const std::string& index, const std::string& name) {
        const std::string node = roots.sysfs + "/video" + std::to_string(n);
        std::filesystem::create_directories(node);
        if (!index.empty()) WriteFileBytes(node + "/index", index + "\n");
        if (!name.empty()) WriteFileBytes(node + "/name", name + "\n");
        WriteFileBytes(roots.dev + "/video" + std::to_string(n), "");
    }
};

TEST_F(FakeDevices, CaptureNodesAreFoundInNumberOrder) {
    const std::vector<V4l2Device> devices = FindV4l2Devices(roots);
    ASSERT_EQ(devices.size(), 4u);
    EXPECT_EQ(devices[0].path, roots.dev + "/video0");
    EXPECT_EQ(devices[0].card_name, "USB Camera");
    EXPECT_EQ(devices[1].number, 2);
    EXPECT_EQ(devices[2].number, 5);
    EXPECT_EQ(devices[2].card_name, "");
    EXPECT_EQ(devices[3].card_name, "HD Pro Webcam C920");
    EXPECT_EQ(V4l2CurrentFormat(devices[0].path), ""); // a plain file answers no ioctl

    V4l2Roots none{dir.File("nothing"), dir.File("nothing")};
    EXPECT_TRUE(FindV4l2Devices(none).empty());
}

// Declared cameras keep their indexes; webcams fill the gaps around them.
TEST_F(FakeDevices, DeclaredCamerasKeepTheirIndexesAndWebcamsFillTheRest) {
    const std::string ini = dir.File("Tessarolle.INI");
    WriteFileBytes(ini, "[Cameras]\r\nCamera1=rtsp://10.0.0.5/stream\r\nCamera1Name=Gate\r\n"
                        "Camera3=lavfi:testsrc2\r\nCamera4=ftp://x/y\r\nCamera12=rtsp://a/b\r\n");
    CaptureDrivers drivers;
    std::vector<std::string> problems;
    drivers.LoadDeclared(ini, problems);
    drivers.AddDevices(FindV4l2Devices(roots));
    ASSERT_EQ(problems.size(), 1u);
    EXPECT_NE(problems[0].find("Tessarolle.INI: [Cameras] Camera4: 'ftp://x/y' uses a protocol"),
              std::string::npos)
        << problems[0];

    const std::vector<std::string> expected = {
        "USB Camera",         "Gate", "USB Camera", "Camera 3", "Camera 4", roots.dev + "/video5",
        "HD Pro Webcam C920", "",     "",           ""};
    for (int i = 0; i < CaptureDrivers::kDrivers; ++i)
        EXPECT_EQ(drivers.Description(i), expected[i]) << i;
    EXPECT_EQ(drivers.Entry(1)->source.kind, CameraKind::Rtsp);
    EXPECT_EQ(drivers.Entry(2)->source.kind, CameraKind::V4L2);
    EXPECT_EQ(drivers.Entry(2)->url, roots.dev + "/video2");
    EXPECT_FALSE(drivers.Entry(2)->declared);
    EXPECT_EQ(drivers.Description(-1), "");
    EXPECT_EQ(drivers.Create(7), nullptr);
    auto junk = drivers.Create(4);
    ASSERT_NE(junk, nullptr);
    EXPECT_FALSE(junk->Connect()); // fails at once, and the feed says so
}

TEST(CameraUrls, EachKindGetsItsInputAndOptions) {
    CameraSource test = ParseCameraUrl(" lavfi:testsrc2=size=64x48 ");
    EXPECT_EQ(test.kind, CameraKind::TestSource);
    EXPECT_EQ(test.input_format, "lavfi");
    EXPECT_EQ(test.address, "testsrc2=size=64x48");
    EXPECT_TRUE(test.paced);

    CameraSource rtsp = ParseCameraUrl("RTSP://cam/live");
    EXPECT_EQ(rtsp.kind, CameraKind::Rtsp);
    EXPECT_FALSE(rtsp.paced);
    ASSERT_EQ(rtsp.options.size(), 2u);
    EXPECT_EQ(rtsp.options[0].second, "tcp");

    CameraSource device = ParseCameraUrl("v4l2:/dev/video2?size=1280x720&rate=30&format=yuyv");
    EXPECT_EQ(device.kind, CameraKind::V4L2);
    EXPECT_EQ(device.address, "/dev/video2");
    using Options = std::vector<std::pair<std::string, std::string>>;
    EXPECT_EQ(
        device.options,
        (Options{{"video_size", "1280x720"}, {"framerate", "30"}, {"input_format", "yuyv422"}}));
    EXPECT_EQ(ParseCameraUrl("/dev/video0").options, (Options{{"input_format", "mjpeg"}}));

    EXPECT_EQ(ParseCameraUrl("v4l2:/dev/video0?colour=red").kind, CameraKind::Invalid);
    EXPECT_EQ(ParseCameraUrl("").kind, CameraKind::Invalid);
    EXPECT_EQ(ParseCameraUrl("lavfi:").kind, CameraKind::Invalid);
    CameraSource missing = ParseCameraUrl("/nowhere/clip.mp4");
    EXPECT_EQ(missing.kind, CameraKind::Invalid);
    EXPECT_EQ(missing.problem, "the video file '/nowhere/clip.mp4' does not exist");
    EXPECT_EQ(ParseCameraUrl("http://cam/video.mjpg").kind, CameraKind::Http);
}

} // namespace
} // namespace tess

namespace tess {
namespace {

TEST(HostProbe, NumericHostsOfNetworkCamerasAreAskedWhetherTheyAcceptConnections) {
    const HostPort rtsp = NetworkHost(ParseCameraUrl("rtsp://user:pw@10.1.2.3/live"));
    EXPECT_EQ(rtsp.host, "10.1.2.3");
    EXPECT_EQ(rtsp.port, 554);
    EXPECT_EQ(NetworkHost(ParseCameraUrl("http://127.0.0.1:8081/x.mjpg")).port, 8081);
    EXPECT_EQ(NetworkHost(ParseCameraUrl("http://camera.example/x.mjpg")).host, "");
    EXPECT_EQ(NetworkHost(ParseCameraUrl("lavfi:testsrc2")).host, "");

    asio::io_context loop;
    asio::ip::tcp::acceptor listening(loop, {asio::ip::address_v4::loopback(), 0});
    const int port = listening.local_endpoint().port();
    EXPECT_TRUE(Accepts({"127.0.0.1", port}, std::chrono::milliseconds(300)));
    listening.close();
    EXPECT_FALSE(Accepts({"127.0.0.1", port}, std::chrono::milliseconds(300)));
}

} // namespace
} // namespace tess
