#include "publish/web_file.h"
#include "support/temp_dir.h"

#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace tess {
namespace {

namespace fs = std::filesystem;

// What the server would send: the file's bytes from its start, as many as announced.
std::string ReadAll(const WebFile& file) {
    std::string text(file.Size(), '\0');
    ssize_t n = ::pread(file.Fd(), text.data(), text.size(), 0);
    text.resize(n < 0 ? 0 : static_cast<std::size_t>(n));
    return text;
}

class WebFolder : public ::testing::Test {
protected:
    WebFolder() {
        fs::create_directories(web + "/pics");
        test::WriteFileBytes(web + "/index.htm", "<p>home</p>");
        test::WriteFileBytes(web + "/pics/my cam.jpg", "jpeg bytes");
        test::WriteFileBytes(dir.File("secret.txt"), "not for visitors");
    }

    test::TempDir dir;
    std::string web = dir.File("web");
};

TEST_F(WebFolder, OpensFilesInsideTheFolderWithEscapesDecoded) {
    WebFile file = WebFile::Open(web, "pics/my%20cam.jpg");
    ASSERT_TRUE(file.IsOpen());
    EXPECT_EQ(file.Size(), 10u);
    EXPECT_EQ(ReadAll(file), "jpeg bytes");
    // A folder written the Windows way in the settings file.
    EXPECT_TRUE(WebFile::Open(dir.Path() + "\\web", "index.htm").IsOpen());

    // A link inside the folder to a file inside it is followed.
    fs::create_symlink(web + "/index.htm", web + "/home.htm");
    WebFile linked = WebFile::Open(web, "home.htm");
    ASSERT_TRUE(linked.IsOpen());
    EXPECT_EQ(ReadAll(linked), "<p>home</p>");
}

TEST_F(WebFolder, NothingOutsideTheFolderWhateverThePathHolds) {
    for (const char* path : {"../secret.txt", "pics/../../secret.txt", "%2e%2e/secret.txt",
                             "..%2fsecret.txt", "../missing.txt", "pics/..", "index.htm%00.jpg",
                             "bad%zzescape", "index.htm%", "pics", ""}) {
        EXPECT_FALSE(WebFile::Open(web, path).IsOpen()) << path;
    }
    // Links that lead out: to a file, to a folder, from a folder inside.
    fs::create_symlink(dir.File("secret.txt"), web + "/secret.txt");
    fs::create_directory_symlink(dir.Path(), web + "/up");
    fs::create_directory_symlink(dir.Path(), web + "/pics/out");
    EXPECT_FALSE(WebFile::Open(web, "secret.txt").IsOpen());
    EXPECT_FALSE(WebFile::Open(web, "up/secret.txt").IsOpen());
    EXPECT_FALSE(WebFile::Open(web, "pics/out/secret.txt").IsOpen());
    // An absolute-looking path stays under the folder.
    EXPECT_FALSE(WebFile::Open(web, "/" + dir.File("secret.txt")).IsOpen());
    // A FIFO would block a reader: it is refused at once.
    ASSERT_EQ(::mkfifo((web + "/pipe.htm").c_str(), 0600), 0);
    EXPECT_FALSE(WebFile::Open(web, "pipe.htm").IsOpen());
    // A folder that does not exist serves nothing.
    EXPECT_FALSE(WebFile::Open(dir.File("nowhere"), "index.htm").IsOpen());
}

// Sites written where file names ignore case link to "INDEX.HTM" and "Pics/My Cam.JPG".
TEST_F(WebFolder, AMissingNameMatchesTheOneFileThatDiffersOnlyInCase) {
    WebFile upper = WebFile::Open(web, "INDEX.HTM");
    ASSERT_TRUE(upper.IsOpen());
    EXPECT_EQ(ReadAll(upper), "<p>home</p>");
    WebFile nested = WebFile::Open(web, "PICS/My%20Cam.JPG");
    ASSERT_TRUE(nested.IsOpen());
    EXPECT_EQ(ReadAll(nested), "jpeg bytes");

    // Two names that differ only in case: the exact one, or none.
    test::WriteFileBytes(web + "/a.txt", "lower");
    test::WriteFileBytes(web + "/A.TXT", "upper");
    EXPECT_EQ(ReadAll(WebFile::Open(web, "A.TXT")), "upper");
    EXPECT_FALSE(WebFile::Open(web, "a.Txt").IsOpen());

    // Still nothing outside the folder: "..", in any case, and links that lead out.
    EXPECT_FALSE(WebFile::Open(web, "../SECRET.TXT").IsOpen());
    EXPECT_FALSE(WebFile::Open(web, "PICS/../INDEX.HTM").IsOpen());
    EXPECT_FALSE(WebFile::Open(web, "%2E%2E/secret.txt").IsOpen());
    fs::create_symlink(dir.File("secret.txt"), web + "/out.txt");
    EXPECT_FALSE(WebFile::Open(web, "OUT.TXT").IsOpen());
    EXPECT_FALSE(WebFile::Open(web, "nothing.htm").IsOpen());
}

} // namespace
} // namespace tess
