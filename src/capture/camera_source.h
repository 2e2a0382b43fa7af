#pragma once

// What a camera URL from Tessarolle.INI asks for: the FFmpeg input format, the address it
// is given, the options it is opened with and whether it is paced (files and test sources
// play at their own rate, live cameras as fast as they send).

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tess {

enum class CameraKind { TestSource, File, V4L2, Rtsp, Http, Invalid };

struct CameraSource {
    CameraKind kind = CameraKind::Invalid;
    std::string input_format; // "" lets FFmpeg probe
    std::string address;
    std::vector<std::pair<std::string, std::string>> options;
    bool paced = false;
    std::string problem; // why an invalid URL cannot be used
};

// "lavfi:FILTER" (a test source such as testsrc2=size=640x480:rate=30), "/dev/videoN" or
// "v4l2:/dev/videoN[?size=WxH&rate=R&format=mjpeg|yuyv]", "rtsp://...", "http://..." (an
// MJPEG stream or a snapshot picture, told apart by what the camera answers), or a file.
CameraSource ParseCameraUrl(std::string_view url);

const char* CameraKindName(CameraKind kind);

} // namespace tess
