#pragma once

// A capture driver whose frames the test hands over, for the feed's own rules: the grab
// rule, frame counting and conversion. The FFmpeg backends are tested on real streams.

#include "capture/capture_drivers.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tess {

struct ScriptedCamera {
    int connect_failures = 0; // Connect refuses this many times first
    int connects = 0;
    int requests = 0;
    bool pending = false;
    int width = 0, height = 0;
    std::vector<std::uint8_t> frame; // delivered at the next DeliverFrame after a request
    bool has_frame = false;
    std::uint32_t buffer_length = 0; // 0: the frame's size
    // When set, the same frame as a JPEG: it is delivered undecoded while the feed wants it,
    // as the MJPEG cameras do.
    std::vector<std::uint8_t> jpeg;
    bool jpeg_wanted = false;
    int jpegs_delivered = 0;
};

class ScriptedDriver : public CaptureDriver {
public:
    explicit ScriptedDriver(ScriptedCamera& camera) : camera_(camera) {}
    bool Connect() override {
        ++camera_.connects;
        if (camera_.connect_failures > 0) {
            --camera_.connect_failures;
            return false;
        }
        return true;
    }
    void Disconnect() override {}
    void Status(int& width, int& height) const override {
        width = camera_.width;
        height = camera_.height;
    }
    VideoFormat Format() const override { return {}; }
    void RequestFrame() override {
        ++camera_.requests;
        camera_.pending = true;
    }
    bool DeliverFrame(const FrameCallback& callback) override {
        if (!camera_.pending || !camera_.has_frame) return false;
        camera_.pending = false;
        camera_.has_frame = false;
        VideoHeader header;
        header.bytes_used = static_cast<std::uint32_t>(camera_.frame.size());
        header.buffer_length = camera_.buffer_length ? camera_.buffer_length : header.bytes_used;
        if (camera_.jpeg_wanted && !camera_.jpeg.empty()) {
            jpeg_ = camera_.jpeg;
            header.jpeg = &jpeg_;
            ++camera_.jpegs_delivered;
        } else {
            header.data = camera_.frame.data();
        }
        callback(header);
        return true;
    }
    void SetJpegWanted(bool wanted) override { camera_.jpeg_wanted = wanted; }
    std::string StateText() const override { return "receiving frames"; }

private:
    ScriptedCamera& camera_;
    std::vector<std::uint8_t> jpeg_;
};

class ScriptedCatalog : public DriverCatalog {
public:
    std::array<std::string, 10> names;
    std::array<ScriptedCamera, 10> cameras;

    std::string Description(int index) const override {
        return index >= 0 && index < 10 ? names[index] : std::string();
    }
    std::unique_ptr<CaptureDriver> Create(int index) const override {
        if (Description(index).empty()) return nullptr;
        return std::make_unique<ScriptedDriver>(const_cast<ScriptedCamera&>(cameras[index]));
    }
};

} // namespace tess
