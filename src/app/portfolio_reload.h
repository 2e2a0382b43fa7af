#pragma once

// SIGHUP: the open portfolio and its canvases, and the cameras of Tessarolle.INI, are read
// again from disk, so that a user can edit the files and `systemctl reload` the service. The web
// server keeps its listening socket unless its own settings changed; the log says what changed.

#include "base/file_stamp.h"

#include <array>
#include <string>

namespace tess {

class Application;
class Portfolio;

class PortfolioReload {
public:
    explicit PortfolioReload(Application& app) : app_(app) { Remember(); }

    // Reads everything again and logs what changed; nothing when no portfolio is open.
    void Reload();

private:
    struct Slot {
        std::string file; // the canvas file the portfolio lists; empty: none
        FileStamp stamp;  // that file as it was when last loaded
    };
    struct Web {
        bool enabled = false;
        int port = 0;
        std::string path;
        bool files = false;
        bool operator==(const Web&) const = default;
    };

    void Remember();
    static Web WebOf(Portfolio& portfolio);
    void ReportCanvases(Portfolio& portfolio);
    void ApplyWeb(Portfolio& portfolio, const Web& before);

    Application& app_;
    std::array<Slot, 21> slots_;
    FileStamp portfolio_stamp_;
};

} // namespace tess
