#include "support/run_process.h"
#include "support/temp_dir.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <thread>

#include <gtest/gtest.h>

namespace tess {
namespace {

using test::Process;
using test::RunProcess;

bool WaitForFile(const std::string& path, double seconds) {
    auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (std::chrono::steady_clock::now() < end) {
        if (std::filesystem::exists(path)) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return false;
}

TEST(Program, RunsForAWhileAndQuitsCleanly) {
    test::TempDir dir;
    auto result = RunProcess({TESS_BINARY, "--for", "0.3"}, dir.Path());
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_NE(test::ReadFileBytes(dir.File("Tessarolle.INI")).find("StartupWidth=12000\r\n"),
              std::string::npos);
    EXPECT_NE(test::ReadFileBytes(dir.File("Tessarolle.log")).find("Tessarolle stopped"),
              std::string::npos);
}

TEST(Program, ASecondInstanceIsRefusedAndTheFirstGoesOn) {
    test::TempDir dir;
    Process first({TESS_BINARY, "--for", "20"}, dir.Path());
    ASSERT_TRUE(WaitForFile(dir.File("Tessarolle.INI"), 10));

    auto second = RunProcess({TESS_BINARY, "--for", "1"}, dir.Path());
    EXPECT_EQ(second.exit_code, 3);
    EXPECT_NE(second.err.find("error: Already Running: Tessarolle is running in this folder "
                              "(process " +
                              std::to_string(first.Pid()) + ")"),
              std::string::npos)
        << second.err;
    EXPECT_TRUE(first.Running());

    first.Signal(SIGTERM); // the quit path, then a clean exit
    auto result = first.Wait(10);
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_NE(result.err.find("signal 15 received"), std::string::npos);
}

TEST(Program, HelpListsTheOptions) {
    test::TempDir dir;
    auto result = RunProcess({TESS_BINARY, "--help"}, dir.Path());
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_NE(result.out.find("--for"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(dir.File("Tessarolle.INI")));

    auto bad = RunProcess({TESS_BINARY, "--for", "-1"}, dir.Path());
    EXPECT_NE(bad.exit_code, 0);
}

} // namespace
} // namespace tess
