#include "app/command_line.h"

#include "app/application.h"
#include "app/commands.h"
#include "app/console_ui.h"
#include "app/error_report.h"
#include "app/exit_status.h"
#include "app/headless_ui.h"
#include "app/main_procedure.h"
#include "app/portfolio_reload.h"
#include "app/quit.h"
#include "app/web_hosting.h"
#include "base/log.h"
#include "base/progress.h"
#include "base/version.h"

#include <csignal>
#include <filesystem>
#include <iostream>
#include <memory>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <asio/signal_set.hpp>
#include <asio/steady_timer.hpp>

namespace tess {

namespace {

std::unique_ptr<UserInterface> MakeUserInterface(const RunOptions& options) {
    const bool terminal = !options.headless && ::isatty(0) && ::isatty(2);
    if (terminal) {
        LogSetStderrLevel(LogLevel::Warning); // the terminal belongs to the user's prompts
        return std::make_unique<ConsoleUI>(std::cin, std::cerr, true);
    }
    auto ui = std::make_unique<HeadlessUI>();
    if (options.save_on_quit) ui->SetAnswer("Save Files?", Answer::Yes);
    return ui;
}

void AwaitQuitSignal(asio::signal_set& signals, Application& app) {
    signals.async_wait([&signals, &app](const std::error_code& ec, int signal) {
        if (ec) return;
        LogInfo("signal {} received", signal);
        if (!RequestQuit(app)) AwaitQuitSignal(signals, app);
    });
}

void AwaitReloadSignal(asio::signal_set& signals, PortfolioReload& reload) {
    signals.async_wait([&signals, &reload](const std::error_code& ec, int) {
        if (ec) return;
        reload.Reload();
        AwaitReloadSignal(signals, reload);
    });
}

} // namespace

int RunProgram(const RunOptions& options) {
    std::signal(SIGPIPE, SIG_IGN); // a closed socket is an error code, not a reason to die
    std::unique_ptr<UserInterface> ui = MakeUserInterface(options);
    LogToFile("Tessarolle.log");
    int status_counter = 0;
    SetProgressCallback([&] { ui->UpdateStatus(status_counter); });

    Application app(*ui, ".");
    app.SetStartPortfolio(options.portfolio);
    app.SetRequireWeb(options.require_web);
    // Caught from here on: a signal during start-up waits for the loop, which then quits
    // the orderly way, instead of killing the program half started.
    asio::signal_set signals(app.Loop(), SIGINT, SIGTERM);
    asio::signal_set hangup(app.Loop(), SIGHUP);
    int status = 0;
    RunReportingErrors(*ui, [&] { status = Main(app); }); // start-up fails like any step
    if (status != 0) return status;
    if (!app.Running()) return app.ExitCode();
    EndUnlessWebListens(app);
    AwaitQuitSignal(signals, app);
    PortfolioReload reload(app);
    AwaitReloadSignal(hangup, reload);
    asio::steady_timer deadline(app.Loop());
    if (options.for_seconds > 0) {
        deadline.expires_after(std::chrono::duration_cast<std::chrono::nanoseconds>(
            std::chrono::duration<double>(options.for_seconds)));
        deadline.async_wait([&app](const std::error_code& ec) {
            if (!ec) RequestQuit(app);
        });
    }
    RunEventLoop(app);
    SetProgressCallback({});
    return app.ExitCode();
}

void AddRunOptions(CLI::App& command, RunOptions& options) {
    command.add_option("--for", options.for_seconds, "Quit after this many seconds")
        ->check(CLI::PositiveNumber);
    command.add_flag("--save-on-quit", options.save_on_quit,
                     "Answer Yes when asked whether to save on the way out (headless runs)");
    command.add_flag("--headless", options.headless,
                     "Ask nothing at the terminal: questions take their default answers");
    command.add_flag("--require-web", options.require_web,
                     "End with exit status 4 when the web server cannot listen or is off");
}

namespace {

struct GlobalOptions {
    std::string directory;
    std::string log_level;
};

// -C DIR and --log-level act before any subcommand runs: CLI11 calls this once the whole
// command line is parsed, ahead of the subcommands' callbacks.
void ApplyGlobalOptions(const GlobalOptions& global) {
    if (!global.log_level.empty()) {
        LogLevel level = LogLevel::Info;
        if (!ParseLogLevel(global.log_level, level)) {
            throw CLI::ValidationError("--log-level", "'" + global.log_level +
                                                          "' is not one of error, warning, "
                                                          "info, debug");
        }
        LogSetLevel(level);
        LogSetStderrLevel(level);
    }
    if (!global.directory.empty()) {
        std::error_code ec;
        std::filesystem::current_path(global.directory, ec);
        if (ec) {
            throw CLI::ValidationError("-C", "cannot change to the folder '" + global.directory +
                                                 "': " + ec.message());
        }
    }
}

} // namespace

int RunCommandLine(int argc, char** argv) {
    CLI::App cli{"Tessarolle composes webcam and weather-station pictures and publishes them.\n"
                 "Without a subcommand it runs in the current folder until SIGINT or SIGTERM;\n"
                 "SIGHUP reloads the portfolio and its canvases from disk.",
                 "tessarolle"};
    cli.set_version_flag("--version", std::string("Tessarolle ") + kVersionText);
    cli.fallthrough(); // -C and --log-level may also follow the subcommand
    GlobalOptions global;
    cli.add_option("-C", global.directory, "Change to this folder (the site's) before anything")
        ->type_name("DIR");
    cli.add_option("--log-level", global.log_level,
                   "Log this level and above: error, warning, info (default), debug")
        ->type_name("LEVEL");
    cli.parse_complete_callback([&global] { ApplyGlobalOptions(global); });
    RunOptions options;
    AddRunOptions(cli, options);
    // Each subcommand's callback runs its work and leaves its exit status here.
    int status = 0;
    for (const auto& add : Subcommands())
        add(cli, status);
    try {
        cli.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        // --help and --version end here too, with 0; every usage error is status 2.
        return cli.exit(e) == 0 ? kExitOk : kExitUsage;
    }
    if (cli.get_subcommands().empty()) return RunProgram(options);
    return status;
}

} // namespace tess
