// SFTP against OpenSSH's sshd, started here on a loopback port with its own host key,
// configuration and authorised client key (found by libcurl under $HOME/.ssh). For the
// password log-in, sshd runs in a mount namespace of its own where /etc/passwd and
// /etc/shadow are small files made here naming one test user: no account is added to the
// machine, and sshd checks the password itself (no PAM).

#include "publish/ftp_engine_fixture.h"
#include "support/free_port.h"
#include "support/run_process.h"
#include "support/temp_dir.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <pwd.h>
#include <stdexcept>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include <asio/connect.hpp>
#include <asio/ip/tcp.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tess {
namespace {

namespace fs = std::filesystem;

using test::FreePort;

void Run(const std::vector<std::string>& argv, const std::string& directory) {
    test::ProcessResult result = test::RunProcess(argv, directory);
    if (result.exit_code != 0) throw std::runtime_error(argv[0] + ": " + result.err);
}

class SshTestServer {
public:
    static constexpr const char* kPasswordUser = "tesscam";
    static constexpr const char* kPassword = "sftp pass 7";
    static constexpr int kPasswordUid = 61234;

    // With `password_user`, sshd also lets kPasswordUser in with kPassword and nothing else.
    explicit SshTestServer(bool password_user = false) {
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
            << dir_.File("authorized_keys") << "\nPasswordAuthentication "
            << (password_user ? "yes" : "no")
            << "\nKbdInteractiveAuthentication no\n"
               "PubkeyAuthentication yes\nPubkeyAcceptedAlgorithms +ssh-rsa\nUsePAM no\n"
               "StrictModes no\nPermitRootLogin yes\nSubsystem sftp internal-sftp\n";
        // sshd insists on its privilege separation folder, which only its service makes.
        fs::create_directories("/run/sshd");
        std::vector<std::string> sshd = {"/usr/sbin/sshd",      "-D", "-E",
                                         dir_.File("sshd.log"), "-f", dir_.File("sshd_config")};
        if (password_user) sshd = WithOwnAccounts(sshd);
        process_ = std::make_unique<test::Process>(sshd, dir_.Path());
        WaitForPort();
    }

    std::string ServerName() const { return "sftp://127.0.0.1:" + std::to_string(port_); }
    const std::string& Root() const { return root_; }
    const std::string& HostKey() const { return host_key_; }
    std::string Home() const { return dir_.File("home"); }

