// The station's file is written by another program while we read it: whatever the bytes,
// reading must not crash, a line that is not accepted must leave every value as it was, and
// no value may become NaN or infinite.

#include "weather/karvell.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace {

constexpr std::string_view kGoodLine =
    "1.01,2024,3,7,12,0,0,5.5,12.25,200,45,80,21.5,12.30,1013.2,100.05,2.4,0.2,6,10.5,55,11,56,"
    "12,57,0.5,3,450,10.1,22,13,8.9,0,0.8,0.1,-1.2,0.3,0.4,0.6,20.4,300.1";

bool AllFinite(const tess::WeatherRecord& record) {
    for (double v : record) {
        if (!std::isfinite(v)) return false;
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view text(reinterpret_cast<const char*>(data), size);
    tess::Karvell k;
    k.SetCSVEnableDatabase(true);
    k.SetCSVWindStatisticsInterval(600);
    k.SetCSVAltitude(500);
    k.SetCSVTemperatureUnits(1);
    k.SetCSVBarometerOffset(1.5);
    k.SetCSVTemperatureTrendThreshold(0.5);
    if (k.AcceptLine(kGoodLine) != tess::CSVStatus::Accepted) __builtin_trap();

    // Each line of the input is one poll of a file being rewritten.
    for (int polls = 0; polls < 16 && !text.empty(); ++polls) {
        const std::size_t end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);

        const tess::WeatherRecord before = k.Record();
        const std::string version_text = k.CSVDataS(1);
        if (k.AcceptLine(line) != tess::CSVStatus::Accepted &&
            (k.Record() != before || k.CSVDataS(1) != version_text)) {
            __builtin_trap();
        }
        if (!AllFinite(k.Record())) __builtin_trap();
    }
    return 0;
}
