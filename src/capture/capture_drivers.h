#pragma once

// The capture drivers 0..9 that video feeds are opened on. The cameras declared in
// Tessarolle.INI, section [Cameras] (`Camera3=rtsp://...`, `Camera3Name=Gate`), take the
// indexes they name; the V4L2 devices found fill the free ones in /dev/videoN order, named by
// their card names, so a declared camera keeps its index when a webcam is plugged in.

#include "capture/camera_source.h"
#include "capture/capture_driver.h"
#include "capture/v4l2_devices.h"

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tess {

// What a video feed asks of the machine's drivers.
class DriverCatalog {
public:
    virtual ~DriverCatalog() = default;
    // The driver's description as it names itself; "" for an index without a driver.
    virtual std::string Description(int index) const = 0;
    // A new, unconnected driver for the index; null when there is none.
    virtual std::unique_ptr<CaptureDriver> Create(int index) const = 0;
};

struct DriverEntry {
    std::string url; // as declared, or the device path
    std::string name;
    CameraSource source;
    bool declared = false; // from [Cameras] rather than found
};

class CaptureDrivers : public DriverCatalog {
public:
    static constexpr int kDrivers = 10;
    static constexpr const char* kSection = "Cameras";

    // Reads [Cameras] of the settings file. Junk is reported in `problems`, each naming the
    // file and the key; the camera is still listed, and fails when opened.
    void LoadDeclared(const std::string& ini_path, std::vector<std::string>& problems);
    void Declare(int index, std::string url, std::string name);
    // Puts the devices in the indexes still free, in the order given.
    void AddDevices(const std::vector<V4l2Device>& devices);

    // Called on a reader thread when a frame arrives for an outstanding grab.
    void SetFrameReady(std::function<void()> frame_ready) { frame_ready_ = std::move(frame_ready); }

    const DriverEntry* Entry(int index) const;
    std::string Description(int index) const override;
    std::unique_ptr<CaptureDriver> Create(int index) const override;

private:
    std::array<std::unique_ptr<DriverEntry>, kDrivers> entries_;
    std::function<void()> frame_ready_;
};

} // namespace tess
