// FTP over TLS, implicit (ftps://) and explicit (ftpes://), against pyftpdlib's TLS handler
// with a self-signed certificate: accepted only through its pinned key.

#include "publish/ftp_engine_fixture.h"
#include "publish/ftp_test_server.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tess {
namespace {

using test::EngineRun;
using test::FtpTestServer;
using test::FtpTls;

std::string Bytes(std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<char>((i * 7919) >> 3);
    return bytes;
}

class FtpsTest : public ::testing::TestWithParam<FtpTls> {};

// Each replacement mode over TLS, with a picture large enough to take several TLS records:
// the server must hold exactly the bytes sent, under the final name only.
TEST_P(FtpsTest, EachModeArrivesByteForByteBehindThePinnedCertificate) {
    test::FtpServerOptions options;
    options.tls = GetParam();
    FtpTestServer server(options);
    std::string picture = Bytes(150000);
    for (std::int32_t mode : {0, 0, 1, 2}) {
        SCOPED_TRACE(mode);
        server.ClearLog();
        EngineRun run;
        run.ftp.SetRetryPause(std::chrono::milliseconds(0));
        run.LogIn(server.ServerName(), FtpTestServer::kUser, FtpTestServer::kPassword,
                  server.CertificateKey());
        run.ftp.SetFTPMode(mode);
        picture[0] = static_cast<char>('0' + mode);
        picture.back() = static_cast<char>(picture.back() + 1);
        ASSERT_TRUE(run.ftp.SendDataFile(picture, "", "secure.jpg", 2));
        ASSERT_TRUE(run.RunToEnd());
        ASSERT_EQ(run.statuses.back(), "Complete")
            << ::testing::PrintToString(run.statuses) << run.ftp.Error();
        EXPECT_TRUE(test::ReadIfThere(server.File("secure.jpg")) == picture);
        EXPECT_EQ(test::ReadIfThere(server.File("FTPPsh02.tmp")), "");
        // The password went inside TLS and the data channel was protected too.
        const auto commands = server.Commands();
        EXPECT_THAT(commands, ::testing::Contains("PASS ****"));
        EXPECT_THAT(commands, ::testing::Contains("PROT P"));
        const char* first = GetParam() == FtpTls::Explicit ? "AUTH SSL" : "USER webcam";
        EXPECT_EQ(commands.front(), first);
        const char* put = mode == 2 ? "STOR secure.jpg" : "STOR FTPPsh02.tmp";
        EXPECT_THAT(server.FileCommands(), ::testing::Contains(put));
    }
}

TEST_P(FtpsTest, AnUnknownCertificateIsRefused) {
    test::FtpServerOptions options;
    options.tls = GetParam();
    FtpTestServer server(options);
    for (std::string key : {std::string(), std::string("sha256//") + std::string(43, 'A') + "="}) {
        EngineRun run;
        run.ftp.SetRetryPause(std::chrono::milliseconds(0));
        run.ftp.SetFTPServer(server.ServerName());
        run.ftp.SetUserName(FtpTestServer::kUser);
        run.ftp.SetPassword(FtpTestServer::kPassword);
        run.ftp.SetServerKey(key);
        ASSERT_TRUE(run.ftp.SendDataFile("x", "", "never.jpg", 2));
        ASSERT_TRUE(run.RunToEnd());
        EXPECT_EQ(run.ftp.State(), 1);
        EXPECT_FALSE(run.ftp.Error().empty());
        EXPECT_EQ(test::ReadIfThere(server.File("never.jpg")), "");
    }
}

INSTANTIATE_TEST_SUITE_P(Tls, FtpsTest, ::testing::Values(FtpTls::Explicit, FtpTls::Implicit));

} // namespace
} // namespace tess
