// Canvas files come from users, other programs and half-finished copies. Whatever the bytes,
// loading must not crash, and what the program writes must read back as it was written: a
// file saved twice in a row comes out the same.

#include "base/atomic_file.h"
#include "base/log.h"
#include "document/canvas.h"
#include "time/sun_times.h"

#include <cstddef>
#include <cstdint>
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

std::string LoadAndSave(const std::string& path) {
    FixedSun sun;
    tess::Canvas canvas(7, sun);
    canvas.SetFileName(path);
    canvas.LoadFile();
    canvas.SaveFile();
    std::string text;
    tess::ReadWholeFile(path, text, 64u << 20);
    return text;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    tess::LogSetStderrLevel(tess::LogLevel::Error); // bad values are expected here
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string path = [] {
        std::string folder = std::filesystem::exists("/dev/shm") ? "/dev/shm" : "/tmp";
        return folder + "/tess-fuzz-canvas-" + std::to_string(::getpid()) + ".can";
    }();
    tess::WriteFileAtomic(path, std::string_view(reinterpret_cast<const char*>(data), size));
    LoadAndSave(path); // mends what it can read
    const std::string second = LoadAndSave(path);
    const std::string third = LoadAndSave(path);
    if (second != third) __builtin_trap();
    return 0;
}
