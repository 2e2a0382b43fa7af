// A canvas that is a camera frame with items over it sends each new frame to its live stream
// as YCbCr planes with the items laid over them, and draws the frame into its layers only
// when its picture is asked for. What the stream shows must be what the canvas composes.

#include "capture/scripted_driver.h"
#include "document/canvas_fixture.h"
#include "imaging/jpeg.h"

#include <cmath>
#include <functional>

namespace tess {
namespace {

using test::At;

constexpr int kWidth = 320, kHeight = 240;

class CameraPassThrough : public test::CanvasFixture {
protected:
    ScriptedCatalog catalog;
    std::shared_ptr<ScriptedCatalog> shared{std::shared_ptr<ScriptedCatalog>(), &catalog};
    double seconds = 0;

    CameraPassThrough() {
        catalog.names[0] = "Gate";
        CaptureServices services;
        services.now = [this] { return At(12, 0, seconds); };
        portfolio.SetCapture(shared, services);
    }

    // A camera picture (smooth, with a hue of its own for frame `n`) made a JPEG as a camera
    // sends it; the BGR frame is that JPEG decoded, so both ways start from the same pixels.
    void Offer(int n) {
        DIB picture(kWidth, kHeight);
        test::FillSmooth(picture);
        for (int y = 0; y < kHeight; ++y) {
            std::uint8_t* row = picture.scanline(y);
            for (int x = 0; x < kWidth; ++x)
                row[x * 3 + n % 3] = static_cast<std::uint8_t>(row[x * 3 + n % 3] / 2 + 60);
        }
        ScriptedCamera& camera = catalog.cameras[0];
        camera.jpeg = EncodeJpeg(picture, 95);
        int width = 0, height = 0;
        ASSERT_TRUE(DecodeJpegBottomUpBgr(camera.jpeg, camera.frame, width, height));
        camera.width = width;
        camera.height = height;
        camera.has_frame = true;
    }
    // The frame is grabbed at one tick and composed at the next.
    void Frame(int n, const std::function<void()>& before_composing = {}) {
        Offer(n);
        seconds += 0.05;
        ASSERT_TRUE(portfolio.Tick(At(12, 0, seconds)));
        if (before_composing) before_composing();
        seconds += 0.001;
        ASSERT_TRUE(portfolio.Tick(At(12, 0, seconds)));
    }

    Canvas& WebcamCanvas() {
        Canvas& canvas = UseCanvas(1, kWidth, kHeight, 0x00FF00);
        canvas.SetShadowIntensity(60);
        GraphicItem& camera = canvas.AddGraphic(1);
        camera.SetEnabled(true);
        camera.SetSourceType(static_cast<int>(SourceType::VideoFeed));
        camera.SetSourceVideoFeedName("Gate");
        camera.SetInterval(3600);
        AddRectangle(canvas, 2, 1, 200, 20, 80, 40, 0x2020E0).SetOpacity(50); // a see-through logo
        TextItem& caption = canvas.AddText(1);
        caption.SetEnabled(true);
        caption.SetText("Gate 12:00");
        caption.SetFontName("DejaVu Sans");
        caption.SetFontSize(20);
        caption.SetColor(0xFFFFFF);
        caption.SetLayer(2);
        caption.SetLocationX(10);
        caption.SetLocationY(180);
        caption.SetShadow(true);
        caption.SetShadowOffsetX(2);
        caption.SetShadowOffsetY(2);
        canvas.CanvasWebServer().SetEnabled(true);
        canvas.CanvasWebServer().SetFileName("Canvas01.jpg");
        portfolio.VideoFeed(0).SetEnabled(true);
        return canvas;
    }

