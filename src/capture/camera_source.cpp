#include "capture/camera_source.h"

#include "base/text.h"

#include <filesystem>

namespace tess {

namespace {

constexpr const char* kNetworkTimeout = "5000000"; // microseconds: nothing blocks for long

bool StartsWith(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() && EqualsIgnoreCase(text.substr(0, prefix.size()), prefix);
}

CameraSource Invalid(std::string problem) {
    CameraSource source;
    source.problem = std::move(problem);
    return source;
}

// "size=1280x720&rate=30&format=mjpeg" after a device path.
bool AddDeviceOptions(std::string_view query, CameraSource& source) {
    while (!query.empty()) {
        const std::size_t amp = query.find('&');
        const std::string_view pair = query.substr(0, amp);
        query = amp == std::string_view::npos ? std::string_view() : query.substr(amp + 1);
        const std::size_t eq = pair.find('=');
        if (eq == std::string_view::npos) return false;
        const std::string key(pair.substr(0, eq)), value(pair.substr(eq + 1));
        if (value.empty()) return false;
        if (EqualsIgnoreCase(key, "size"))
            source.options.emplace_back("video_size", value);
        else if (EqualsIgnoreCase(key, "rate"))
            source.options.emplace_back("framerate", value);
        else if (EqualsIgnoreCase(key, "format"))
            source.options.emplace_back("input_format", EqualsIgnoreCase(value, "yuyv")
                                                            ? std::string("yuyv422")
                                                            : std::string("mjpeg"));
        else
            return false;
    }
    return true;
}

CameraSource Device(std::string_view rest) {
    CameraSource source;
    const std::size_t q = rest.find('?');
    source.kind = CameraKind::V4L2;
    source.input_format = "v4l2";
    source.address = std::string(rest.substr(0, q));
    if (q != std::string_view::npos && !AddDeviceOptions(rest.substr(q + 1), source))
        return Invalid("the device options after '?' are not size=WxH, rate=R or format=F");
    // Most webcams send MJPEG at sizes where raw frames would not fit USB 2.
    bool has_format = false;
    for (const auto& option : source.options)
        has_format |= option.first == "input_format";
    if (!has_format) source.options.emplace_back("input_format", "mjpeg");
    return source;
}

} // namespace

CameraSource ParseCameraUrl(std::string_view url_in) {
    const std::string url(Trim(url_in));
    if (url.empty()) return Invalid("the camera URL is empty");
    CameraSource source;
    source.address = url;
    if (StartsWith(url, "lavfi:")) {
        source.kind = CameraKind::TestSource;
        source.input_format = "lavfi";
        source.address = url.substr(6);
        source.paced = true;
        if (source.address.empty()) return Invalid("'lavfi:' names no test source");
    } else if (StartsWith(url, "v4l2:")) {
        return Device(std::string_view(url).substr(5));
    } else if (StartsWith(url, "/dev/video")) {
        return Device(url);
    } else if (StartsWith(url, "rtsp://")) {
        source.kind = CameraKind::Rtsp;
        source.options = {{"rtsp_transport", "tcp"}, {"timeout", kNetworkTimeout}};
    } else if (StartsWith(url, "http://") || StartsWith(url, "https://")) {
        source.kind = CameraKind::Http;
        source.options = {{"rw_timeout", kNetworkTimeout}, {"reconnect", "0"}};
    } else if (url.find("://") != std::string::npos) {
        return Invalid("'" + url + "' uses a protocol cameras do not speak (rtsp, http, https)");
    } else {
        source.kind = CameraKind::File;
        source.paced = true;
        std::error_code error;
        if (!std::filesystem::is_regular_file(url, error))
            return Invalid("the video file '" + url + "' does not exist");
    }
    return source;
}

const char* CameraKindName(CameraKind kind) {
    switch (kind) {
    case CameraKind::TestSource:
        return "test source";
    case CameraKind::File:
        return "video file";
    case CameraKind::V4L2:
        return "V4L2 webcam";
    case CameraKind::Rtsp:
        return "RTSP camera";
    case CameraKind::Http:
        return "HTTP camera";
    case CameraKind::Invalid:
        break;
    }
    return "invalid";
}

} // namespace tess
