#pragma once

// `tessarolle upload CANVAS`: composes a canvas file once and pushes the picture once with
// its [FTPPush] settings, printing every status step: the way to try a server's settings.
// The canvas file is only read.

#include <iosfwd>
#include <string>

namespace CLI {
class App;
}

namespace tess {

// Returns the exit status: 0 uploaded, 1 the upload failed, 2 bad input.
int RunUploadCommand(const std::string& canvas_file, std::ostream& out, std::ostream& err);

void AddUploadCommand(CLI::App& cli, int& status);

} // namespace tess
