#pragma once

// `tessarolle sun [--lat D] [--lon D] [--date YYYY-MM-DD]`: the station's sunrise and sunset,
// so that users can check the times their schedules will use.

#include <iosfwd>
#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace tess {

struct SunRequest {
    std::optional<double> latitude;  // default: StationLatitude in Tessarolle.INI
    std::optional<double> longitude; // default: StationLongitude
    std::string date;                // default: today
};

// Prints the report to `out` (errors to `err`); returns the exit status.
int RunSunCommand(const SunRequest& request, std::ostream& out, std::ostream& err);

void AddSunCommand(CLI::App& cli, int& status);

} // namespace tess
