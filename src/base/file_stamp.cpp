#include "base/file_stamp.h"

#include <sys/stat.h>

namespace tess {

FileStamp FileStamp::Of(const std::string& path) {
    struct stat st {};
    if (path.empty() || ::stat(path.c_str(), &st) != 0) return {};
    return FileStamp{true, st.st_dev, st.st_ino, st.st_size,
                     st.st_mtim.tv_sec * 1000000000LL + st.st_mtim.tv_nsec};
}

} // namespace tess
