// Canvases composed by update ticks, checked in pixels.

#include "document/canvas_fixture.h"

#include <filesystem>

namespace tess {
namespace {

using test::At;
using test::Bgr;
using test::Color;
using test::Near;

constexpr std::uint32_t kRed = 0x0000FF, kGreen = 0x00FF00, kBlue = 0xFF0000;
constexpr std::uint32_t kWhite = 0xFFFFFF, kBlack = 0x000000;
// A full block: a text whose letters are solid rectangles.
constexpr const char* kBlocks = "\xE2\x96\x88\xE2\x96\x88\xE2\x96\x88";

class Composition : public test::CanvasFixture {
protected:
    TextItem& AddBlocks(Canvas& canvas, int index, int layer, int x, int y) {
        TextItem& text = canvas.AddText(index);
        text.SetEnabled(true);
        text.SetText(kBlocks);
        text.SetFontName("DejaVu Sans");
        text.SetFontSize(10);
        text.SetColor(kWhite);
        text.SetLayer(layer);
        text.SetLocationX(x);
        text.SetLocationY(y);
        return text;
    }

    int CountNear(int slot, int left, int top, int right, int bottom, std::uint32_t color) {
        int count = 0;
        for (int y = top; y < bottom; ++y)
            for (int x = left; x < right; ++x)
                count += Near(PixelOf(slot, x, y), Color(color), 8);
        return count;
    }
};

TEST_F(Composition, LayersStackBottomToTopAndTextLiesAboveGraphicsOfItsLayer) {
    Canvas& canvas = UseCanvas(1, 120, 60, kBlue);
    AddRectangle(canvas, 1, 2, 10, 10, 40, 40, kRed);   // layer 2
    AddRectangle(canvas, 2, 1, 30, 10, 40, 40, kGreen); // layer 1, partly under the red one
    TextItem& text = AddBlocks(canvas, 1, 2, 12, 12);   // layer 2, over the red one
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 0)));

    EXPECT_EQ(PixelOf(1, 5, 5), Color(kBlue));    // background
    EXPECT_EQ(PixelOf(1, 45, 45), Color(kRed));   // red over green
    EXPECT_EQ(PixelOf(1, 60, 45), Color(kGreen)); // green alone
    EXPECT_EQ(PixelOf(1, 100, 45), Color(kBlue));
    // The blocks show white on the red rectangle of their own layer.
    EXPECT_GT(CountNear(1, 10, 10, 50, 50, kWhite), 100);

    // Moved down to layer 1, the text lies under the red rectangle and shows only on the
    // green part beyond it.
    text.SetLayer(1);
    text.SetLocationX(40);
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 0.2)));
    EXPECT_EQ(CountNear(1, 10, 10, 50, 50, kWhite), 0);
    EXPECT_GT(CountNear(1, 50, 10, 70, 50, kWhite), 50);
}

TEST_F(Composition, ShadowsDarkenWhatLiesBelowButNeverTheItemsOfTheirLayer) {
    Canvas& canvas = UseCanvas(1, 100, 60, kWhite);
    canvas.SetShadowIntensity(60);
    GraphicItem& left = AddRectangle(canvas, 1, 1, 10, 10, 20, 20, kGreen);
    left.SetShadow(true);
    left.SetShadowOffsetX(15);
    left.SetShadowOffsetY(0);
    AddRectangle(canvas, 2, 1, 32, 10, 20, 20, kRed); // where the green one's shadow falls
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 0)));

    // 60 % of a full shadow taken from white: 255 - 153.
    EXPECT_TRUE(Near(PixelOf(1, 31, 20), {102, 102, 102}, 2)) << int(PixelOf(1, 31, 20).g);
    EXPECT_EQ(PixelOf(1, 40, 20), Color(kRed)); // the later item lies above the shadow
    EXPECT_EQ(PixelOf(1, 20, 20), Color(kGreen));
    EXPECT_EQ(PixelOf(1, 70, 20), Color(kWhite));

    canvas.SetShadowIntensity(0); // shadows vanish, the items stay
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 0.1)));
    EXPECT_EQ(PixelOf(1, 31, 20), Color(kWhite));
    EXPECT_EQ(PixelOf(1, 20, 20), Color(kGreen));
}

