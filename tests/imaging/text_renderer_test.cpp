#include "base/log.h"
#include "imaging/text/text_renderer.h"
#include "support/temp_dir.h"

#include <cmath>
#include <cstring>
#include <iterator>
#include <random>
#include <string>

#include <gtest/gtest.h>

namespace tess {
namespace {

struct Drawn {
    DIB picture;
    DIB opacity;
    int Width() const { return opacity.Width(); }
    int Height() const { return opacity.Height(); }
    int At(int x, int y) const { return opacity.scanline(y)[3 * x]; }
};

TextStyle Style(std::string font, double size, bool bold = false, bool italic = false) {
    TextStyle style;
    style.font_name = std::move(font);
    style.font_size = size;
    style.bold = bold;
    style.italic = italic;
    return style;
}

Drawn Draw(TextRenderer& renderer, std::string_view text, const TextStyle& style) {
    Drawn d;
    renderer.Render(text, style, d.picture, d.opacity);
    EXPECT_EQ(d.picture.Width(), d.opacity.Width());
    EXPECT_EQ(d.picture.Height(), d.opacity.Height());
    return d;
}

bool SamePixels(const Drawn& a, const Drawn& b) {
    if (a.Width() != b.Width() || a.Height() != b.Height()) return false;
    for (int y = 0; y < a.Height(); ++y) {
        if (std::memcmp(a.opacity.scanline(y), b.opacity.scanline(y), a.Width() * 3) != 0) {
            return false;
        }
    }
    return true;
}

// Rows whose strongest coverage is at least half: the height of a letter's ink.
int SolidRows(const Drawn& d) {
    int rows = 0;
    for (int y = 0; y < d.Height(); ++y) {
        bool solid = false;
        for (int x = 0; x < d.Width() && !solid; ++x)
            solid = d.At(x, y) >= 128;
        rows += solid;
    }
    return rows;
}

// The leftmost column with any ink in a row; -1 for an empty row.
int FirstInk(const Drawn& d, int y) {
    for (int x = 0; x < d.Width(); ++x) {
        if (d.At(x, y) != 0) return x;
    }
    return -1;
}

bool EndsWith(const std::string& text, std::string_view end) {
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

TEST(TextRenderer, FontNamesResolveThroughFontconfigAndUnknownOnesFallBackOnce) {
    test::TempDir dir;
    LogToFile(dir.File("log.txt"));
    TextRenderer r;
    EXPECT_TRUE(EndsWith(r.FontFile("Arial", false, false), "/LiberationSans-Regular.ttf"));
    EXPECT_TRUE(EndsWith(r.FontFile("arial", true, false), "/LiberationSans-Bold.ttf"));
    EXPECT_TRUE(EndsWith(r.FontFile("Arial", true, true), "/LiberationSans-BoldItalic.ttf"));
    EXPECT_TRUE(
        EndsWith(r.FontFile("Times New Roman", false, false), "/LiberationSerif-Regular.ttf"));
    EXPECT_TRUE(EndsWith(r.FontFile("Courier New", false, true), "/LiberationMono-Italic.ttf"));

    // Unknown names draw with DejaVu Sans in the asked style, and say so in the log once.
    EXPECT_TRUE(EndsWith(r.FontFile("No Such Font", false, false), "/DejaVuSans.ttf"));
    EXPECT_TRUE(EndsWith(r.FontFile("no such font", true, false), "/DejaVuSans-Bold.ttf"));
    for (int i = 0; i < 3; ++i) {
        Drawn d = Draw(r, "12:00", Style("No Such Font", 12, i == 1, i == 2));
        EXPECT_GT(d.Width(), 0);
    }
    LogToFile("/dev/null");
    std::string log = test::ReadFileBytes(dir.File("log.txt"));
    std::size_t first = log.find("No Such Font");
    ASSERT_NE(first, std::string::npos) << log;
    EXPECT_EQ(log.find("o such font", first + 1), std::string::npos) << log;
}

TEST(TextRenderer, CapitalsAreAsTallAsTheFontSizeAsks) {
    TextRenderer r;
    for (double points : {9.0, 14.0, 36.0, 72.0}) {
        SCOPED_TRACE(points);
        Drawn d = Draw(r, "H", Style("Arial", points));
        double em = points * 96 / 72;
        // Liberation Sans: capitals are 1409/2048 em, the line box 2288/2048 em.
        EXPECT_NEAR(SolidRows(d), em * 1409 / 2048, 1.0);
        EXPECT_NEAR(d.Height(), em * 2288 / 2048, 1.0);
    }
}

TEST(TextRenderer, BoldIsWiderAndItalicLeans) {
    TextRenderer r;
    const char* text = "Temperature 21.5";
    Drawn regular = Draw(r, text, Style("Arial", 16));
    Drawn bold = Draw(r, text, Style("Arial", 16, true));
    EXPECT_GT(bold.Width(), regular.Width() + 5);

    auto lean = [&](const Drawn& d) {
        int top = 0, bottom = d.Height() - 1;
        while (top < bottom && FirstInk(d, top) < 0)
            ++top;
        while (bottom > top && FirstInk(d, bottom) < 0)
            --bottom;
        return FirstInk(d, top) - FirstInk(d, bottom);
    };
    EXPECT_EQ(lean(Draw(r, "l", Style("Arial", 40))), 0);
    EXPECT_GE(lean(Draw(r, "l", Style("Arial", 40, false, true))), 4);

    // The italic j's tail reaches left of its pen position: the bitmaps keep it and say
    // where the text's own box starts.
    Drawn j;
    TextOrigin origin = r.Render("j", Style("Arial", 40, false, true), j.picture, j.opacity);
    EXPECT_GT(origin.x, 0);
    EXPECT_EQ(origin.y, 0);
    int tail = 0;
    for (int y = 0; y < j.Height(); ++y)
        tail += j.At(0, y);
    EXPECT_GT(tail, 0);
    EXPECT_EQ(r.Render("H", Style("Arial", 40), j.picture, j.opacity), TextOrigin{});

    // A family without a bold or italic face is emboldened and slanted instead.
    Drawn plain = Draw(r, "Math", Style("DejaVu Math TeX Gyre", 24));
    EXPECT_GT(Draw(r, "Math", Style("DejaVu Math TeX Gyre", 24, true)).Width(), plain.Width());
    EXPECT_GE(lean(Draw(r, "l", Style("DejaVu Math TeX Gyre", 40, false, true))), 4);
}

TEST(TextRenderer, LineBreaksStackLeftAlignedLines) {
    TextRenderer r;
    TextStyle style = Style("Arial", 14);
    Drawn one = Draw(r, "Temperature", style);
    Drawn two = Draw(r, "Temperature\r\nHum", style);
    Drawn hum = Draw(r, "Hum", style);
    EXPECT_EQ(two.Width(), one.Width());
    int line = two.Height() - one.Height();
    EXPECT_NEAR(line, 14.0 * 96 / 72 * 2355 / 2048, 1.0); // the font's line spacing

    // The second line is the text drawn alone, moved down one line and kept at the left.
    for (int y = 0; y < hum.Height(); ++y) {
        for (int x = 0; x < hum.Width(); ++x)
            ASSERT_EQ(two.At(x, y + line), hum.At(x, y));
    }

    // CR LF is one break, as are a lone CR or LF; two breaks leave an empty line.
    EXPECT_TRUE(SamePixels(two, Draw(r, "Temperature\nHum", style)));
    EXPECT_TRUE(SamePixels(two, Draw(r, "Temperature\rHum", style)));
    EXPECT_EQ(Draw(r, "Temperature\n\rHum", style).Height(), two.Height() + line);
}

TEST(TextRenderer, TrendMarkersDrawArrowsWhereTheyStand) {
    TextRenderer r;
    TextStyle dejavu = Style("DejaVu Sans", 20);
    // The markers draw DejaVu Sans's arrows, exactly as if the text held the arrows.
    EXPECT_TRUE(SamePixels(Draw(r, "A<trendup>B", dejavu), Draw(r, "A\u2191B", dejavu)));
    EXPECT_TRUE(SamePixels(Draw(r, "A<trenddown>B", dejavu), Draw(r, "A\u2193B", dejavu)));
    EXPECT_TRUE(SamePixels(Draw(r, "A<TrendSteady>B", dejavu), Draw(r, "A\u2192B", dejavu)));

    // In another font the text before the arrow keeps its place and the arrow has ink.
    TextStyle arial = Style("Arial", 20);
    Drawn before = Draw(r, "Baro 1013 ", arial);
    Drawn marked = Draw(r, "Baro 1013 <trendup> hPa", arial);
    ASSERT_EQ(marked.Height(), before.Height());
    for (int y = 0; y < before.Height(); ++y) {
        for (int x = 0; x < before.Width(); ++x)
            ASSERT_EQ(marked.At(x, y), before.At(x, y));
    }
    int ink = 0;
    for (int y = 0; y < marked.Height(); ++y) {
        for (int x = before.Width(); x < before.Width() + 10; ++x)
            ink += marked.At(x, y);
    }
    EXPECT_GT(ink, 255 * 8);
    // The tag's letters are not drawn: the arrow is narrower than the word "<trendup>".
    EXPECT_LT(marked.Width(), Draw(r, "Baro 1013 <trendupx> hPa", arial).Width() - 40);
}

TEST(TextRenderer, CoverageIsAntialiasedGreyAndThePictureIsTheColour) {
    TextRenderer r;
    TextStyle style = Style("Arial", 18);
    style.color = 0x336699; // red 0x99, green 0x66, blue 0x33
    Drawn d = Draw(r, "Wet 12", style);
    ASSERT_GT(d.Width(), 0);
    int partial = 0, full = 0, none = 0;
    for (int y = 0; y < d.Height(); ++y) {
        const std::uint8_t* p = d.picture.scanline(y);
        const std::uint8_t* o = d.opacity.scanline(y);
        for (int x = 0; x < d.Width(); ++x) {
            ASSERT_EQ(p[3 * x], 0x33);
            ASSERT_EQ(p[3 * x + 1], 0x66);
            ASSERT_EQ(p[3 * x + 2], 0x99);
            ASSERT_EQ(o[3 * x], o[3 * x + 1]);
            ASSERT_EQ(o[3 * x], o[3 * x + 2]);
            partial += o[3 * x] > 0 && o[3 * x] < 255;
            full += o[3 * x] == 255;
            none += o[3 * x] == 0;
        }
    }
    EXPECT_GT(partial, 20);
    EXPECT_GT(full, 20);
    EXPECT_GT(none, full);
}

TEST(TextRenderer, EmptyTextsAndAbsurdSizes) {
    TextRenderer r;
    Drawn empty = Draw(r, "", Style("Arial", 14));
    EXPECT_EQ(empty.Width(), 0);
    EXPECT_EQ(empty.Height(), 0);
    EXPECT_FALSE(empty.picture.HasBitmap());
    EXPECT_EQ(Draw(r, "\r\n", Style("Arial", 14)).Height(), 0);

    Drawn smallest = Draw(r, "Rain", Style("Arial", kMinFontPoints));
    for (double points : {0.0, -12.0, std::nan("")}) {
        EXPECT_TRUE(SamePixels(Draw(r, "Rain", Style("Arial", points)), smallest)) << points;
    }
    Drawn largest = Draw(r, "R", Style("Arial", kMaxFontPoints));
    EXPECT_TRUE(SamePixels(Draw(r, "R", Style("Arial", 40000)), largest));
    EXPECT_NEAR(largest.Height(), kMaxFontPoints * 96 / 72 * 2288 / 2048, 1.0);

    // A text far larger than any canvas is cut, not allocated or laid out in full.
    Drawn wide = Draw(r, std::string(40, 'W'), Style("Arial", kMaxFontPoints));
    EXPECT_EQ(wide.Width(), TextRenderer::kMaxExtent);
    std::string endless(1 << 20, 'W');
    for (int i = 1; i < 100; ++i)
        endless[i * 1000] = '\n';
    Drawn huge = Draw(r, endless, Style("Arial", kMaxFontPoints));
    EXPECT_EQ(huge.Width(), TextRenderer::kMaxExtent);
    EXPECT_EQ(huge.Height(), TextRenderer::kMaxExtent);
}

TEST(TextRenderer, Windows1252BytesDrawLikeTheirUtf8) {
    TextRenderer r;
    TextStyle style = Style("Arial", 16);
    EXPECT_TRUE(SamePixels(Draw(r,
                                "21\xB0"
                                "C \x80",
                                style),
                           Draw(r, "21\u00B0C \u20AC", style)));
    // A cut UTF-8 sequence is read byte by byte rather than dropped.
    EXPECT_TRUE(SamePixels(Draw(r, "x\xE2\x82", style), Draw(r, "x\u00E2\u201A", style)));
}

TEST(TextRenderer, ArbitraryBytesDrawWithoutFault) {
    // Texts carry values from the weather file and scripts: any bytes at all, cut markers,
    // stray line breaks and broken UTF-8 among them.
    TextRenderer r;
    std::mt19937 random(7);
    const std::string pieces[] = {"<trendup>", "<trend", "\r", "\n", "\xF0\x9F", "\xCC\x81", "\t"};
    for (int i = 0; i < 200; ++i) {
        std::string text;
        int length = static_cast<int>(random() % 40);
        for (int k = 0; k < length; ++k) {
            if (random() % 4 == 0) {
                text += pieces[random() % std::size(pieces)];
            } else {
                text += static_cast<char>(random() % 256);
            }
        }
        Drawn d = Draw(r, text, Style(i % 2 ? "Arial" : "Noto Nothing", 4 + i % 30));
        ASSERT_LE(d.Width(), TextRenderer::kMaxExtent);
        ASSERT_EQ(d.picture.HasBitmap(), d.Width() > 0 && d.Height() > 0);
    }
}

TEST(TextRenderer, CachesStayWithinTheirLimitsAndStillDrawCorrectly) {
    TextRenderer fresh;
    Drawn expected = Draw(fresh, "Wind 12 km/h", Style("Arial", 14));

    TextCacheLimits limits;
    limits.faces = 3;
    limits.glyphs = 40;
    limits.glyph_bytes = 16 * 1024;
    TextRenderer r(limits);
    const char* fonts[] = {"Arial", "Times New Roman", "Courier New", "DejaVu Serif"};
    for (int size = 8; size < 40; ++size) {
        for (const char* font : fonts) {
            Draw(r, "Wind 12 km/h", Style(font, size, size % 2 == 0));
            TextRendererStats s = r.Stats();
            ASSERT_LE(s.open_faces, 3u);
            ASSERT_LE(s.glyph_cache_entries, 40u);
            ASSERT_LE(s.glyph_cache_bytes, 16u * 1024);
        }
    }
    EXPECT_TRUE(SamePixels(Draw(r, "Wind 12 km/h", Style("Arial", 14)), expected));
}

} // namespace
} // namespace tess
