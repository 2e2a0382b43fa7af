#pragma once

// The V4L2 capture devices of the machine, found through sysfs: each /dev/videoN whose
// sysfs entry is the device's first node (webcams also offer a metadata node), named by the
// card name the driver reports, in N order. The roots can be moved so that a fake device
// tree stands in for a machine without cameras.

#include <string>
#include <vector>

namespace tess {

struct V4l2Device {
    int number = 0;        // N of /dev/videoN
    std::string path;      // under the device root
    std::string card_name; // "" when the driver gives none
};

struct V4l2Roots {
    std::string dev = "/dev";
    std::string sysfs = "/sys/class/video4linux";
};

std::vector<V4l2Device> FindV4l2Devices(const V4l2Roots& roots = {});

// The device's current capture format ("MJPG 1280x720"), or "" when it cannot be asked.
std::string V4l2CurrentFormat(const std::string& path);

} // namespace tess
