#include "base/atomic_file.h"
#include "support/temp_dir.h"

#include <filesystem>
#include <sys/stat.h>

#include <gtest/gtest.h>

namespace tess {
namespace {

using test::ReadFileBytes;
using test::TempDir;

TEST(AtomicFile, ReplacesContentKeepsModeAndFollowsLinks) {
    TempDir dir;
    std::string path = dir.File("a.ini");
    ASSERT_TRUE(WriteFileAtomic(path, "first"));
    ::chmod(path.c_str(), 0640);
    ASSERT_TRUE(WriteFileAtomic(path, "second\r\n"));
    EXPECT_EQ(ReadFileBytes(path), "second\r\n");
    struct stat st {};
    ::stat(path.c_str(), &st);
    EXPECT_EQ(st.st_mode & 0777, 0640u);

    // Writing through a link replaces the file it leads to and keeps the link.
    std::string link = dir.File("link.ini");
    std::filesystem::create_symlink(path, link);
    ASSERT_TRUE(WriteFileAtomic(link, "third"));
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(ReadFileBytes(path), "third");

    // No temporary files are left behind.
    int files = 0;
    for (auto& e : std::filesystem::directory_iterator(dir.Path()))
        files += e.is_regular_file() && !e.is_symlink();
    EXPECT_EQ(files, 1);
}

TEST(AtomicFile, FailuresNameTheFile) {
    TempDir dir;
    std::string error;
    EXPECT_FALSE(WriteFileAtomic(dir.File("missing/x.ini"), "x", &error));
    EXPECT_NE(error.find("missing/x.ini"), std::string::npos) << error;

    std::string text;
    EXPECT_EQ(ReadWholeFile(dir.File("nothing"), text, 100), ReadStatus::Missing);
    EXPECT_EQ(ReadWholeFile(dir.Path(), text, 100, &error), ReadStatus::Unreadable);
    ASSERT_TRUE(WriteFileAtomic(dir.File("big"), std::string(200, 'x')));
    EXPECT_EQ(ReadWholeFile(dir.File("big"), text, 100, &error), ReadStatus::TooLarge);
    EXPECT_TRUE(text.empty());
}

} // namespace
} // namespace tess
