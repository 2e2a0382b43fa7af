#include "capture/raw_frame.h"

#include "imaging/jpeg.h"

namespace tess {

bool RawFrame::DecodeMjpeg(std::span<const std::uint8_t> jpeg, bool want_planes, int& width,
                           int& height) {
    in_planes = want_planes && DecodeJpegToPlanes(jpeg, planes);
    if (!in_planes) return DecodeJpegBottomUpBgr(jpeg, bytes, width, height);
    width = planes.width;
    height = planes.height;
    return true;
}

} // namespace tess