TEST_F(Composition, AHalfOpaqueItemBlendsWithTheLayersBeneathIt) {
    Canvas& canvas = UseCanvas(1, 40, 40, kBlack);
    AddRectangle(canvas, 1, 0, 0, 0, 40, 40, kWhite);
    GraphicItem& band = AddRectangle(canvas, 2, 2, 0, 10, 40, 20, kBlack);
    band.SetOpacity(50);
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 0)));
    EXPECT_TRUE(Near(PixelOf(1, 20, 20), {128, 128, 128}, 2));
    EXPECT_EQ(PixelOf(1, 20, 5), Color(kWhite));

    // Only the band changes: the white layer beneath is not drawn again, and the band
    // still blends with it.
    band.SetOpacity(25);
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 0.1)));
    EXPECT_TRUE(Near(PixelOf(1, 20, 20), {191, 191, 191}, 2));
}

TEST_F(Composition, RebuildsFromAKeptPictureMatchAFullRedraw) {
    Canvas& canvas = UseCanvas(1, 60, 20, kBlack);
    GraphicItem& ground = AddRectangle(canvas, 1, 0, 0, 0, 60, 20, kWhite);
    GraphicItem& band = AddRectangle(canvas, 2, 1, 0, 0, 40, 20, kBlack);
    band.SetOpacity(50);
    GraphicItem& clock = AddRectangle(canvas, 3, 3, 10, 5, 10, 10, kRed);
    double t = 0.01;
    auto expect = [&](Bgr at15, Bgr at30, Bgr at50) {
        ASSERT_TRUE(portfolio.Tick(At(12, 0, t += 0.1)));
        EXPECT_TRUE(Near(PixelOf(1, 15, 10), at15, 2));
        EXPECT_TRUE(Near(PixelOf(1, 30, 10), at30, 2));
        EXPECT_TRUE(Near(PixelOf(1, 50, 10), at50, 2));
    };
    expect(Color(kRed), {128, 128, 128}, Color(kWhite));
    clock.SetBackgroundColor(kGreen); // the top layer alone, twice
    expect(Color(kGreen), {128, 128, 128}, Color(kWhite));
    clock.SetBackgroundColor(kBlue);
    expect(Color(kBlue), {128, 128, 128}, Color(kWhite));
    ground.SetBackgroundColor(kRed); // the bottom layer: everything above follows
    expect(Color(kBlue), {0, 0, 128}, Color(kRed));
    clock.SetEnabled(false); // the top layer goes: the picture beneath is the canvas's
    expect({0, 0, 128}, {0, 0, 128}, Color(kRed));
    band.SetLayer(3); // moved up, now the top
    expect({0, 0, 128}, {0, 0, 128}, Color(kRed));
}

TEST_F(Composition, APictureIsRebuiltOnlyWhenAnItemComesDueAndChanges) {
    Canvas& canvas = UseCanvas(1, 200, 40, kBlack);
    TextItem& clock = canvas.AddText(1);
    clock.SetEnabled(true);
    clock.SetText("<TIME>");
    clock.SetColor(kWhite);
    clock.SetInterval(1);
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 0.01)));
    const std::uint64_t first = canvas.PictureRevision();
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 0.51))); // not due
    EXPECT_EQ(canvas.PictureRevision(), first);
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 1.01))); // due, and the time shown changed
    EXPECT_EQ(canvas.PictureRevision(), first + 1);
    EXPECT_EQ(clock.ExpandedText(), "12:00:01");

    clock.SetText("noon"); // due at 12:00:02; a new text alone waits for that
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 1.51)));
    EXPECT_EQ(clock.ExpandedText(), "12:00:01");
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 2.01)));
    EXPECT_EQ(clock.ExpandedText(), "noon");
    const std::uint64_t noon = canvas.PictureRevision();
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 3.01))); // due, but "noon" again: nothing to draw
    EXPECT_EQ(canvas.PictureRevision(), noon);
}

