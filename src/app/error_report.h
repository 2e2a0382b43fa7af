#pragma once

// The error report: a failure that escapes to the event loop is shown as the "Error Debug
// Report" block on stderr, in the log and through the user interface, and the program then
// ends at once, without shutdown and without saving, so nothing half-done is written.

#include "app/exit_status.h"
#include "base/error.h"

#include <functional>
#include <string>
#include <string_view>

namespace tess {

class Application;
class UserInterface;

std::string ErrorReportText(const ErrorSite& site, int number, std::string_view description);
[[noreturn]] void ReportError(UserInterface& ui, const TessError& error);

// Runs `work`; a failure that escapes it ends in the error report.
void RunReportingErrors(UserInterface& ui, const std::function<void()>& work);

// Runs the event loop until it is stopped; every failure ends in the error report.
void RunEventLoop(Application& app);

} // namespace tess
