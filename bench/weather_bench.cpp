// Reading and accepting the station's line runs on the update loop at every poll, so it
// must stay under 50 microseconds. Reading the same file whole is measured beside it.

#include "base/atomic_file.h"
#include "weather/karvell.h"

#include <cstdio>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <fmt/format.h>

namespace {

// A station that writes every 2 seconds, starting at midnight.
std::string LineAt(int seconds) {
    return fmt::format("1.01,2024,6,21,{},{},{},5.5,12.25,{},45,80,21.5,12.30,1013.2,100.05,2.4,"
                       "0.2,6,10.5,55,11,56,12,57,0.5,3,450,10.1,22,13,8.9,0,0.8,0.1,-1.2,0.3,"
                       "0.4,0.6,20.4,300.1",
                       seconds / 3600, seconds / 60 % 60, seconds % 60, seconds % 360);
}

// Accepting a new line with everything on: derived values, the history ring and wind
// statistics over a 10-minute window (300 records).
void BM_AcceptLine(benchmark::State& state) {
    std::vector<std::string> lines;
    for (int s = 0; s < 86400; s += 2)
        lines.push_back(LineAt(s));
    auto fresh = [] {
        auto k = std::make_unique<tess::Karvell>();
        k->SetCSVEnableDatabase(true);
        k->SetCSVWindStatisticsInterval(600);
        k->SetCSVAltitude(120);
        return k;
    };
    auto k = fresh();
    std::size_t next = 0;
    for (auto _ : state) {
        if (next == lines.size()) {
            state.PauseTiming();
            k = fresh();
            next = 0;
            state.ResumeTiming();
        }
        if (k->AcceptLine(lines[next++]) != tess::CSVStatus::Accepted) state.SkipWithError("line");
    }
}
BENCHMARK(BM_AcceptLine);

const std::string kFile = "bench-weather.csv";

void BM_ReadFileWhole(benchmark::State& state) {
    tess::WriteFileAtomic(kFile, LineAt(43200) + "\r\n");
    std::string text;
    for (auto _ : state)
        benchmark::DoNotOptimize(tess::ReadWholeFile(kFile, text, 4096));
    std::remove(kFile.c_str());
}
BENCHMARK(BM_ReadFileWhole);

// The poll's whole work: open, read, check and accept the line. The last time is reset so
// that every read is accepted; the history stays off, since every line has the same time.
void BM_GetCSVData(benchmark::State& state) {
    tess::WriteFileAtomic(kFile, LineAt(43200) + "\r\n");
    tess::Karvell k;
    k.SetCSVFile(kFile);
    for (auto _ : state) {
        k.SetCSVLastTime(0);
        if (k.GetCSVData() != tess::CSVStatus::Accepted) state.SkipWithError("read");
    }
    std::remove(kFile.c_str());
}
BENCHMARK(BM_GetCSVData);

} // namespace

BENCHMARK_MAIN();
