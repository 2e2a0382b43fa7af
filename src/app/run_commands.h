#pragma once

// `tessarolle run PORTFOLIO [--for SECONDS]`: the program with that portfolio open.
// `tessarolle demo [--dir DIR] [--for SECONDS] [--port N]`: the embedded demo written into a
// folder and run there.

#include <iosfwd>
#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace tess {

struct DemoRequest {
    std::string dir = "demo-run";
    double for_seconds = 0; // 0: until SIGINT or SIGTERM
    std::optional<int> port;
};

// Writes the demo's files into `dir` (made when missing; earlier outputs are kept) and sets
// the web server's port when given. False, with a message, when a file could not be written.
bool WriteDemo(const DemoRequest& request, std::ostream& err);

void AddRunCommand(CLI::App& cli, int& status);
void AddDemoCommand(CLI::App& cli, int& status);

} // namespace tess
