#pragma once

// `tessarolle tags TEXT [--at TIME] [--csv FILE] [--lat D --lon D]`: the text with its tags
// expanded, so that users can try their tags without building a canvas.

#include <iosfwd>
#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace tess {

struct TagsRequest {
    std::string text;
    std::string at;                  // "YYYY-MM-DD HH:MM:SS"; default: now
    std::string csv;                 // a station file; default: lastdata.csv when there
    std::optional<double> latitude;  // default: StationLatitude in Tessarolle.INI
    std::optional<double> longitude; // default: StationLongitude
};

// Prints the expanded text to `out` (errors to `err`); returns the exit status.
int RunTagsCommand(const TagsRequest& request, std::ostream& out, std::ostream& err);

void AddTagsCommand(CLI::App& cli, int& status);

} // namespace tess
