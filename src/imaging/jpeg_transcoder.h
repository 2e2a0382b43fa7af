#pragma once

// A camera's JPEG with an overlay laid over it, re-encoded without decoding the whole picture:
// the frame's quantized blocks are read as they are, only the blocks the overlay changes are
// taken back to samples, overlaid and transformed again, every block is quantized for the
// output quality, and the blocks are entropy-coded anew. Most of a webcam picture is the
// frame itself, so most blocks never leave the frequency domain.

#include "imaging/ycbcr_overlay.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace tess {

class JpegTranscoder {
public:
    JpegTranscoder();
    ~JpegTranscoder();
    JpegTranscoder(const JpegTranscoder&) = delete;
    JpegTranscoder& operator=(const JpegTranscoder&) = delete;

    // The JPEG of `jpeg` with `overlay` laid over it, at `quality` (1..100, the libjpeg
    // scale), in `out`. False, with `out` empty, for a picture this cannot take: not 8-bit
    // YCbCr 4:2:0, not the overlay's size, damaged (any warning counts) or unreadable. The
    // caller then decodes it the ordinary way.
    bool Transcode(std::span<const std::uint8_t> jpeg, const YCbCrOverlay& overlay, int quality,
                   std::vector<std::uint8_t>& out);

private:
    struct Codec;
    std::unique_ptr<Codec> codec_;
};

} // namespace tess
