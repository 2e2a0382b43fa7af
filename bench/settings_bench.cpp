// Loading and saving a settings file the size of a full canvas file: about 9,000 keys in
// 205 sections, every key read with write-default on, then every key written.

#include "base/atomic_file.h"
#include "settings/ini.h"

#include <filesystem>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

namespace {

struct Key {
    std::string section, key, value;
};

std::vector<Key> CanvasSizedKeys() {
    std::vector<Key> keys;
    for (int s = 0; s < 205; ++s) {
        std::string section = s < 101 ? "Text" + std::to_string(s) : "Graphic" + std::to_string(s);
        for (int k = 0; k < 44; ++k) {
            keys.push_back({section, "SomeSettingName" + std::to_string(k),
                            k % 3 ? std::to_string(k * 37) : "C:\\Webcam\\images\\file.jpg"});
        }
    }
    return keys;
}

void BM_LoadThenSaveCanvasSizedFile(benchmark::State& state) {
    const std::vector<Key> keys = CanvasSizedKeys();
    const std::string path = std::filesystem::temp_directory_path() / "tess-bench-settings.can";
    {
        tess::INI ini(path);
        tess::IniBatch batch(ini);
        for (const Key& k : keys)
            ini.SetKey(k.section, k.key, k.value);
    }
    int round = 0;
    for (auto _ : state) {
        tess::INI ini(path);
        {
            tess::IniBatch load(ini);
            for (const Key& k : keys)
                benchmark::DoNotOptimize(
                    ini.GetKey(k.section, k.key, tess::WriteDefault::Yes, "0"));
        }
        {
            tess::IniBatch save(ini);
            const std::string suffix = (++round % 2) ? "1" : "2"; // every value changes
            for (const Key& k : keys)
                ini.SetKey(k.section, k.key, k.value + suffix);
        }
    }
    state.counters["keys"] = static_cast<double>(keys.size());
    std::filesystem::remove(path);
}
BENCHMARK(BM_LoadThenSaveCanvasSizedFile)->Unit(benchmark::kMillisecond);

void BM_GetKeyOutsideBatch(benchmark::State& state) {
    const std::string path = std::filesystem::temp_directory_path() / "tess-bench-one.ini";
    tess::INI ini(path);
    ini.SetKey("General", "AutoLoad", "True");
    for (auto _ : state)
        benchmark::DoNotOptimize(ini.GetKey("General", "AutoLoad", tess::WriteDefault::Yes, "x"));
    std::filesystem::remove(path);
}
BENCHMARK(BM_GetKeyOutsideBatch)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
