#include "app/web_hosting.h"

#include "app/application.h"
#include "app/exit_status.h"
#include "app/quit.h"
#include "app/user_interface.h"
#include "base/log.h"
#include "document/portfolio.h"

#include <asio/io_context.hpp>
#include <asio/post.hpp>

namespace tess {

namespace {

// The quit runs from the loop, never inside the portfolio's own call that failed to listen.
void EndForWeb(Application& app, std::string_view why) {
    LogError("--require-web: {}; Tessarolle ends (exit status {})", why, kExitWebFailed);
    app.SetExitCode(kExitWebFailed);
    asio::post(app.Loop(), [&app] { RequestQuit(app); });
}

} // namespace

void HostWebServer(Application& app, Portfolio& portfolio) {
    if (!app.Running()) return;
    WebServerHooks hooks;
    hooks.now = [&app] { return app.AppClock().Now(); };
    hooks.find_canvas = [&portfolio](std::string_view name) {
        return portfolio.FindServedCanvas(name);
    };
    hooks.listen_failed = [&app](std::string_view text, std::string_view caption) {
        app.UI().ShowMessage(text, caption);
        if (app.RequireWeb()) EndForWeb(app, "the web server cannot listen");
    };
    portfolio.WebServer().Attach(app.Loop(), std::move(hooks));
}

bool EndUnlessWebListens(Application& app) {
    if (!app.RequireWeb() || app.ExitCode() == kExitWebFailed) return app.ExitCode() != 0;
    Portfolio* portfolio = app.CurrentPortfolio();
    if (!portfolio) {
        EndForWeb(app, "no portfolio is open");
        return true;
    }
    if (portfolio->WebServer().Listening()) return false;
    EndForWeb(app, fmt::format("the web server of '{}' is switched off ([WebServer] Enabled)",
                               portfolio->FileName()));
    return true;
}

} // namespace tess
