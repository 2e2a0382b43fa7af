#include "app/document_commands.h"

#include "app/application.h"
#include "app/canvas_edit_command.h"
#include "app/console_ui.h"
#include "app/error_report.h"
#include "app/file_command_support.h"
#include "app/file_commands.h"
#include "app/headless_ui.h"
#include "app/preset_ui.h"
#include "base/log.h"
#include "base/progress.h"
#include "base/text.h"
#include "document/portfolio.h"
#include "settings/numbers.h"

#include <filesystem>
#include <functional>
#include <iostream>
#include <memory>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

namespace tess {

namespace {

constexpr int kExitDone = 0;
constexpr int kExitNotDone = 1;
constexpr int kExitBadInput = 2;
constexpr int kExitRunning = 3;

using Action = std::function<bool(Application&)>;

enum class Needs { Nothing, Portfolio, Canvas };

bool Exists(const std::string& path) {
    std::error_code ec;
    return std::filesystem::exists(PathFromSettings(path), ec);
}

// The portfolio the command acts on: --portfolio, or the last one opened.
bool OpenPortfolio(Application& app, const DocumentRequest& request) {
    std::string path = request.portfolio.empty() ? app.Setup().LastPortfolio : request.portfolio;
    if (path.empty()) {
        std::cerr << "No portfolio is open: name one with --portfolio FILE, or create one with "
                     "'tessarolle portfolio new FILE'.\n";
        return false;
    }
    if (!Exists(path)) {
        std::cerr << "The portfolio file '" << path << "' does not exist.\n";
        return false;
    }
    auto portfolio = std::make_unique<Portfolio>(app.StationSun());
    portfolio->SetFileName(path);
    app.UI().ShowStatus("Loading...");
    portfolio->LoadFile();
    app.UI().HideStatus();
    app.Setup().LastPortfolio = path;
    app.SetCurrentPortfolio(std::move(portfolio));
    return true;
}

// The canvas the command acts on: --slot, or the only one there is.
bool SelectCanvas(Portfolio& portfolio, int slot) {
    if (slot == 0) {
        for (int s = 1; s <= Portfolio::kCanvasSlots; ++s) {
            if (portfolio.Canvas(s).FileName().empty()) continue;
            if (slot != 0) {
                std::cerr << "The portfolio has several canvases: say which with --slot N.\n";
                return false;
            }
            slot = s;
        }
        if (slot == 0) {
            std::cerr << "The portfolio has no canvas.\n";
            return false;
        }
    }
    if (portfolio.Canvas(slot).FileName().empty()) {
        std::cerr << fmt::format("Slot {} of the portfolio holds no canvas.\n", slot);
        return false;
    }
    portfolio.SetActiveCanvas(slot);
    return true;
}

void PrintPortfolio(Portfolio& portfolio) {
    std::cout << "Portfolio: "
              << (portfolio.FileName().empty() ? "(not saved)" : portfolio.FileName()) << "\n";
    bool any = false;
    for (int slot = 1; slot <= Portfolio::kCanvasSlots; ++slot) {
        const Canvas& canvas = portfolio.Canvas(slot);
        if (canvas.FileName().empty()) continue;
        std::cout << fmt::format("Canvas{:02}: {} ({})\n", slot, canvas.FileName(), canvas.Name());
        any = true;
    }
    if (!any) std::cout << "No canvases\n";
}

std::unique_ptr<UserInterface> TerminalOrHeadless() {
    if (::isatty(0) && ::isatty(2)) {
        LogSetStderrLevel(LogLevel::Warning); // the terminal belongs to the prompts
        return std::make_unique<ConsoleUI>(std::cin, std::cerr, true);
    }
    return std::make_unique<HeadlessUI>();
}

int RunDocumentCommand(const DocumentRequest& request, Needs needs, const Action& action) {
    std::unique_ptr<UserInterface> inner = TerminalOrHeadless();
    PresetUI ui(*inner);
    if (!request.file.empty()) ui.SetFile(request.file);
    if (request.name) ui.SetInput(*request.name);
    if (request.yes || request.no) ui.SetAnswer(request.yes ? Answer::Yes : Answer::No);
    LogToFile("Tessarolle.log");
    int counter = 0;
    SetProgressCallback([&] { ui.UpdateStatus(counter); });
    struct ProgressOff {
        ~ProgressOff() { SetProgressCallback({}); }
    } progress_off;

    Application app(ui, ".");
    // Files a running program holds in memory would be overwritten by its next save.
    if (!app.Lock().Acquire("Tessarolle.lock")) {
        ShowAlreadyRunning(ui, "Tessarolle.lock");
        return kExitRunning;
    }
    InitNumberFormat();
    app.Settings().SetFile("Tessarolle.INI");
    LoadSetup(app.Settings(), app.Setup());
    app.StationSun().SetStation(app.Setup().StationLatitude, app.Setup().StationLongitude);

    int status = kExitNotDone;
    RunReportingErrors(ui, [&] {
        if (needs != Needs::Nothing && !OpenPortfolio(app, request)) {
            status = kExitBadInput;
            return;
        }
        Portfolio* portfolio = app.CurrentPortfolio();
        if (needs == Needs::Canvas && !SelectCanvas(*portfolio, request.slot)) {
            status = kExitBadInput;
            return;
        }
        bool done = action(app);
        // What a command changed is saved, as the File menu's "save all" would.
        portfolio = app.CurrentPortfolio();
        if (done && portfolio && portfolio->NeedSaving()) done = SaveAllProc(app, false);
        SaveSetup(app.Settings(), app.Setup());
        if (done && portfolio) PrintPortfolio(*portfolio);
        if (auto open = app.ReleasePortfolio()) open->Unload();
        status = done ? kExitDone : kExitNotDone;
    });
    return status;
}

bool RefuseExisting(const std::string& file) {
    if (file.empty() || !Exists(file)) return false;
    std::cerr << "The file '" << file
              << "' exists already; open it with 'tessarolle portfolio "
                 "open' instead.\n";
    return true;
}

} // namespace

int RunPortfolioCommand(const DocumentRequest& request) {
    const std::string& c = request.command;
    if (c == "new") {
        if (RefuseExisting(request.file)) return kExitBadInput;
        return RunDocumentCommand(request, Needs::Nothing, [](Application& app) {
            return PortfolioNew(app) && PortfolioSaveAs(app);
        });
    }
    if (c == "open") return RunDocumentCommand(request, Needs::Nothing, PortfolioOpen);
    if (c == "save") return RunDocumentCommand(request, Needs::Portfolio, PortfolioSave);
    if (c == "save-as") return RunDocumentCommand(request, Needs::Portfolio, PortfolioSaveAs);
    std::cerr << "Unknown portfolio command '" << c << "'.\n";
    return kExitBadInput;
}

int RunCanvasCommand(const DocumentRequest& request) {
    const std::string& c = request.command;
    if (c == "new") return RunDocumentCommand(request, Needs::Portfolio, CanvasNew);
    if (c == "open") return RunDocumentCommand(request, Needs::Portfolio, CanvasOpen);
    if (c == "save") return RunDocumentCommand(request, Needs::Canvas, CanvasSave);
    if (c == "save-as") return RunDocumentCommand(request, Needs::Canvas, CanvasSaveAs);
    if (c == "remove") return RunDocumentCommand(request, Needs::Canvas, CanvasRemove);
    std::cerr << "Unknown canvas command '" << c << "'.\n";
    return kExitBadInput;
}

namespace {

struct Verb {
    const char* name;
    const char* help;
    bool takes_file;
    bool takes_name;
    bool takes_slot;
};

void AddVerbs(CLI::App& parent, const std::vector<Verb>& verbs, bool portfolio_option,
              int (*run)(const DocumentRequest&), int& status) {
    for (const Verb& verb : verbs) {
        auto request = std::make_shared<DocumentRequest>();
        request->command = verb.name;
        CLI::App* sub = parent.add_subcommand(verb.name, verb.help);
        if (verb.takes_file)
            sub->add_option("file", request->file, "The file (asked on a terminal when left out)");
        if (portfolio_option) {
            sub->add_option("-p,--portfolio", request->portfolio,
                            "The portfolio to act on (default: the last one opened)");
        }
        if (verb.takes_name) {
            sub->add_option("--name", request->name,
                            "The canvas's name (asked on a terminal when left out)");
        }
        if (verb.takes_slot) {
            sub->add_option("--slot", request->slot, "The canvas's slot, 1-20")
                ->check(CLI::Range(1, Portfolio::kCanvasSlots));
        }
        auto* yes = sub->add_flag("-y,--yes", request->yes, "Answer Yes to every question");
        sub->add_flag("-n,--no", request->no, "Answer No to every question")->excludes(yes);
        sub->callback([request, run, &status] { status = run(*request); });
    }
}

} // namespace

void AddPortfolioCommand(CLI::App& cli, int& status) {
    CLI::App* portfolio = cli.add_subcommand("portfolio", "Create, open and save portfolios");
    portfolio->require_subcommand(1);
    AddVerbs(
        *portfolio,
        {{"new", "Create an empty portfolio file and make it the current one", true, false, false},
         {"open", "Make a portfolio the current one and list its canvases", true, false, false}},
        false, RunPortfolioCommand, status);
    AddVerbs(*portfolio,
             {{"save", "Rewrite the portfolio file", false, false, false},
              {"save-as", "Save the portfolio under another name and make that the current one",
               true, false, false}},
             true, RunPortfolioCommand, status);
}

void AddCanvasCommand(CLI::App& cli, int& status) {
    CLI::App* canvas =
        cli.add_subcommand("canvas", "Add, save and remove the canvases of a portfolio");
    canvas->require_subcommand(1);
    AddVerbs(
        *canvas,
        {{"new", "Create a canvas file with the defaults and add it", true, true, false},
         {"open", "Add an existing canvas file", true, true, false},
         {"save", "Rewrite a canvas file", false, false, true},
         {"save-as", "Save a canvas under another file name", true, false, true},
         {"remove", "Take a canvas out of the portfolio (its file stays)", false, false, true}},
        true, RunCanvasCommand, status);
    AddCanvasEditCommands(*canvas, status);
}

} // namespace tess
