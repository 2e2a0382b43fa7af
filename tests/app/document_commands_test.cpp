#include "support/golden.h"
#include "support/run_process.h"
#include "support/temp_dir.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <thread>

#include <gtest/gtest.h>

namespace tess {
namespace {

using test::ReadFileBytes;
using test::RunProcess;

bool Has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

TEST(DocumentCommands, BuildAPortfolioFromTheCommandLine) {
    test::TempDir dir;
    auto run = [&](std::vector<std::string> args) {
        args.insert(args.begin(), TESS_BINARY);
        return RunProcess(args, dir.Path());
    };
    auto result = run({"portfolio", "new", "site.por"});
    ASSERT_EQ(result.exit_code, 0) << result.err;
    EXPECT_EQ(
        ReadFileBytes(dir.File("site.por")),
        ReadFileBytes(std::string(TESS_SOURCE_DIR) + "/tests/document/golden/new_portfolio.por"));
    EXPECT_TRUE(Has(ReadFileBytes(dir.File("Tessarolle.INI")), "LastPortfolio=site.por\r\n"));

    // Later commands act on the last portfolio and save what they changed.
    result = run({"canvas", "new", "cam.can", "--name", "Cam One"});
    ASSERT_EQ(result.exit_code, 0) << result.err;
    EXPECT_EQ(result.out, "Portfolio: site.por\nCanvas01: cam.can (Cam One)\n");
    EXPECT_TRUE(Has(ReadFileBytes(dir.File("site.por")), "[Canvas01]\r\nFileName=cam.can\r\n"));
    EXPECT_TRUE(Has(ReadFileBytes(dir.File("cam.can")), "Name=Cam One\r\n"));

    result = run({"canvas", "save-as", "roof.can"});
    ASSERT_EQ(result.exit_code, 0) << result.err;
    EXPECT_TRUE(Has(ReadFileBytes(dir.File("site.por")), "[Canvas01]\r\nFileName=roof.can\r\n"));

    // Without a terminal the question is answered by a flag, and No is the default.
    result = run({"canvas", "remove"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_TRUE(Has(result.err, "Are you sure you want to remove this canvas? (No)")) << result.err;
    result = run({"canvas", "remove", "--yes", "--slot", "1"});
    ASSERT_EQ(result.exit_code, 0) << result.err;
    EXPECT_EQ(result.out, "Portfolio: site.por\nNo canvases\n");
    EXPECT_TRUE(Has(ReadFileBytes(dir.File("site.por")), "[Canvas01]\r\nFileName=\r\n"));
    EXPECT_TRUE(std::filesystem::exists(dir.File("roof.can"))); // removing keeps the file

    result = run({"canvas", "open", "roof.can", "-p", "site.por"});
    ASSERT_EQ(result.exit_code, 0) << result.err;
    EXPECT_EQ(result.out, "Portfolio: site.por\nCanvas01: roof.can (Cam One)\n");
}

TEST(DocumentCommands, SayWhatIsMissingOrWrong) {
    test::TempDir dir;
    auto result = RunProcess({TESS_BINARY, "canvas", "new", "cam.can"}, dir.Path());
    EXPECT_EQ(result.exit_code, 2);
    EXPECT_TRUE(Has(result.err, "No portfolio is open")) << result.err;

    result = RunProcess({TESS_BINARY, "canvas", "new", "-p", "gone.por"}, dir.Path());
    EXPECT_EQ(result.exit_code, 2);
    EXPECT_TRUE(Has(result.err, "'gone.por' does not exist")) << result.err;
    EXPECT_FALSE(std::filesystem::exists(dir.File("gone.por")));

    ASSERT_EQ(RunProcess({TESS_BINARY, "portfolio", "new", "p.por"}, dir.Path()).exit_code, 0);
    result = RunProcess({TESS_BINARY, "portfolio", "new", "p.por"}, dir.Path());
    EXPECT_EQ(result.exit_code, 2);
    EXPECT_TRUE(Has(result.err, "exists already")) << result.err;

    result = RunProcess({TESS_BINARY, "canvas", "new"}, dir.Path()); // no file, nobody to ask
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_TRUE(Has(result.err, "No file was selected.  Aborting process.")) << result.err;

    result = RunProcess({TESS_BINARY, "canvas", "save"}, dir.Path());
    EXPECT_EQ(result.exit_code, 2);
    EXPECT_TRUE(Has(result.err, "no canvas")) << result.err;
    result = RunProcess({TESS_BINARY, "canvas", "save", "--slot", "21"}, dir.Path());
    EXPECT_NE(result.exit_code, 0);
}

TEST(DocumentCommands, LeaveTheFilesOfARunningProgramAlone) {
    test::TempDir dir;
    ASSERT_EQ(RunProcess({TESS_BINARY, "portfolio", "new", "p.por"}, dir.Path()).exit_code, 0);
    test::Process running({TESS_BINARY, "--for", "20"}, dir.Path());
    for (int i = 0; i < 400 && !Has(ReadFileBytes(dir.File("Tessarolle.log")), "started"); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(25));

    auto result = RunProcess({TESS_BINARY, "canvas", "new", "c.can"}, dir.Path());
    EXPECT_EQ(result.exit_code, 3);
    EXPECT_TRUE(Has(result.err, "Tessarolle is running in this folder (process " +
                                    std::to_string(running.Pid()) +
                                    "): stop it first, or edit the files and send it SIGHUP"))
        << result.err;
    EXPECT_FALSE(std::filesystem::exists(dir.File("c.can")));
    running.Signal(SIGTERM);
    EXPECT_EQ(running.Wait(10).exit_code, 0);
}

} // namespace
} // namespace tess
