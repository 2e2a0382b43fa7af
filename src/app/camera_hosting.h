#pragma once

#include "capture/capture_drivers.h"

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace tess {

class Application;
class Portfolio;

// The capture drivers of this machine: the cameras declared in the settings file's
// [Cameras] section at their indexes, then the V4L2 webcams found. Junk in the section is
// reported in `problems`, each naming the file and the key.
std::shared_ptr<CaptureDrivers> FindCaptureDrivers(const std::string& settings_file,
                                                   std::vector<std::string>& problems);

// What one camera delivered when asked for a frame.
struct CameraProbe {
    bool frame = false;
    std::string text; // the frame's size and depth, or why there is none
};
using CameraProbes = std::array<CameraProbe, CaptureDrivers::kDrivers>;

// Opens each driver of `wanted` at once and waits up to `wait_seconds` in all for a frame
// from each, so that the wait is paid only once.
CameraProbes ProbeCameras(const CaptureDrivers& drivers, double wait_seconds,
                          const std::array<bool, CaptureDrivers::kDrivers>& wanted);

// Gives the portfolio's video feeds the capture drivers, the program clock, the user
// interface's messages, and a wake-up of the loop when a frame comes for a grab.
void HostCameras(Application& app, Portfolio& portfolio);

// SIGHUP: [Cameras] and the webcams are looked at again. Feeds whose camera changed are
// closed, for the portfolio's reload to open them again on the new one; the others go on
// with the frames they have.
void ReloadCameras(Application& app, Portfolio& portfolio);

} // namespace tess
