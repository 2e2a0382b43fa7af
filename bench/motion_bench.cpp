// The motion detector's per-frame work on 720p camera-like frames: what every enabled camera
// costs on every frame it delivers.

#include "capture/motion_detect.h"
#include "imaging/jpeg.h"
#include "imaging/kernels.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

#include <benchmark/benchmark.h>

namespace {

using tess::DIB;

constexpr int kWidth = 1280, kHeight = 720, kFrames = 4;

// Gradients, a box that moves 24 pixels a frame and +-4 of sensor noise, as a camera gives.
void FillFrame(DIB& dib, int index) {
    std::mt19937 rng(static_cast<unsigned>(index) + 7);
    const int box_x = 200 + 24 * index;
    for (int y = 0; y < dib.Height(); ++y) {
        std::uint8_t* row = dib.scanline(y);
        for (int x = 0; x < dib.Width(); ++x) {
            const bool box = x >= box_x && x < box_x + 160 && y >= 300 && y < 420;
            for (int c = 0; c < 3; ++c) {
                const int base = box ? 30 + 60 * c : ((x + 2 * y) * (c + 1) / 8) % 256;
                const int noise = static_cast<int>(rng() % 9) - 4;
                row[x * 3 + c] = static_cast<std::uint8_t>(std::clamp(base + noise, 0, 255));
            }
        }
    }
}

// TESS_BENCH_FRAMES names a folder holding 720p_01.jpg .. 720p_04.jpg (bench/motion_vs_peers.sh
// makes them, as the peers' baseline does); without it the frames are drawn here.
std::array<DIB, kFrames>& Frames() {
    static std::array<DIB, kFrames> frames = [] {
        std::array<DIB, kFrames> out;
        const char* folder = std::getenv("TESS_BENCH_FRAMES");
        for (int i = 0; i < kFrames; ++i) {
            if (folder) {
                const std::string name =
                    std::string(folder) + "/720p_0" + std::to_string(i + 1) + ".jpg";
                if (tess::LoadJpegIntoDIB(name, out[i]) != tess::JpegResult::Loaded ||
                    out[i].Width() != kWidth || out[i].Height() != kHeight) {
                    std::fprintf(stderr, "%s is not a 1280 x 720 JPEG file\n", name.c_str());
                    std::exit(1);
                }
                continue;
            }
            out[i].SetWidthHeight(kWidth, kHeight);
            FillFrame(out[i], i);
        }
        return out;
    }();
    return frames;
}

void RunDiffFrames(benchmark::State& state, int blur_radius) {
    tess::MotionDetect motion;
    motion.SetEnabled(true);
    motion.SetDiffPreBlurRadius(blur_radius);
    motion.SetBrighterMotionLimit(150);
    motion.SetDarkerMotionLimit(106);
    motion.SetCoverageLimit(0.6f);
    motion.SetMotionTriggerRestInterval(60); // a trigger a minute: the saves are not measured
    motion.SetLastFrameInterval(1.0 / 15);
    auto& frames = Frames();
    int i = 0;
    for (auto _ : state) {
        motion.DiffFrames(frames[i]);
        i = (i + 1) % kFrames;
    }
    benchmark::DoNotOptimize(motion.View().coverage);
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}

void BM_DiffFrames720pBlur3x3(benchmark::State& state) {
    RunDiffFrames(state, 1);
}
BENCHMARK(BM_DiffFrames720pBlur3x3)->Unit(benchmark::kMicrosecond);

void BM_DiffFrames720pNoBlur(benchmark::State& state) {
    RunDiffFrames(state, 0);
}
BENCHMARK(BM_DiffFrames720pNoBlur)->Unit(benchmark::kMicrosecond);

// The pieces, for seeing where the time goes.
void BM_Blur3x3_720p(benchmark::State& state) {
    DIB out(kWidth, kHeight);
    for (auto _ : state)
        tess::Blur(Frames()[0].DIBPtr(), out.DIBPtr(), kHeight, kWidth, 1);
    benchmark::DoNotOptimize(out.DIBPtr()[0]);
}
BENCHMARK(BM_Blur3x3_720p)->Unit(benchmark::kMicrosecond);

void BM_DiffHistogram720p(benchmark::State& state) {
    DIB out(kWidth, kHeight);
    std::uint32_t histogram[256];
    for (auto _ : state)
        tess::Diff(Frames()[1].DIBPtr(), Frames()[0].DIBPtr(), out.DIBPtr(), kWidth, kHeight,
                   histogram);
    benchmark::DoNotOptimize(histogram[128]);
}
BENCHMARK(BM_DiffHistogram720p)->Unit(benchmark::kMicrosecond);

void BM_DiffCount720p(benchmark::State& state) {
    for (auto _ : state) {
        const tess::DiffCounts counts =
            tess::DiffCount(Frames()[1].DIBPtr(), Frames()[0].DIBPtr(), kWidth, kHeight, 106, 150);
        benchmark::DoNotOptimize(counts.count);
    }
}
BENCHMARK(BM_DiffCount720p)->Unit(benchmark::kMicrosecond);

// The floor: copying one frame.
void BM_Memcpy720p(benchmark::State& state) {
    DIB out(kWidth, kHeight);
    for (auto _ : state)
        std::memcpy(out.DIBPtr(), Frames()[0].DIBPtr(), out.BufferSize());
    benchmark::DoNotOptimize(out.DIBPtr()[0]);
}
BENCHMARK(BM_Memcpy720p)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
