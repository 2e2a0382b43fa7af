#pragma once

#include <cstdint>

namespace tess {

// One entry of a graphic item's transparent-colour table. Camera pictures are JPEG and never
// repeat a colour exactly, so each entry carries a tolerance: a source pixel is transparent
// when each of its channels lies within `tolerance` of the entry's colour (0: exact match).
struct TransparentColor {
    std::uint32_t color = 0; // 0x00BBGGRR, red in the low byte
    std::uint8_t tolerance = 0;
};

// Stands for "no colour" wherever a single transparent colour is passed.
inline constexpr std::uint32_t kNoColor = 0x1000000;

} // namespace tess