    std::string Log() const { return test::ReadFileBytes(dir_.File("sshd.log")); }

private:
    // The sshd command run inside a private mount namespace whose account files hold root,
    // sshd's own privilege separation user and the test user, who owns the upload folder.
    std::vector<std::string> WithOwnAccounts(const std::vector<std::string>& sshd) {
        const passwd* privsep = ::getpwnam("sshd");
        if (!privsep) throw std::runtime_error("no sshd user on this machine");
        const std::string uid = std::to_string(kPasswordUid);
        std::ofstream(dir_.File("passwd"))
            << "root:x:0:0:root:/root:/bin/sh\nsshd:x:" << privsep->pw_uid << ':' << privsep->pw_gid
            << "::/run/sshd:/usr/sbin/nologin\n"
            << kPasswordUser << ":x:" << uid << ':' << uid << "::" << root_ << ":/bin/sh\n";
        test::ProcessResult hash = test::RunProcess(
            {"/usr/bin/openssl", "passwd", "-6", "-salt", "tesscamsalt", kPassword}, dir_.Path());
        if (hash.exit_code != 0) throw std::runtime_error("openssl passwd: " + hash.err);
        hash.out.erase(hash.out.find_last_not_of('\n') + 1);
        // An empty date of last change: no ageing, so no forced change at log-in.
        std::ofstream(dir_.File("shadow")) << "root:*:::::::\nsshd:*:::::::\n"
                                           << kPasswordUser << ':' << hash.out << ":::::::\n";
        fs::permissions(dir_.File("shadow"), fs::perms::owner_read | fs::perms::owner_write);
        // The user reaches its folder through the test's private one.
        fs::permissions(dir_.Path(),
                        fs::perms::owner_all | fs::perms::others_exec | fs::perms::group_exec);
        if (::chown(root_.c_str(), kPasswordUid, kPasswordUid) != 0)
            throw std::runtime_error("chown of the upload folder failed");
        // Not a bind of the two files alone: a package that adds a user meanwhile replaces
        // /etc/passwd, which would drop such a mount. A private /etc of links to the real
        // one (reached through a bind of the folder) holds the two files instead.
        std::string command =
            "set -e; mkdir etc etc-real; mount --bind /etc etc-real; "
            "for f in etc-real/* etc-real/.[!.]*; do n=${f#etc-real/}; [ -e \"$f\" ] || continue; "
            "case $n in passwd|shadow) ;; *) ln -s \"$PWD/$f\" \"etc/$n\";; esac; done; "
            "cp passwd shadow etc/; mount --bind etc /etc; exec";
        for (const std::string& arg : sshd)
            command += " '" + arg + "'";
        return {"/usr/bin/unshare", "--mount", "--propagation", "private",
                "/bin/sh",          "-c",      command};
    }

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
        throw std::runtime_error("sshd did not start: " + Log());
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

// A user with a password and no key: each mode arrives whole and is owned by that user, so
// the password is what let it in; a wrong password leaves the engine failed with nothing
// written.
TEST(SftpTest, APasswordLogInUploadsByteForByte) {
    SshTestServer server(true);
    test::TempDir empty_home; // no key for libcurl to offer
    ScopedHome home(empty_home.Path());
    std::string picture(150000, '\0');
    for (std::size_t i = 0; i < picture.size(); ++i)
        picture[i] = static_cast<char>(i * 197 >> 3);

    for (std::int32_t mode : {0, 2, 1}) {
        SCOPED_TRACE(mode);
        // OpenSSH's SFTP rename does not replace an existing file, so mode 1 (no delete
        // first) is tried on a fresh name.
        if (mode == 1) fs::remove(server.Root() + "/pass.jpg");
        test::EngineRun run;
        run.LogIn(server.ServerName(), SshTestServer::kPasswordUser, SshTestServer::kPassword,
                  server.HostKey());
        run.ftp.SetFTPMode(mode);
        picture[1] = static_cast<char>('a' + mode);
        ASSERT_TRUE(run.ftp.SendDataFile(picture, server.Root(), "pass.jpg", 5));
        ASSERT_TRUE(run.RunToEnd());
        ASSERT_EQ(run.statuses.back(), "Complete")
            << ::testing::PrintToString(run.statuses) << run.ftp.Error() << server.Log();
        EXPECT_TRUE(test::ReadFileBytes(server.Root() + "/pass.jpg") == picture);
        struct stat info {};
        ASSERT_EQ(::stat((server.Root() + "/pass.jpg").c_str(), &info), 0);
        EXPECT_EQ(info.st_uid, static_cast<uid_t>(SshTestServer::kPasswordUid));
        EXPECT_FALSE(fs::exists(server.Root() + "/FTPPsh05.tmp"));
    }

    test::EngineRun run;
    run.ftp.SetRetryPause(std::chrono::milliseconds(0));
    run.LogIn(server.ServerName(), SshTestServer::kPasswordUser, "sftp pass 8", server.HostKey());
    ASSERT_TRUE(run.ftp.SendDataFile("x", server.Root(), "wrong.jpg", 5));
    ASSERT_TRUE(run.RunToEnd());
    EXPECT_EQ(run.ftp.State(), 1);
    EXPECT_THAT(run.statuses, ::testing::Contains("Failed.  Retry #3"));
    EXPECT_FALSE(fs::exists(server.Root() + "/wrong.jpg"));
}

} // namespace
} // namespace tess
