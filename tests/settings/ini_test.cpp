#include "settings/ini.h"
#include "settings/ini_document.h"
#include "support/temp_dir.h"

#include <cctype>
#include <filesystem>
#include <sys/stat.h>

#include <gtest/gtest.h>

namespace tess {
namespace {

using test::ReadFileBytes;
using test::TempDir;
using test::WriteFileBytes;

TEST(IniDocument, ParsingAndSerialisingKeepsEveryByte) {
    const std::string inputs[] = {
        "",
        "[A]\r\nx=1\r\n\r\n[B]\r\ny = 2 \r\n",
        "no section\nkey=value\n[A]\nx\n=y\n[A]\nx=2",
        std::string("\0\x01\xff[A\n]\r\r\n=\n[ ]\n", 16),
    };
    for (const std::string& text : inputs) {
        IniDocument doc;
        doc.Parse(text);
        EXPECT_EQ(doc.Serialize(), text);
    }
}

TEST(IniDocument, ReadsLikePrivateProfileFiles) {
    IniDocument doc;
    doc.Parse("junk=1\n"
              "[General]\n"
              "  Name =  \"Quoted value\"  \n"
              "Single='x'\n"
              "Half=\"x\n"
              "NoEquals\n"
              "name=second wins nothing\n"
              "Long=" +
              std::string(300, 'L') +
              "\n"
              "[general]\n"
              "Other=from the duplicate section\n");
    EXPECT_EQ(doc.Find("GENERAL", "name").value(), "Quoted value");
    EXPECT_EQ(doc.Find("General", "Single").value(), "x");
    EXPECT_EQ(doc.Find("General", "Half").value(), "\"x");
    EXPECT_FALSE(doc.Find("General", "NoEquals"));
    EXPECT_EQ(doc.Find("General", "Long")->size(), IniDocument::kMaxValueLength);
    EXPECT_FALSE(doc.Find("General", "Other")); // the first section of a name wins
    EXPECT_FALSE(doc.Find("", "junk"));         // keys before any section belong to none
    EXPECT_FALSE(doc.Find("Missing", "Name"));
}

// Names of every length around the eight-byte steps of the comparison, in one section big
// enough to make the key table grow several times; looked up in another case.
TEST(IniDocument, ManyKeysAreFoundWhateverTheirCaseAndNearMissesAreNot) {
    std::string text = "[Big]\n";
    std::vector<std::string> names;
    for (int i = 0; i < 1000; ++i) {
        std::string name = "Key" + std::to_string(i);
        name.append(static_cast<std::size_t>(i % 29), static_cast<char>('a' + i % 26));
        names.push_back(name);
        text += name + "=" + std::to_string(i) + "\n";
    }
    text += "KEY0=a later key of the same name\n";
    text += "At@Sign=1\n";
    IniDocument doc;
    doc.Parse(text);
    for (int i = 0; i < 1000; ++i) {
        std::string upper = names[i];
        for (char& c : upper)
            c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        ASSERT_EQ(doc.Find("BIG", upper).value_or("missing"), std::to_string(i)) << upper;
    }
    // "@" and "`" differ only in the bit that folds letters: they are not the same name.
    EXPECT_FALSE(doc.Find("Big", "At`Sign"));
    EXPECT_EQ(doc.Find("Big", "AT@SIGN").value_or(""), "1");
    EXPECT_FALSE(doc.Find("Big", "Key1000"));

    std::vector<std::string> visited;
    doc.ForEachKey("big", [&](std::string_view key) { visited.emplace_back(key); });
    ASSERT_EQ(visited.size(), 1002u);
    EXPECT_EQ(visited[0], names[0]);
    EXPECT_EQ(visited[999], names[999]);
    EXPECT_EQ(visited[1000], "KEY0");

    EXPECT_TRUE(doc.Set("Big", "kEY0", "changed"));
    EXPECT_EQ(doc.Find("Big", "Key0").value_or(""), "changed");
    EXPECT_NE(doc.Serialize().find("\nKey0=changed\n"), std::string::npos);
}

TEST(IniDocument, WritesInPlaceAppendsAndKeepsLineEndings) {
    IniDocument doc;
    doc.Parse("[A]\nx = 1\n\n[B]\ny=2");
    EXPECT_TRUE(doc.Set("A", "x", "3"));  // replaced where it stands
    EXPECT_TRUE(doc.Set("A", "z", "4"));  // appended after the last key, before the blank line
    EXPECT_TRUE(doc.Set("B", "w", "5"));  // the last line gets its ending first
    EXPECT_TRUE(doc.Set("C", "v", "6"));  // a new section at the end
    EXPECT_FALSE(doc.Set("C", "v", "6")); // the same value changes nothing
    // Names that would read back as something else are refused.
    EXPECT_FALSE(doc.Set("A", "[B]", "x"));
    EXPECT_FALSE(doc.Set("A]", "k", "x"));
    EXPECT_FALSE(doc.Set("A", "k=1", "x"));
    EXPECT_FALSE(doc.Set("A", "k", "two\nlines"));
    EXPECT_EQ(doc.Serialize(), "[A]\nx=3\nz=4\n\n[B]\ny=2\nw=5\n[C]\nv=6\n");

    IniDocument fresh;
    fresh.Parse("");
    fresh.Set("General", "Key", "v");
    EXPECT_EQ(fresh.Serialize(), "[General]\r\nKey=v\r\n");
}

TEST(Ini, QuotesRoundTripThroughAmp34) {
    TempDir dir;
    INI ini(dir.File("q.ini"));
    ASSERT_TRUE(ini.SetKey("S", "Text", "say \"hi\""));
    EXPECT_EQ(ReadFileBytes(dir.File("q.ini")), "[S]\r\nText=say &34hi&34\r\n");
    EXPECT_EQ(ini.GetKey("S", "Text", WriteDefault::No, ""), "say \"hi\"");
    // A default with a quote is written as "&34" and returned with the quote.
    EXPECT_EQ(ini.GetKey("S", "Other", WriteDefault::Yes, "a\"b"), "a\"b");
    EXPECT_EQ(ReadFileBytes(dir.File("q.ini")), "[S]\r\nText=say &34hi&34\r\nOther=a&34b\r\n");
}

TEST(Ini, DefaultsAreWrittenOnlyWhenAskedFor) {
    TempDir dir;
    std::string path = dir.File("d.ini");
    WriteFileBytes(path, "[S]\nEmpty=\nSet=x\n");
    INI ini(path);
    EXPECT_EQ(ini.GetKey("S", "Missing", WriteDefault::No, "dflt"), "");
    EXPECT_EQ(ini.GetKey("S", "Set", WriteDefault::No, "dflt"), "x");
    EXPECT_EQ(ReadFileBytes(path), "[S]\nEmpty=\nSet=x\n");
    EXPECT_FALSE(std::filesystem::exists(dir.File("none.ini")));
    INI none(dir.File("none.ini"));
    EXPECT_EQ(none.GetKey("S", "K", WriteDefault::No, "d"), "");
    EXPECT_FALSE(std::filesystem::exists(dir.File("none.ini")));

    // An empty value counts as missing: it is replaced by the default.
    EXPECT_EQ(ini.GetKey("S", "Empty", WriteDefault::Yes, "7"), "7");
    EXPECT_EQ(ini.GetKey("S", "Missing", WriteDefault::Yes, "8"), "8");
    EXPECT_EQ(ReadFileBytes(path), "[S]\nEmpty=7\nSet=x\nMissing=8\n");
}

TEST(Ini, ObjectsOnOnePathShareOneCopyAndSeeOutsideChanges) {
    TempDir dir;
    std::string path = dir.File("shared.ini");
    INI a(path), b(dir.Path() + "/./shared.ini");
    {
        IniBatch batch(a);
        a.SetKey("S", "K", "from a");
        EXPECT_EQ(b.GetKey("S", "K", WriteDefault::No, ""), "from a"); // same copy, in memory
        EXPECT_FALSE(std::filesystem::exists(path));                   // not yet written
    }
    EXPECT_EQ(ReadFileBytes(path), "[S]\r\nK=from a\r\n");

    // Another program rewrites the file: the next read outside a batch sees it.
    WriteFileBytes(path, "[S]\r\nK=edited by hand, longer\r\n");
    EXPECT_EQ(a.GetKey("S", "K", WriteDefault::No, ""), "edited by hand, longer");
}

TEST(Ini, BadFilesLoadAsFarAsTheyCanAndAreNeverDestroyed) {
    TempDir dir;
    std::string junk = dir.File("junk.ini");
    using namespace std::string_literals;
    const std::string head = "\x7f"
                             "ELF\0\0\n[General]\nAutoLoad=False\n"s +
                             std::string(1 << 20, 'x') + "\n";
    const std::string tail = "[General]\nAutoLoad=True\nline without equals\n";
    WriteFileBytes(junk, head + tail);
    INI ini(junk);
    EXPECT_EQ(ini.GetKey("General", "AutoLoad", WriteDefault::Yes, "x"), "False");
    EXPECT_EQ(ini.GetKey("General", "Missing", WriteDefault::Yes, "d"), "d");
    EXPECT_EQ(ReadFileBytes(junk), head + "Missing=d\n" + tail);

    // A path that cannot be read (here a folder) gives defaults and is left alone.
    std::filesystem::create_directory(dir.File("folder.ini"));
    INI folder(dir.File("folder.ini"));
    EXPECT_EQ(folder.GetKey("S", "K", WriteDefault::Yes, "d"), "d");
    EXPECT_FALSE(folder.SetKey("S", "K", "v"));
    EXPECT_TRUE(std::filesystem::is_directory(dir.File("folder.ini")));

    // A file in a folder that does not exist cannot be written; reading still works.
    INI nowhere(dir.File("missing/x.ini"));
    EXPECT_EQ(nowhere.GetKey("S", "K", WriteDefault::Yes, "d"), "d");
    EXPECT_FALSE(nowhere.SetKey("S", "K", "v"));
}

TEST(Ini, LineBreaksInValuesCannotBreakTheFile) {
    TempDir dir;
    INI ini(dir.File("lb.ini"));
    ini.SetKey("S", "Text", "one\r\ntwo\nthree");
    ini.SetKey("S", "After", "kept");
    EXPECT_EQ(ini.GetKey("S", "Text", WriteDefault::No, ""), "one  two three");
    EXPECT_EQ(ini.GetKey("S", "After", WriteDefault::No, ""), "kept");
}

// Notepad saves with a byte-order mark: the first section is still found, and the mark is
// written back with the rest.
TEST(Ini, AByteOrderMarkIsSkippedAndKept) {
    TempDir dir;
    const std::string path = dir.File("bom.ini");
    WriteFileBytes(path, "\xEF\xBB\xBF[General]\r\nName=Cam\r\n");
    INI ini(path);
    EXPECT_EQ(ini.GetKey("General", "Name", WriteDefault::No, ""), "Cam");
    ASSERT_TRUE(ini.SetKey("General", "Width", "320"));
    EXPECT_EQ(ReadFileBytes(path), "\xEF\xBB\xBF[General]\r\nName=Cam\r\nWidth=320\r\n");
}

} // namespace
} // namespace tess
