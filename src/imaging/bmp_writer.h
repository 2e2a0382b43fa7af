#pragma once

// A DIB as a 24-bit Windows bitmap file: our rows are already the file's rows (bottom-up,
// blue-green-red, padded to 4 bytes), so the file is a header and one copy of the pixels.

#include "imaging/dib.h"

#include <cstdint>
#include <vector>

namespace tess {

// Empty for a DIB without pixels.
std::vector<std::uint8_t> EncodeBmp(const DIB& dib);

} // namespace tess
