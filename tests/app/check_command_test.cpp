// `tessarolle check`: one site with one of each problem, each reported and the status 5, the
// files left as they were; a clean site, network included, gives status 0.

#include "imaging/dib.h"
#include "imaging/jpeg.h"
#include "publish/ftp_test_server.h"
#include "support/free_port.h"
#include "support/http_test_server.h"
#include "support/run_process.h"
#include "support/temp_dir.h"

#include <filesystem>
#include <map>
#include <string>
#include <thread>

#include <asio/executor_work_guard.hpp>
#include <asio/ip/tcp.hpp>
#include <gtest/gtest.h>

namespace tess {
namespace {

using test::ReadFileBytes;
using test::RunProcess;
using test::WriteFileBytes;

bool Has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

std::string JpegBytes() {
    DIB dib(64, 48);
    dib.Clear(0x336699);
    const auto bytes = EncodeJpeg(dib, 80);
    EXPECT_GT(bytes.size(), 100u);
    return std::string(bytes.begin(), bytes.end());
}

using test::FreePort;

std::string Portfolio(const std::string& extra_canvas, int port) {
    return "[Canvas01]\r\nFileName=cam.can\r\n" + extra_canvas +
           "[WebServer]\r\nEnabled=True\r\nPort=" + std::to_string(port) + "\r\n";
}

std::string Graphic(int index, int type, const std::string& key, const std::string& value) {
    return "[Graphic00" + std::to_string(index) +
           "]\r\nEnabled=True\r\nSourceType=" + std::to_string(type) + "\r\n" + key + "=" + value +
           "\r\n";
}

std::string Ftp(const std::string& server) {
    return "[FTPPush]\r\nEnabled=True\r\nServerName=" + server +
           "\r\nUserName=" + test::FtpTestServer::kUser +
           "\r\nPassword=" + test::FtpTestServer::kPassword + "\r\n";
}

std::map<std::string, std::string> FolderContents(const std::string& folder) {
    std::map<std::string, std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        files[entry.path().filename().string()] = ReadFileBytes(entry.path().string());
    return files;
}

TEST(Check, ReportsOneOfEachProblemAndWritesNothing) {
    test::TempDir dir;
    asio::io_context loop;
    asio::ip::tcp::acceptor taken(loop, {asio::ip::address_v4::any(), 0});
    const int busy = taken.local_endpoint().port();
    const int closed = FreePort();
    const std::string closed_host = "127.0.0.1:" + std::to_string(closed);
    WriteFileBytes(dir.File("site.por"),
                   Portfolio("LocatoinX=3\r\n[Canvas02]\r\nFileName=gone.can\r\n", busy));
    WriteFileBytes(dir.File("cam.can"),
                   "[General]\r\nName=Cam\r\nWidth=64\r\nHeight=48\r\nBogusKey=1\r\n"
                   "[Text001]\r\nEnabled=True\r\nText=Hi\r\nFontName=NoSuchFontQwerty\r\n" +
                       Graphic(1, 1, "SourceFileName", "nothere.jpg") +
                       Graphic(2, 1, "SourceFileName", "broken.jpg") +
                       Graphic(3, 2, "SourceURL", "http://" + closed_host + "/x.jpg") +
                       Ftp(closed_host));
    WriteFileBytes(dir.File("broken.jpg"), "this is no picture");
    const auto before = FolderContents(dir.Path());

    auto local = RunProcess({TESS_BINARY, "check", "site.por"}, dir.Path());
    EXPECT_EQ(local.exit_code, 5) << local.out << local.err;
    const std::vector<std::string> expected = {
        "warning: 'site.por' [Canvas01] LocatoinX: no setting has this key",
        "warning: 'cam.can' [General] BogusKey: no setting has this key",
        "error: portfolio 'site.por': the canvas file 'gone.can' of slot 2 does not exist",
        "the font \"NoSuchFontQwerty\" is not installed",
        "nothere.jpg: file not found",
        "broken.jpg: not a readable JPEG file",
        "[WebServer] Port: cannot listen on port " + std::to_string(busy),
        "check: 'site.por': 7 problems found",
    };
    for (const std::string& line : expected)
        EXPECT_TRUE(Has(local.out, line)) << line << "\n" << local.out;
    EXPECT_FALSE(Has(local.out, "FTP server")) << "the network was left alone";

    auto network =
        RunProcess({TESS_BINARY, "check", "--network", "--timeout", "3", "site.por"}, dir.Path());
    EXPECT_EQ(network.exit_code, 5) << network.out << network.err;
    EXPECT_TRUE(Has(network.out, "picture not shown: http://" + closed_host + "/x.jpg"))
        << network.out;
    EXPECT_TRUE(Has(network.out, "'cam.can' [FTPPush] ServerName: the FTP server '" + closed_host +
                                     "' cannot be reached"))
        << network.out;
    EXPECT_TRUE(Has(network.out, "9 problems found")) << network.out;
    EXPECT_EQ(FolderContents(dir.Path()), before) << "check wrote or changed a file";

    auto missing = RunProcess({TESS_BINARY, "check", "nope.por"}, dir.Path());
    EXPECT_EQ(missing.exit_code, 2);
    EXPECT_TRUE(Has(missing.err, "'nope.por': no such portfolio file")) << missing.err;
}

TEST(Check, ACleanSiteIsStatusZeroWithTheNetworkTried) {
    test::TempDir dir;
    asio::io_context loop;
    test::HttpTestServer http(loop);
    http.Answer("/cam.jpg",
                test::HttpAnswer(200, "OK", JpegBytes(), "Content-Type: image/jpeg\r\n"));
    auto work = asio::make_work_guard(loop);
    std::thread serving([&loop] { loop.run(); });
    test::FtpTestServer ftp;

    WriteFileBytes(dir.File("site.por"), Portfolio("", FreePort()));
    WriteFileBytes(dir.File("pic.jpg"), JpegBytes());
    WriteFileBytes(dir.File("cam.can"),
                   "[General]\r\nName=Cam\r\nWidth=64\r\nHeight=48\r\n"
                   "[Text001]\r\nEnabled=True\r\nText=Hi\r\nFontName=DejaVu Sans\r\n" +
                       Graphic(1, 1, "SourceFileName", "pic.jpg") +
                       Graphic(2, 2, "SourceURL", http.Url("/cam.jpg")) + Ftp(ftp.ServerName()));
    auto result = RunProcess({TESS_BINARY, "check", "--network", "site.por"}, dir.Path());
    loop.stop();
    serving.join();
    EXPECT_EQ(result.exit_code, 0) << result.out << result.err;
    EXPECT_TRUE(Has(result.out, "check: 'site.por': no problems found")) << result.out;
    EXPECT_EQ(http.Requests().size(), 1u);
    EXPECT_FALSE(ftp.Commands().empty()) << "the FTP server was not logged in to";
}

// Feed 5 has a test source, feed 6 a camera nobody serves, feed 7 no camera at all and feed
// 8 a URL no camera speaks: the local check finds the last two, the network one all three.
TEST(Check, EnabledFeedsWithoutACameraOrAPictureAreReported) {
    test::TempDir dir;
    const std::string closed = "http://127.0.0.1:" + std::to_string(FreePort()) + "/cam";
    WriteFileBytes(dir.File("Tessarolle.INI"),
                   "[Cameras]\r\nCamera5=lavfi:color=c=red:size=32x24:rate=10\r\nCamera6=" +
                       closed + "\r\nCamera8=ftp://x/y\r\n");
    std::string feeds = "[VideoFeeds]\r\n";
    for (int i = 5; i <= 8; ++i)
        feeds += "Feed" + std::to_string(i) + "Name=Cam" + std::to_string(i) + "\r\nFeed" +
                 std::to_string(i) + "Enabled=True\r\n";
    WriteFileBytes(dir.File("site.por"), "[Canvas01]\r\nFileName=cam.can\r\n" + feeds);
    WriteFileBytes(dir.File("cam.can"), "[General]\r\nName=Cam\r\nWidth=64\r\nHeight=48\r\n");

    auto local = RunProcess({TESS_BINARY, "check", "site.por"}, dir.Path());
    EXPECT_EQ(local.exit_code, 5) << local.out << local.err;
    EXPECT_TRUE(Has(local.out, "Camera8: 'ftp://x/y' uses a protocol")) << local.out;
    EXPECT_TRUE(Has(local.out, "[VideoFeeds] Feed7Enabled: feed 7 'Cam7' has no camera"))
        << local.out;
    EXPECT_TRUE(Has(local.out, "2 problems found")) << local.out;

    auto network =
        RunProcess({TESS_BINARY, "check", "--network", "--timeout", "3", "site.por"}, dir.Path());
    EXPECT_EQ(network.exit_code, 5) << network.out << network.err;
    EXPECT_TRUE(Has(network.out, "Feed6Enabled: feed 6 'Cam6' (" + closed + ") gave no picture"))
        << network.out;
    EXPECT_FALSE(Has(network.out, "Feed5Enabled")) << network.out;
    EXPECT_TRUE(Has(network.out, "3 problems found")) << network.out;
}

} // namespace
} // namespace tess
