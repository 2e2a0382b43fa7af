#pragma once

// The JPEG files a motion trigger writes: the frame under a fixed name, the frame under a
// time-stamped name, and the difference picture beside each. One encoder and its output
// buffer are kept between triggers.

#include "imaging/jpeg.h"

#include <string>
#include <string_view>
#include <vector>

namespace tess {

class DIB;

// The second that has begun at `date`, as the time tags show it: never rounded up.
double WholeSecond(double date);

struct MotionSaveRequest {
    bool fixed = false, sequential = false, diff = false;
    int fixed_quality = 80, sequential_quality = 80, diff_quality = 80;
    std::string fixed_file_name; // as the settings hold it ("\" allowed)
    std::string sequential_path; // a folder, as the settings hold it
    double time = 0;             // the trigger's date
    int feed = 1;                // for messages
};

class MotionSaves {
public:
    // Writes what the request asks for; a file that cannot be written is logged and the
    // others are still tried. Returns the number of files written.
    int Save(const MotionSaveRequest& request, const DIB& frame, const DIB& difference);
    // The files the last Save wrote, frames first.
    const std::vector<std::string>& LastFiles() const { return last_files_; }

    // The next sequential name in `folder` for a trigger at `time`: "YYMMDDHHMMSS", a
    // two-digit counter of triggers in the same second, ".jpg". Counts the trigger.
    std::string NextSequentialName(std::string_view folder, double time);
    // "a/b.jpg" -> "a/b.diff.jpg"; a name without "." gets ".diff.jpg".
    static std::string DiffFileName(std::string_view name);

private:
    bool WriteJpeg(const std::string& path, std::span<const std::uint8_t> bytes, int feed);

    JpegEncoder encoder_;
    std::string last_stamp_;
    int same_second_ = 0;
    std::vector<std::string> last_files_;
};

} // namespace tess
