// The canvas commands of the File menu.

#include "app/application.h"
#include "app/file_command_support.h"
#include "app/file_commands.h"
#include "app/user_interface.h"
#include "base/log.h"
#include "base/text.h"
#include "document/portfolio.h"
#include "settings/ini.h"

#include <filesystem>

#include <fmt/format.h>

namespace tess {

namespace {

constexpr const char* kNoFileSelected = "No file was selected.  Aborting process.";

FileDialog CanvasDialog(std::string title) {
    return FileDialog{std::move(title), ".can", "Canvases (*.can)|*.can", "", ""};
}

// The first free slot, or 0 after telling the user there is none.
int FreeSlotOrSay(Application& app, Portfolio& portfolio) {
    int slot = portfolio.FreeSlot(app.AllowedCanvases());
    if (slot == 0) {
        app.UI().ShowMessage("You already have all of the allowed canvases loaded.\nRemove an "
                             "existing canvas to make room for a new one.",
                             "You already have all of the allowed canvases loaded.\nRemove one "
                             "with 'tessarolle canvas remove --slot N' to make room for a new "
                             "one.",
                             "Out of Canvas Locations");
    }
    return slot;
}

std::string AskCanvasName(UserInterface& ui) {
    return ui.InputBox("Enter a name for this canvas.", "Canvas Name", "Enter Something Unique")
        .value_or("");
}

// The name a canvas file holds, without touching the file.
std::string NameInFile(const std::string& path) {
    INI ini(PathFromSettings(path));
    return ini.GetKey("General", "Name", WriteDefault::No, "");
}

bool SaveCanvasFile(UserInterface& ui, Canvas& canvas) {
    ui.ShowStatus("Saving...");
    bool ok = canvas.SaveFile();
    ui.HideStatus();
    if (!ok) ReportSaveFailure(ui, canvas.FileName());
    return ok;
}

} // namespace

bool CanvasNew(Application& app) {
    Portfolio* portfolio = app.CurrentPortfolio();
    if (!portfolio) return false;
    int slot = FreeSlotOrSay(app, *portfolio);
    if (slot == 0) return false;
    CanvasSaveAsProc(app, slot, true);
    Canvas& canvas = portfolio->Canvas(slot);
    if (canvas.FileName().empty()) return false;
    canvas.SetName(AskCanvasName(app.UI()));
    canvas.SetBackgroundColor(0xFFFFFF);
    canvas.SetWidthHeight(320, 240);
    canvas.SetEnabled(true);
    canvas.SetTop(0);
    canvas.SetLeft(0);
    canvas.SetVisible(true);
    portfolio->SetActiveCanvas(slot);
    return true;
}

bool CanvasOpen(Application& app) {
    Portfolio* portfolio = app.CurrentPortfolio();
    if (!portfolio) return false;
    int slot = FreeSlotOrSay(app, *portfolio);
    if (slot == 0) return false;
    UserInterface& ui = app.UI();
    FileDialog dialog = CanvasDialog("Canvas Open");
    auto chosen = ui.OpenFileDialog(dialog);
    if (!chosen || chosen->empty()) {
        ui.ShowMessage(kNoFileSelected, "No file selected");
        return false;
    }
    if (!ExistingFile(ui, *chosen, dialog.title)) return false;

    Canvas& canvas = portfolio->Canvas(slot);
    canvas.SetFileName(*chosen);
    // A file without a name is given the one the user answers.
    if (NameInFile(*chosen).empty()) canvas.SetName(AskCanvasName(ui));
    ui.ShowStatus("Loading...");
    canvas.LoadFile();
    ui.HideStatus();
    canvas.SetEnabled(true);
    canvas.SetVisible(true);
    portfolio->SetNeedSaving(true);
    portfolio->SetActiveCanvas(slot);
    return true;
}

bool CanvasSaveAsProc(Application& app, int slot, bool new_canvas) {
    Portfolio* portfolio = app.CurrentPortfolio();
    if (!portfolio) return false;
    UserInterface& ui = app.UI();
    Canvas& canvas = portfolio->Canvas(slot);
    FileDialog dialog = CanvasDialog("Canvas Save As");
    dialog.initial_name =
        canvas.FileName().empty() ? fmt::format("NewCanvas{:02}.can", slot) : canvas.FileName();
    const std::string chosen = ui.SaveFileDialog(dialog).value_or("");
    std::error_code ec;
    const bool exists = !chosen.empty() && std::filesystem::exists(PathFromSettings(chosen), ec);
    if (exists && new_canvas) {
        ui.ShowMessage("This file already exists.  To open an existing file, select \"Open "
                       "Canvas\" instead.",
                       fmt::format("The file \"{}\" already exists.  To add it, type "
                                   "'tessarolle canvas open {}' instead.",
                                   chosen, chosen),
                       "File Exists");
        return false;
    }
    if (chosen.empty()) {
        ui.ShowMessage(kNoFileSelected, "No file selected");
        return false;
    }
    // The portfolio's list of canvases changes with the file name.
    if (chosen != canvas.FileName()) portfolio->SetNeedSaving(true);
    canvas.SetFileName(chosen);
    ui.ShowStatus("Saving...");
    if (new_canvas) canvas.LoadFile(); // a file that does not exist gives all the defaults
    // A file saved over holds only this canvas afterwards. It is replaced in one step, never
    // deleted first: a crash part way leaves the old file or the new one.
    INI target(PathFromSettings(chosen));
    IniBatch whole(target);
    if (exists) target.StartAfresh();
    bool ok = canvas.SaveFile();
    ok = whole.Commit() && ok;
    ui.HideStatus();
    if (!ok) ReportSaveFailure(ui, chosen);
    return ok;
}

bool CanvasSave(Application& app) {
    Portfolio* portfolio = app.CurrentPortfolio();
    if (!portfolio) return false;
    Canvas& canvas = portfolio->Canvas(portfolio->ActiveCanvas());
    if (canvas.FileName().empty()) return false;
    return SaveCanvasFile(app.UI(), canvas);
}

bool CanvasSaveAs(Application& app) {
    Portfolio* portfolio = app.CurrentPortfolio();
    if (!portfolio) return false;
    return CanvasSaveAsProc(app, portfolio->ActiveCanvas(), false);
}

bool CanvasRemove(Application& app) {
    Portfolio* portfolio = app.CurrentPortfolio();
    if (!portfolio) return false;
    UserInterface& ui = app.UI();
    const int slot = portfolio->ActiveCanvas();
    Canvas& canvas = portfolio->Canvas(slot);
    if (canvas.FileName().empty()) return false;
    if (ui.Ask("Are you sure you want to remove this canvas?", "Remove Canvas", Buttons::YesNo) !=
        Answer::Yes) {
        return false;
    }
    if (canvas.NeedSaving()) {
        Answer answer = ui.Ask("This canvas has been changed.  Would you like to save it first?",
                               "Save Canvas", Buttons::YesNoCancel);
        if (answer == Answer::Cancel) return false;
        if (answer == Answer::Yes && !SaveCanvasFile(ui, canvas)) return false;
    }
    canvas.SetFileName("");
    canvas.SetEnabled(false);
    canvas.SetVisible(false);
    canvas.SetNeedSaving(false);
    canvas.SetName("");
    portfolio->ResetCanvas(slot);
    portfolio->SetNeedSaving(true);
    return true;
}

} // namespace tess
