#pragma once

// Small pieces the file commands share.

#include <string>
#include <string_view>

namespace tess {

class UserInterface;

// Tells the user that a settings file could not be written; the log holds the reason.
void ReportSaveFailure(UserInterface& ui, std::string_view path);
// True when the chosen file exists; otherwise the user is told and false is returned.
bool ExistingFile(UserInterface& ui, const std::string& path, std::string_view caption);
// The folder of a file, for starting a dialog there; empty when the path has none.
std::string DirectoryOf(const std::string& path);

// Another process holds the folder's lock file: the dialog's "Already Running", or on a
// terminal which process it is and what to do about it.
void ShowAlreadyRunning(UserInterface& ui, const std::string& lock_path);

} // namespace tess
