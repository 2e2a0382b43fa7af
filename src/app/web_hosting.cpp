#include "app/web_hosting.h"

#include "app/application.h"
#include "app/user_interface.h"
#include "document/portfolio.h"

namespace tess {

void HostWebServer(Application& app, Portfolio& portfolio) {
    if (!app.Running()) return;
    WebServerHooks hooks;
    hooks.now = [&app] { return app.AppClock().Now(); };
    hooks.find_canvas = [&portfolio](std::string_view name) {
        return portfolio.FindServedCanvas(name);
    };
    hooks.listen_failed = [&app](std::string_view text, std::string_view caption) {
        app.UI().ShowMessage(text, caption);
    };
    portfolio.WebServer().Attach(app.Loop(), std::move(hooks));
}

} // namespace tess