    // Frames until one goes through as planes (a frame whose bitmap was needed keeps the
    // next ones coming as bitmaps for a while); false when none does.
    bool FramesUntilPassed(Canvas& canvas, int& n) {
        const std::uint64_t before = canvas.PassedFrames();
        for (int i = 0; i < 2 * VideoFeed::kBitmapFramesAfterUse; ++i) {
            Frame(++n);
            if (canvas.PassedFrames() != before) return true;
        }
        return false;
    }
};

struct Difference {
    double mean = 0;
    int max = 0;
    int x = 0, y = 0; // where the largest is
};

std::ostream& operator<<(std::ostream& out, const Difference& d) {
    return out << "mean " << d.mean << ", max " << d.max << " at " << d.x << "," << d.y;
}

Difference Compare(const DIB& a, const DIB& b) {
    Difference d;
    long long sum = 0;
    for (int y = 0; y < a.Height(); ++y)
        for (int x = 0; x < a.Width() * 3; ++x) {
            const int e = std::abs(a.scanline(y)[x] - b.scanline(y)[x]);
            sum += e;
            if (e > d.max) d = {0, e, x / 3, y};
        }
    d.mean = static_cast<double>(sum) / (3.0 * a.Width() * a.Height());
    return d;
}

// The stream's newest part, and the composed picture made a JPEG at the same quality, each
// against the composed picture itself: the stream may carry no more error than one encoding
// of the canvas does. (Its blocks are the camera's, quantized again, so the two encodings'
// errors are alike in size but not in place.)
struct StreamError {
    Difference stream, encoding;
};

std::ostream& operator<<(std::ostream& out, const StreamError& e) {
    return out << "stream: " << e.stream << "; one encoding: " << e.encoding;
}

StreamError StreamAgainstComposed(Canvas& canvas) {
    const JpegBytes part = canvas.CanvasWebServer().Stream().Part();
    DIB streamed, encoded;
    EXPECT_TRUE(part);
    if (!part) return {{255, 255, 0, 0}, {}};
    // The part is its boundary and header lines, the JPEG, and a line end.
    const std::string_view bytes(reinterpret_cast<const char*>(part->Bytes().data()), part->size());
    const std::size_t body = bytes.find("\r\n\r\n") + 4;
    EXPECT_TRUE(DecodeJpegIntoDIB(part->Bytes().subspan(body, bytes.size() - body - 2), streamed));
    const DIB& composed = canvas.ComposedDIB();
    EXPECT_TRUE(DecodeJpegIntoDIB(EncodeJpeg(composed, 80), encoded));
    if (streamed.Width() != kWidth || encoded.Width() != kWidth) return {{255, 255, 0, 0}, {}};
    return {Compare(streamed, composed), Compare(encoded, composed)};
}

// Measured: the stream's mean error 1.85 against one encoding's 1.88, max 82 and 79 (the
// frame's planes overlaid and encoded instead: 1.86).
void ExpectStreamShowsComposed(Canvas& canvas) {
    const StreamError e = StreamAgainstComposed(canvas);
    EXPECT_LT(e.stream.mean, e.encoding.mean + 0.2) << e;
    EXPECT_LE(e.stream.max, e.encoding.max + 12) << e;
}

TEST_F(CameraPassThrough, TheStreamShowsWhatTheCanvasComposes) {
    Canvas& canvas = WebcamCanvas();
    auto stream = canvas.CanvasWebServer().StartStream(At(12, 0, 0));
    const int viewer = stream->Subscribe([] {});
    int n = 0;
    Frame(++n);
    EXPECT_EQ(canvas.PassedFrames(), 0u); // the first frame is drawn: nothing to pass yet
    ASSERT_TRUE(FramesUntilPassed(canvas, n));
    EXPECT_GT(catalog.cameras[0].jpegs_delivered, 0);
    EXPECT_GT(canvas.TranscodedFrames(), 0u); // the camera's JPEG is 4:2:0
    const std::uint64_t revision = stream->Revision();
    ExpectStreamShowsComposed(canvas);

    // A new caption with a new frame: that frame is drawn the ordinary way, and the overlay is
    // made anew for the frames after it.
    ASSERT_TRUE(FramesUntilPassed(canvas, n));
    const std::uint64_t passed = canvas.PassedFrames();
    Frame(++n, [&] { canvas.Text(1)->SetText("Gate 12:01"); });
    EXPECT_EQ(canvas.PassedFrames(), passed);
    EXPECT_GT(stream->Revision(), revision);
    ASSERT_TRUE(FramesUntilPassed(canvas, n));
    ExpectStreamShowsComposed(canvas);

    // Without viewers a frame only waits to be drawn, and is when the picture is asked for.
    stream->Unsubscribe(viewer);
    ASSERT_TRUE(FramesUntilPassed(canvas, n));
    DIB frame;
    ASSERT_TRUE(DecodeJpegIntoDIB(catalog.cameras[0].jpeg, frame));
    EXPECT_EQ(test::PixelAt(canvas.ComposedDIB(), 100, 100), test::PixelAt(frame, 100, 100));
}

// The camera drawn any other way than as it is, or covered in part, is composed as always.
TEST_F(CameraPassThrough, OnlyAFrameDrawnAsItIsOverTheWholeCanvasPasses) {
    Canvas& canvas = WebcamCanvas();
    auto stream = canvas.CanvasWebServer().StartStream(At(12, 0, 0));
    stream->Subscribe([] {});
    int n = 0;
    Frame(++n);
    canvas.Graphic(1)->SetOpacity(90);
    for (int i = 0; i < 10; ++i)
        Frame(++n);
    EXPECT_EQ(canvas.PassedFrames(), 0u);
    canvas.Graphic(1)->SetOpacity(100);
    canvas.Graphic(1)->SetLocationX(4);
    for (int i = 0; i < 10; ++i)
        Frame(++n);
    EXPECT_EQ(canvas.PassedFrames(), 0u);
    canvas.Graphic(1)->SetLocationX(0);
    ASSERT_TRUE(FramesUntilPassed(canvas, n));
    // The caption's shadow on the logo beneath it darkens the logo, which laying the items
    // over a shadowed frame cannot do.
    canvas.Text(1)->SetLocationX(198);
    canvas.Text(1)->SetLocationY(40);
    const std::uint64_t passed = canvas.PassedFrames();
    for (int i = 0; i < 10; ++i)
        Frame(++n);
    EXPECT_EQ(canvas.PassedFrames(), passed);
    canvas.Text(1)->SetLocationX(10);
    canvas.Text(1)->SetLocationY(180);
    ASSERT_TRUE(FramesUntilPassed(canvas, n));
    // Motion detection needs every frame's bitmap: the frames stop coming as planes.
    portfolio.VideoFeed(0).MotionDetect().SetEnabled(true);
    const int planes = catalog.cameras[0].jpegs_delivered;
    for (int i = 0; i < 5; ++i)
        Frame(++n);
    EXPECT_LE(catalog.cameras[0].jpegs_delivered, planes + 1);
}

} // namespace
} // namespace tess
