#pragma once

// `tessarolle render CANVAS -o OUT.jpg [--at TIME] [--quality Q]`: one composition of one
// canvas file at a given time, written as a JPEG file, for previews, scripts and tests. The
// canvas file and the settings are only read.

#include <iosfwd>
#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace tess {

struct RenderRequest {
    std::string canvas;
    std::string output;
    std::string at;             // "YYYY-MM-DD HH:MM:SS"; default: now
    std::optional<int> quality; // default: the canvas's FixedQuality
    std::optional<double> latitude;
    std::optional<double> longitude;
};

// Returns the exit status: 0 written, 1 the output could not be written, 2 bad input.
int RunRenderCommand(const RenderRequest& request, std::ostream& out, std::ostream& err);

void AddRenderCommand(CLI::App& cli, int& status);

} // namespace tess
