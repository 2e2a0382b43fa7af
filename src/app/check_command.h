#pragma once

// `tessarolle check PORTFOLIO [--network]`: loads the portfolio, its canvases and their
// pictures and fonts as a run would, without writing any file, and reports every problem the
// loaders find (missing files, unknown keys, fonts drawn with a stand-in, pictures that do
// not decode, a web port in use, enabled video feeds without a camera); with --network also
// URLs, FTP servers and cameras that do not answer. For use before restarting the service.

#include <iosfwd>
#include <string>

namespace CLI {
class App;
}

namespace tess {

struct CheckRequest {
    std::string portfolio;
    bool network = false;
    double network_timeout = 10; // seconds for each URL, FTP server and camera
};

// Returns the exit status: 0 no problem, kExitProblemsFound with problems (each one line on
// `out`), kExitUsage when the portfolio file is not there.
int RunCheckCommand(const CheckRequest& request, std::ostream& out, std::ostream& err);

void AddCheckCommand(CLI::App& cli, int& status);

} // namespace tess
