#pragma once

// The 8 x 8 discrete cosine transform of JPEG blocks, for the blocks a transcoder must take
// apart: coefficients in natural (row by row) order, as libjpeg keeps them, and samples with
// their 128 offset, as they are in a plane.

#include <cstdint>

namespace tess {

// The samples of a block whose coefficients are quantized by `quant`, rounded and clamped
// to 0..255, written 8 to a row `stride` apart.
void InverseDct8x8(const std::int16_t* coefficients, const std::uint16_t* quant,
                   std::uint8_t* samples, int stride);

// The coefficients of 8 x 8 samples read `stride` apart, quantized by multiplying by
// `reciprocal` (1 / quantizer per coefficient) and rounding to the nearest.
void ForwardDct8x8(const std::uint8_t* samples, int stride, const float* reciprocal,
                   std::int16_t* coefficients);

// `count` blocks of coefficients (64 each, one after the other) quantized by one table,
// quantized again by another: `factor` holds old quantizer / new quantizer per coefficient.
void Requantize8x8(std::int16_t* blocks, int count, const float* factor);

} // namespace tess
