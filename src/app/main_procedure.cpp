#include "app/main_procedure.h"

#include "app/application.h"
#include "app/quit.h"
#include "app/user_interface.h"
#include "base/log.h"
#include "settings/numbers.h"

namespace tess {

int Main(Application& app) {
    UserInterface& ui = app.UI();
    app.SetRunning(true);
    app.SetStarting(true);
    if (!app.Lock().Acquire(app.PathInDirectory("Tessarolle.lock"))) {
        ui.ShowMessage("There is already an instance of Tessarolle running.", "Already Running");
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
    app.Zone().LoadTimeZoneLookup(app.PathInDirectory("timezone.txt"));
    app.MainWindow() = PlanMainWindow(app.Setup());
    ui.RedrawSplash();
    ui.CloseSplash();
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
