// The pixel kernels and the JPEG encoder on full-size frames, each next to the peer figure it
// is judged by, measured in the same run: memcpy of the same frame, the plain reference
// kernels, and TurboJPEG called directly the way its own benchmark does.
//
// Before measuring, the fast kernels are checked against the references once more, in this
// build's own code: the tests check the same in the sanitizer build.

#include "imaging/dib.h"
#include "imaging/image.h"
#include "imaging/jpeg.h"
#include "imaging/kernels.h"
#include "imaging/kernels_reference.h"
#include "imaging/rotation.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <turbojpeg.h>

namespace {

using tess::DIB;

// A camera-like frame: smooth gradients, hard-edged shapes and a little noise.
void FillFrame(DIB& dib, unsigned seed) {
    std::mt19937 rng(seed);
    for (int y = 0; y < dib.Height(); ++y) {
        std::uint8_t* row = dib.scanline(y);
        for (int x = 0; x < dib.Width(); ++x) {
            const bool box = ((x / 160) + (y / 120)) % 3 == 0;
            const int noise = static_cast<int>(rng() % 9) - 4;
            row[x * 3] =
                static_cast<std::uint8_t>(std::clamp((x * 255) / dib.Width() + noise, 0, 255));
            row[x * 3 + 1] = static_cast<std::uint8_t>(box ? 220 : (y * 255) / dib.Height());
            row[x * 3 + 2] = static_cast<std::uint8_t>(std::clamp(((x + y) % 256) + noise, 0, 255));
        }
    }
}

double FrameBytes(const DIB& dib) {
    return static_cast<double>(dib.Width()) * dib.Height() * 3;
}

void BM_Memcpy1080p(benchmark::State& state) {
    DIB from(1920, 1080), to(1920, 1080);
    FillFrame(from, 1);
    for (auto _ : state) {
        std::memcpy(to.DIBPtr(), from.DIBPtr(), from.BufferSize());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * FrameBytes(from)));
}
BENCHMARK(BM_Memcpy1080p)->Unit(benchmark::kMicrosecond);

template <auto MergeKernel>
void MergeFrame(benchmark::State& state, int mode, int level) {
    DIB source(1920, 1080), destination(1920, 1080);
    FillFrame(source, 2);
    FillFrame(destination, 3);
    for (auto _ : state) {
        MergeKernel(destination.DIBPtr(), 1920, 1080, source.DIBPtr(), 1920, 1080, 0, 0, mode,
                    tess::kNoColor, level, nullptr, 0, 0, nullptr, 0, 0);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * FrameBytes(source)));
}

void BM_MergeHalf1080p(benchmark::State& state) {
    MergeFrame<tess::Merge>(state, tess::kOpacityMerge, 128);
}
BENCHMARK(BM_MergeHalf1080p)->Unit(benchmark::kMicrosecond);

void BM_MergeHalf1080pReference(benchmark::State& state) {
    MergeFrame<tess::reference::Merge>(state, tess::kOpacityMerge, 128);
}
BENCHMARK(BM_MergeHalf1080pReference)->Unit(benchmark::kMicrosecond);

void BM_MergeOpaque1080p(benchmark::State& state) {
    MergeFrame<tess::Merge>(state, tess::kOpacityMerge, 255);
}
BENCHMARK(BM_MergeOpaque1080p)->Unit(benchmark::kMicrosecond);

