#include "app/error_report.h"

#include "app/application.h"
#include "app/user_interface.h"
#include "base/log.h"
#include "base/version.h"

#include <cstdio>
#include <cstdlib>
#include <new>

#include <asio/io_context.hpp>
#include <fmt/format.h>

namespace tess {

std::string ErrorReportText(const ErrorSite& site, int number, std::string_view description) {
    return fmt::format("Error Detected\n"
                       "Please report this to Tessarolle technical support with this information:\n"
                       "Version: {}.{}.{}\n"
                       "Module: {}\n"
                       "Procedure: {}\n"
                       "Line #: {}\n"
                       "Error #: {}\n"
                       "Error Description: {}",
                       kVersionMajor, kVersionMinor, kVersionRevision, site.module, site.procedure,
                       site.line, number, description);
}

void ReportError(UserInterface& ui, const TessError& error) {
    std::string text = ErrorReportText(error.Site(), error.Number(), error.Description());
    LogWrite(LogLevel::Error, "Error Debug Report\n" + text);
    ui.ShowErrorReport(text);
    std::fflush(nullptr);
    std::_Exit(kExitErrorReport);
}

void RunReportingErrors(UserInterface& ui, const std::function<void()>& work) {
    try {
        work();
    } catch (const TessError& e) {
        ReportError(ui, e);
    } catch (const std::bad_alloc&) {
        ReportError(ui, TessError(ErrorNumber::OutOfMemory, "Out of memory"));
    } catch (const std::exception& e) {
        ReportError(ui, TessError(51, std::string("Internal error: ") + e.what()));
    }
}

void RunEventLoop(Application& app) {
    RunReportingErrors(app.UI(), [&] { app.Loop().run(); });
}

} // namespace tess
