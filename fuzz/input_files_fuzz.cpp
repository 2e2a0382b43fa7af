// The files the program reads at start-up and on its ticks, each loaded from fuzzed bytes:
// none may crash, hang or take memory without bound. One target per kind of file, chosen at
// build time, so each corpus stays in its own format.

#include "app/app_setup.h"
#include "base/atomic_file.h"
#include "base/log.h"
#include "document/portfolio.h"
#include "imaging/text/font_cache.h"
#include "settings/ini.h"
#include "time/clock.h"
#include "time/sun_times.h"
#include "time/time_zone.h"
#include "weather/karvell.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <unistd.h>

namespace {

class FixedSun : public tess::SunTimes {
public:
    double Sunrise() override { return 0.25; }
    double Sunset() override { return 0.75; }
};

// Each input is loaded in a folder of its own, so that names in a fuzzed file (a portfolio's
// canvas files) can only reach files there. The fuzzer's own folders are named relative to
// where it started, so the folder is left again after each input.
const std::string& WorkFolder() {
    static const std::string folder = [] {
        std::string base = std::filesystem::exists("/dev/shm") ? "/dev/shm" : "/tmp";
        std::string path = base + "/tess-fuzz-inputs-" + std::to_string(::getpid());
        std::filesystem::create_directories(path);
        return path;
    }();
    return folder;
}

class InWorkFolder {
public:
    InWorkFolder() : before_(std::filesystem::current_path()) {
        std::filesystem::current_path(WorkFolder());
    }
    ~InWorkFolder() { std::filesystem::current_path(before_); }

private:
    std::filesystem::path before_;
};

std::string_view Text(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

[[maybe_unused]] void Portfolio(std::string_view bytes) {
    // Paths that leave the work folder are not the loader's business to refuse; the fuzzer
    // must not write defaults into files elsewhere on the machine.
    if (bytes.find_first_of("/\\") != std::string_view::npos) return;
    tess::WriteFileAtomic("site.por", bytes);
    FixedSun sun;
    tess::Portfolio portfolio(sun);
    portfolio.SetFileName("site.por");
    portfolio.LoadFile();
    portfolio.SaveFile();
    for (const auto& entry : std::filesystem::directory_iterator("."))
        std::filesystem::remove_all(entry.path());
}

[[maybe_unused]] void Setup(std::string_view bytes) {
    tess::WriteFileAtomic("Tessarolle.INI", bytes);
    tess::INI ini("Tessarolle.INI");
    tess::AppSettings settings;
    tess::LoadSetup(ini, settings);
    tess::SaveSetup(ini, settings);
}

// A record that loads saves to the same text and loads again the same.
[[maybe_unused]] void LastData(std::string_view bytes) {
    tess::WriteFileAtomic("lastdata.csv", bytes);
    tess::Karvell k;
    k.SetLastDataPath("lastdata.csv");
    if (!k.LoadLastData()) return;
    if (!k.SaveLastData()) __builtin_trap();
    std::string first, second;
    tess::ReadWholeFile("lastdata.csv", first, 1u << 20);
    tess::Karvell again;
    again.SetLastDataPath("lastdata.csv");
    if (!again.LoadLastData() || !again.SaveLastData()) __builtin_trap();
    tess::ReadWholeFile("lastdata.csv", second, 1u << 20);
    if (first != second) __builtin_trap();
}

[[maybe_unused]] void TimeZoneTable(std::string_view bytes) {
    tess::WriteFileAtomic("timezone.txt", bytes);
    tess::Clock clock;
    clock.SetFixed(45000.5);
    tess::TimeZone zone(clock);
    zone.LoadTimeZoneLookup("timezone.txt");
    zone.ConvertedTimeZone();
}

// The cache is read only when its first two lines match the fonts installed now, so the
// fuzzed bytes follow the two lines the program itself writes.
[[maybe_unused]] void FontCacheFile(std::string_view bytes) {
    static const std::string head = [] {
        tess::FontCache made("fonts.cache");
        made.Store(tess::FontCache::Key("seed", false, false), {});
        std::string text;
        tess::ReadWholeFile("fonts.cache", text, 1u << 20);
        const std::size_t second_line = text.find('\n', text.find('\n') + 1);
        return text.substr(0, second_line + 1);
    }();
    tess::WriteFileAtomic("fonts.cache", head + std::string(bytes));
    tess::FontCache cache("fonts.cache");
    cache.Find(tess::FontCache::Key("Arial", true, false));
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    tess::LogSetStderrLevel(tess::LogLevel::Error); // bad values are expected here
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    InWorkFolder in_folder;
    TESS_FUZZ_INPUT(Text(data, size));
    return 0;
}
