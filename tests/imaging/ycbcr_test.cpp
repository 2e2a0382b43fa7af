#include "imaging/bitmaps.h"
#include "imaging/jpeg.h"
#include "imaging/jpeg_transcoder.h"
#include "imaging/kernels.h"
#include "imaging/ycbcr_overlay.h"
#include "imaging/ycbcr_planes.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

#include <gtest/gtest.h>
#include <turbojpeg.h>

namespace tess {
namespace {

using test::Bgr;

// Mean and largest absolute difference of two sample sequences.
struct Error {
    double mean = 0;
    int max = 0;
};

Error Compare(const std::vector<std::uint8_t>& a, const std::vector<std::uint8_t>& b) {
    EXPECT_EQ(a.size(), b.size());
    Error e;
    const std::size_t n = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < n; ++i) {
        const int d = std::abs(a[i] - b[i]);
        e.mean += d, e.max = std::max(e.max, d);
    }
    e.mean /= std::max<std::size_t>(n, 1);
    return e;
}

// Each plane of `a` against the same plane of `b`.
struct PlaneErrors {
    Error y, cb, cr;
};

PlaneErrors Compare(const YCbCrPlanes& a, const YCbCrPlanes& b) {
    return {Compare(a.y, b.y), Compare(a.cb, b.cb), Compare(a.cr, b.cr)};
}

std::vector<std::uint8_t> Channels(const DIB& dib) {
    std::vector<std::uint8_t> out;
    for (int y = 0; y < dib.Height(); ++y)
        out.insert(out.end(), dib.scanline(y), dib.scanline(y) + 3 * dib.Width());
    return out;
}

Error Compare(const DIB& a, const DIB& b) {
    EXPECT_EQ(a.Width(), b.Width());
    EXPECT_EQ(a.Height(), b.Height());
    return Compare(Channels(a), Channels(b));
}

// A gradient with hard-edged blocks of saturated colour on it.
DIB Picture(int width, int height) {
    DIB dib(width, height);
    test::FillSmooth(dib);
    const Bgr colors[] = {{0, 0, 255}, {255, 0, 0}, {0, 255, 0}, {0, 255, 255}, {255, 255, 255}};
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const int cell = (x / 37) + (y / 29);
            if ((x / 37 + 2 * (y / 29)) % 3 == 0) test::SetPixel(dib, x, y, colors[cell % 5]);
        }
    }
    return dib;
}

// Full-range YCbCr as JPEG defines it, chroma averaged over each 2 x 2 block (fewer at the
// right and bottom edges), computed in floating point.
YCbCrPlanes ExactPlanes(const DIB& dib) {
    YCbCrPlanes p;
    EXPECT_TRUE(p.Resize(dib.Width(), dib.Height()));
    std::vector<double> cb(p.cb.size()), cr(p.cr.size()), count(p.cb.size());
    for (int y = 0; y < p.height; ++y) {
        for (int x = 0; x < p.width; ++x) {
            const Bgr c = test::PixelAt(dib, x, y);
            p.y[static_cast<std::size_t>(y) * p.width + x] =
                static_cast<std::uint8_t>(std::lround(0.299 * c.r + 0.587 * c.g + 0.114 * c.b));
            const std::size_t k = static_cast<std::size_t>(y / 2) * p.ChromaWidth() + x / 2;
            cb[k] += 128 - 0.168736 * c.r - 0.331264 * c.g + 0.5 * c.b;
            cr[k] += 128 + 0.5 * c.r - 0.418688 * c.g - 0.081312 * c.b;
            count[k] += 1;
        }
    }
    for (std::size_t k = 0; k < cb.size(); ++k) {
        p.cb[k] = static_cast<std::uint8_t>(std::clamp(std::lround(cb[k] / count[k]), 0L, 255L));
        p.cr[k] = static_cast<std::uint8_t>(std::clamp(std::lround(cr[k] / count[k]), 0L, 255L));
    }
    return p;
}

