#include "app/quit.h"

#include "app/application.h"
#include "app/file_commands.h"
#include "app/user_interface.h"
#include "base/log.h"
#include "document/portfolio.h"

#include <exception>

namespace tess {

namespace {

template <typename Step>
void IgnoringErrors(const char* what, Step step) {
    try {
        step();
    } catch (const std::exception& e) {
        LogWarning("shutdown: {} failed: {}", what, e.what());
    }
}

} // namespace

bool RequestQuit(Application& app) {
    if (app.ShuttingDown()) return true;
    if (app.Starting()) { // Main finishes start-up first, then shuts down
        app.SetShutdownRequested(true);
        return true;
    }
    app.RaiseShutdownEvent();
    if (Portfolio* portfolio = app.CurrentPortfolio(); portfolio && portfolio->NeedSaving()) {
        Answer answer =
            app.UI().Ask("Would you like to save all files?", "Save Files?", Buttons::YesNoCancel);
        if (answer == Answer::Cancel) {
            app.SetRunning(true);
            return false;
        }
        if (answer == Answer::Yes) SaveAllProc(app, false);
    }
    app.SetRunning(false);
    RecordMainWindow(app.MainWindow(), app.Setup());
    modMain_Shutdown(app);
    app.Stop();
    return true;
}

void modMain_Shutdown(Application& app) {
    app.SetShuttingDown(true);
    UserInterface& ui = app.UI();
    IgnoringErrors("status", [&] { ui.ShowStatus("Shutting Down..."); });
    app.SetRunning(false);
    app.StopUpdateTimer();
    IgnoringErrors("saving Tessarolle.INI", [&] { SaveSetup(app.Settings(), app.Setup()); });
    IgnoringErrors("unloading the portfolio", [&] {
        if (auto portfolio = app.ReleasePortfolio()) portfolio->Unload();
    });
    IgnoringErrors("status", [&] { ui.HideStatus(); });
    IgnoringErrors("splash", [&] { ui.UnloadSplash(); });
    app.Settings() = INI();
    LogInfo("Tessarolle stopped");
}

} // namespace tess
