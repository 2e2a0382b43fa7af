#pragma once

// Bitmap helpers for the imaging tests: random pictures, pixel access, files made by other
// programs.

#include "imaging/dib.h"

#include <cstdint>
#include <random>
#include <string>

namespace tess::test {

struct Bgr {
    std::uint8_t b = 0, g = 0, r = 0;
    bool operator==(const Bgr&) const = default;
};

Bgr PixelAt(const DIB& dib, int x, int y); // (x, y) from the top-left corner
void SetPixel(DIB& dib, int x, int y, Bgr color);

// Every pixel byte random; the row pads too, so that code reading them would show.
void FillRandom(DIB& dib, std::mt19937& rng);
// Pixels drawn from a small palette, so colour-table matches happen often.
void FillFromPalette(DIB& dib, std::mt19937& rng, const std::uint32_t* colors, int count);

// True when both have the same size and the same pixels (pads ignored).
bool SamePixels(const DIB& a, const DIB& b);
// Mean absolute difference over all channels of two same-sized bitmaps.
double MeanAbsDifference(const DIB& a, const DIB& b);

// Reads a binary PPM (P6, maxval 255) into a DIB; false when the file is not one.
bool ReadPpm(const std::string& path, DIB& dib);
// Writes a DIB as a binary PPM, the format every image program reads.
void WritePpm(const std::string& path, const DIB& dib);

// A bitmap of one colour, given as the kernels take it (0x00BBGGRR).
DIB Solid(int width, int height, std::uint32_t color);

// The bounding box of the pixels that are not black: where a merge drew.
struct Box {
    int left = 1 << 30, top = 1 << 30, right = -1, bottom = -1;
    bool operator==(const Box&) const = default;
};
Box LitBox(const DIB& dib);

// A smooth picture (gradients and soft shapes) that a lossy codec keeps well.
void FillSmooth(DIB& dib);

} // namespace tess::test
