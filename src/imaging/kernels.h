#pragma once

// The pixel kernels: plain functions over the raw pixels of DIBs (24-bit blue-green-red,
// bottom-up rows padded to 4 bytes). They never allocate and never read or write outside the
// bitmaps they are given. Positions in a destination are bottom-up: Y counts rows from the
// destination's bottom row to the source's bottom row. The argument lists are the ones the
// whole program calls with; the reserved arguments are passed as 0.
//
// Every kernel here has a plain twin in kernels_reference.h that the tests hold it to.

#include "imaging/transparent_color.h"

#include <cstdint>

namespace tess {

// Every pixel set to a 0x00BBGGRR colour.
void Cls(std::uint8_t* pixels, int width, int height, std::uint32_t color);

// Colour-processing codes; 1 is never offered.
enum ColorProcessing : int {
    kColorNone = 0,
    kColorGrayscale = 2,
    kColorSepia = 3,
    kColorOldPhotograph = 4,
    kColorBlueEnhancement = 5,
};
// The bitmap recoloured in place; unknown codes leave it alone.
void ColorProcess(std::uint8_t* pixels, int width, int height, int code);

// A frame of 2-byte pixels (5 bits each of red, green, blue; blue in the low bits) in rows
// padded to 4 bytes, at the start of `buffer`, widened in place to 24-bit DIB rows. The
// buffer must have room for the 24-bit result.
void DIB1624(std::uint8_t* buffer, int width, int height);

// Destination = source under a (2 radius + 1)-pixel square box filter, edges repeated.
// Radius is limited to 1..kMaxBlurRadius (the motion set-up offers up to 3, a 7 x 7 box).
// Note that the height comes before the width.
inline constexpr int kMaxBlurRadius = 6;
void Blur(const std::uint8_t* source, std::uint8_t* destination, int height, int width, int radius);

// Difference = 128 + current - previous per channel, clamped to 0..255 (128: no change,
// below: darker, above: brighter). When `histogram` is given, its 256 bins are set to how
// many channel values of the difference have each level (three counts per pixel).
void Diff(const std::uint8_t* current, const std::uint8_t* previous, std::uint8_t* difference,
          int width, int height, std::uint32_t* histogram);

// What Diff's histogram tells the motion detector, counted without writing the difference:
// how many channel levels are at or below `darker_limit` plus how many are at or above
// `brighter_limit` (both taken within 0..255), and the lowest and highest level (128 when
// none is below or above it).
struct DiffCounts {
    std::uint64_t count = 0;
    int lowest = 128;
    int highest = 128;
};
DiffCounts DiffCount(const std::uint8_t* current, const std::uint8_t* previous, int width,
                     int height, int darker_limit, int brighter_limit);

// The motion detector's per-frame work in one pass: current = frame blurred with `radius`
// (copied when below 1), then DiffCount of current against previous. The same results as Blur
// (or a copy) followed by DiffCount.
DiffCounts BlurDiffCount(const std::uint8_t* frame, std::uint8_t* current,
                         const std::uint8_t* previous, int width, int height, int radius,
                         int darker_limit, int brighter_limit);

// Source drawn rotated clockwise (as seen) into the centre of the destination: first by the
// whole quarter turns in `angle` degrees, then by the rest as three shears with 16.16 factors
// (horizontal by shear_a, vertical by shear_b, horizontal by shear_a). Destination pixels
// outside the rotated source are left as they were. Pixels are moved whole, never blended,
// so colours that mean "transparent" stay exact.
void Rotate(const std::uint8_t* source, int source_width, int source_height,
            std::uint8_t* destination, int destination_width, int destination_height, int angle,
            int shear_a, int shear_b, int reserved);

// Shadow sizes.
enum ShadowSize : int {
    kShadowSameAsImage = 1, // the shape as it is
    kShadow3x3 = 2,         // softened by a 3 x 3 box: one pixel of spread
    kShadow3x3Plus = 3,     // the 3 x 3 box twice: two pixels, softer
    kShadow4x4 = 4,         // a 4 x 4 box reaching one pixel up-left and two down-right
};
inline constexpr int kShadowSpread = 2; // the most any size reaches beyond the shape

// The shadow shape of the source drawn (written, not blended) into the shadow bitmap with the
// source at (offset_x, offset_y): a grey level per pixel, the source's visibility (0 where
// transparent, else opacity_level, weighted by the green channel of the opacity bitmap when
// one is given), spread by the shadow size. Pixels farther than the spread from the source
// are not touched.
void Shadow(std::uint8_t* shadow, int shadow_width, int shadow_height, const std::uint8_t* source,
            int source_width, int source_height, int offset_x, int offset_y, int opacity_mode,
            std::uint32_t transparent_color, int opacity_level, const std::uint8_t* opacity,
            int shadow_size, int reserved1, int reserved2, const TransparentColor* color_table,
            int color_count, int transparent_enabled);

// Opacity modes.
enum OpacityMode : int {
    kOpacityAdditive = 0, // destination + source x level, saturating (how shadows gather)
    kOpacityNegative = 1, // destination - source x level, stopping at black (how they darken)
    kOpacityMerge = 2,    // the weighted mix: 255 copies the source, 0 leaves the destination
    kOpacityPerPixel = 3, // the mix, with the level weighted by the opacity bitmap
};

// Source composited onto destination at (x, y), clipped to both bitmaps. An opacity bitmap
// (same size as the source; required for mode 3, optional for the others) weighs each
// channel by its own channel: white is opaque. Transparency: with `transparent_enabled`, a
// source pixel matching any entry of the table (within its tolerance) is not drawn; without
// it, a pixel equal to `transparent_color` is not drawn (kNoColor: none).
void Merge(std::uint8_t* destination, int destination_width, int destination_height,
           const std::uint8_t* source, int source_width, int source_height, int x, int y,
           int opacity_mode, std::uint32_t transparent_color, int opacity_level,
           const std::uint8_t* opacity, int reserved1, int reserved2,
           const TransparentColor* color_table, int color_count, int transparent_enabled);

} // namespace tess
