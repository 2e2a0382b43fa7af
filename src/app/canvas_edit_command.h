#pragma once

// Building a canvas from the shell: `canvas add-text`, `canvas add-picture` and `canvas set`
// change one canvas file. The changes are written into a scratch copy of the file, the canvas
// is loaded from it as a run would load it (so every value goes through its setter and is
// kept within its range), and the canvas is then saved over the file in one step.

#include <iosfwd>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace tess {

struct KeyEdit {
    std::string section;
    std::string key;
    std::string value;
};

// Returns the exit status: 0 saved, 1 the file could not be written, 2 a missing file or a
// value the key does not take, 3 Tessarolle runs in the file's folder.
int EditCanvasFile(const std::string& command, const std::string& file,
                   const std::vector<KeyEdit>& edits, std::ostream& out, std::ostream& err);

// The section of the first item index free in the file: "Text004", "Graphic001"; empty when
// every index is taken.
std::string FreeItemSection(const std::string& file, const std::string& prefix, int max_index);

// Adds add-text, add-picture and set to the `canvas` command.
void AddCanvasEditCommands(CLI::App& canvas, int& status);

} // namespace tess