void BM_Rotate17Degrees1080p(benchmark::State& state) {
    DIB source(1920, 1080);
    FillFrame(source, 4);
    const tess::RotationParams params = tess::RotationFor(17.0f);
    const tess::RotatedSize size = tess::RotatedSizeFor(1920, 1080, params);
    DIB destination(size.width, size.height);
    for (auto _ : state) {
        tess::Rotate(source.DIBPtr(), 1920, 1080, destination.DIBPtr(), size.width, size.height,
                     params.angle, params.shear_a, params.shear_b, 0);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_Rotate17Degrees1080p)->Unit(benchmark::kMillisecond);

void BM_BlurRadius1_720p(benchmark::State& state) {
    DIB source(1280, 720), destination(1280, 720);
    FillFrame(source, 5);
    for (auto _ : state) {
        tess::Blur(source.DIBPtr(), destination.DIBPtr(), 720, 1280, 1);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_BlurRadius1_720p)->Unit(benchmark::kMillisecond);

void BM_DiffWithHistogram720p(benchmark::State& state) {
    DIB now(1280, 720), before(1280, 720), difference(1280, 720);
    FillFrame(now, 6);
    FillFrame(before, 7);
    std::uint32_t histogram[256];
    for (auto _ : state) {
        tess::Diff(now.DIBPtr(), before.DIBPtr(), difference.DIBPtr(), 1280, 720, histogram);
        benchmark::DoNotOptimize(histogram);
    }
}
BENCHMARK(BM_DiffWithHistogram720p)->Unit(benchmark::kMillisecond);

// Kernels without a target of their own, each next to its plain reference.
template <auto ShadowKernel>
void ShadowOfItem(benchmark::State& state) {
    DIB item(640, 360), shadow(644, 364); // a large item: its shadow is 4 pixels wider and taller
    FillFrame(item, 8);
    for (auto _ : state) {
        ShadowKernel(shadow.DIBPtr(), 644, 364, item.DIBPtr(), 640, 360, 2, 2, tess::kOpacityMerge,
                     0, 255, nullptr, tess::kShadow3x3Plus, 0, 0, nullptr, 0, 0);
        benchmark::ClobberMemory();
    }
}
void BM_Shadow3x3Plus640x360(benchmark::State& state) {
    ShadowOfItem<tess::Shadow>(state);
}
BENCHMARK(BM_Shadow3x3Plus640x360)->Unit(benchmark::kMicrosecond);
void BM_Shadow3x3Plus640x360Reference(benchmark::State& state) {
    ShadowOfItem<tess::reference::Shadow>(state);
}
BENCHMARK(BM_Shadow3x3Plus640x360Reference)->Unit(benchmark::kMicrosecond);

template <auto ColorKernel>
void SepiaFrame(benchmark::State& state) {
    DIB frame(1280, 720);
    FillFrame(frame, 9);
    for (auto _ : state) {
        ColorKernel(frame.DIBPtr(), 1280, 720, tess::kColorSepia);
        benchmark::ClobberMemory();
    }
}
void BM_ColorProcessSepia720p(benchmark::State& state) {
    SepiaFrame<tess::ColorProcess>(state);
}
BENCHMARK(BM_ColorProcessSepia720p)->Unit(benchmark::kMicrosecond);
void BM_ColorProcessSepia720pReference(benchmark::State& state) {
    SepiaFrame<tess::reference::ColorProcess>(state);
}
BENCHMARK(BM_ColorProcessSepia720pReference)->Unit(benchmark::kMicrosecond);

// DIB1624 widens in place, so each pass first copies the 16-bit frame (1.8 MB) back in.
template <auto WidenKernel>
void WidenFrame(benchmark::State& state) {
    std::vector<std::uint8_t> frame16(1280 * 2 * 720), buffer(1280 * 3 * 720);
    std::mt19937 rng(10);
    for (auto& byte : frame16)
        byte = static_cast<std::uint8_t>(rng());
    for (auto _ : state) {
        std::memcpy(buffer.data(), frame16.data(), frame16.size());
        WidenKernel(buffer.data(), 1280, 720);
        benchmark::ClobberMemory();
    }
}
void BM_DIB1624_720p(benchmark::State& state) {
    WidenFrame<tess::DIB1624>(state);
}
BENCHMARK(BM_DIB1624_720p)->Unit(benchmark::kMicrosecond);
void BM_DIB1624_720pReference(benchmark::State& state) {
    WidenFrame<tess::reference::DIB1624>(state);
}
BENCHMARK(BM_DIB1624_720pReference)->Unit(benchmark::kMicrosecond);

// The JPEG picture is written once as PPM so that tjbench can be run on the very same pixels.
const DIB& JpegFrame() {
    static DIB frame = [] {
        DIB dib(1920, 1080);
        FillFrame(dib, 8);
        if (const char* path = std::getenv("TESS_BENCH_PPM")) {
            std::FILE* file = std::fopen(path, "wb");
            if (file) {
                std::fprintf(file, "P6\n1920 1080\n255\n");
                for (int y = 0; y < 1080; ++y) {
                    for (int x = 0; x < 1920; ++x) {
                        const std::uint8_t* p = dib.scanline(y) + x * 3;
                        const std::uint8_t rgb[3] = {p[2], p[1], p[0]};
                        std::fwrite(rgb, 1, 3, file);
                    }
                }
                std::fclose(file);
            }
        }
        return dib;
    }();
    return frame;
}

void BM_JpegEncodeQ80_1080p(benchmark::State& state) {
    const DIB& frame = JpegFrame();
    tess::JpegEncoder encoder;
    std::size_t bytes = 0;
    for (auto _ : state)
        bytes = encoder.Encode(frame, 80).size();
    state.counters["bytes"] = static_cast<double>(bytes);
    state.counters["Mpix/s"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * 1920 * 1080 / 1e6, benchmark::Counter::kIsRate);
}
BENCHMARK(BM_JpegEncodeQ80_1080p)->Unit(benchmark::kMillisecond);

// The peer: TurboJPEG straight, top-down packed rows into a preallocated buffer.
void BM_TurboJpegDirectQ80_1080p(benchmark::State& state) {
    const DIB& frame = JpegFrame();
    std::vector<std::uint8_t> packed(1920 * 1080 * 3);
    for (int y = 0; y < 1080; ++y)
        std::memcpy(packed.data() + y * 1920 * 3, frame.scanline(y), 1920 * 3);
    tjhandle handle = tjInitCompress();
    unsigned long capacity = tjBufSize(1920, 1080, TJSAMP_420);
    unsigned char* out = tjAlloc(static_cast<int>(capacity));
    unsigned long size = 0;
    for (auto _ : state) {
        size = capacity;
        tjCompress2(handle, packed.data(), 1920, 0, 1080, TJPF_BGR, &out, &size, TJSAMP_420, 80,
                    TJFLAG_NOREALLOC);
    }
    state.counters["bytes"] = static_cast<double>(size);
    state.counters["Mpix/s"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * 1920 * 1080 / 1e6, benchmark::Counter::kIsRate);
    tjFree(out);
    tjDestroy(handle);
}
BENCHMARK(BM_TurboJpegDirectQ80_1080p)->Unit(benchmark::kMillisecond);

// An unchanged text item merged again from its cache: the size of a clock ("14:32:05" at
// 48 pixels), white glyphs whose coverage is the opacity, onto a 720p layer.
void BM_MergeUnchangedTextItem(benchmark::State& state) {
    DIB colour(230, 56), coverage(230, 56);
    colour.Clear(0xFFFFFF);
    for (int y = 0; y < 56; ++y) {
        for (int x = 0; x < 230; ++x) {
            // Glyph-like strokes: a quarter of the box covered, with soft edges.
            const int phase = (x % 29) + (y % 7);
            const int v = phase < 6 ? 255 : (phase < 9 ? 120 : 0);
            std::memset(coverage.scanline(y) + x * 3, v, 3);
        }
    }
    tess::Image text;
    text.SetPictureType(tess::SourceType::CanvasImage);
    text.LoadIntoPictureDIB(std::move(colour), std::move(coverage));
    DIB layer(1280, 720);
    text.MergeImageTo(layer, 20, 16); // builds the stages once
    for (auto _ : state) {
        text.MergeImageTo(layer, 20, 16);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_MergeUnchangedTextItem)->Unit(benchmark::kMicrosecond);

// An unchanged opaque picture item (a 200 x 80 logo without alpha): the plain copy.
void BM_MergeUnchangedOpaqueItem(benchmark::State& state) {
    DIB logo(200, 80);
    FillFrame(logo, 10);
    tess::Image item;
    item.SetPictureType(tess::SourceType::CanvasImage);
    item.LoadIntoPictureDIB(std::move(logo), DIB());
    DIB layer(1280, 720);
    item.MergeImageTo(layer, 1060, 20);
    for (auto _ : state) {
        item.MergeImageTo(layer, 1060, 20);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_MergeUnchangedOpaqueItem)->Unit(benchmark::kMicrosecond);

bool FastKernelsMatchReference() {
    std::mt19937 rng(9);
    DIB source(333, 77), opacity(333, 77), a(401, 90), b(401, 90);
    for (DIB* d : {&source, &opacity, &a}) {
        for (std::size_t i = 0; i < d->BufferSize(); ++i)
            d->DIBPtr()[i] = static_cast<std::uint8_t>(rng());
    }
    auto same = [&] { return std::memcmp(a.DIBPtr(), b.DIBPtr(), a.BufferSize()) == 0; };
    for (int mode = 0; mode <= 3; ++mode) {
        std::memcpy(b.DIBPtr(), a.DIBPtr(), a.BufferSize());
        tess::Merge(a.DIBPtr(), 401, 90, source.DIBPtr(), 333, 77, 50, -5, mode, tess::kNoColor,
                    170, mode == 3 ? opacity.DIBPtr() : nullptr, 0, 0, nullptr, 0, 0);
        tess::reference::Merge(b.DIBPtr(), 401, 90, source.DIBPtr(), 333, 77, 50, -5, mode,
                               tess::kNoColor, 170, mode == 3 ? opacity.DIBPtr() : nullptr, 0, 0,
                               nullptr, 0, 0);
        if (!same()) return false;
    }
    DIB c(333, 77), d(333, 77);
    tess::Blur(source.DIBPtr(), c.DIBPtr(), 77, 333, 1);
    tess::reference::Blur(source.DIBPtr(), d.DIBPtr(), 77, 333, 1);
    if (std::memcmp(c.DIBPtr(), d.DIBPtr(), c.BufferSize()) != 0) return false;
    std::uint32_t h1[256], h2[256];
    tess::Diff(source.DIBPtr(), opacity.DIBPtr(), c.DIBPtr(), 333, 77, h1);
    tess::reference::Diff(source.DIBPtr(), opacity.DIBPtr(), d.DIBPtr(), 333, 77, h2);
    return std::memcmp(c.DIBPtr(), d.DIBPtr(), c.BufferSize()) == 0 &&
           std::memcmp(h1, h2, sizeof h1) == 0;
}

} // namespace

int main(int argc, char** argv) {
    if (!FastKernelsMatchReference()) {
        std::fprintf(stderr, "the fast kernels differ from the reference kernels\n");
        return 1;
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
