#pragma once

// What tells whether a file changed on disk without reading it: which file it is, its size and
// its time of last change.

#include <string>
#include <sys/types.h>

namespace tess {

struct FileStamp {
    bool exists = false;
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    long long mtime_ns = 0;

    bool operator==(const FileStamp&) const = default;

    // The stamp of the file at `path` now; a missing file has an empty stamp.
    static FileStamp Of(const std::string& path);
};

} // namespace tess
