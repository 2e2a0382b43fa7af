// Font names resolved once are remembered on disk, so that a later run draws without
// starting fontconfig, until the fonts installed change.

#include "imaging/text/font_library.h"
#include "support/temp_dir.h"

#include <gtest/gtest.h>

namespace tess {
namespace {

TEST(FontCache, ALaterRunResolvesKnownNamesWithoutFontconfigUntilTheFontsChange) {
    test::TempDir dir;
    const std::string cache = dir.File("cache/fonts.cache");
    std::string arial_bold;
    {
        FontLibrary first(4, cache);
        arial_bold = first.Resolve("Arial", true, false).file;
        ASSERT_FALSE(arial_bold.empty());
        EXPECT_GT(first.FontconfigLookups(), 0u);
    }
    {
        FontLibrary second(4, cache);
        EXPECT_EQ(second.Resolve(" ARIAL ", true, false).file, arial_bold); // same key
        EXPECT_NE(second.Face("Arial", true, false), nullptr);
        EXPECT_EQ(second.FontconfigLookups(), 0u);
        second.Resolve("DejaVu Sans", false, true); // not met before: fontconfig starts
        EXPECT_GT(second.FontconfigLookups(), 0u);
    }

    // Written for other fonts (another stamp), the file is not used.
    std::string text = test::ReadFileBytes(cache);
    const std::size_t stamp = text.find('\n') + 1;
    text.replace(stamp, text.find('\n', stamp) - stamp, "another machine's fonts");
    test::WriteFileBytes(cache, text);
    FontLibrary third(4, cache);
    EXPECT_EQ(third.Resolve("Arial", true, false).file, arial_bold);
    EXPECT_GT(third.FontconfigLookups(), 0u);

    // An entry whose font file is gone is looked up again.
    FontCache gone(dir.File("gone.cache"));
    gone.Store(FontCache::Key("Arial", false, false), {{dir.File("removed.ttf"), 0, false, false}});
    FontLibrary fourth(4, dir.File("gone.cache"));
    EXPECT_FALSE(fourth.Resolve("Arial", false, false).file.empty());
    EXPECT_GT(fourth.FontconfigLookups(), 0u);
}

} // namespace
} // namespace tess
