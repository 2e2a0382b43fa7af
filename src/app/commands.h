#pragma once

// The subcommands of the command line. Each Add function registers one CLI11 subcommand
// whose callback does the work and stores the process exit status in `status`.

#include <functional>
#include <vector>

namespace CLI {
class App;
}

namespace tess {

using AddSubcommand = std::function<void(CLI::App& cli, int& status)>;

// Every subcommand the program has, in the order --help lists them.
const std::vector<AddSubcommand>& Subcommands();

} // namespace tess
