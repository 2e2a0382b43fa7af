// The script language's speed: three programs also written for CPython and Lua
// (bench/vbscript/, compared by vbscript_vs_peers.sh), and an empty Sub called from C++.

#include "vbscript/engine.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

#include <benchmark/benchmark.h>

namespace {

std::string Program(const char* name) {
    std::ifstream in(std::string(TESS_BENCH_DIR) + "/vbscript/" + name + ".vbs");
    std::stringstream text;
    text << in.rdbuf();
    if (text.str().empty()) throw std::runtime_error(std::string("missing program ") + name);
    return text.str();
}

void RunProgram(benchmark::State& state, const char* name) {
    const std::string source = Program(name);
    for (auto _ : state) {
        tess::vbs::Engine engine;
        engine.SetTimeBudget(std::chrono::milliseconds(60000));
        if (!engine.AddCode(source)) state.SkipWithError(engine.LastError().description.c_str());
    }
}

void BM_Fib25(benchmark::State& state) {
    RunProgram(state, "fib");
}
void BM_Loop1M(benchmark::State& state) {
    RunProgram(state, "loop");
}
void BM_Text100k(benchmark::State& state) {
    RunProgram(state, "text");
}

void BM_EmptySubCall(benchmark::State& state) {
    tess::vbs::Engine engine;
    engine.AddCode("Sub Idle\nEnd Sub\n");
    const int id = engine.FindProcedure("Idle");
    for (auto _ : state)
        benchmark::DoNotOptimize(engine.Call(id, {}));
}

void BM_SubCallTwoArguments(benchmark::State& state) {
    tess::vbs::Engine engine;
    engine.AddCode("Sub TextUpdate(canvas, index)\nEnd Sub\n");
    const int id = engine.FindProcedure("TextUpdate");
    const tess::vbs::Variant args[] = {tess::vbs::Variant::Integer(1),
                                       tess::vbs::Variant::Integer(2)};
    for (auto _ : state)
        benchmark::DoNotOptimize(engine.Call(id, args));
}

BENCHMARK(BM_Fib25)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Loop1M)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Text100k)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_EmptySubCall);
BENCHMARK(BM_SubCallTwoArguments);

} // namespace

BENCHMARK_MAIN();