// A JPEG of any sampling TurboJPEG offers.
std::vector<std::uint8_t> Compress(const DIB& dib, int sampling, int quality) {
    tjhandle handle = tjInitCompress();
    unsigned char* buffer = nullptr;
    unsigned long size = 0;
    const int status = tjCompress2(handle, dib.DIBPtr(), dib.Width(), dib.Pitch(), dib.Height(),
                                   TJPF_BGR, &buffer, &size, sampling, quality, TJFLAG_BOTTOMUP);
    std::vector<std::uint8_t> out;
    if (status == 0) out.assign(buffer, buffer + size);
    tjFree(buffer);
    tjDestroy(handle);
    return out;
}

// Odd sizes go through padded copies of luma (TurboJPEG works on whole 2 x 2 groups), even
// ones straight into the planes.
void DecodesLikeTheOrdinaryDecoder(int width, int height, int sampling) {
    SCOPED_TRACE(testing::Message()
                 << width << " x " << height << (sampling == TJSAMP_420 ? " 4:2:0" : " 4:2:2"));
    const DIB picture = Picture(width, height);
    const YCbCrPlanes exact = ExactPlanes(picture);
    const std::vector<std::uint8_t> jpeg = Compress(picture, sampling, 100);
    YCbCrPlanes planes;
    ASSERT_TRUE(DecodeJpegToPlanes(jpeg, planes));
    ASSERT_EQ(planes.width, width);
    ASSERT_EQ(planes.height, height);
    ASSERT_TRUE(planes.Whole());
    // At full quality the planes are the picture's own, up to the codec's rounding
    // (measured: luma mean 0.06, max 2; chroma mean 0.17 to 0.32, max 2).
    const auto [y, cb, cr] = Compare(planes, exact);
    EXPECT_LT(y.mean, 0.1);
    EXPECT_LE(y.max, 2);
    EXPECT_LT(std::max(cb.mean, cr.mean), 0.4);
    EXPECT_LE(std::max(cb.max, cr.max), 2);

    // The ordinary decoder smooths chroma across 2 x 2 pixels where the planes repeat it,
    // and 4:2:2 keeps chroma rows the planes merge: at the saturated edges colours differ
    // by up to 162 (4:2:0) and 217 (4:2:2), but the means are 3.14 and 3.27.
    DIB through_planes, direct;
    ASSERT_TRUE(PlanesToDIB(planes, through_planes));
    ASSERT_TRUE(DecodeJpegIntoDIB(jpeg, direct));
    EXPECT_LT(Compare(through_planes, direct).mean, 3.5);
    if (sampling != TJSAMP_420) return;
    // Without the smoothing the two ways agree exactly.
    DIB unsmoothed(width, height);
    tjhandle handle = tjInitDecompress();
    ASSERT_EQ(tjDecompress2(handle, jpeg.data(), jpeg.size(), unsmoothed.DIBPtr(), width,
                            unsmoothed.Pitch(), height, TJPF_BGR,
                            TJFLAG_BOTTOMUP | TJFLAG_FASTUPSAMPLE),
              0);
    tjDestroy(handle);
    EXPECT_TRUE(test::SamePixels(through_planes, unsmoothed));
}

TEST(YCbCrPlanes, FourTwoZeroAndFourTwoTwoDecodeLikeTheOrdinaryDecoder) {
    for (int sampling : {TJSAMP_420, TJSAMP_422}) {
        DecodesLikeTheOrdinaryDecoder(321, 241, sampling);
        DecodesLikeTheOrdinaryDecoder(320, 240, sampling);
        DecodesLikeTheOrdinaryDecoder(321, 240, sampling);
    }
}

