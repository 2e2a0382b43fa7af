#include "publish/canvas_web_server.h"
#include "quadrants_picture.h"
#include "support/fixed_sun.h"

#include <gtest/gtest.h>

namespace tess {
namespace {

constexpr double kSecond = 1.0 / 86400;
constexpr double kNoon = 45000.5;

class CanvasPicture : public ::testing::Test {
protected:
    CanvasPicture() {
        test::FillQuadrants(picture, 64, 48);
        web.SetPictureSource([this]() -> const DIB& { return picture; });
    }

    test::FixedSun sun;
    DIB picture;
    CanvasWebServer web{sun};
};

TEST_F(CanvasPicture, KeptForTheIntervalThenEncodedAfresh) {
    web.SetInterval(10);
    JpegBytes first = web.JPEGData(kNoon);
    ASSERT_TRUE(test::DecodesToQuadrants(test::AsText(first->Bytes()), 64, 48));
    EXPECT_EQ(web.LastModified(), kNoon);

    // Three seconds on, the same encoding even though the canvas changed meanwhile.
    picture.Clear(0x000000);
    EXPECT_EQ(web.JPEGData(kNoon + 3 * kSecond), first);
    EXPECT_EQ(web.LastModified(), kNoon);

    // Eleven seconds after the first, the canvas as it is now.
    JpegBytes renewed = web.JPEGData(kNoon + 11 * kSecond);
    EXPECT_NE(renewed, first);
    EXPECT_EQ(web.LastModified(), kNoon + 11 * kSecond);
    EXPECT_FALSE(test::DecodesToQuadrants(test::AsText(renewed->Bytes()), 64, 48));
    // The bytes a slow client is still sending stay whole.
    EXPECT_TRUE(test::DecodesToQuadrants(test::AsText(first->Bytes()), 64, 48));

    // A clock set back does not freeze the picture until it catches up.
    test::FillQuadrants(picture, 64, 48);
    JpegBytes after_change = web.JPEGData(kNoon - 3600 * kSecond);
    EXPECT_TRUE(test::DecodesToQuadrants(test::AsText(after_change->Bytes()), 64, 48));
}

TEST_F(CanvasPicture, TheWholeAnswerIsMadeOncePerHeaderAndPicture) {
    EXPECT_EQ(web.WholeAnswer("H1"), nullptr); // nothing encoded yet
    web.SetInterval(10);
    JpegBytes picture = web.JPEGData(kNoon);
    JpegBytes answer = web.WholeAnswer("H1");
    ASSERT_TRUE(answer);
    EXPECT_EQ(test::AsText(answer->Bytes()), "H1" + std::string(test::AsText(picture->Bytes())));
    EXPECT_EQ(web.WholeAnswer("H1"), answer);
    // The next second's header, then a new encoding under the old header.
    JpegBytes next = web.WholeAnswer("H2");
    EXPECT_NE(next, answer);
    EXPECT_EQ(test::AsText(next->Bytes()).substr(0, 2), "H2");
    JpegBytes renewed = web.JPEGData(kNoon + 11 * kSecond);
    JpegBytes after = web.WholeAnswer("H2");
    EXPECT_NE(after, next);
    EXPECT_EQ(test::AsText(after->Bytes()).substr(2), test::AsText(renewed->Bytes()));
}

TEST_F(CanvasPicture, IntervalZeroEncodesEveryRequestAtTheQuality) {
    JpegBytes a = web.JPEGData(kNoon);
    JpegBytes b = web.JPEGData(kNoon);
    EXPECT_NE(a, b);
    EXPECT_EQ(test::AsText(a->Bytes()), test::AsText(b->Bytes()));
    web.SetQuality(5);
    JpegBytes low = web.JPEGData(kNoon);
    EXPECT_LT(low->size(), a->size());
}

TEST_F(CanvasPicture, NothingComposedYetIsEmptyAndTriedAgainAtTheNextRequest) {
    web.SetInterval(60);
    DIB empty;
    web.SetPictureSource([&empty]() -> const DIB& { return empty; });
    EXPECT_TRUE(web.JPEGData(kNoon)->empty());
    EXPECT_EQ(web.LastModified(), 0);
    test::FillQuadrants(empty, 32, 32);
    EXPECT_TRUE(
        test::DecodesToQuadrants(test::AsText(web.JPEGData(kNoon + kSecond)->Bytes()), 32, 32));

    web.SetFileName("Cam.jpg");
    web.Reset();
    EXPECT_EQ(web.FileName(), "");
    EXPECT_EQ(web.LastModified(), 0);
}

} // namespace
} // namespace tess
