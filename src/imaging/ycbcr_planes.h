#pragma once

// A picture in a JPEG's own form: full-size luma (Y) and the blue and red chroma (Cb, Cr) at
// half the width and half the height (4:2:0), rows top-down, each plane packed without
// padding. A camera frame kept this way goes from the camera's JPEG to the stream's JPEG
// without a colour conversion either way.

#include "imaging/dib.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace tess {

struct YCbCrPlanes {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> y;  // width x height
    std::vector<std::uint8_t> cb; // ChromaWidth() x ChromaHeight()
    std::vector<std::uint8_t> cr;

    int ChromaWidth() const { return (width + 1) / 2; }
    int ChromaHeight() const { return (height + 1) / 2; }
    bool Empty() const { return width <= 0 || height <= 0; }
    // Not empty, and each plane holds the samples the size calls for.
    bool Whole() const;
    // Sizes the three planes; false (and 0 x 0) for a size a DIB could not have.
    bool Resize(int new_width, int new_height);
};

// Decodes a JPEG of 4:2:0 or 4:2:2 sampling (what cameras send) into `planes`; 4:2:2 chroma
// rows are averaged in pairs. False for other samplings, damaged data or a size beyond the
// DIB limits: the caller then decodes it the ordinary way.
bool DecodeJpegToPlanes(std::span<const std::uint8_t> bytes, YCbCrPlanes& planes);

// Whether DecodeJpegToPlanes would take the picture, judged by its header and end marker
// alone (a frame kept undecoded until it is used), and its size.
bool JpegForPlanes(std::span<const std::uint8_t> bytes, int& width, int& height);

// The planes as the bottom-up BGR rows of `dib` (sized to them), for tests and for pictures
// that must be drawn after all.
bool PlanesToDIB(const YCbCrPlanes& planes, DIB& dib);

} // namespace tess
