// The program killed at chosen file-system calls (through a preloaded library), then run
// again: nothing the user had is lost or written over, and nothing is left lying about.

#include "support/run_process.h"
#include "support/temp_dir.h"

#include <filesystem>
#include <map>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace tess {
namespace {

namespace fs = std::filesystem;
using test::ReadFileBytes;
using test::RunProcess;
using test::WriteFileBytes;

bool Has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// The environment that kills the program at the `at`-th `call` naming `path_part`.
std::vector<std::string> KillAt(const std::string& call, const std::string& path_part, int at) {
    return {"LD_PRELOAD=" TESS_KILL_AT_LIBRARY, "ASAN_OPTIONS=verify_asan_link_order=0",
            "TESS_KILL_CALL=" + call, "TESS_KILL_PATH=" + path_part,
            "TESS_KILL_AT=" + std::to_string(at)};
}

test::ProcessResult RunTess(const test::TempDir& dir, std::vector<std::string> args,
                            const std::vector<std::string>& env = {}) {
    args.insert(args.begin(), TESS_BINARY);
    return RunProcess(args, dir.Path(), 60, env);
}

std::vector<std::string> Leftovers(const test::TempDir& dir) {
    std::vector<std::string> found;
    for (const auto& entry : fs::recursive_directory_iterator(dir.Path()))
        if (Has(entry.path().filename().string(), ".tmp")) found.push_back(entry.path().string());
    return found;
}

// A folder with a portfolio whose slot 1 holds "cam.can" (named "Cam").
void MakeSite(const test::TempDir& dir) {
    ASSERT_EQ(RunTess(dir, {"portfolio", "new", "site.por"}).exit_code, 0);
    ASSERT_EQ(RunTess(dir, {"canvas", "new", "cam.can", "--name", "Cam"}).exit_code, 0);
}

TEST(CrashSafety, SaveAsOverAFileLeavesTheOldOrTheNewOneWhereverItIsKilled) {
    const std::string old_roof = "[General]\r\nName=Old roof\r\n[Stale]\r\nKey=1\r\n";
    test::TempDir site;
    MakeSite(site);
    struct Step {
        const char* call;
        int at;
    };
    for (Step step : {Step{"unlink", 1}, Step{"open", 1}, Step{"rename", 1}, Step{"open", 2},
                      Step{"rename", 2}, Step{"none", 0}}) {
        SCOPED_TRACE(std::string(step.call) + " " + std::to_string(step.at));
        test::TempDir dir;
        fs::copy(site.Path(), dir.Path(), fs::copy_options::recursive);
        WriteFileBytes(dir.File("roof.can"), old_roof);
        RunTess(dir, {"canvas", "save-as", "roof.can"}, KillAt(step.call, "roof.can", step.at));
        ASSERT_TRUE(fs::exists(dir.File("roof.can")));
        const std::string now = ReadFileBytes(dir.File("roof.can"));
        // The old file whole, or the canvas alone: nothing of the old file is kept in it.
        if (now != old_roof) {
            EXPECT_TRUE(Has(now, "Name=Cam\r\n") && Has(now, "[Capture]")) << now;
            EXPECT_FALSE(Has(now, "[Stale]")) << now;
        }
        // Whatever a kill left behind is cleared by the next command that reads the files.
        const auto save = RunTess(dir, {"canvas", "save"});
        ASSERT_EQ(save.exit_code, 0) << save.err;
        EXPECT_TRUE(Leftovers(dir).empty()) << Leftovers(dir).front();
    }
}

TEST(CrashSafety, LeftoversOfKilledSavesAreRemovedButNotThoseOfLiveWriters) {
    test::TempDir dir;
    MakeSite(dir);
    RunTess(dir, {"canvas", "save-as", "cam.can"}, KillAt("rename", "cam.can", 1));
    ASSERT_EQ(Leftovers(dir).size(), 1u);
    // A save in progress in another process (this test's) is not touched.
    const std::string live = dir.File("cam.can.tmp" + std::to_string(::getpid()) + ".7");
    WriteFileBytes(live, "half");
    ASSERT_EQ(RunTess(dir, {"canvas", "save"}).exit_code, 0);
    EXPECT_EQ(Leftovers(dir), std::vector<std::string>{live});
}

// Each numbered picture's inode: a file replaced by a later save gets a new one.
std::map<std::string, ino_t> Pictures(const test::TempDir& dir) {
    std::map<std::string, ino_t> found;
    std::error_code ec; // killed before the first picture, there is no folder yet
    for (const auto& entry : fs::directory_iterator(dir.File("seq"), ec)) {
        struct stat info {};
        if (entry.path().extension() == ".jpg" && ::stat(entry.path().c_str(), &info) == 0)
            found[entry.path().filename().string()] = info.st_ino;
    }
    return found;
}

TEST(CrashSafety, NumberedPicturesAreNeverWrittenOverAfterAKill) {
    // Killed just before the picture's rename, or just before the canvas file keeps the
    // next number, at the second or fourth save: a run that follows writes over nothing.
    for (const char* part : {".jpg", "cam.can"}) {
        for (int at : {2, 4}) {
            SCOPED_TRACE(std::string(part) + " " + std::to_string(at));
            test::TempDir dir;
            WriteFileBytes(dir.File("site.por"), "[Canvas01]\r\nFileName=cam.can\r\n");
            WriteFileBytes(dir.File("cam.can"),
                           "[General]\r\nName=Cam\r\nWidth=32\r\nHeight=24\r\n[Capture]\r\n"
                           "SequentialEnabled=True\r\nSequentialRate=0.2\r\n"
                           "SequentialDirectory=seq\\\r\nSequentialType=1\r\n");
            auto killed =
                RunTess(dir, {"run", "site.por", "--for", "5"}, KillAt("rename", part, at));
            ASSERT_EQ(killed.exit_code, -1) << "not killed: " << killed.err;
            const std::map<std::string, ino_t> before = Pictures(dir);
            auto again = RunTess(dir, {"run", "site.por", "--for", "1.5"});
            ASSERT_EQ(again.exit_code, 0) << again.err;
            const std::map<std::string, ino_t> after = Pictures(dir);
            EXPECT_GT(after.size(), before.size());
            for (const auto& [name, inode] : before)
                EXPECT_EQ(after.at(name), inode) << name << " was written over";
        }
    }
}

} // namespace
} // namespace tess
