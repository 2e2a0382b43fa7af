// Inputs that are not what they should be: a FIFO where a file is read, documents emptied or
// filled with junk. The program goes on without waiting and says which file was wrong.

#include "support/run_process.h"
#include "support/temp_dir.h"

#include <sys/stat.h>

#include <gtest/gtest.h>

namespace tess {
namespace {

using test::ReadFileBytes;
using test::RunProcess;
using test::WriteFileBytes;

bool Has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

void MakeFifo(const test::TempDir& dir, const std::string& name) {
    ASSERT_EQ(::mkfifo(dir.File(name).c_str(), 0600), 0) << name;
}

TEST(BadInputs, AFifoInPlaceOfAnInputIsRefusedAndNamedWithoutWaitingForAWriter) {
    test::TempDir dir;
    WriteFileBytes(dir.File("site.por"),
                   "[Canvas01]\r\nFileName=cam.can\r\n[Canvas02]\r\nFileName=pipe.can\r\n");
    WriteFileBytes(dir.File("cam.can"), "[General]\r\nName=Cam\r\nWidth=32\r\nHeight=24\r\n"
                                        "[Graphic001]\r\nEnabled=True\r\nSourceType=1\r\n"
                                        "SourceFileName=pic.jpg\r\nInterval=0.2\r\n"
                                        "[Text001]\r\nEnabled=True\r\nText=<TIMEZONELOOKUP>\r\n");
    MakeFifo(dir, "pipe.can");
    MakeFifo(dir, "pic.jpg");
    MakeFifo(dir, "timezone.txt");
    MakeFifo(dir, "errors.txt");
    auto result = RunProcess({TESS_BINARY, "run", "site.por", "--for", "1.5"}, dir.Path(), 30);
    EXPECT_EQ(result.exit_code, 0) << result.err;
    const std::string log = ReadFileBytes(dir.File("Tessarolle.log"));
    EXPECT_TRUE(Has(log, "'pipe.can' is not a regular file")) << log;
    EXPECT_TRUE(Has(log, "timezone.txt' is not a regular file")) << log;
    EXPECT_TRUE(Has(log, "pic.jpg")) << log;

    // The last portfolio, reopened at start-up, is a FIFO too.
    WriteFileBytes(dir.File("Tessarolle.INI"), "[General]\r\nLastPortfolio=last.por\r\n");
    MakeFifo(dir, "last.por");
    result = RunProcess({TESS_BINARY, "--for", "1"}, dir.Path(), 30);
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_TRUE(Has(ReadFileBytes(dir.File("Tessarolle.log")), "'last.por' is not a regular file"));
}

TEST(BadInputs, EmptyAndJunkDocumentsAreNamedInAWarning) {
    test::TempDir dir;
    WriteFileBytes(dir.File("site.por"), "[Canvas01]\r\nFileName=empty.can\r\n"
                                         "[Canvas02]\r\nFileName=junk.can\r\n");
    WriteFileBytes(dir.File("empty.can"), "");
    WriteFileBytes(dir.File("junk.can"), "\x89PNG\r\n\x1a\n not a canvas at all\n");
    auto result = RunProcess({TESS_BINARY, "run", "site.por", "--for", "0.5"}, dir.Path(), 30);
    EXPECT_EQ(result.exit_code, 0) << result.err;
    std::string log = ReadFileBytes(dir.File("Tessarolle.log"));
    EXPECT_TRUE(Has(log, "canvas file 'empty.can' is empty")) << log;
    EXPECT_TRUE(Has(log, "canvas file 'junk.can' holds no canvas settings")) << log;
    // The documented behaviour stands: the defaults are written back.
    EXPECT_TRUE(Has(ReadFileBytes(dir.File("empty.can")), "Width=320"));

    WriteFileBytes(dir.File("junk.por"), "just some text\n");
    result = RunProcess({TESS_BINARY, "run", "junk.por", "--for", "0.5"}, dir.Path(), 30);
    EXPECT_EQ(result.exit_code, 0) << result.err;
    log = ReadFileBytes(dir.File("Tessarolle.log"));
    EXPECT_TRUE(Has(log, "portfolio file 'junk.por' holds no portfolio settings")) << log;
}

} // namespace
} // namespace tess
