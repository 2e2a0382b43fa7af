#include "capture/raw_frame.h"

#include "imaging/jpeg.h"
#include "imaging/ycbcr_planes.h"

namespace tess {

bool RawFrame::DecodeMjpeg(std::span<const std::uint8_t> frame, bool keep_jpeg, int& width,
                           int& height) {
    as_jpeg = keep_jpeg && JpegForPlanes(frame, width, height);
    if (!as_jpeg) return DecodeJpegBottomUpBgr(frame, bytes, width, height);
    if (frame.data() != jpeg.data()) jpeg.assign(frame.begin(), frame.end());
    return true;
}

} // namespace tess