TEST_F(Composition, ASchedulesWindowShowsAndHidesItsItem) {
    Canvas& canvas = UseCanvas(1, 40, 40, kBlack);
    GraphicItem& item = AddRectangle(canvas, 1, 1, 0, 0, 40, 40, kRed);
    item.SetInterval(3600);
    Schedule& window = item.Schedule();
    window.SetScheduleMode(1);
    window.SetStartAbsoluteTime(8.0 / 24);
    window.SetStopAbsoluteTime(9.0 / 24);

    ASSERT_TRUE(portfolio.Tick(At(8, 30, 0)));
    EXPECT_EQ(PixelOf(1, 20, 20), Color(kRed));
    const std::uint64_t shown = canvas.PictureRevision();
    ASSERT_TRUE(portfolio.Tick(At(8, 59, 0))); // still on, not due: the picture stays
    EXPECT_EQ(canvas.PictureRevision(), shown);

    ASSERT_TRUE(portfolio.Tick(At(9, 0, 30))); // the window closed: redrawn without it
    EXPECT_EQ(PixelOf(1, 20, 20), Color(kBlack));
    const std::uint64_t hidden = canvas.PictureRevision();
    ASSERT_TRUE(portfolio.Tick(At(10, 0, 0))); // everything off: the last picture stays
    EXPECT_EQ(canvas.PictureRevision(), hidden);

    ASSERT_TRUE(portfolio.Tick(At(8, 0, 0) + 1)); // the next morning it shows again
    EXPECT_EQ(PixelOf(1, 20, 20), Color(kRed));
}

TEST_F(Composition, ACanvasShowsAnotherCanvasAndItsOwnPreviousPicture) {
    Canvas& one = UseCanvas(1, 20, 20, kWhite);
    GraphicItem& square = AddRectangle(one, 1, 1, 0, 0, 10, 10, kRed);
    Canvas& two = UseCanvas(2, 40, 40, kBlack);
    GraphicItem& view = two.AddGraphic(1);
    view.SetEnabled(true);
    view.SetSourceType(static_cast<int>(SourceType::CanvasImage));
    view.SetSourceCanvas(1);
    view.SetStretched(true);
    view.SetStretchedWidth(40);
    view.SetStretchedHeight(40);
    view.SetInterval(0); // every tick
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 0)));
    EXPECT_EQ(PixelOf(2, 5, 5), Color(kRed)); // canvas 1's square, twice as large
    EXPECT_EQ(PixelOf(2, 30, 30), Color(kWhite));

    square.SetBackgroundColor(kGreen);
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 0.1)));
    EXPECT_EQ(PixelOf(2, 5, 5), Color(kGreen));

    // Canvas 3 shows itself shifted by 10 pixels: each tick adds one more copy of what it
    // showed before, so the pictures it shows are always its previous ones.
    Canvas& three = UseCanvas(3, 40, 10, kBlack);
    AddRectangle(three, 1, 0, 0, 0, 10, 10, kBlue);
    GraphicItem& mirror = three.AddGraphic(2);
    mirror.SetEnabled(true);
    mirror.SetSourceType(static_cast<int>(SourceType::CanvasImage));
    mirror.SetSourceCanvas(3);
    mirror.SetLocationX(10);
    mirror.SetInterval(0);
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 0.2)));
    EXPECT_EQ(PixelOf(3, 15, 5), Color(kBlack)); // nothing composed before
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 0.3)));
    EXPECT_EQ(PixelOf(3, 15, 5), Color(kBlue));
    EXPECT_EQ(PixelOf(3, 25, 5), Color(kBlack));
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 0.4)));
    EXPECT_EQ(PixelOf(3, 25, 5), Color(kBlue));
}

TEST_F(Composition, APictureFileIsReadAgainWhenItChangesAndAMissingOneKeepsTheLast) {
    Canvas& canvas = UseCanvas(1, 30, 30, kBlack);
    GraphicItem& photo = canvas.AddGraphic(1);
    photo.SetEnabled(true);
    photo.SetSourceType(static_cast<int>(SourceType::GraphicFile));
    photo.SetSourceFileName("photo.bmp");
    photo.SetInterval(10);
    WritePicture("photo.bmp", 30, 30, kRed);
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 0.01)));
    EXPECT_EQ(PixelOf(1, 15, 15), Color(kRed));

    WritePicture("photo.bmp", 30, 30, kGreen);
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 5.01))); // not due yet
    EXPECT_EQ(PixelOf(1, 15, 15), Color(kRed));
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 10.01)));
    EXPECT_EQ(PixelOf(1, 15, 15), Color(kGreen));

    std::filesystem::remove(dir.File("photo.bmp"));
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 20.01)));
    EXPECT_EQ(PixelOf(1, 15, 15), Color(kGreen));
}

