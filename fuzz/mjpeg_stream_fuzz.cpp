// A camera's MJPEG stream as FFmpeg reads it (the multipart parser) and each frame decoded
// and converted into a frame bitmap, or into YCbCr planes for every other input: no input may
// crash it or write past the frame.

#include "capture/camera_source.h"
#include "capture/ffmpeg_session.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

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
    static std::atomic<bool> planes{false};
    planes = !planes;
    session.SetPlanesWanted(&planes);
    session.Run(
        [](tess::RawFrame& frame) {
            if (frame.width <= 0 || frame.height <= 0) std::abort();
            if (frame.in_planes) {
                if (!frame.planes.Whole() || frame.planes.width != frame.width ||
                    frame.planes.height != frame.height)
                    std::abort();
            } else if (frame.Size() > frame.bytes.size()) {
                std::abort();
            }
        },
        std::chrono::steady_clock::now());
    return 0;
}
