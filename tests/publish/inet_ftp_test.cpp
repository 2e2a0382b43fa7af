// The FTP transfer engine against a real pyftpdlib server on 127.0.0.1.

#include "publish/ftp_engine_fixture.h"
#include "publish/ftp_test_server.h"

#include <filesystem>
#include <string>
#include <vector>

#include <asio/ip/tcp.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tess {
namespace {

using test::EngineRun;
using test::FtpTestServer;
using test::ReadIfThere;
using ::testing::ElementsAre;

std::string Picture(std::size_t size, char fill) {
    std::string bytes(size, fill);
    for (std::size_t i = 0; i < size; i += 97)
        bytes[i] = static_cast<char>(i * 31);
    return bytes;
}

void LogIn(InetFTP& ftp, const FtpTestServer& server) {
    ftp.SetFTPServer(server.ServerName());
    ftp.SetUserName(FtpTestServer::kUser);
    ftp.SetPassword(FtpTestServer::kPassword);
}

TEST(InetFTPTest, EachModeSendsItsCommandsAndLeavesTheWholePicture) {
    FtpTestServer server;
    std::filesystem::create_directories(server.File("cams"));
    const std::string picture = Picture(150000, 'a');
    for (std::int32_t mode : {0, 1, 2}) {
        SCOPED_TRACE(mode);
        test::WriteFileBytes(server.File("cams/cam.jpg"), "the old picture");
        server.ClearLog();
        EngineRun run;
        LogIn(run.ftp, server);
        run.ftp.SetFTPMode(mode);
        ASSERT_TRUE(run.ftp.SendDataFile(picture + char('0' + mode), "cams", "cam.jpg", 3));
        ASSERT_TRUE(run.RunToEnd()) << ::testing::PrintToString(run.statuses);
        EXPECT_EQ(run.ftp.Status(), "Idle");
        EXPECT_EQ(run.ftp.State(), 0);
        EXPECT_TRUE(ReadIfThere(server.File("cams/cam.jpg")) == picture + char('0' + mode));
        EXPECT_FALSE(std::filesystem::exists(server.File("cams/FTPPsh03.tmp")));
        std::vector<std::string> expected;
        if (mode == 0)
            expected = {"CWD cams", "STOR FTPPsh03.tmp", "DELE cam.jpg", "RNFR FTPPsh03.tmp",
                        "RNTO cam.jpg"};
        if (mode == 1)
            expected = {"CWD cams", "STOR FTPPsh03.tmp", "RNFR FTPPsh03.tmp", "RNTO cam.jpg"};
        if (mode == 2) expected = {"CWD cams", "STOR cam.jpg"};
        EXPECT_EQ(server.FileCommands(), expected);
        EXPECT_EQ(server.Commands().back(), "QUIT");
        std::vector<std::string> statuses = {"Starting",     "Connecting",    "CD Directory",
                                             "Sending File", "Disconnecting", "Complete"};
        EXPECT_EQ(run.statuses, statuses);
    }
}

TEST(InetFTPTest, AFailedDeleteStillRenamesAndSlashOrEmptyFolderSkipsTheChange) {
    FtpTestServer server;
    for (const char* folder : {"", "/", "\\"}) {
        SCOPED_TRACE(folder);
        std::filesystem::remove(server.File("first.jpg"));
        server.ClearLog();
        EngineRun run;
        LogIn(run.ftp, server);
        ASSERT_TRUE(run.ftp.SendDataFile("new picture", folder, "first.jpg", 12));
        ASSERT_TRUE(run.RunToEnd());
        EXPECT_EQ(ReadIfThere(server.File("first.jpg")), "new picture");
        EXPECT_THAT(server.FileCommands(), ElementsAre("STOR FTPPsh12.tmp", "DELE first.jpg",
                                                       "RNFR FTPPsh12.tmp", "RNTO first.jpg"));
        EXPECT_THAT(run.statuses,
                    ElementsAre("Starting", "Connecting", "Sending File",
                                ::testing::StartsWith("ERROR, 550 "), "Disconnecting", "Complete"));
    }
}

TEST(InetFTPTest, ASecondRequestWhileSendingIsRefusedAndTheFirstGoesOn) {
    FtpTestServer server;
    EngineRun run;
    LogIn(run.ftp, server);
    EXPECT_EQ(run.ftp.Status(), "Idle");
    ASSERT_TRUE(run.ftp.SendDataFile("first", "", "one.jpg", 1));
    while (run.ftp.State() < 20)
        run.loop.run_one();
    EXPECT_FALSE(run.ftp.SendDataFile("second", "", "two.jpg", 1));
    EXPECT_FALSE(run.ftp.SendFile("/tmp", "", "x", "three.jpg", 1));
    ASSERT_TRUE(run.RunToEnd());
    EXPECT_EQ(ReadIfThere(server.File("one.jpg")), "first");
    EXPECT_FALSE(std::filesystem::exists(server.File("two.jpg")));
    EXPECT_FALSE(std::filesystem::exists(server.File("three.jpg")));
    // Idle again: the next request is taken, here from a local file.
    test::TempDir local;
    test::WriteFileBytes(local.File("p.jpg"), "from disk");
    ASSERT_TRUE(run.ftp.SendFile(local.Path(), "", "p.jpg", "two.jpg", 1));
    ASSERT_TRUE(run.RunToEnd());
    EXPECT_EQ(ReadIfThere(server.File("two.jpg")), "from disk");
}

int ClosedPort() {
    asio::io_context io;
    asio::ip::tcp::acceptor acceptor(io, {asio::ip::make_address("127.0.0.1"), 0});
    return acceptor.local_endpoint().port();
}

TEST(InetFTPTest, ThreeFailedConnectionsStopInStateOneWithEveryStatusInOrder) {
    EngineRun run;
    run.ftp.SetRetryPause(std::chrono::milliseconds(0));
    run.ftp.SetFTPServer("127.0.0.1:" + std::to_string(ClosedPort()));
    ASSERT_TRUE(run.ftp.SendDataFile("x", "", "a.jpg", 0));
    ASSERT_TRUE(run.RunToEnd());
    EXPECT_EQ(run.ftp.State(), 1);
    ASSERT_EQ(run.statuses.size(), 9u);
    const auto error = ::testing::StartsWith("ERROR, Failed to connect to 127.0.0.1 port");
    EXPECT_THAT(run.statuses,
                ElementsAre("Starting", "Connecting", error, "Failed.  Retry #2", "Connecting",
                            error, "Failed.  Retry #3", "Connecting", error));
    EXPECT_THAT(run.ftp.Error(), ::testing::HasSubstr("127.0.0.1"));
    EXPECT_EQ(run.ftp.Status(), "ERROR, " + run.ftp.Error()); // a failed run is not "Idle"
    // The next request starts afresh from the failure.
    FtpTestServer server;
    LogIn(run.ftp, server);
    ASSERT_TRUE(run.ftp.SendDataFile("x", "", "a.jpg", 0));
    ASSERT_TRUE(run.RunToEnd());
    EXPECT_EQ(ReadIfThere(server.File("a.jpg")), "x");
}

TEST(InetFTPTest, AServerStoppedMidTransferIsRetriedUntilItIsBack) {
    FtpTestServer server;
    EngineRun run;
    run.ftp.SetRetryPause(std::chrono::milliseconds(1000));
    LogIn(run.ftp, server);
    // More than the loopback's socket buffers hold, so the server is caught mid-transfer.
    const std::string picture = Picture(24u << 20, 'z');
    ASSERT_TRUE(run.ftp.SendDataFile(picture, "", "cam.jpg", 5));
    while (run.ftp.State() != 20 || run.ftp.SubState() != 1)
        run.loop.run_one();
    run.loop.run_one_for(std::chrono::milliseconds(50));
    server.Freeze();
    run.loop.run_one_for(std::chrono::milliseconds(100));
    EXPECT_EQ(run.ftp.State(), 20);
    server.Stop();
    while (run.ftp.State() == 20 && run.ftp.SubState() == 1)
        run.loop.run_one_for(std::chrono::milliseconds(20));
    server.Start();
    ASSERT_TRUE(run.RunToEnd()) << ::testing::PrintToString(run.statuses);
    EXPECT_TRUE(ReadIfThere(server.File("cam.jpg")) == picture);
    EXPECT_THAT(run.statuses, ::testing::Contains("Failed.  Retry #2"));
    EXPECT_EQ(run.statuses.back(), "Complete");
}

TEST(InetFTPTest, TemporaryNamesCarryTheInstanceInTwoDigits) {
    EXPECT_EQ(InetFTP::TempName(3), "FTPPsh03.tmp");
    EXPECT_EQ(InetFTP::TempName(20), "FTPPsh20.tmp");
    EXPECT_EQ(InetFTP::TempName(123), "FTPPsh123.tmp");
}

} // namespace
} // namespace tess
