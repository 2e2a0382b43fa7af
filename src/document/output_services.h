#pragma once

// What a canvas's outputs reach outside the canvas: the desktop background and the FTP
// transfer engine. Left empty, that output is not available here (a machine without a
// desktop still gets its wallpaper files; nothing uploads until an FTP engine is plugged in).

#include <functional>

namespace tess {

class DIB;
class FTPPush;
class Wallpaper;

struct OutputServices {
    Wallpaper* wallpaper = nullptr;
    // Starts one upload of the picture for the push; true when it started.
    std::function<bool(FTPPush& push, const DIB& picture)> ftp_upload;
};

} // namespace tess
