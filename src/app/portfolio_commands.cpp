// The portfolio commands of the File menu, and saving everything.

#include "app/application.h"
#include "app/file_command_support.h"
#include "app/file_commands.h"
#include "app/portfolio_hosting.h"
#include "app/user_interface.h"
#include "document/portfolio.h"

#include <memory>

namespace tess {

namespace {

FileDialog PortfolioDialog(std::string title) {
    return FileDialog{std::move(title), ".por", "Portfolios (*.por)|*.por", "", ""};
}

// Asks to save the open portfolio before it is closed; false when the user cancels.
bool OfferToSaveOpenPortfolio(Application& app) {
    Portfolio* portfolio = app.CurrentPortfolio();
    if (!portfolio || !portfolio->NeedSaving()) return true;
    Answer answer = app.UI().Ask("Would you like to save the open portfolio and canvases?",
                                 "Save Open Portfolio and Canvases?", Buttons::YesNoCancel);
    if (answer == Answer::Cancel) return false;
    if (answer == Answer::Yes) SaveAllProc(app, true);
    return true;
}

// A canvas that could not be written keeps its changes, and the user is told which.
bool SaveCanvasFiles(UserInterface& ui, Portfolio& portfolio) {
    if (portfolio.SaveCanvases()) return true;
    for (int slot = 1; slot <= Portfolio::kCanvasSlots; ++slot) {
        const Canvas& canvas = portfolio.Canvas(slot);
        if (!canvas.FileName().empty() && canvas.Enabled() && canvas.NeedSaving())
            ReportSaveFailure(ui, canvas.FileName());
    }
    return false;
}

void ReplacePortfolio(Application& app, std::unique_ptr<Portfolio> next) {
    if (auto old = app.ReleasePortfolio()) old->Unload();
    app.SetCurrentPortfolio(std::move(next));
}

bool SavePortfolioFile(Application& app, Portfolio& portfolio) {
    UserInterface& ui = app.UI();
    ui.ShowStatus("Saving...");
    bool ok = portfolio.SaveFile();
    ui.HideStatus();
    if (!ok) ReportSaveFailure(ui, portfolio.FileName());
    return ok;
}

} // namespace

bool PortfolioNew(Application& app) {
    if (!OfferToSaveOpenPortfolio(app)) return false;
    auto portfolio = std::make_unique<Portfolio>(app.StationSun());
    HostPortfolio(app, *portfolio);
    ReplacePortfolio(app, std::move(portfolio));
    app.UI().ShowMessage("Your portfolio has been created.\nYou may now add canvases using the "
                         "Open Canvas or New Canvas selections from the File Menu.",
                         "Your portfolio has been created.\nAdd canvases with 'tessarolle "
                         "canvas new FILE' or 'tessarolle canvas open FILE'.",
                         "Tessarolle");
    return true;
}

bool PortfolioOpen(Application& app) {
    UserInterface& ui = app.UI();
    FileDialog dialog = PortfolioDialog("Portfolio Open");
    if (Portfolio* open = app.CurrentPortfolio())
        dialog.initial_directory = DirectoryOf(open->FileName());
    auto chosen = ui.OpenFileDialog(dialog);
    if (!chosen || chosen->empty()) return false;
    if (!ExistingFile(ui, *chosen, dialog.title)) return false;
    if (!OfferToSaveOpenPortfolio(app)) return false;

    ReplacePortfolio(app, nullptr);
    auto portfolio = std::make_unique<Portfolio>(app.StationSun());
    portfolio->SetFileName(*chosen);
    HostPortfolio(app, *portfolio);
    ui.ShowStatus("Loading...");
    portfolio->LoadFile();
    ui.HideStatus();
    app.Setup().LastPortfolio = portfolio->FileName();
    app.SetCurrentPortfolio(std::move(portfolio));
    return true;
}

bool PortfolioSave(Application& app) {
    Portfolio* portfolio = app.CurrentPortfolio();
    if (!portfolio) return false;
    if (portfolio->FileName().empty()) return PortfolioSaveAs(app);
    return SavePortfolioFile(app, *portfolio);
}

bool PortfolioSaveAs(Application& app) {
    Portfolio* portfolio = app.CurrentPortfolio();
    if (!portfolio) return false;
    UserInterface& ui = app.UI();
    FileDialog dialog = PortfolioDialog("Portfolio Save As");
    dialog.initial_name =
        portfolio->FileName().empty() ? "NewPortfolio.por" : portfolio->FileName();
    auto chosen = ui.SaveFileDialog(dialog);
    if (!chosen || chosen->empty()) {
        ui.ShowMessage("No file was selected.", "No file selected");
        return false;
    }
    portfolio->SetFileName(*chosen);
    bool ok = SavePortfolioFile(app, *portfolio);
    app.Setup().LastPortfolio = portfolio->FileName();
    return ok;
}

bool SaveAllProc(Application& app, bool force_all) {
    Portfolio* portfolio = app.CurrentPortfolio();
    if (!portfolio) return false;
    UserInterface& ui = app.UI();
    bool ok = true;
    if (!portfolio->FileName().empty()) {
        ui.ShowStatus("Saving...");
        if (force_all) {
            for (int slot = 1; slot <= Portfolio::kCanvasSlots; ++slot)
                portfolio->Canvas(slot).SetNeedSaving(true);
        }
        ok = SaveCanvasFiles(ui, *portfolio);
        if (!portfolio->SaveFile()) {
            ReportSaveFailure(ui, portfolio->FileName());
            ok = false;
        }
    } else {
        ok = PortfolioSaveAs(app);
        ui.ShowStatus("Saving...");
        if (!portfolio->FileName().empty()) ok = SaveCanvasFiles(ui, *portfolio) && ok;
    }
    ui.HideStatus();
    return ok;
}

} // namespace tess
