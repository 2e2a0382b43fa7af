#include "app/file_command_support.h"

#include "app/instance_lock.h"
#include "app/user_interface.h"
#include "base/text.h"

#include <filesystem>

#include <fmt/format.h>

namespace tess {

void ReportSaveFailure(UserInterface& ui, std::string_view path) {
    ui.ShowMessage(fmt::format("The file \"{}\" could not be written; the log says why.", path),
                   "Save Failed");
}

bool ExistingFile(UserInterface& ui, const std::string& path, std::string_view caption) {
    std::error_code ec;
    if (std::filesystem::is_regular_file(PathFromSettings(path), ec)) return true;
    ui.ShowMessage(fmt::format("The file \"{}\" does not exist.", path), caption);
    return false;
}

std::string DirectoryOf(const std::string& path) {
    return std::filesystem::path(PathFromSettings(path)).parent_path().string();
}

void ShowAlreadyRunning(UserInterface& ui, const std::string& lock_path) {
    const int pid = InstanceLock::HolderPid(lock_path);
    const std::string process = pid > 0 ? fmt::format(" (process {})", pid) : std::string();
    ui.ShowMessage("There is already an instance of Tessarolle running.",
                   fmt::format("Tessarolle is running in this folder{}: stop it first, or edit the "
                               "files and send it SIGHUP",
                               process),
                   "Already Running");
}

} // namespace tess
