#include "capture/capture_drivers.h"

#include "capture/ffmpeg_capture.h"
#include "settings/ini.h"

#include <fmt/format.h>

namespace tess {

void CaptureDrivers::LoadDeclared(const std::string& ini_path, std::vector<std::string>& problems) {
    INI ini(ini_path);
    for (int i = 0; i < kDrivers; ++i) {
        const std::string key = fmt::format("Camera{}", i);
        std::string url = ini.GetKey(kSection, key, WriteDefault::No, "");
        if (url.empty()) continue;
        std::string name = ini.GetKey(kSection, key + "Name", WriteDefault::No, "");
        Declare(i, std::move(url), std::move(name));
        const DriverEntry& entry = *entries_[i];
        if (entry.source.kind == CameraKind::Invalid)
            problems.push_back(
                fmt::format("{}: [{}] {}: {}", ini_path, kSection, key, entry.source.problem));
    }
}

void CaptureDrivers::Declare(int index, std::string url, std::string name) {
    if (index < 0 || index >= kDrivers) return;
    auto entry = std::make_unique<DriverEntry>();
    entry->source = ParseCameraUrl(url);
    entry->url = std::move(url);
    entry->name = name.empty() ? fmt::format("Camera {}", index) : std::move(name);
    entry->declared = true;
    entries_[index] = std::move(entry);
}

void CaptureDrivers::AddDevices(const std::vector<V4l2Device>& devices) {
    int index = 0;
    for (const V4l2Device& device : devices) {
        while (index < kDrivers && entries_[index])
            ++index;
        if (index == kDrivers) return;
        auto entry = std::make_unique<DriverEntry>();
        entry->url = device.path;
        entry->source = ParseCameraUrl("v4l2:" + device.path);
        entry->name = device.card_name.empty() ? device.path : device.card_name;
        entries_[index] = std::move(entry);
    }
}

const DriverEntry* CaptureDrivers::Entry(int index) const {
    return index >= 0 && index < kDrivers ? entries_[index].get() : nullptr;
}

std::string CaptureDrivers::Description(int index) const {
    const DriverEntry* entry = Entry(index);
    return entry ? entry->name : std::string();
}

std::unique_ptr<CaptureDriver> CaptureDrivers::Create(int index) const {
    const DriverEntry* entry = Entry(index);
    if (!entry) return nullptr;
    return std::make_unique<FfmpegCapture>(entry->source, frame_ready_);
}

} // namespace tess