TEST(YCbCrPlanes, OtherSamplingsDamageAndHugeSizesAreRefused) {
    const DIB picture = Picture(64, 48);
    YCbCrPlanes planes;
    for (int sampling : {TJSAMP_444, TJSAMP_GRAY, TJSAMP_440, TJSAMP_411}) {
        const std::vector<std::uint8_t> jpeg = Compress(picture, sampling, 90);
        ASSERT_FALSE(jpeg.empty());
        EXPECT_FALSE(DecodeJpegToPlanes(jpeg, planes)) << "sampling " << sampling;
    }
    const std::vector<std::uint8_t> good = Compress(picture, TJSAMP_420, 90);
    std::vector<std::uint8_t> cut(good.begin(), good.end() - 40);
    EXPECT_FALSE(DecodeJpegToPlanes(cut, planes));
    EXPECT_FALSE(DecodeJpegToPlanes(std::vector<std::uint8_t>{0xFF, 0xD8, 0x00}, planes));
    EXPECT_FALSE(DecodeJpegToPlanes({}, planes));
    // A failure leaves the decoder ready for the next picture.
    ASSERT_TRUE(DecodeJpegToPlanes(good, planes));
    EXPECT_EQ(planes.width, 64);

    // The frame header claims 60000 x 60000: refused before the planes are resized.
    std::vector<std::uint8_t> huge = good;
    const std::uint8_t frame_marker[] = {0xFF, 0xC0};
    const auto sof =
        std::search(huge.begin(), huge.end(), std::begin(frame_marker), std::end(frame_marker));
    ASSERT_NE(sof, huge.end());
    sof[5] = sof[7] = 0xEA;
    sof[6] = sof[8] = 0x60;
    EXPECT_FALSE(DecodeJpegToPlanes(huge, planes));
    EXPECT_EQ(planes.width, 64);
    EXPECT_EQ(planes.y.size(), 64u * 48u);

    EXPECT_FALSE(planes.Resize(DIB::kMaxDimension + 1, 2));
    EXPECT_TRUE(planes.Empty());
    EXPECT_TRUE(planes.y.empty() && planes.cb.empty());
    DIB dib;
    EXPECT_FALSE(PlanesToDIB(planes, dib));
}

TEST(YCbCrPlanes, EncodedPlanesDecodeBackToThePicture) {
    const DIB picture = Picture(321, 241);
    const YCbCrPlanes planes = ExactPlanes(picture);
    const std::vector<std::uint8_t> jpeg = EncodeJpegPlanes(planes, 95);
    ASSERT_FALSE(jpeg.empty());
    EXPECT_LE(jpeg.size(), JpegSizeBound(321, 241));
    YCbCrPlanes back;
    ASSERT_TRUE(DecodeJpegToPlanes(jpeg, back)); // so 4:2:0
    // Measured: luma mean 0.45, chroma 0.89; the picture comes back as close as through
    // the ordinary encoder (3.80 against 3.77).
    const PlaneErrors round_trip = Compare(back, planes);
    EXPECT_LT(round_trip.y.mean, 0.6);
    EXPECT_LT(round_trip.cb.mean, 1.2);
    EXPECT_LT(round_trip.cr.mean, 1.2);
    DIB decoded, ordinary;
    ASSERT_TRUE(DecodeJpegIntoDIB(jpeg, decoded));
    ASSERT_TRUE(DecodeJpegIntoDIB(EncodeJpeg(picture, 95), ordinary));
    EXPECT_LT(test::MeanAbsDifference(decoded, picture),
              test::MeanAbsDifference(ordinary, picture) + 0.2);

    EXPECT_EQ(EncodeJpegPlanes(planes, 0), EncodeJpegPlanes(planes, 1));
    EXPECT_EQ(EncodeJpegPlanes(planes, 400), EncodeJpegPlanes(planes, 100));
    // Noise at full quality outgrows the room a stream may take; planes whose vectors do not
    // match their size are not handed to the codec.
    std::mt19937 rng(5);
    DIB noise(16, 16);
    test::FillRandom(noise, rng);
    EXPECT_TRUE(EncodeJpegPlanes(ExactPlanes(noise), 100).empty());
    YCbCrPlanes short_chroma = planes;
    short_chroma.cr.pop_back();
    EXPECT_TRUE(EncodeJpegPlanes(short_chroma, 90).empty());
    EXPECT_TRUE(EncodeJpegPlanes(YCbCrPlanes{}, 90).empty());
}

// A grey level per pixel: white in the middle of each stroke, softer at its edges, as a text
// renderer's coverage is.
DIB Strokes(int width, int height) {
    DIB mask(width, height);
    mask.Clear(0);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const int across = std::min(x % 11, y % 9);
            const std::uint8_t level = across < 2 ? 255 : across == 2 ? 110 : 0;
            test::SetPixel(mask, x, y, {level, level, level});
        }
    }
    return mask;
}

