#include "app/portfolio_hosting.h"

#include "app/application.h"
#include "app/camera_hosting.h"
#include "app/web_hosting.h"
#include "document/portfolio.h"

namespace tess {

void HostPortfolio(Application& app, Portfolio& portfolio) {
    if (!app.Running()) return;
    HostWebServer(app, portfolio);
    CompositionServices& composition = portfolio.Composition();
    composition.text_renderer = &app.Text();
    composition.tags.zone = &app.Zone();
    composition.url_fetcher = &app.Downloads();
    composition.wake = [&app] { app.WakeSoon(); };
    composition.running = [&app] { return app.Running(); };
    portfolio.Outputs().wallpaper = &app.Wallpaper();
    HostCameras(app, portfolio);
}

} // namespace tess
