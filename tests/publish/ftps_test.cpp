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

// The file transfer itself over TLS is not checked here: pyftpdlib 1.5.7's TLS handler mixes
// up its answers with curl on the data connection ("Bad PASV/EPSV response: 200", then a
// reset), a bug of the test server that is still to be worked around.
TEST_P(FtpsTest, ThePinnedSelfSignedCertificateIsAcceptedAndTheLoginIsProtected) {
    test::FtpServerOptions options;
    options.tls = GetParam();
    FtpTestServer server(options);
    EngineRun run;
    run.ftp.SetRetryPause(std::chrono::milliseconds(0));
    run.ftp.SetFTPServer(server.ServerName());
    run.ftp.SetUserName(FtpTestServer::kUser);
    run.ftp.SetPassword(FtpTestServer::kPassword);
    run.ftp.SetServerKey(server.CertificateKey());
    ASSERT_TRUE(run.ftp.SendDataFile(Bytes(1000), "", "secure.jpg", 2));
    ASSERT_TRUE(run.RunToEnd());
    // Past the certificate and the log-in: the server saw the password inside TLS and was
    // asked to protect the data channel.
    EXPECT_THAT(run.statuses, ::testing::Contains("Sending File"));
    const auto commands = server.Commands();
    EXPECT_THAT(commands, ::testing::Contains("PASS ****"));
    EXPECT_THAT(commands, ::testing::Contains("PROT P"));
    if (GetParam() == FtpTls::Explicit) EXPECT_EQ(commands.front(), "AUTH SSL");
    if (GetParam() == FtpTls::Implicit) EXPECT_EQ(commands.front(), "USER webcam");
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
