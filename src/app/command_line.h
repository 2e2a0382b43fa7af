#pragma once

#include <string>

namespace CLI {
class App;
}

namespace tess {

// The program's command line; returns the process exit status.
int RunCommandLine(int argc, char** argv);

struct RunOptions {
    std::string portfolio;  // opened in place of the last one
    double for_seconds = 0; // 0: until SIGINT or SIGTERM
    bool save_on_quit = false;
    bool headless = false;
    bool require_web = false; // a web server that cannot listen ends the program
};

// Starts the program in the current folder and runs its event loop until it quits.
int RunProgram(const RunOptions& options);

// The options of a run: --for, --save-on-quit, --headless, --require-web.
void AddRunOptions(CLI::App& command, RunOptions& options);

} // namespace tess
