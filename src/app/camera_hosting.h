#pragma once

#include <memory>
#include <string>
#include <vector>

namespace tess {

class Application;
class CaptureDrivers;
class Portfolio;

// The capture drivers of this machine: the cameras declared in the settings file's
// [Cameras] section at their indexes, then the V4L2 webcams found. Junk in the section is
// reported in `problems`, each naming the file and the key.
std::shared_ptr<CaptureDrivers> FindCaptureDrivers(const std::string& settings_file,
                                                   std::vector<std::string>& problems);

// Gives the portfolio's video feeds the capture drivers, the program clock, the user
// interface's messages, and a wake-up of the loop when a frame comes for a grab.
void HostCameras(Application& app, Portfolio& portfolio);

} // namespace tess
