#pragma once

// `tessarolle script FILE [--call NAME [ARG...]] [--timeout SECONDS]`: runs a VBScript file
// so that users can try their scripts. MsgBox writes its text to standard output, one line
// per call; a compile or run-time error is reported on standard error with its number, line
// and column, and the exit status is 1.

#include <iosfwd>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace tess {

struct ScriptRequest {
    std::string file;
    std::vector<std::string> call; // the procedure's name, then its arguments
    double timeout = 5.0;          // seconds for each call into the script
};

int RunScriptCommand(const ScriptRequest& request, std::ostream& out, std::ostream& err);

void AddScriptCommand(CLI::App& cli, int& status);

} // namespace tess
