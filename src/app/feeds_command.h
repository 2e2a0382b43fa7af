#pragma once

// `tessarolle feeds [--wait SECONDS]`: the capture drivers 0..9 as video feeds see them,
// with their names, kinds, addresses and the size of the frames they deliver now.

#include <iosfwd>
#include <string>

namespace CLI {
class App;
}

namespace tess {

// Lists the drivers of `settings_file` and this machine to `out` (problems to `err`),
// waiting up to `wait_seconds` for each source's first frame; returns the exit status.
int RunFeedsCommand(const std::string& settings_file, double wait_seconds, std::ostream& out,
                    std::ostream& err);

void AddFeedsCommand(CLI::App& cli, int& status);

} // namespace tess
