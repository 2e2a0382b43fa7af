#include "app/run_commands.h"

#include "app/command_line.h"
#include "app/embedded_files.h"
#include "base/atomic_file.h"
#include "base/text.h"
#include "settings/ini.h"
#include "settings/numbers.h"

#include <filesystem>
#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>

namespace tess {

namespace fs = std::filesystem;

namespace {

constexpr int kExitBadInput = 2;

void PrintDemoGuide(const DemoRequest& request, std::ostream& out) {
    std::error_code ec;
    const std::string dir = fs::absolute(request.dir, ec).lexically_normal().string();
    const int port = request.port ? *request.port : 18080;
    out << "Tessarolle demo in " << dir << "\n"
        << "  pictures: " << dir << "/images/hillcam.jpg and thumbnail.jpg (every 5 s;\n"
        << "            hillcam0001.jpg to hillcam0005.jpg are the ones before)\n"
        << "            " << dir << "/sequential/ (one a minute)\n"
        << "  web page: http://127.0.0.1:" << port << "/  (the canvases: /Canvas01.jpg, "
        << "/Canvas02.jpg)\n"
        << "  log:      " << dir << "/Tessarolle.log\n";
    if (request.for_seconds > 0)
        out << "It runs for " << request.for_seconds << " seconds.\n";
    else
        out << "Stop it with Ctrl-C.\n";
    out.flush();
}

} // namespace

bool WriteDemo(const DemoRequest& request, std::ostream& err) {
    for (const EmbeddedFile& file : DemoFiles()) {
        const fs::path path = fs::path(request.dir) / std::string(file.name);
        std::error_code ec;
        fs::create_directories(path.parent_path(), ec);
        std::string error;
        const std::string_view bytes(reinterpret_cast<const char*>(file.bytes.data()),
                                     file.bytes.size());
        if (ec || !WriteFileAtomic(path.string(), bytes, &error, Durability::Unsynced)) {
            err << "demo: '" << path.string()
                << "' could not be written: " << (ec ? ec.message() : error) << "\n";
            return false;
        }
    }
    if (request.port) {
        INI portfolio((fs::path(request.dir) / "demo.por").string());
        if (!portfolio.SetKey("WebServer", "Port", CStrNI(*request.port))) {
            err << "demo: the port could not be set in demo.por\n";
            return false;
        }
    }
    return true;
}

void AddRunCommand(CLI::App& cli, int& status) {
    auto options = std::make_shared<RunOptions>();
    CLI::App* run = cli.add_subcommand(
        "run", "Open a portfolio and run it until SIGINT or SIGTERM (it becomes the last one)");
    run->add_option("portfolio", options->portfolio, "The portfolio file (.por)")->required();
    AddRunOptions(*run, *options);
    run->callback([options, run, &status] {
        // Given before the subcommand, the flag lands on the main command.
        if (run->get_parent()->count("--require-web") > 0) options->require_web = true;
        std::error_code ec;
        if (!fs::is_regular_file(PathFromSettings(options->portfolio), ec)) {
            std::cerr << "run: '" << options->portfolio << "': no such portfolio file\n";
            status = kExitBadInput;
            return;
        }
        status = RunProgram(*options);
    });
}

void AddDemoCommand(CLI::App& cli, int& status) {
    auto request = std::make_shared<DemoRequest>();
    CLI::App* demo = cli.add_subcommand(
        "demo", "Write the demo portfolio into a folder and run it there, serving on the web");
    demo->add_option("--dir", request->dir, "The folder (default: demo-run)");
    demo->add_option("--for", request->for_seconds, "Quit after this many seconds")
        ->check(CLI::PositiveNumber);
    demo->add_option("--port", request->port, "The web server's port (default: 18080)")
        ->check(CLI::Range(1, 65535));
    demo->callback([request, &status] {
        if (!WriteDemo(*request, std::cerr)) {
            status = 1;
            return;
        }
        PrintDemoGuide(*request, std::cout);
        std::error_code ec;
        fs::current_path(request->dir, ec);
        if (ec) {
            std::cerr << "demo: cannot work in '" << request->dir << "': " << ec.message() << "\n";
            status = 1;
            return;
        }
        RunOptions options;
        options.portfolio = "demo.por";
        options.for_seconds = request->for_seconds;
        status = RunProgram(options);
    });
}

} // namespace tess
