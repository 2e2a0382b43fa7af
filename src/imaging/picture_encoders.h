#pragma once

// A DIB as a PNG or WebP file, for commands that write a picture in the format its file name
// asks for. Rows go out top-down, as both formats store them.

#include "imaging/dib.h"

#include <cstdint>
#include <vector>

namespace tess {

// Empty for a DIB without pixels or when the library fails.
std::vector<std::uint8_t> EncodePng(const DIB& dib);
// Lossy at `quality` 0..100.
std::vector<std::uint8_t> EncodeWebp(const DIB& dib, int quality);

} // namespace tess
