// A canvas file from fuzzed bytes, loaded and composed with its items: positions, sizes,
// rotations, opacities and shadows anywhere in their ranges must draw without fault.

#include "base/atomic_file.h"
#include "base/log.h"
#include "document/portfolio.h"
#include "imaging/picture_decoders.h"
#include "imaging/text/text_renderer.h"
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

constexpr std::int64_t kMaxArea = 1 << 20; // a megapixel: larger only repeats the same paths

// Large pictures take time and memory without reaching new code.
bool Small(tess::Canvas& canvas) {
    if (std::int64_t{canvas.Width()} * canvas.Height() > kMaxArea) return false;
    for (int i = 1; i <= tess::Canvas::kMaxGraphic; ++i) {
        const tess::GraphicItem* item = canvas.Graphic(i);
        if (item && std::int64_t{item->StretchedWidth()} * item->StretchedHeight() > kMaxArea)
            return false;
    }
    for (int i = 1; i <= tess::Canvas::kMaxText; ++i) {
        const tess::TextItem* item = canvas.Text(i);
        if (item && item->FontSize() > 200) return false;
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    tess::LogSetStderrLevel(tess::LogLevel::Error);
    tess::SetMaxPicturePixels(kMaxArea);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string path = [] {
        std::string folder = std::filesystem::exists("/dev/shm") ? "/dev/shm" : "/tmp";
        return folder + "/tess-fuzz-compose-" + std::to_string(::getpid()) + ".can";
    }();
    static tess::TextRenderer renderer;
    tess::WriteFileAtomic(path, std::string_view(reinterpret_cast<const char*>(data), size));
    FixedSun sun;
    tess::Portfolio portfolio(sun);
    portfolio.Composition().text_renderer = &renderer;
    tess::Canvas& canvas = portfolio.Canvas(1);
    canvas.SetFileName(path);
    canvas.LoadFile(tess::Canvas::FileAccess::ReadOnly);
    if (!Small(canvas)) return 0;
    canvas.SetEnabled(true);
    portfolio.Tick(45000.5);
    portfolio.Tick(45000.5 + 2.0 / 86400);
    return 0;
}
