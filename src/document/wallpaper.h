#pragma once

// The desktop background output: the canvas picture written as "TessarolleWallPaper.jpg" and
// "TessarolleWallPaper.bmp" in the program's data folder, and the JPEG handed to the desktop
// by a command: gsettings on GNOME-like desktops, feh under other X displays, or whatever the
// user configures. On a machine without a desktop the files are still written and the log
// says once that nothing applies them.

#include "imaging/dib.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace tess {

class Wallpaper {
public:
    static constexpr std::string_view kJpegName = "TessarolleWallPaper.jpg";
    static constexpr std::string_view kBmpName = "TessarolleWallPaper.bmp";
    // A configured command of "none" never applies anything.
    static constexpr std::string_view kNoCommand = "none";

    // `folder` empty: DefaultFolder(). `command` empty: DetectCommand(); otherwise a shell
    // command in which %f stands for the JPEG file.
    Wallpaper(std::string folder, std::string command);
    ~Wallpaper();
    Wallpaper(const Wallpaper&) = delete;
    Wallpaper& operator=(const Wallpaper&) = delete;

    // Writes both files (atomically), then starts the command unless the previous one still
    // runs. A file that cannot be written raises an error naming it.
    void Set(const DIB& picture, std::span<const std::uint8_t> jpeg);

    const std::string& Folder() const { return folder_; }
    const std::string& Command() const { return command_; }
    std::string JpegPath() const;
    std::string BmpPath() const;
    // Commands started so far.
    int Applied() const { return applied_; }

    // $XDG_DATA_HOME/tessarolle, or ~/.local/share/tessarolle.
    static std::string DefaultFolder();
    // How this machine's desktop takes a background, with %f for the file; empty when no
    // desktop runs here.
    static std::string DetectCommand();

private:
    bool PreviousStillRuns();
    void Apply();

    std::string folder_;
    std::string command_;
    pid_t child_ = -1;
    int applied_ = 0;
    bool told_no_desktop_ = false;
    bool told_busy_ = false;
};

} // namespace tess
