#pragma once

// The pixel kernels: plain functions over the raw pixels of DIBs (24-bit blue-green-red,
// bottom-up rows padded to 4 bytes). They never allocate and never read or write outside the
// bitmaps they are given.

#include <cstdint>

namespace tess {

// Every pixel set to a 0x00BBGGRR colour.
void Cls(std::uint8_t* pixels, int width, int height, std::uint32_t color);

} // namespace tess
