#include "app/file_commands.h"

#include "app/application.h"
#include "app/user_interface.h"
#include "document/portfolio.h"

namespace tess {

void SaveAllProc(Application& app, bool force_all) {
    Portfolio* portfolio = app.CurrentPortfolio();
    if (!portfolio) return;
    UserInterface& ui = app.UI();
    ui.ShowStatus("Saving...");
    portfolio->SaveAll(force_all);
    ui.HideStatus();
}

} // namespace tess
