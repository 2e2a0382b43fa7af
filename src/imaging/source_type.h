#pragma once

// Where a picture item's pixels come from. The settings files and scripts keep it as its
// number; everything else uses the name.

#include <cstdint>

namespace tess {

enum class SourceType : std::int32_t {
    VideoFeed = 0,
    GraphicFile = 1,
    URLGraphic = 2, // a file the owner downloaded
    Rectangle = 3,  // a plain rectangle of the background colour
    CanvasImage = 4,
};

// A number from a file or a script, limited to the known sources.
constexpr SourceType SourceTypeFromNumber(std::int32_t number) {
    return static_cast<SourceType>(number < 0 ? 0 : number > 4 ? 4 : number);
}

} // namespace tess
