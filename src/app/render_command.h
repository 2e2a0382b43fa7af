#pragma once

// `tessarolle render CANVAS -o OUT.jpg [--at TIME] [--quality Q] [--csv FILE]`: one
// composition of one canvas file at a given time, written as a JPEG, PNG, WebP or BMP file as
// the output's extension says, for previews, scripts and tests. The canvas file and the
// settings are only read.

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
    std::string at;             // "YYYY-MM-DD HH:MM:SS[.ff]"; default: now
    std::string csv;            // a weather station file; default: lastdata.csv when there
    std::optional<int> quality; // default: the canvas's FixedQuality
    std::optional<double> latitude;
    std::optional<double> longitude;
};

// Returns the exit status: 0 written, 1 the output could not be written, 2 bad input (a
// missing canvas file or output folder, an output extension of no supported format).
int RunRenderCommand(const RenderRequest& request, std::ostream& out, std::ostream& err);

void AddRenderCommand(CLI::App& cli, int& status);

} // namespace tess