// Opaque in the middle, fading to nothing at the rim.
DIB Vignette(int width, int height) {
    DIB mask(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const double dx = (x - width / 2.0) / width, dy = (y - height / 2.0) / height;
            const double level = std::clamp(1.6 - 3.2 * std::sqrt(dx * dx + dy * dy), 0.0, 1.0);
            const auto v = static_cast<std::uint8_t>(std::lround(255 * level));
            test::SetPixel(mask, x, y, {v, v, v});
        }
    }
    return mask;
}

void MergeAt(DIB& canvas, const DIB& item, int left, int top, int mode, std::uint32_t transparent,
             int level, const DIB* opacity) {
    Merge(canvas.DIBPtr(), canvas.Width(), canvas.Height(), item.DIBPtr(), item.Width(),
          item.Height(), left, canvas.Height() - item.Height() - top, mode, transparent, level,
          opacity ? opacity->DIBPtr() : nullptr, 0, 0, nullptr, 0, 0);
}

// A canvas's items, drawn the way the canvas draws them: a logo with its own opacity at
// partial level, anti-aliased letters, and letters keyed out of a magenta background.
void DrawItems(DIB& canvas) {
    const DIB logo = Picture(90, 70);
    const DIB logo_mask = Vignette(90, 70);
    MergeAt(canvas, logo, 41, 31, kOpacityPerPixel, kNoColor, 200, &logo_mask);
    const DIB ink = test::Solid(150, 31, 0x00E0F0);
    const DIB coverage = Strokes(150, 31);
    MergeAt(canvas, ink, 151, 181, kOpacityPerPixel, kNoColor, 255, &coverage);
    DIB keyed = test::Solid(77, 23, 0xFF00FF);
    for (int y = 3; y < 20; ++y) {
        for (int x = 0; x < 77; ++x) {
            if (x % 7 < 3) test::SetPixel(keyed, x, y, {200, 40, 10});
        }
    }
    MergeAt(canvas, keyed, 101, 61, kOpacityMerge, 0xFF00FF, 160, nullptr);
}

// What the canvas makes of a camera frame and its items, in planes: the overlay applied to
// the frame's planes must give the planes of the frame with the items drawn on it.
TEST(YCbCrOverlay, LaysItemsOverAFrameAsDrawingThemDoes) {
    const DIB camera = Picture(321, 241);
    DIB reference = Picture(321, 241), over_black = test::Solid(321, 241, 0),
        over_white = test::Solid(321, 241, 0xFFFFFF);
    for (DIB* canvas : {&reference, &over_black, &over_white})
        DrawItems(*canvas);
    YCbCrOverlay overlay;
    ASSERT_TRUE(overlay.Build(over_black, over_white));
    EXPECT_FALSE(overlay.Empty());
    EXPECT_EQ(overlay.Width(), 321);

    const YCbCrPlanes frame = ExactPlanes(camera), expected = ExactPlanes(reference);
    YCbCrPlanes planes = frame;
    overlay.ApplyTo(planes);
    const auto [y, cb, cr] = Compare(planes, expected);
    // Measured: luma mean 0.017, max 1 (the merges' own rounding); chroma mean 0.024, max 4
    // where a 2 x 2 block straddles an item's edge and its share of the frame varies.
    EXPECT_LT(y.mean, 0.05);
    EXPECT_LE(y.max, 1);
    EXPECT_LT(std::max(cb.mean, cr.mean), 0.05);
    EXPECT_LE(std::max(cb.max, cr.max), 4);

    // Through the codec both ways, as a stream would carry them.
    YCbCrPlanes camera_planes, reference_planes;
    ASSERT_TRUE(DecodeJpegToPlanes(EncodeJpeg(camera, 95), camera_planes));
    ASSERT_TRUE(DecodeJpegToPlanes(EncodeJpeg(reference, 95), reference_planes));
    overlay.ApplyTo(camera_planes);
    DIB shown, drawn;
    ASSERT_TRUE(PlanesToDIB(camera_planes, shown));
    ASSERT_TRUE(PlanesToDIB(reference_planes, drawn));
    // Measured: mean 0.45, max 20, at the items' edges.
    const Error bgr = Compare(shown, drawn);
    EXPECT_LT(bgr.mean, 0.6);
    EXPECT_LE(bgr.max, 24);

    // Samples no item reaches are the frame's own.
    int changed_outside = 0;
    for (int row = 0; row < 241; ++row) {
        for (int x = 0; x < 321; ++x) {
            const std::size_t i = static_cast<std::size_t>(row) * 321 + x;
            if (test::PixelAt(over_black, x, row) == Bgr{} &&
                test::PixelAt(over_white, x, row) == Bgr{255, 255, 255})
                changed_outside += planes.y[i] != frame.y[i];
        }
    }
    EXPECT_EQ(changed_outside, 0);
}

