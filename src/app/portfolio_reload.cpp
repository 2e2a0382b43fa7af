#include "app/portfolio_reload.h"

#include "app/application.h"
#include "app/camera_hosting.h"
#include "base/log.h"
#include "base/text.h"
#include "document/portfolio.h"

namespace tess {

namespace {

std::string CanvasPath(const std::string& file) {
    return file.empty() ? std::string() : PathFromSettings(file);
}

} // namespace

void PortfolioReload::Remember() {
    Portfolio* portfolio = app_.CurrentPortfolio();
    if (!portfolio) return;
    portfolio_stamp_ = FileStamp::Of(PathFromSettings(portfolio->FileName()));
    for (int slot = 1; slot <= Portfolio::kCanvasSlots; ++slot) {
        const std::string& file = portfolio->Canvas(slot).FileName();
        slots_[slot] = {file, FileStamp::Of(CanvasPath(file))};
    }
}

PortfolioReload::Web PortfolioReload::WebOf(Portfolio& portfolio) {
    WebServer& web = portfolio.WebServer();
    return {web.Enabled(), web.Port(), web.WebPath(), web.AllowNonCanvasServes()};
}

void PortfolioReload::Reload() {
    Portfolio* portfolio = app_.CurrentPortfolio();
    if (!portfolio || portfolio->FileName().empty()) {
        LogWarning("reload (SIGHUP): no portfolio is open; nothing to read again");
        return;
    }
    const std::string path = PathFromSettings(portfolio->FileName());
    LogInfo("reload (SIGHUP): reading '{}' and its canvases again", path);
    if (portfolio->NeedSaving())
        LogWarning("reload (SIGHUP): changes made since the last save are dropped");
    if (FileStamp::Of(path) == portfolio_stamp_) LogInfo("reload: '{}' is unchanged", path);
    const Web before = WebOf(*portfolio);
    ReloadCameras(app_, *portfolio);
    // Fresh canvases: a slot the file no longer lists must not keep its old one.
    for (int slot = 1; slot <= Portfolio::kCanvasSlots; ++slot)
        portfolio->ResetCanvas(slot);
    portfolio->LoadFile();
    ReportCanvases(*portfolio);
    ApplyWeb(*portfolio, before);
    portfolio->SetNeedSaving(false);
    Remember();
    app_.WakeSoon();
}

void PortfolioReload::ReportCanvases(Portfolio& portfolio) {
    int unchanged = 0;
    for (int slot = 1; slot <= Portfolio::kCanvasSlots; ++slot) {
        const std::string& file = portfolio.Canvas(slot).FileName();
        const Slot& old = slots_[slot];
        if (file.empty() && old.file.empty()) continue;
        if (file.empty()) {
            LogInfo("reload: slot {} no longer holds '{}'", slot, old.file);
        } else if (old.file.empty()) {
            LogInfo("reload: slot {} now holds '{}'", slot, file);
        } else if (file != old.file) {
            LogInfo("reload: slot {} holds '{}' in place of '{}'", slot, file, old.file);
        } else if (FileStamp::Of(CanvasPath(file)) != old.stamp) {
            LogInfo("reload: canvas file '{}' (slot {}) changed", file, slot);
        } else {
            ++unchanged;
        }
    }
    if (unchanged > 0) LogInfo("reload: {} canvas file(s) unchanged", unchanged);
}

// Loading stores a new port without listening on it (a server already on stays on): a
// changed port is applied here by listening afresh.
void PortfolioReload::ApplyWeb(Portfolio& portfolio, const Web& before) {
    WebServer& web = portfolio.WebServer();
    const Web after = WebOf(portfolio);
    if (after == before) {
        if (web.Listening())
            LogInfo("reload: web server settings unchanged; port {} stays open",
                    web.ListeningPort());
        return;
    }
    if (after.enabled && before.enabled && after.port != before.port) {
        LogInfo("reload: web server port {} -> {}", before.port, after.port);
        web.SetEnabled(false);
        web.SetEnabled(true);
    } else if (after.enabled != before.enabled) {
        LogInfo("reload: web server switched {}", after.enabled ? "on" : "off");
    }
    if (after.path != before.path)
        LogInfo("reload: web folder '{}' -> '{}'", before.path, after.path);
    if (after.files != before.files)
        LogInfo("reload: serving files of the web folder switched {}", after.files ? "on" : "off");
}

} // namespace tess
