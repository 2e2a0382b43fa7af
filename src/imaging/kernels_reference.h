#pragma once

// Plain twins of the kernels in kernels.h: the same arguments and results, written one pixel
// at a time in the most obvious way. They exist to check the fast kernels against (tests and
// benchmarks) and are not used by the program. Unlike the fast ones, they may allocate.

#include "imaging/kernels.h"
#include "imaging/transparent_color.h"

#include <cstdint>

namespace tess::reference {

void Cls(std::uint8_t* pixels, int width, int height, std::uint32_t color);
void ColorProcess(std::uint8_t* pixels, int width, int height, int code);
void DIB1624(std::uint8_t* buffer, int width, int height);
void Blur(const std::uint8_t* source, std::uint8_t* destination, int height, int width, int radius);
void Diff(const std::uint8_t* current, const std::uint8_t* previous, std::uint8_t* difference,
          int width, int height, std::uint32_t* histogram);
DiffCounts DiffCount(const std::uint8_t* current, const std::uint8_t* previous, int width,
                     int height, int darker_limit, int brighter_limit);
void Rotate(const std::uint8_t* source, int source_width, int source_height,
            std::uint8_t* destination, int destination_width, int destination_height, int angle,
            int shear_a, int shear_b, int reserved);
void Shadow(std::uint8_t* shadow, int shadow_width, int shadow_height, const std::uint8_t* source,
            int source_width, int source_height, int offset_x, int offset_y, int opacity_mode,
            std::uint32_t transparent_color, int opacity_level, const std::uint8_t* opacity,
            int shadow_size, int reserved1, int reserved2, const TransparentColor* color_table,
            int color_count, int transparent_enabled);
void Merge(std::uint8_t* destination, int destination_width, int destination_height,
           const std::uint8_t* source, int source_width, int source_height, int x, int y,
           int opacity_mode, std::uint32_t transparent_color, int opacity_level,
           const std::uint8_t* opacity, int reserved1, int reserved2,
           const TransparentColor* color_table, int color_count, int transparent_enabled);

} // namespace tess::reference
