#pragma once

// `tessarolle portfolio new|open|save|save-as` and `tessarolle canvas
// new|open|save|save-as|remove`: the File menu's commands for scripts and terminals. They act
// on the portfolio given with --portfolio or, by default, the last one opened (LastPortfolio
// in Tessarolle.INI), which they record as the program does.

#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace tess {

struct DocumentRequest {
    std::string command;   // "new", "open", "save", "save-as", "remove"
    std::string file;      // a file dialog's choice; empty: ask on a terminal
    std::string portfolio; // empty: LastPortfolio
    std::optional<std::string> name;
    int slot = 0; // 0: the only canvas, when there is one
    bool yes = false;
    bool no = false;
};

// Exit status: 0 done, 1 cancelled or not possible, 2 bad input, 3 the program is running in
// this folder.
int RunPortfolioCommand(const DocumentRequest& request);
int RunCanvasCommand(const DocumentRequest& request);

void AddPortfolioCommand(CLI::App& cli, int& status);
void AddCanvasCommand(CLI::App& cli, int& status);

} // namespace tess
