#include "document/wallpaper.h"

#include "base/log.h"
#include "base/text.h"
#include "document/output_files.h"
#include "imaging/bmp_writer.h"

#include <cstdlib>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace tess {

namespace {

std::string Env(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

bool OnPath(std::string_view program) {
    for (std::string_view dir : Split(Env("PATH"), ':')) {
        const std::string candidate =
            std::string(dir.empty() ? "." : dir) + "/" + std::string(program);
        if (::access(candidate.c_str(), X_OK) == 0) return true;
    }
    return false;
}

// The path in single quotes for the shell.
std::string ShellQuoted(std::string_view path) {
    return "'" + ReplaceAllCopy(path, "'", "'\\''") + "'";
}

} // namespace

Wallpaper::Wallpaper(std::string folder, std::string command)
    : folder_(folder.empty() ? DefaultFolder() : PathFromSettings(folder)),
      command_(command.empty() ? DetectCommand() : std::move(command)) {}

Wallpaper::~Wallpaper() {
    PreviousStillRuns(); // collects a finished command; a running one goes on by itself
}

std::string Wallpaper::DefaultFolder() {
    const std::string data = Env("XDG_DATA_HOME");
    if (!data.empty()) return data + "/tessarolle";
    const std::string home = Env("HOME");
    return (home.empty() ? std::string(".") : home) + "/.local/share/tessarolle";
}

std::string Wallpaper::DetectCommand() {
    const bool x11 = !Env("DISPLAY").empty(), wayland = !Env("WAYLAND_DISPLAY").empty();
    if (!x11 && !wayland) return {};
    if (OnPath("gsettings") && !Env("DBUS_SESSION_BUS_ADDRESS").empty()) {
        // Newer GNOME shows picture-uri-dark in dark mode; older ones lack the key.
        return "gsettings set org.gnome.desktop.background picture-uri file://%f; "
               "gsettings set org.gnome.desktop.background picture-uri-dark file://%f "
               "2>/dev/null; true";
    }
    if (x11 && OnPath("feh")) return "feh --no-fehbg --bg-fill %f";
    return {};
}

std::string Wallpaper::JpegPath() const {
    return folder_ + "/" + std::string(kJpegName);
}

std::string Wallpaper::BmpPath() const {
    return folder_ + "/" + std::string(kBmpName);
}

void Wallpaper::Set(const DIB& picture, std::span<const std::uint8_t> jpeg) {
    WriteOutputFile(JpegPath(), jpeg, "wallpaper picture");
    WriteOutputFile(BmpPath(), EncodeBmp(picture), "wallpaper bitmap");
    Apply();
}

bool Wallpaper::PreviousStillRuns() {
    if (child_ < 0) return false;
    int status = 0;
    const pid_t done = ::waitpid(child_, &status, WNOHANG);
    if (done == 0) return true;
    if (done == child_ && !(WIFEXITED(status) && WEXITSTATUS(status) == 0))
        LogWarning("the wallpaper command '{}' failed (status {})", command_, status);
    child_ = -1;
    return false;
}

// The command runs beside the update loop, which never waits for a desktop to answer.
void Wallpaper::Apply() {
    if (command_.empty() || command_ == kNoCommand) {
        if (!told_no_desktop_ && command_.empty())
            LogInfo("no desktop here to show the wallpaper; it is kept in '{}'", folder_);
        told_no_desktop_ = true;
        return;
    }
    if (PreviousStillRuns()) {
        if (!told_busy_) LogWarning("the wallpaper command is still running; this picture waits");
        told_busy_ = true;
        return;
    }
    told_busy_ = false;
    const std::string line = ReplaceAllCopy(command_, "%f", ShellQuoted(JpegPath()));
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    const char* argv[] = {"/bin/sh", "-c", line.c_str(), nullptr};
    pid_t pid = -1;
    const int error =
        ::posix_spawn(&pid, "/bin/sh", &actions, nullptr, const_cast<char* const*>(argv), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        LogWarning("the wallpaper command '{}' could not be started", line);
        return;
    }
    child_ = pid;
    ++applied_;
}

} // namespace tess
