#pragma once

// A mask picture for the motion detector: its black pixels mark parts of the view that must
// never count as motion (a tree in the wind, a road, a clock). It is read from a PNG or PGM
// file when first needed and scaled to the frame when the sizes differ.

#include "imaging/dib.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace tess {

class MotionMask {
public:
    // A new file (or "" for none) is read at the next Apply.
    void SetFileName(std::string file_name);
    const std::string& FileName() const { return file_name_; }

    // Sets the ignored channels of the difference picture to "no change" and moves their
    // counts in the histogram (when given) to the no-change level. Returns the number of
    // channels ignored; 0 without a usable mask.
    std::uint64_t Apply(DIB& difference, std::uint32_t* histogram, int feed);

private:
    bool Prepare(int width, int height, int feed);
    void BuildRuns(const DIB& mask);

    std::string file_name_;
    bool tried_ = false; // the file was read (or failed) for the current size
    int width_ = 0, height_ = 0;
    // Byte offset and length of each run of ignored channels in the bitmap's memory.
    std::vector<std::pair<std::size_t, std::size_t>> runs_;
    std::uint64_t ignored_ = 0;
};

} // namespace tess