TEST_F(Composition, ARemovedOrDisabledItemLeavesThePicture) {
    Canvas& canvas = UseCanvas(1, 30, 30, kBlack);
    GraphicItem& first = AddRectangle(canvas, 1, 1, 0, 0, 10, 10, kRed);
    AddRectangle(canvas, 2, 3, 20, 20, 10, 10, kGreen);
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 0)));
    EXPECT_EQ(PixelOf(1, 5, 5), Color(kRed));
    first.SetEnabled(false);
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 0.1)));
    EXPECT_EQ(PixelOf(1, 5, 5), Color(kBlack));
    EXPECT_EQ(PixelOf(1, 25, 25), Color(kGreen));
    canvas.RemoveGraphic(2);
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 0.2)));
    EXPECT_EQ(PixelOf(1, 25, 25), Color(kBlack));
}

TEST_F(Composition, ACanvasTooLargeForABitmapIsNotComposed) {
    Canvas& canvas = UseCanvas(1, 8192, 8192, kBlack); // 64 M pixels and more
    AddRectangle(canvas, 1, 1, 0, 0, 10, 10, kRed);
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 0)));
    EXPECT_FALSE(canvas.ComposedDIB().HasBitmap());
    canvas.SetWidthHeight(64, 64); // brought to a sensible size, it composes
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 1)));
    EXPECT_EQ(PixelOf(1, 5, 5), Color(kRed));
}

TEST_F(Composition, AClearedRunningFlagStopsTheTick) {
    Canvas& canvas = UseCanvas(1, 10, 10, kBlack);
    bool running = true;
    portfolio.Composition().running = [&running] { return running; };
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 0)));
    running = false;
    EXPECT_FALSE(portfolio.Tick(At(12, 0, 1)));
    EXPECT_TRUE(canvas.ComposedDIB().HasBitmap());
}

} // namespace
} // namespace tess

namespace tess {
namespace {

// Settings files may hold any 32-bit location; a location far off the canvas draws nothing
// and must not overflow on its way to the kernels (it once crashed the AVX2 mix).
TEST_F(Composition, ItemsAtTheEndsOfThe32BitRangeDrawNothingAndCrashNothing) {
    Canvas& canvas = UseCanvas(1, 64, 48, kBlue);
    canvas.SetShadowIntensity(50);
    const std::int32_t kEnds[] = {INT32_MIN, INT32_MIN + 1, -(1 << 28) - 7, INT32_MAX - 3,
                                  INT32_MAX};
    int index = 1;
    for (std::int32_t x : kEnds) {
        for (std::int32_t y : {std::int32_t{5}, x}) {
            GraphicItem& rect = AddRectangle(canvas, index, index % 4, x, y, 30, 20, kRed);
            rect.SetOpacity(50);
            rect.SetShadow(true);
            rect.SetShadowOffsetX(x < 0 ? INT32_MIN : INT32_MAX);
            TextItem& text = canvas.AddText(index);
            text.SetEnabled(true);
            text.SetText("Xy");
            text.SetFontName("DejaVu Sans");
            text.SetLayer(index % 4);
            text.SetLocationX(y);
            text.SetLocationY(x);
            text.SetShadow(true);
            text.SetShadowOffsetY(x);
            ++index;
        }
    }
    // One item half off the left edge still shows its visible half.
    AddRectangle(canvas, index, 3, -10, 0, 20, 10, kGreen);
    ASSERT_TRUE(portfolio.Tick(At(12, 0, 0)));
    EXPECT_EQ(PixelOf(1, 5, 5), Color(kGreen));
    EXPECT_EQ(PixelOf(1, 12, 5), Color(kBlue));
    EXPECT_EQ(PixelOf(1, 40, 40), Color(kBlue));
}

} // namespace
} // namespace tess
