// Decoding one MJPEG camera frame into the frame layout the feeds take (bottom-up BGR rows):
// libjpeg-turbo straight into it, against libavcodec's decoder plus swscale's conversion,
// the two ways the capture reader can take.
//
// TESS_BENCH_MJPEG names a JPEG file to decode (bench/camera_vs_peers.py's camera frames are
// one: ffmpeg's 4:2:0 MJPEG of testsrc2); without it the frame is drawn and encoded here.

#include "capture/raw_frame.h"
#include "imaging/dib.h"
#include "imaging/jpeg.h"
#include "imaging/jpeg_transcoder.h"
#include "imaging/ycbcr_overlay.h"
#include "imaging/ycbcr_planes.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <random>

#include <benchmark/benchmark.h>

namespace {

using tess::DIB;
using tess::RawFrame;

// Gradients, hard-edged boxes and +-4 of sensor noise, as a camera gives, at quality 90.
std::vector<std::uint8_t> DrawnFrame() {
    DIB dib(1280, 720);
    std::mt19937 rng(7);
    for (int y = 0; y < dib.Height(); ++y) {
        std::uint8_t* row = dib.scanline(y);
        for (int x = 0; x < dib.Width(); ++x) {
            const bool box = (x / 160 + y / 120) % 3 == 0;
            for (int c = 0; c < 3; ++c) {
                const int base = box ? 40 + 70 * c : ((x + 2 * y) * (c + 1) / 8) % 256;
                row[x * 3 + c] = static_cast<std::uint8_t>(
                    std::clamp(base + static_cast<int>(rng() % 9) - 4, 0, 255));
            }
        }
    }
    return tess::EncodeJpeg(dib, 90);
}

const std::vector<std::uint8_t>& Frame() {
    static const std::vector<std::uint8_t> frame = [] {
        const char* name = std::getenv("TESS_BENCH_MJPEG");
        if (!name) return DrawnFrame();
        std::ifstream in(name, std::ios::binary);
        std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(in), {}};
        if (bytes.empty()) {
            std::fprintf(stderr, "%s: cannot read\n", name);
            std::exit(1);
        }
        return bytes;
    }();
    return frame;
}

void BM_MjpegFrameLibjpegTurbo(benchmark::State& state) {
    RawFrame out;
    for (auto _ : state) {
        if (!tess::DecodeJpegBottomUpBgr(Frame(), out.bytes, out.width, out.height)) {
            state.SkipWithError("libjpeg-turbo refused the frame");
            return;
        }
        benchmark::DoNotOptimize(out.bytes.data());
    }
    state.SetLabel(std::to_string(Frame().size()) + " bytes");
}
BENCHMARK(BM_MjpegFrameLibjpegTurbo)->Unit(benchmark::kMillisecond);

// What the reader did for every MJPEG frame before: one-thread libavcodec decoding, then
// swscale into bottom-up BGR rows.
void BM_MjpegFrameLibavcodecAndSwscale(benchmark::State& state) {
    const AVCodec* decoder = avcodec_find_decoder(AV_CODEC_ID_MJPEG);
    AVCodecContext* codec = avcodec_alloc_context3(decoder);
    codec->thread_count = 1;
    avcodec_open2(codec, decoder, nullptr);
    AVPacket* packet = av_packet_alloc();
    AVFrame* frame = av_frame_alloc();
    SwsContext* scaler = nullptr;
    std::vector<std::uint8_t> buffer(Frame().size() + AV_INPUT_BUFFER_PADDING_SIZE);
    std::copy(Frame().begin(), Frame().end(), buffer.begin());
    RawFrame out;
    for (auto _ : state) {
        packet->data = buffer.data();
        packet->size = static_cast<int>(Frame().size());
        if (avcodec_send_packet(codec, packet) < 0 || avcodec_receive_frame(codec, frame) < 0) {
            state.SkipWithError("libavcodec refused the frame");
            break;
        }
        out.width = frame->width;
        out.height = frame->height;
        out.bytes.resize(out.Size());
        const int pitch = static_cast<int>(out.Pitch());
        scaler = sws_getCachedContext(
            scaler, frame->width, frame->height, static_cast<AVPixelFormat>(frame->format),
            frame->width, frame->height, AV_PIX_FMT_BGR24, SWS_POINT, nullptr, nullptr, nullptr);
        std::uint8_t* planes[4] = {out.bytes.data() +
                                       static_cast<std::size_t>(pitch) * (frame->height - 1),
                                   nullptr, nullptr, nullptr};
        int strides[4] = {-pitch, 0, 0, 0};
        sws_scale(scaler, frame->data, frame->linesize, 0, frame->height, planes, strides);
        av_frame_unref(frame);
        benchmark::DoNotOptimize(out.bytes.data());
    }
    sws_freeContext(scaler);
    av_frame_free(&frame);
    packet->data = nullptr;
    packet->size = 0;
    av_packet_free(&packet);
    avcodec_free_context(&codec);
}
BENCHMARK(BM_MjpegFrameLibavcodecAndSwscale)->Unit(benchmark::kMillisecond);

// The frame stopped at its YCbCr planes, as a canvas that passes it through takes it.
void BM_MjpegFrameToPlanes(benchmark::State& state) {
    tess::YCbCrPlanes planes;
    for (auto _ : state) {
        if (!tess::DecodeJpegToPlanes(Frame(), planes)) {
            state.SkipWithError("the frame is not 4:2:0 or 4:2:2");
            return;
        }
        benchmark::DoNotOptimize(planes.y.data());
    }
}
BENCHMARK(BM_MjpegFrameToPlanes)->Unit(benchmark::kMillisecond);