TEST(YCbCrOverlay, RefusesWhatIsNoBlendAndLeavesUntouchedFramesAlone) {
    DIB over_black = test::Solid(64, 48, 0), over_white = test::Solid(64, 48, 0xFFFFFF);
    YCbCrOverlay overlay;
    ASSERT_TRUE(overlay.Build(over_black, over_white));
    EXPECT_TRUE(overlay.Empty());
    const YCbCrPlanes frame = ExactPlanes(Picture(64, 48));
    YCbCrPlanes planes = frame;
    overlay.ApplyTo(planes);
    EXPECT_EQ(planes.y, frame.y);
    EXPECT_EQ(planes.cb, frame.cb);
    EXPECT_EQ(planes.cr, frame.cr);

    DrawItems(over_black);
    DrawItems(over_white);
    ASSERT_TRUE(overlay.Build(over_black, over_white));
    EXPECT_FALSE(overlay.Empty());
    overlay.Clear();
    EXPECT_TRUE(overlay.Empty());

    // One channel of one pixel lets more through than the others: no blend does that.
    DIB altered = test::Solid(64, 48, 0xFFFFFF);
    DrawItems(altered);
    Bgr pixel = test::PixelAt(altered, 50, 40);
    pixel.g = static_cast<std::uint8_t>(pixel.g - 9);
    test::SetPixel(altered, 50, 40, pixel);
    ASSERT_TRUE(overlay.Build(over_black, over_white));
    EXPECT_FALSE(overlay.Build(over_black, altered));
    EXPECT_TRUE(overlay.Empty());
    // Brighter over black than over white is none either, nor are bitmaps of other sizes.
    EXPECT_FALSE(overlay.Build(over_white, over_black));
    EXPECT_FALSE(overlay.Build(over_black, test::Solid(64, 47, 0xFFFFFF)));
    EXPECT_TRUE(overlay.Empty());
}

} // namespace

