#include "app/main_procedure.h"

#include "app/application.h"
#include "app/file_command_support.h"
#include "app/portfolio_hosting.h"
#include "app/quit.h"
#include "app/user_interface.h"
#include "base/log.h"
#include "document/portfolio.h"
#include "settings/numbers.h"

namespace tess {

namespace {

// The portfolio open at the last shutdown comes back when the user wants it to.
// A portfolio named on the command line is opened whatever AutoLoad says, and becomes the
// last one, as opening it from the File menu would.
void ReopenLastPortfolio(Application& app) {
    UserInterface& ui = app.UI();
    AppSettings& setup = app.Setup();
    if (!app.StartPortfolio().empty()) setup.LastPortfolio = app.StartPortfolio();
    if (setup.LastPortfolio.empty() || (!setup.AutoLoad && app.StartPortfolio().empty())) {
        ui.CloseSplash();
        return;
    }
    auto portfolio = std::make_unique<Portfolio>(app.StationSun());
    portfolio->SetFileName(setup.LastPortfolio);
    HostPortfolio(app, *portfolio);
    ui.CloseSplash();
    ui.ShowStatus("Loading...");
    portfolio->LoadFile();
    ui.HideStatus();
    app.SetCurrentPortfolio(std::move(portfolio));
}

} // namespace

int Main(Application& app) {
    UserInterface& ui = app.UI();
    app.SetRunning(true);
    app.SetStarting(true);
    if (!app.Lock().Acquire(app.PathInDirectory("Tessarolle.lock"))) {
        ShowAlreadyRunning(ui, app.PathInDirectory("Tessarolle.lock"));
        app.SetRunning(false);
        app.SetStarting(false);
        return kExitAlreadyRunning;
    }
    ui.ShowSplash();
    InitNumberFormat();
    app.SetShutdownRequested(false);
    app.Settings().SetFile(app.PathInDirectory("Tessarolle.INI"));
    LoadSetup(app.Settings(), app.Setup());
    app.StationSun().SetStation(app.Setup().StationLatitude, app.Setup().StationLongitude);
    app.StationSun().SetUnsetStationNotice([] {
        LogWarning("sun times are asked for with the station at latitude 0, longitude 0 (the "
                   "default): they are the Gulf of Guinea's. Set the station with 'tessarolle "
                   "station --lat D --lon D'");
    });
    app.Zone().LoadTimeZoneLookup(app.PathInDirectory("timezone.txt"));
    app.MainWindow() = PlanMainWindow(app.Setup());
    ui.RedrawSplash();
    ReopenLastPortfolio(app);
    ui.UnloadSplash();
    app.StartUpdateTimer();
    app.SetStarting(false);
    LogInfo("Tessarolle started in '{}'", app.Directory());
    if (app.ShutdownRequested()) {
        app.SetRunning(false);
        modMain_Shutdown(app);
        app.Stop();
    }
    return 0;
}

} // namespace tess
