#include "settings/ini.h"
#include "settings/ini_document.h"
#include "settings/ini_section.h"
#include "support/temp_dir.h"

#include <gtest/gtest.h>

namespace tess {
namespace {

TEST(IniSection, WritesWhatItReadsBackAndTheDefaultsAlike) {
    EXPECT_EQ(ColorText(0xFFFFFF), "&HFFFFFF");
    EXPECT_EQ(ColorText(0xFF), "&H0000FF"); // padded, so a default and a save look the same
    EXPECT_EQ(TimeOfDayText(3661), "01:01:01");
    EXPECT_EQ(TimeOfDayText(86399), "23:59:59");

    test::TempDir dir;
    test::WriteFileBytes(dir.File("a.ini"), "[S]\r\nOld=&HFF\r\nNoon=12:00\r\nPlain=16777215\r\n"
                                            "Huge=3000000000\r\n");
    INI ini(dir.File("a.ini"));
    IniSection keys(ini, "S");
    EXPECT_EQ(keys.Color("Old", "&H000000"), 0xFFu); // files that wrote colours unpadded
    EXPECT_EQ(keys.Color("Plain", "&H000000"), 0xFFFFFFu);
    EXPECT_EQ(keys.TimeOfDay("Noon"), 43200);
    EXPECT_EQ(keys.Long("Huge", "0"), 2000000000);
    EXPECT_EQ(keys.Double("Missing", "0.05"), 0.05);
    EXPECT_TRUE(keys.Bool("MissingToo", true));
    EXPECT_EQ(test::ReadFileBytes(dir.File("a.ini")),
              "[S]\r\nOld=&HFF\r\nNoon=12:00\r\nPlain=16777215\r\nHuge=3000000000\r\n"
              "Missing=0.05\r\nMissingToo=True\r\n");
}

TEST(IniDocument, RemovingASectionKeepsTheRestByteForByte) {
    IniDocument doc;
    doc.Parse("[A]\nx=1\n[Text004]\ny=2\n\n[B]\nz=3\n[text004]\nw=4\n");
    EXPECT_TRUE(doc.RemoveSection("TEXT004"));
    EXPECT_EQ(doc.Serialize(), "[A]\nx=1\n[B]\nz=3\n[text004]\nw=4\n");
    EXPECT_EQ(doc.Find("Text004", "w").value(), "4"); // the next one of the name comes forward
    EXPECT_TRUE(doc.RemoveSection("Text004"));
    EXPECT_FALSE(doc.RemoveSection("Text004"));
    EXPECT_TRUE(doc.Set("C", "k", "v"));
    EXPECT_EQ(doc.Serialize(), "[A]\nx=1\n[B]\nz=3\n[C]\nk=v\n");
}

} // namespace
} // namespace tess
