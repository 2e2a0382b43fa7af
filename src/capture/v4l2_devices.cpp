#include "capture/v4l2_devices.h"

#include "base/text.h"

#include <algorithm>
#include <charconv>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <linux/videodev2.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace tess {

namespace {

namespace fs = std::filesystem;

std::string FirstLine(const fs::path& file) {
    std::ifstream in(file);
    std::string line;
    std::getline(in, line);
    return std::string(TrimWhitespace(line));
}

// "video12" gives 12; anything else gives -1.
int VideoNumber(const std::string& name) {
    if (name.rfind("video", 0) != 0 || name.size() == 5) return -1;
    int number = -1;
    const char* first = name.data() + 5;
    const char* last = name.data() + name.size();
    const auto [end, error] = std::from_chars(first, last, number);
    return error == std::errc() && end == last ? number : -1;
}

} // namespace

std::vector<V4l2Device> FindV4l2Devices(const V4l2Roots& roots) {
    std::vector<V4l2Device> devices;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(roots.sysfs, error)) {
        const std::string name = entry.path().filename().string();
        const int number = VideoNumber(name);
        if (number < 0) continue;
        const fs::path index = entry.path() / "index";
        if (fs::exists(index, error) && FirstLine(index) != "0") continue;
        V4l2Device device;
        device.number = number;
        device.path = (fs::path(roots.dev) / name).string();
        if (!fs::exists(device.path, error)) continue;
        device.card_name = FirstLine(entry.path() / "name");
        devices.push_back(std::move(device));
    }
    std::sort(devices.begin(), devices.end(),
              [](const V4l2Device& a, const V4l2Device& b) { return a.number < b.number; });
    return devices;
}

std::string V4l2CurrentFormat(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return {};
    v4l2_format format{};
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    const bool ok = ::ioctl(fd, VIDIOC_G_FMT, &format) == 0;
    ::close(fd);
    if (!ok) return {};
    const std::uint32_t code = format.fmt.pix.pixelformat;
    std::string fourcc;
    for (int shift = 0; shift < 32; shift += 8)
        fourcc += static_cast<char>((code >> shift) & 0xFF);
    return fourcc + " " + std::to_string(format.fmt.pix.width) + "x" +
           std::to_string(format.fmt.pix.height);
}

} // namespace tess
