#include "imaging/text/text_drawing.h"

#include <cstring>
#include <vector>

#include <gtest/gtest.h>

namespace tess {
namespace {

std::vector<std::uint8_t> Bytes(const DIB& dib) {
    return {dib.DIBPtr(), dib.DIBPtr() + dib.BufferSize()};
}

TEST(TextDrawing, AnUnchangedTextIsNotDrawnAgain) {
    TextRenderer renderer;
    TextStyle style;
    style.font_size = 16;
    TextDrawing item;
    ASSERT_TRUE(item.Update(renderer, "Temp 21.5 <trendup>", style));
    ASSERT_GT(item.Width(), 0);
    const std::uint8_t* pixels = item.Opacity().DIBPtr();
    std::vector<std::uint8_t> opacity = Bytes(item.Opacity());
    std::uint64_t renders = renderer.Stats().renders;

    // Same text, same style: nothing is drawn and the bitmaps stay where they are.
    EXPECT_FALSE(item.Update(renderer, std::string("Temp 21.5 <trendup>"), style));
    EXPECT_EQ(renderer.Stats().renders, renders);
    EXPECT_EQ(item.Opacity().DIBPtr(), pixels);
    EXPECT_EQ(Bytes(item.Opacity()), opacity);

    // A size that draws the same pixels is the same drawing.
    style.font_size = 16.1;
    EXPECT_FALSE(item.Update(renderer, "Temp 21.5 <trendup>", style));

    // A new colour only refills the picture.
    style.color = 0x0000FF;
    EXPECT_TRUE(item.Update(renderer, "Temp 21.5 <trendup>", style));
    EXPECT_EQ(renderer.Stats().renders, renders);
    EXPECT_EQ(Bytes(item.Opacity()), opacity);
    EXPECT_EQ(item.Picture().scanline(0)[2], 0xFF); // red, the low byte of the colour, last
    EXPECT_EQ(item.Picture().scanline(item.Height() - 1)[0], 0x00);

    // A new font size or text draws again.
    style.font_size = 18;
    EXPECT_TRUE(item.Update(renderer, "Temp 21.5 <trendup>", style));
    EXPECT_EQ(renderer.Stats().renders, renders + 1);
    EXPECT_GT(item.Height(), 0);
    EXPECT_TRUE(item.Update(renderer, "Temp 21.6 <trendup>", style));
    EXPECT_EQ(renderer.Stats().renders, renders + 2);
    EXPECT_TRUE(item.Update(renderer, "", style));
    EXPECT_EQ(item.Width(), 0);
}

TEST(TextDrawing, ItemsShareTheRenderersGlyphs) {
    TextRenderer renderer;
    TextStyle style;
    TextDrawing first, second;
    first.Update(renderer, "Humidity 85%", style);
    std::uint64_t rasterized = renderer.Stats().glyphs_rasterized;
    EXPECT_GT(rasterized, 0u);
    // A second item with the same glyphs draws them from the cache, to the same pixels.
    second.Update(renderer, "Humidity 58%", style);
    EXPECT_EQ(renderer.Stats().glyphs_rasterized, rasterized);
    EXPECT_EQ(second.Width(), first.Width());
    EXPECT_NE(Bytes(second.Opacity()), Bytes(first.Opacity()));
    second.Update(renderer, "Humidity 85%", style);
    EXPECT_EQ(Bytes(second.Opacity()), Bytes(first.Opacity()));
    EXPECT_EQ(renderer.Stats().glyphs_rasterized, rasterized);

    // Forgotten glyphs are drawn again, to the same pixels.
    renderer.ForgetGlyphs();
    EXPECT_EQ(renderer.Stats().glyph_cache_entries, 0u);
    TextDrawing third;
    third.Update(renderer, "Humidity 85%", style);
    EXPECT_EQ(Bytes(third.Opacity()), Bytes(first.Opacity()));
    EXPECT_GT(renderer.Stats().glyphs_rasterized, rasterized);
}

} // namespace
} // namespace tess
