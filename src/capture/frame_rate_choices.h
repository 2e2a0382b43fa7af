#pragma once

// The maximum frame rate choices of the video set-up, by list position, and what choosing
// one does to a feed's Rate.

#include <array>
#include <cstdint>
#include <string>

namespace tess {

inline constexpr std::array<const char*, 12> kFrameRateChoices = {
    "30 fps", "20 fps",  "15 fps",  "10 fps",   "5 fps",    "2 fps",
    "1 fps",  "1/2 fps", "1/5 fps", "1/10 fps", "1/30 fps", "1/60 fps"};

// The choices are tested one after another, and the test that sets one a minute looks at
// position 9: "1/10 fps" thus ends at one frame a minute, and "1/60 fps" leaves the rate as
// it was. Users' saved portfolios depend on it, so it stays.
double RateAfterChoice(int position, double rate);

// The set-up's status line: the measured rate ("<=1 fps" up to one) and the frame size.
std::string MeasuredRateText(std::int32_t fps);
std::string FrameSizeText(bool valid, std::int32_t width, std::int32_t height);

} // namespace tess
