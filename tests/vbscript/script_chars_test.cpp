// Character counting over UTF-8 script strings: valid sequences, stray bytes, boundaries,
// case mapping and the code page; then the same through scripts, with bytes no text editor
// would save as UTF-8 (a Windows-1252 file read by a script).

#include "vbscript/engine.h"
#include "vbscript/script_chars.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace tess::vbs {
namespace {

TEST(ScriptChars, CountsCharactersAndStrayBytesOneEach) {
    EXPECT_EQ(CountChars(""), 0u);
    EXPECT_EQ(CountChars("plain ascii text longer than eight"), 34u);
    EXPECT_EQ(CountChars("caf\xC3\xA9"), 4u);              // é
    EXPECT_EQ(CountChars("\xE2\x82\xAC"), 1u);             // €
    EXPECT_EQ(CountChars("\xF0\x9F\x98\x80"), 1u);         // outside the BMP
    EXPECT_EQ(CountChars("caf\xE9"), 4u);                  // Windows-1252 é
    EXPECT_EQ(CountChars("\xC3("), 2u);                    // a lead byte without its tail
    EXPECT_EQ(CountChars("\xE2\x82"), 2u);                 // a cut sequence
    EXPECT_EQ(CountChars("\xC0\xAF"), 2u);                 // overlong
    EXPECT_EQ(CountChars("\xED\xA0\x80\xED\xB0\x80"), 2u); // two surrogate halves
    EXPECT_EQ(CountChars("\xF4\x90\x80\x80"), 4u);         // past U+10FFFF
}

TEST(ScriptChars, OffsetsAndBoundaries) {
    const std::string s = "a\xC3\xA9\xE2\x82\xAC"
                          "b"; // a é € b
    EXPECT_EQ(CharsToBytes(s, 0), 0u);
    EXPECT_EQ(CharsToBytes(s, 2), 3u);
    EXPECT_EQ(CharsToBytes(s, 3), 6u);
    EXPECT_EQ(CharsToBytes(s, 4), s.size());
    EXPECT_EQ(CharsToBytes(s, 5), kNoChar);
    EXPECT_EQ(BytesToChars(s, 6), 3u);
    EXPECT_TRUE(IsCharBoundary(s, 1));
    EXPECT_FALSE(IsCharBoundary(s, 2));
    EXPECT_FALSE(IsCharBoundary(s, 5));
    // A continuation byte after a stray one starts a character of its own.
    EXPECT_TRUE(IsCharBoundary("\xE9\xA9", 1));
    // A stray byte in the needle does not match inside a character of the text.
    EXPECT_EQ(FindChars("x\xC3\xA9y\xA9", "\xA9", 0), 4u);
    EXPECT_EQ(FindChars("\xC3\xA9\xC3", "\xC3", 0), 2u);
    EXPECT_EQ(FindLastChars("\xA9\xC3\xA9", "\xA9", 3), 0u);
    EXPECT_EQ(FindLastChars("abcabc", "bc", 4), 1u);
}

TEST(ScriptChars, CaseMappingKeepsLengthsAndLeavesStrayBytes) {
    EXPECT_EQ(ToUpperText("\xC3\xA9t\xC3\xA9 \xC3\xBF \xC3\x9F"),
              "\xC3\x89T\xC3\x89 \xC5\xB8 \xC3\x9F");                               // ÉTÉ Ÿ ß
    EXPECT_EQ(ToLowerText("\xC5\xB8\xC4\x80\xD0\x96"), "\xC3\xBF\xC4\x81\xD0\xB6"); // ÿāж
    EXPECT_EQ(ToLowerText("A\xC9Z"), "a\xC9z");                     // a stray byte is not a letter
    EXPECT_EQ(ToUpperText("\xC3\x97\xC3\xB7"), "\xC3\x97\xC3\xB7"); // × and ÷ stay
    const std::string mixed = "\xC3\x80\xCE\x91\xD0\x81\xC4\xB0";   // À Α Ё İ
    EXPECT_EQ(ToLowerText(mixed).size(), mixed.size());
}

TEST(ScriptChars, ReversesWholeCharactersAndMapsTheCodePage) {
    EXPECT_EQ(ReverseChars("a\xC3\xA9\xE9"
                           "b"),
              "b\xE9\xC3\xA9"
              "a");
    EXPECT_EQ(FromCodePage(0x80), U'\u20AC');
    EXPECT_EQ(FromCodePage(0x81), U'\u0081');
    EXPECT_EQ(FromCodePage(0xE9), U'\u00E9');
    EXPECT_EQ(ToCodePage(U'\u0178'), 0x9F);
    EXPECT_EQ(ToCodePage(U'\u00A0'), 0xA0);
    EXPECT_EQ(ToCodePage(U'\u4E2D'), '?');
}

struct Shown final : ScriptUI {
    int MsgBox(const std::string& text, int, const std::string&) override {
        lines.push_back(text);
        return 1;
    }
    std::string InputBox(const std::string&, const std::string&, const std::string& d) override {
        return d;
    }
    std::vector<std::string> lines;
};

TEST(ScriptChars, StrayBytesRoundTripThroughScripts) {
    Engine engine;
    Shown ui;
    engine.SetUI(&ui);
    // "caf" and a Windows-1252 é, then a UTF-8 é: the two are different characters.
    ASSERT_TRUE(engine.AddCode("s = \"caf\xE9\" & \"\xC3\xA9\"\n"
                               "MsgBox Len(s) & \" \" & InStr(s, \"\xC3\xA9\") & \" \" & "
                               "Asc(Mid(s, 4, 1)) & \" \" & AscW(Mid(s, 4, 1))\n"
                               "MsgBox StrReverse(StrReverse(s)) = s\n"
                               "MsgBox UCase(s)\n"
                               "MsgBox Left(s, 4) & \"|\" & Right(s, 2)\n"));
    EXPECT_EQ(ui.lines, (std::vector<std::string>{"5 5 233 233", "True", "CAF\xE9\xC3\x89",
                                                  "caf\xE9|\xE9\xC3\xA9"}));
}

} // namespace
} // namespace tess::vbs
