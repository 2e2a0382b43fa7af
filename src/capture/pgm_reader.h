#pragma once

// Binary grey maps ("P5"), the simplest format to draw a mask in by script. 8- and 16-bit
// samples, scaled to 0..255. Never throws: bad bytes give a status.

#include "imaging/picture_decoders.h"

namespace tess {

PictureStatus DecodePgm(Bytes file, DIB& pixels);
bool IsPgm(Bytes file);

} // namespace tess
