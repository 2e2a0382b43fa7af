#include "app/portfolio_hosting.h"

#include "app/application.h"
#include "app/camera_hosting.h"
#include "app/web_hosting.h"
#include "document/portfolio.h"
#include "publish/ftp_push.h"

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
    portfolio.Outputs().ftp_upload = [&app](FTPPush& push, const DIB& picture) {
        return push.Upload(app.Loop(), picture);
    };
}

} // namespace tess
