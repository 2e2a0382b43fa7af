// SFTP against OpenSSH's sshd, started here on a loopback port with its own host key,
// configuration and authorised client key (found by libcurl under $HOME/.ssh).

#include "publish/ftp_engine_fixture.h"
#include "support/run_process.h"
#include "support/temp_dir.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

#include <asio/connect.hpp>
#include <asio/ip/tcp.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tess {
namespace {

namespace fs = std::filesystem;

int FreePort() {
    asio::io_context io;
    asio::ip::tcp::acceptor acceptor(io, {asio::ip::make_address("127.0.0.1"), 0});
    return acceptor.local_endpoint().port();
}

void Run(const std::vector<std::string>& argv, const std::string& directory) {
    test::ProcessResult result = test::RunProcess(argv, directory);
    if (result.exit_code != 0) throw std::runtime_error(argv[0] + ": " + result.err);
}

class SshTestServer {
public:
    SshTestServer() {
        root_ = dir_.File("root");
        fs::create_directories(root_);
        fs::create_directories(dir_.File("home/.ssh"));
        Run({"/usr/bin/ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", dir_.File("hostkey")},
            dir_.Path());
        // libssh2 1.10 signs with ssh-rsa, which this sshd is told to accept below.
        Run({"/usr/bin/ssh-keygen", "-q", "-t", "rsa", "-b", "2048", "-m", "PEM", "-N", "", "-f",
             dir_.File("home/.ssh/id_rsa")},
            dir_.Path());
        fs::copy_file(dir_.File("home/.ssh/id_rsa.pub"), dir_.File("authorized_keys"));
        test::ProcessResult print =
            test::RunProcess({"/usr/bin/ssh-keygen", "-lf", dir_.File("hostkey.pub")}, dir_.Path());
        host_key_ = print.out.substr(print.out.find("SHA256:"));
        host_key_ = host_key_.substr(0, host_key_.find(' '));
        port_ = FreePort();
        std::ofstream(dir_.File("sshd_config"))
            << "ListenAddress 127.0.0.1:" << port_ << "\nHostKey " << dir_.File("hostkey")
            << "\nPidFile " << dir_.File("sshd.pid") << "\nAuthorizedKeysFile "
            << dir_.File("authorized_keys")
            << "\nPasswordAuthentication no\nKbdInteractiveAuthentication no\n"
               "PubkeyAuthentication yes\nPubkeyAcceptedAlgorithms +ssh-rsa\nUsePAM no\n"
               "StrictModes no\nPermitRootLogin yes\nSubsystem sftp internal-sftp\n";
        // sshd insists on its privilege separation folder, which only its service makes.
        fs::create_directories("/run/sshd");
        process_ = std::make_unique<test::Process>(
            std::vector<std::string>{"/usr/sbin/sshd", "-D", "-e", "-f", dir_.File("sshd_config")},
            dir_.Path());
        WaitForPort();
    }

    std::string ServerName() const { return "sftp://127.0.0.1:" + std::to_string(port_); }
    const std::string& Root() const { return root_; }
    const std::string& HostKey() const { return host_key_; }
    std::string Home() const { return dir_.File("home"); }

private:
    void WaitForPort() {
        auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (std::chrono::steady_clock::now() < deadline) {
            asio::io_context io;
            asio::ip::tcp::socket socket(io);
            std::error_code ec;
            socket.connect(
                {asio::ip::make_address("127.0.0.1"), static_cast<unsigned short>(port_)}, ec);
            if (!ec) return;
            if (!process_->Running()) break;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        throw std::runtime_error("sshd did not start");
    }

    test::TempDir dir_;
    std::string root_;
    std::string host_key_;
    int port_ = 0;
    std::unique_ptr<test::Process> process_;
};

class ScopedHome {
public:
    explicit ScopedHome(const std::string& home) {
        if (const char* old = std::getenv("HOME")) old_ = old;
        ::setenv("HOME", home.c_str(), 1);
    }
    ~ScopedHome() { ::setenv("HOME", old_.c_str(), 1); }

private:
    std::string old_;
};

std::string Whoami() {
    return test::RunProcess({"/usr/bin/id", "-un"}, "/").out.substr(0, std::string::npos);
}

TEST(SftpTest, EachModeArrivesByteForByteAndAnUnknownHostKeyIsRefused) {
    SshTestServer server;
    ScopedHome home(server.Home());
    std::string user = Whoami();
    user.erase(user.find_last_not_of("\n") + 1);
    std::string picture(200000, '\0');
    for (std::size_t i = 0; i < picture.size(); ++i)
        picture[i] = static_cast<char>(i * 131 >> 2);

    for (std::int32_t mode : {0, 0, 2}) {
        SCOPED_TRACE(mode);
        test::EngineRun run;
        run.ftp.SetFTPServer(server.ServerName());
        run.ftp.SetUserName(user);
        run.ftp.SetServerKey(server.HostKey());
        run.ftp.SetFTPMode(mode);
        picture[0] = static_cast<char>('0' + mode);
        ASSERT_TRUE(run.ftp.SendDataFile(picture, server.Root(), "cam.jpg", 4));
        ASSERT_TRUE(run.RunToEnd()) << ::testing::PrintToString(run.statuses);
        EXPECT_EQ(run.statuses.back(), "Complete") << ::testing::PrintToString(run.statuses);
        std::ifstream in(server.Root() + "/cam.jpg", std::ios::binary);
        std::string arrived((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        EXPECT_TRUE(arrived == picture);
        EXPECT_FALSE(fs::exists(server.Root() + "/FTPPsh04.tmp"));
    }

    // No key given and none in known_hosts: the host is not trusted.
    test::EngineRun run;
    run.ftp.SetRetryPause(std::chrono::milliseconds(0));
    run.ftp.SetFTPServer(server.ServerName());
    run.ftp.SetUserName(user);
    ASSERT_TRUE(run.ftp.SendDataFile("x", server.Root(), "other.jpg", 4));
    ASSERT_TRUE(run.RunToEnd());
    EXPECT_EQ(run.ftp.State(), 1);
    EXPECT_FALSE(fs::exists(server.Root() + "/other.jpg"));
}

} // namespace
} // namespace tess