// The stream's picture made the cheap way (the camera's blocks kept, only those under the
// items redone) against the planes way (the frame decoded, overlaid, encoded again), with
// shadows, at an odd size whose last blocks are partly outside the picture.
TEST(JpegTranscoder, KeepsTheFramesBlocksAndRedoesThoseUnderTheItems) {
    const int width = 333, height = 245;
    const DIB camera = Picture(width, height);
    DIB over_black = test::Solid(width, height, 0),
        over_white = test::Solid(width, height, 0xFFFFFF),
        shadows = test::Solid(width, height, 0xFFFFFF);
    DrawItems(over_black);
    DrawItems(over_white);
    const DIB coverage = Strokes(150, 31);
    MergeAt(shadows, test::Solid(150, 31, 0x8C8C8C), 154, 184, kOpacityPerPixel, kNoColor, 255,
            &coverage);
    YCbCrOverlay overlay;
    ASSERT_TRUE(overlay.Build(over_black, over_white, &shadows));
    ASSERT_GT(overlay.ShadowedSamples(), 0u);

    const std::vector<std::uint8_t> jpeg = Compress(camera, TJSAMP_420, 92);
    JpegTranscoder transcoder;
    std::vector<std::uint8_t> out;
    ASSERT_TRUE(transcoder.Transcode(jpeg, overlay, 80, out));
    YCbCrPlanes planes;
    ASSERT_TRUE(DecodeJpegToPlanes(jpeg, planes));
    overlay.ApplyTo(planes);
    // Both ways quantize the same samples at quality 80 once more; measured against those
    // samples they err alike (luma mean 1.16 both, max 31 and 30; blue mean 2.63 and 2.68),
    // and differ from each other by a step here and there (BGR mean 0.9, max 29).
    YCbCrPlanes transcoded, through_planes;
    ASSERT_TRUE(DecodeJpegToPlanes(out, transcoded));
    ASSERT_TRUE(DecodeJpegToPlanes(EncodeJpegPlanes(planes, 80), through_planes));
    const PlaneErrors now = Compare(transcoded, planes), then = Compare(through_planes, planes);
    EXPECT_LT(now.y.mean, then.y.mean * 1.1);
    EXPECT_LE(now.y.max, then.y.max + 4);
    EXPECT_LT(now.cb.mean, then.cb.mean * 1.1);
    DIB shown, before;
    ASSERT_TRUE(PlanesToDIB(transcoded, shown));
    ASSERT_TRUE(PlanesToDIB(through_planes, before));
    const Error both = Compare(shown, before);
    EXPECT_LT(both.mean, 1.2);
    EXPECT_LE(both.max, 40);

    // The quality asked for is the output's, whatever the camera's was.
    std::vector<std::uint8_t> low, high;
    ASSERT_TRUE(transcoder.Transcode(jpeg, overlay, 30, low));
    ASSERT_TRUE(transcoder.Transcode(jpeg, overlay, 100, high));
    EXPECT_LT(low.size(), out.size());
    EXPECT_LT(out.size(), high.size());
    int w = 0, h = 0, sampling = -1, colorspace = 0;
    tjhandle handle = tjInitDecompress();
    ASSERT_EQ(tjDecompressHeader3(handle, out.data(), out.size(), &w, &h, &sampling, &colorspace),
              0);
    tjDestroy(handle);
    EXPECT_EQ(w, width);
    EXPECT_EQ(h, height);
    EXPECT_EQ(sampling, TJSAMP_420);

    // With nothing over the frame and the camera's own quality, the frame is what it was.
    YCbCrOverlay none;
    ASSERT_TRUE(none.Build(test::Solid(width, height, 0), test::Solid(width, height, 0xFFFFFF)));
    std::vector<std::uint8_t> same;
    ASSERT_TRUE(transcoder.Transcode(jpeg, none, 92, same));
    DIB original, copied;
    ASSERT_TRUE(DecodeJpegIntoDIB(jpeg, original));
    ASSERT_TRUE(DecodeJpegIntoDIB(same, copied));
    EXPECT_TRUE(test::SamePixels(original, copied));
}

TEST(JpegTranscoder, RefusesWhatItCannotTakeAndGoesOnAfterwards) {
    const DIB camera = Picture(96, 64);
    DIB over_black = test::Solid(96, 64, 0), over_white = test::Solid(96, 64, 0xFFFFFF);
    DrawItems(over_black);
    DrawItems(over_white);
    YCbCrOverlay overlay;
    ASSERT_TRUE(overlay.Build(over_black, over_white));
    const std::vector<std::uint8_t> jpeg = Compress(camera, TJSAMP_420, 85);
    JpegTranscoder transcoder;
    std::vector<std::uint8_t> out{1, 2, 3};
    const std::vector<std::uint8_t> truncated(jpeg.begin(), jpeg.begin() + jpeg.size() / 2);
    std::vector<std::uint8_t> damaged = jpeg;
    for (std::size_t i = damaged.size() / 2; i < damaged.size() / 2 + 40; ++i)
        damaged[i] = 0xFF;
    const std::vector<std::vector<std::uint8_t>> refused = {
        {},
        {0xFF, 0xD8, 0xFF},
        std::vector<std::uint8_t>(5000, 0x55),
        truncated,
        damaged,
        Compress(camera, TJSAMP_422, 85),
        Compress(camera, TJSAMP_444, 85),
        Compress(camera, TJSAMP_GRAY, 85),
        Compress(Picture(96, 66), TJSAMP_420, 85),
    };
    for (std::size_t i = 0; i < refused.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_FALSE(transcoder.Transcode(refused[i], overlay, 80, out));
        EXPECT_TRUE(out.empty());
        // Each failure leaves the codec ready for the next picture.
        ASSERT_TRUE(transcoder.Transcode(jpeg, overlay, 80, out));
        EXPECT_FALSE(out.empty());
    }
    EXPECT_FALSE(transcoder.Transcode(jpeg, YCbCrOverlay{}, 80, out));
}

} // namespace tess
