#include "app/command_line.h"

#include "app/application.h"
#include "app/commands.h"
#include "app/console_ui.h"
#include "app/error_report.h"
#include "app/headless_ui.h"
#include "app/main_procedure.h"
#include "app/quit.h"
#include "base/log.h"
#include "base/progress.h"
#include "base/version.h"

#include <csignal>
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

} // namespace

int RunProgram(const RunOptions& options) {
    std::signal(SIGPIPE, SIG_IGN); // a closed socket is an error code, not a reason to die
    std::unique_ptr<UserInterface> ui = MakeUserInterface(options);
    LogToFile("Tessarolle.log");
    int status_counter = 0;
    SetProgressCallback([&] { ui->UpdateStatus(status_counter); });

    Application app(*ui, ".");
    app.SetStartPortfolio(options.portfolio);
    // Caught from here on: a signal during start-up waits for the loop, which then quits
    // the orderly way, instead of killing the program half started.
    asio::signal_set signals(app.Loop(), SIGINT, SIGTERM);
    int status = 0;
    RunReportingErrors(*ui, [&] { status = Main(app); }); // start-up fails like any step
    if (status != 0) return status;
    if (!app.Running()) return app.ExitCode();
    AwaitQuitSignal(signals, app);
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
}

int RunCommandLine(int argc, char** argv) {
    CLI::App cli{"Tessarolle composes webcam and weather-station pictures and publishes them.\n"
                 "Without a subcommand it runs in the current folder until SIGINT or SIGTERM.",
                 "tessarolle"};
    cli.set_version_flag("--version", std::string("Tessarolle ") + kVersionText);
    RunOptions options;
    AddRunOptions(cli, options);
    // Each subcommand's callback runs its work and leaves its exit status here.
    int status = 0;
    for (const auto& add : Subcommands())
        add(cli, status);
    CLI11_PARSE(cli, argc, argv);
    if (cli.get_subcommands().empty()) return RunProgram(options);
    return status;
}

} // namespace tess
