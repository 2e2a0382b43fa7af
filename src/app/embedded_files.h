#pragma once

// Files the program carries inside itself, such as the demo's.

#include <span>
#include <string_view>
#include <vector>

namespace tess {

struct EmbeddedFile {
    std::string_view name; // relative, with "/" between folders
    std::span<const unsigned char> bytes;
};

// The demo folder: portfolio, canvases, pictures, station file and web page.
const std::vector<EmbeddedFile>& DemoFiles();

} // namespace tess
