// While the picture is replaced over and over in the modes that upload under a temporary
// name, a client reading the final name never gets part of one.

#include "publish/ftp_engine_fixture.h"
#include "publish/ftp_test_server.h"

#include <atomic>
#include <fstream>
#include <iterator>
#include <thread>

#include <gtest/gtest.h>

namespace tess {
namespace {

constexpr std::size_t kSize = 150000;
constexpr int kUploads = 200;

// Version n is kSize bytes of the value n + 1 (never 0), so any mix or cut shows.
std::string Version(int n) {
    return std::string(kSize, static_cast<char>(n % 250 + 1));
}

bool Whole(const std::string& bytes) {
    if (bytes.size() != kSize) return false;
    return bytes.find_first_not_of(bytes[0]) == std::string::npos;
}

TEST(FTPReplaceTest, APollingReaderNeverSeesAPartialPicture) {
    test::FtpTestServer server;
    for (std::int32_t mode : {0, 1}) {
        SCOPED_TRACE(mode);
        std::atomic<bool> done{false};
        std::atomic<int> reads{0}, partial{0};
        std::thread poller([&] {
            while (!done) {
                std::ifstream in(server.File("cam.jpg"), std::ios::binary);
                if (!in) continue; // between the delete and the rename of mode 0
                std::string bytes((std::istreambuf_iterator<char>(in)),
                                  std::istreambuf_iterator<char>());
                ++reads;
                if (!Whole(bytes)) ++partial;
            }
        });
        test::EngineRun run;
        run.ftp.SetFTPServer(server.ServerName());
        run.ftp.SetUserName(test::FtpTestServer::kUser);
        run.ftp.SetPassword(test::FtpTestServer::kPassword);
        run.ftp.SetFTPMode(mode);
        int completed = 0;
        for (int n = 0; n < kUploads; ++n) {
            ASSERT_TRUE(run.ftp.SendDataFile(Version(n), "", "cam.jpg", 1));
            ASSERT_TRUE(run.RunToEnd());
            completed += run.statuses.back() == "Complete";
        }
        done = true;
        poller.join();
        EXPECT_EQ(completed, kUploads);
        EXPECT_GT(reads, 0); // the reader did look, between and during the uploads
        EXPECT_EQ(partial, 0);
        EXPECT_TRUE(test::ReadIfThere(server.File("cam.jpg")) == Version(kUploads - 1));
    }
}

} // namespace
} // namespace tess
