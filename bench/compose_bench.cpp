// Composing canvases: the demo's 1280 x 720 "Hill Cam" recomposed and encoded, as a whole
// frame and as a camera frame would arrive, and an update tick of a full portfolio in which
// nothing is due. bench/compose_vs_peers.sh sets these figures beside ImageMagick and ffmpeg
// doing the same picture in the same run.

#include "app/run_commands.h"
#include "document/portfolio.h"
#include "imaging/jpeg.h"
#include "imaging/text/text_renderer.h"
#include "settings/vb_date.h"
#include "time/clock.h"
#include "time/sun.h"
#include "time/time_zone.h"

#include <fcntl.h>
#include <filesystem>
#include <sstream>
#include <string>
#include <sys/stat.h>

#include <benchmark/benchmark.h>
#include <fmt/format.h>

namespace {

namespace fs = std::filesystem;

const double kNoon = tess::DateSerial(2024, 6, 21) + 0.5;

// The demo written once into a folder of its own, which the benchmarks work in.
const std::string& DemoFolder() {
    static const std::string folder = [] {
        const fs::path path = fs::temp_directory_path() / "tess-bench-compose";
        tess::DemoRequest request;
        request.dir = path.string();
        std::ostringstream err;
        if (!tess::WriteDemo(request, err)) std::fprintf(stderr, "%s", err.str().c_str());
        return path.string();
    }();
    return folder;
}

// The demo's weather cam in slot 1 of a portfolio, with a real text renderer, the station's
// sun and time zone, and the weather line of the demo.
struct DemoCanvas {
    DemoCanvas() {
        fs::current_path(DemoFolder());
        sun.SetStation(52.52, 13.405);
        zone.LoadTimeZoneLookup("timezone.txt");
        portfolio.Karvell().SetCSVFile("weather.csv");
        portfolio.Karvell().GetCSVData();
        tess::CompositionServices& services = portfolio.Composition();
        services.text_renderer = &text;
        services.tags.zone = &zone;
        tess::Canvas& canvas = portfolio.Canvas(1);
        canvas.SetFileName("hillcam.can");
        canvas.LoadFile(tess::Canvas::FileAccess::ReadOnly);
        canvas.SetEnabled(true);
        canvas.SetFixedEnabled(false); // the outputs are measured on their own
        canvas.SetSequentialEnabled(false);
        portfolio.Tick(now);
    }

    tess::Canvas& Canvas() { return portfolio.Canvas(1); }

    double now = kNoon;
    tess::Clock clock{[this] { return now; }};
    tess::TimeZone zone{clock};
    tess::Sun sun{clock, zone};
    tess::TextRenderer text;
    tess::Portfolio portfolio{sun};
};

// Every layer rebuilt from the items' finished pictures, then the JPEG at quality 80: what a
// canvas costs when something on its lowest layer changed.
void BM_RecomposeEveryLayerAndEncode(benchmark::State& state) {
    DemoCanvas demo;
    std::size_t bytes = 0;
    for (auto _ : state) {
        demo.Canvas().ForceRedraw();
        demo.portfolio.Tick(demo.now);
        bytes = tess::EncodeJpeg(demo.Canvas().ComposedDIB(), 80).size();
    }
    state.counters["jpeg_bytes"] = static_cast<double>(bytes);
}
BENCHMARK(BM_RecomposeEveryLayerAndEncode)->Unit(benchmark::kMillisecond);

// A new camera frame each time, as from a camera that rewrites its file: the JPEG decoded,
// the clock a second on (so the time is drawn again), every layer rebuilt, the JPEG encoded.
void BM_NewCameraFrameDecodeComposeEncode(benchmark::State& state) {
    DemoCanvas demo;
    tess::GraphicItem* camera = demo.Canvas().Graphic(1);
    camera->SetInterval(0);
    timespec stamp{1700000000, 0};
    for (auto _ : state) {
        ++stamp.tv_sec;
        const timespec times[2] = {stamp, stamp};
        ::utimensat(AT_FDCWD, "camera.jpg", times, 0); // a new frame, as far as anyone can tell
        demo.now += 1 / 86400.0;
        demo.portfolio.Tick(demo.now);
        benchmark::DoNotOptimize(tess::EncodeJpeg(demo.Canvas().ComposedDIB(), 80).size());
    }
}
BENCHMARK(BM_NewCameraFrameDecodeComposeEncode)->Unit(benchmark::kMillisecond);

// Only the clock changed: its layer is rebuilt from the one below, the JPEG encoded.
void BM_ClockTickComposeEncode(benchmark::State& state) {
    DemoCanvas demo;
    for (auto _ : state) {
        demo.now += 1 / 86400.0;
        demo.portfolio.Tick(demo.now);
        benchmark::DoNotOptimize(tess::EncodeJpeg(demo.Canvas().ComposedDIB(), 80).size());
    }
}
BENCHMARK(BM_ClockTickComposeEncode)->Unit(benchmark::kMillisecond);

// Twenty 320 x 240 canvases of ten texts and ten graphics each, all composed once; then ticks
// in which nothing comes due, each followed by the question of how long the timer may sleep:
// what the update timer costs an idle portfolio.
void BM_IdleTickTwentyCanvasesOfTwentyItems(benchmark::State& state) {
    fs::current_path(DemoFolder());
    tess::Clock clock{[] { return kNoon; }};
    tess::TimeZone zone{clock};
    tess::Sun sun{clock, zone};
    tess::TextRenderer text;
    tess::Portfolio portfolio{sun};
    portfolio.Composition().text_renderer = &text;
    for (int slot = 1; slot <= tess::Portfolio::kCanvasSlots; ++slot) {
        tess::Canvas& canvas = portfolio.Canvas(slot);
        canvas.SetFileName(fmt::format("idle{:02}.can", slot));
        canvas.SetEnabled(true);
        canvas.SetWidthHeight(320, 240);
        canvas.SetFixedEnabled(true);
        canvas.SetFixedRate(3600);
        for (int i = 1; i <= 10; ++i) {
            tess::TextItem& t = canvas.AddText(i);
            t.SetEnabled(true);
            t.SetText(fmt::format("<TIME> item {}", i));
            t.SetInterval(3600);
            t.SetLocationY(i * 20);
            tess::GraphicItem& g = canvas.AddGraphic(i);
            g.SetEnabled(true);
            g.SetStretchedWidth(20);
            g.SetStretchedHeight(20);
            g.SetLocationX(i * 25);
            g.SetInterval(3600);
        }
    }
    double now = kNoon;
    portfolio.Tick(now);
    for (auto _ : state) {
        now += 0.01 / 86400; // ten milliseconds on, as the timer's shortest step
        portfolio.Tick(now);
        // What the timer then asks to know how long it may sleep.
        benchmark::DoNotOptimize(portfolio.NextDue(now + 0.25 / 86400));
    }
}
BENCHMARK(BM_IdleTickTwentyCanvasesOfTwentyItems)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
