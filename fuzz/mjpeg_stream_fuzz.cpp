// A camera's MJPEG stream as FFmpeg reads it (the multipart parser) and each frame decoded
// and converted into a frame bitmap, or for every other input kept as its JPEG, then decoded
// to YCbCr planes and transcoded with a box laid over it: no input may crash it or write
// past the frame.

#include "capture/camera_source.h"
#include "capture/ffmpeg_session.h"
#include "imaging/dib.h"
#include "imaging/jpeg.h"
#include "imaging/jpeg_transcoder.h"
#include "imaging/ycbcr_overlay.h"
#include "imaging/ycbcr_planes.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

namespace {

// A grey box over the middle of a frame of that size, as a canvas's items would lie over it.
void CheckKeptJpeg(const tess::RawFrame& frame) {
    if (frame.jpeg.empty()) std::abort();
    tess::YCbCrPlanes planes;
    if (tess::DecodeJpegToPlanes(frame.jpeg, planes) &&
        (planes.width != frame.width || planes.height != frame.height))
        std::abort();
    if (std::int64_t{frame.width} * frame.height > 640 * 480) return;
    static tess::YCbCrOverlay overlay;
    static tess::JpegTranscoder transcoder;
    if (overlay.Width() != frame.width || overlay.Height() != frame.height) {
        tess::DIB black(frame.width, frame.height), white(frame.width, frame.height);
        black.Clear(0x000000);
        white.Clear(0xFFFFFF);
        for (int y = frame.height / 4; y < frame.height / 2; ++y)
            for (int x = frame.width / 4; x < frame.width / 2; ++x)
                for (tess::DIB* dib : {&black, &white})
                    std::fill_n(dib->scanline(y) + 3 * x, 3, std::uint8_t{0x80});
        if (!overlay.Build(black, white)) std::abort();
    }
    std::vector<std::uint8_t> out;
    if (!transcoder.Transcode(frame.jpeg, overlay, 80, out)) return;
    tess::DIB decoded;
    if (!tess::DecodeJpegIntoDIB(out, decoded) || decoded.Width() != frame.width ||
        decoded.Height() != frame.height)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // FFmpeg reads files through its own protocol; a file in memory-backed /dev/shm is the
    // cheapest way in.
    static const std::string path = "/dev/shm/tess_fuzz_mjpeg_" + std::to_string(::getpid());
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (!file) return 0;
    std::fwrite(data, 1, size, file);
    std::fclose(file);

    tess::CameraSource source;
    source.kind = tess::CameraKind::File;
    source.input_format = TESS_FUZZ_FORMAT;
    source.address = path;
    std::atomic<bool> stop{false};
    tess::FfmpegSession session(source, stop);
    static std::atomic<bool> keep{false};
    keep = !keep;
    session.SetJpegWanted(&keep);
    session.Run(
        [](tess::RawFrame& frame) {
            if (frame.width <= 0 || frame.height <= 0) std::abort();
            if (frame.as_jpeg) {
                CheckKeptJpeg(frame);
            } else if (frame.Size() > frame.bytes.size()) {
                std::abort();
            }
        },
        std::chrono::steady_clock::now());
    return 0;
}