// The stream's encoding at quality 80, from the canvas's BGR rows or from the planes.
void BM_EncodeFromBgr(benchmark::State& state) {
    DIB dib;
    tess::DecodeJpegIntoDIB(Frame(), dib);
    tess::JpegEncoder encoder;
    for (auto _ : state)
        benchmark::DoNotOptimize(encoder.Encode(dib, 80).size());
}
BENCHMARK(BM_EncodeFromBgr)->Unit(benchmark::kMillisecond);

void BM_EncodeFromPlanes(benchmark::State& state) {
    tess::YCbCrPlanes planes;
    tess::DecodeJpegToPlanes(Frame(), planes);
    tess::JpegEncoder encoder;
    for (auto _ : state)
        benchmark::DoNotOptimize(encoder.EncodePlanes(planes, 80).size());
}
BENCHMARK(BM_EncodeFromPlanes)->Unit(benchmark::kMillisecond);

// What lies over the frame in the standard overlay canvas, roughly: a 200 x 80 logo at half
// opacity and four text lines (solid bands) with 2-pixel shadows at 60 %.
struct OverlayDrawings {
    DIB black{1280, 720}, white{1280, 720}, shadows{1280, 720};
    OverlayDrawings() {
        black.Clear(0);
        white.Clear(0xFFFFFF);
        shadows.Clear(0xFFFFFF);
        auto box = [](DIB& dib, int left, int top, int width, int height, auto pixel) {
            for (int y = top; y < top + height; ++y)
                for (int x = left; x < left + width; ++x)
                    pixel(dib.scanline(y) + 3 * x);
        };
        auto half = [](std::uint8_t* p) {
            for (int c = 0; c < 3; ++c)
                p[c] = static_cast<std::uint8_t>(p[c] / 2 + 60);
        };
        auto solid = [](std::uint8_t* p) { p[0] = p[1] = p[2] = 255; };
        auto shade = [](std::uint8_t* p) { p[0] = p[1] = p[2] = 102; };
        box(black, 1060, 20, 200, 80, half);
        box(white, 1060, 20, 200, 80, half);
        for (int line = 0; line < 4; ++line) {
            const int top = 16 + 56 * line, width = 420 - 60 * line;
            box(shadows, 22, top + 2, width, 36, shade);
            box(black, 20, top, width, 36, solid);
            box(white, 20, top, width, 36, solid);
        }
    }
};

tess::YCbCrOverlay StandardOverlay() {
    const OverlayDrawings drawings;
    tess::YCbCrOverlay overlay;
    overlay.Build(drawings.black, drawings.white, &drawings.shadows);
    return overlay;
}

void BM_OverlayBuild(benchmark::State& state) {
    const OverlayDrawings drawings;
    tess::YCbCrOverlay overlay;
    for (auto _ : state)
        benchmark::DoNotOptimize(overlay.Build(drawings.black, drawings.white, &drawings.shadows));
}
BENCHMARK(BM_OverlayBuild)->Unit(benchmark::kMillisecond);

void BM_OverlayApply(benchmark::State& state) {
    const tess::YCbCrOverlay overlay = StandardOverlay();
    tess::YCbCrPlanes frame, planes;
    tess::DecodeJpegToPlanes(Frame(), frame);
    for (auto _ : state) {
        planes = frame; // a canvas copies the feed's planes before laying the items over them
        overlay.ApplyTo(planes);
        benchmark::DoNotOptimize(planes.y.data());
    }
    state.SetLabel(std::to_string(overlay.ShadowedSamples()) + " shadowed chroma samples");
}
BENCHMARK(BM_OverlayApply)->Unit(benchmark::kMillisecond);

// A stream's whole picture from the camera's JPEG, at quality 80: decoded to planes, overlaid
// and encoded, or transcoded with only the blocks under the items taken apart.
void BM_StreamPictureThroughPlanes(benchmark::State& state) {
    const tess::YCbCrOverlay overlay = StandardOverlay();
    tess::YCbCrPlanes planes;
    tess::JpegEncoder encoder;
    for (auto _ : state) {
        tess::DecodeJpegToPlanes(Frame(), planes);
        overlay.ApplyTo(planes);
        benchmark::DoNotOptimize(encoder.EncodePlanes(planes, 80).size());
    }
}
BENCHMARK(BM_StreamPictureThroughPlanes)->Unit(benchmark::kMillisecond);

void BM_StreamPictureTranscoded(benchmark::State& state) {
    const tess::YCbCrOverlay overlay = StandardOverlay();
    tess::JpegTranscoder transcoder;
    std::vector<std::uint8_t> out;
    for (auto _ : state) {
        if (!transcoder.Transcode(Frame(), overlay, 80, out)) {
            state.SkipWithError("the frame is not 4:2:0 of 1280 x 720");
            return;
        }
        benchmark::DoNotOptimize(out.data());
    }
    std::size_t blocks = 0;
    for (auto touched : overlay.LumaBlocks())
        blocks += touched;
    state.SetLabel(std::to_string(blocks) + " luma blocks redone");
}
BENCHMARK(BM_StreamPictureTranscoded)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
