// Loading and saving the largest canvas file (101 text items and 100 graphic items, every key
// present), a portfolio of twenty such canvases, and the demo's portfolio as users first
// meet it. Reading the same file and parsing it without looking at a key is the reference
// the loads are compared with.

#include "base/atomic_file.h"
#include "document/portfolio.h"
#include "settings/ini_document.h"
#include "time/sun_times.h"

#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

#include <benchmark/benchmark.h>
#include <fmt/format.h>

namespace {

class NoSun : public tess::SunTimes {
public:
    double Sunrise() override { return 0.25; }
    double Sunset() override { return 0.75; }
};

NoSun sun;

std::string Folder() {
    static const std::string folder = [] {
        auto path = std::filesystem::temp_directory_path() / "tess-bench-documents";
        std::filesystem::create_directories(path);
        return path.string();
    }();
    return folder;
}

// A canvas whose every item exists and whose values are not the defaults, so that a load
// parses real text.
std::string FullCanvasFile(const std::string& name) {
    const std::string path = Folder() + "/" + name;
    std::filesystem::remove(path); // Google Benchmark may run the set-up more than once
    tess::Canvas canvas(1, sun);
    canvas.SetFileName(path);
    canvas.LoadFile();
    for (int i = 1; i <= tess::Canvas::kMaxText; ++i) {
        tess::TextItem& t = canvas.AddText(i);
        t.SetEnabled(true);
        t.SetText(fmt::format("Temperature [CSV14] at %H:%M on item {}", i));
        t.SetLocationX(i * 3);
        t.Schedule().SetStartSunsetOffset(i);
    }
    for (int i = 1; i <= tess::Canvas::kMaxGraphic; ++i) {
        tess::GraphicItem& g = canvas.AddGraphic(i);
        g.SetEnabled(true);
        g.SetSourceFileName(fmt::format("C:\\Webcam\\images\\picture{}.jpg", i));
        g.SetTransparentColorCount(2);
        g.SetRotationAngle(static_cast<float>(i) / 3);
    }
    canvas.SaveFile();
    return path;
}

void BM_ReadAndParseFullCanvasFile(benchmark::State& state) {
    const std::string path = FullCanvasFile("parse.can");
    for (auto _ : state) {
        std::string text;
        tess::ReadWholeFile(path, text, 64u << 20);
        tess::IniDocument doc;
        doc.Parse(text);
        benchmark::DoNotOptimize(doc);
    }
}
BENCHMARK(BM_ReadAndParseFullCanvasFile)->Unit(benchmark::kMillisecond);

void BM_LoadFullCanvas(benchmark::State& state) {
    const std::string path = FullCanvasFile("load.can");
    for (auto _ : state) {
        tess::Canvas canvas(1, sun);
        canvas.SetFileName(path);
        canvas.LoadFile();
        benchmark::DoNotOptimize(canvas.Graphic(100));
    }
    state.counters["bytes"] = static_cast<double>(std::filesystem::file_size(path));
}
BENCHMARK(BM_LoadFullCanvas)->Unit(benchmark::kMillisecond);

// Every save changes a value, so every save writes the file (atomically, with fsync).
void BM_SaveFullCanvas(benchmark::State& state) {
    tess::Canvas canvas(1, sun);
    canvas.SetFileName(FullCanvasFile("save.can"));
    canvas.LoadFile();
    int round = 0;
    for (auto _ : state) {
        canvas.Text(50)->SetLocationY(++round % 2);
        canvas.SaveFile();
    }
}
BENCHMARK(BM_SaveFullCanvas)->Unit(benchmark::kMillisecond);

void BM_LoadPortfolioOfTwentyFullCanvases(benchmark::State& state) {
    const std::string path = Folder() + "/full.por";
    {
        tess::Portfolio portfolio(sun);
        for (int slot = 1; slot <= tess::Portfolio::kCanvasSlots; ++slot) {
            portfolio.Canvas(slot).SetFileName(FullCanvasFile(fmt::format("c{}.can", slot)));
            portfolio.Canvas(slot).SetEnabled(true);
        }
        portfolio.SetFileName(path);
        portfolio.SaveFile();
    }
    for (auto _ : state) {
        tess::Portfolio portfolio(sun);
        portfolio.SetFileName(path);
        portfolio.LoadFile();
        benchmark::DoNotOptimize(portfolio.Canvas(20).Graphic(100));
    }
}
BENCHMARK(BM_LoadPortfolioOfTwentyFullCanvases)->Unit(benchmark::kMillisecond);

// The demo's files (TESS_BENCH_DEMO, or the demo folder of this source tree) copied to a
// folder of their own, where the portfolio names its canvases relative to the working
// folder, as the program runs it.
void BM_LoadDemoPortfolio(benchmark::State& state) {
    const char* from = std::getenv("TESS_BENCH_DEMO");
    const std::filesystem::path demo = Folder() + "/demo";
    std::filesystem::remove_all(demo);
    std::filesystem::copy(from ? from : TESS_DEMO_DIR, demo,
                          std::filesystem::copy_options::recursive);
    const auto back = std::filesystem::current_path();
    std::filesystem::current_path(demo);
    for (auto _ : state) {
        tess::Portfolio portfolio(sun);
        portfolio.SetFileName((demo / "demo.por").string());
        portfolio.LoadFile();
        benchmark::DoNotOptimize(portfolio.Canvas(2));
    }
    std::filesystem::current_path(back);
}
BENCHMARK(BM_LoadDemoPortfolio)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
