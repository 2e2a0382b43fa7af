#include "capture/frame_rate_choices.h"

namespace tess {

double RateAfterChoice(int position, double rate) {
    constexpr double kRates[] = {30, 20, 15, 10, 5, 2, 1, 1.0 / 2, 1.0 / 5, 1.0 / 10, 1.0 / 30};
    for (int i = 0; i < static_cast<int>(std::size(kRates)); ++i)
        if (position == i) rate = kRates[i];
    if (position == 9) rate = 1.0 / 60;
    return rate;
}

std::string MeasuredRateText(std::int32_t fps) {
    return fps <= 1 ? std::string("<=1 fps") : std::to_string(fps) + " fps";
}

std::string FrameSizeText(bool valid, std::int32_t width, std::int32_t height) {
    return valid ? std::to_string(width) + " x " + std::to_string(height) : std::string("N/A");
}

} // namespace tess
