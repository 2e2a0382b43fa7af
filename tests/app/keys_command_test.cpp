#include "app/keys_command.h"
#include "support/run_process.h"
#include "support/temp_dir.h"

#include <gtest/gtest.h>

namespace tess {
namespace {

// docs/keys.md is the reference users read; it must say what the program's tables say.
// When this fails, run `tessarolle keys > docs/keys.md` and review the difference.
TEST(KeysCommand, PrintsTheReferenceThatDocsKeysHolds) {
    test::TempDir dir;
    auto result = test::RunProcess({TESS_BINARY, "keys"}, dir.Path());
    ASSERT_EQ(result.exit_code, 0) << result.err;
    EXPECT_EQ(result.out, SettingsReferenceText());
    EXPECT_EQ(result.out, test::ReadFileBytes(TESS_SOURCE_DIR "/docs/keys.md"))
        << "docs/keys.md is out of date: run `tessarolle keys > docs/keys.md`";
}

TEST(KeysCommand, ListsEveryFileSectionAndTheKeysUsersMisspell) {
    const std::string text = SettingsReferenceText();
    for (const char* part :
         {"## Tessarolle.INI", "### `[General]`", "`StationLatitude`", "### `[Wallpaper]`",
          "### `[Canvas<NN>]`", "`Feed<N>MotionShowDiffImageCoverage`", "### `[Karvell]`",
          "### `[Scripting]`", "### `[FixedCaptureSchedule]`", "### `[WebServerSchedule]`",
          "`FTPPush<NN>.jpg`", "### `[Text<NNN>]`", "| `LocationX` | integer | `0` |",
          "`StrechedSmoothing`", "`TransparentColorTable<NNN>, TransparentColorTolerance<NNN>`",
          "| `Opacity` | integer | `100` | 0..100 | percent |", "&HBBGGRR"}) {
        EXPECT_NE(text.find(part), std::string::npos) << part;
    }
}

} // namespace
} // namespace tess
