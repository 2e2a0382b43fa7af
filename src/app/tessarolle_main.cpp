#include "app/command_line.h"

#include <malloc.h>

int main(int argc, char** argv) {
    // Each camera frame passed through is transcoded in a few megabytes of coefficient arrays
    // that libjpeg takes and gives back per frame. glibc's defaults would return them to the
    // kernel every time and fault them in again, which costs more than the transcoding: keep
    // blocks up to 8 MiB (a 1080p frame's arrays) in the heap, and up to 16 MiB free there.
    mallopt(M_MMAP_THRESHOLD, 8 << 20);
    mallopt(M_TRIM_THRESHOLD, 16 << 20);
    return tess::RunCommandLine(argc, argv);
}
