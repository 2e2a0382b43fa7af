#pragma once

// The one object that holds the program's global state: the running, starting and
// shutdown-requested flags, the application settings, the open portfolio, the event loop and
// its update timer. Library code gets it (or what it needs of it) by reference.

#include "app/app_setup.h"
#include "app/instance_lock.h"
#include "settings/ini.h"
#include "time/clock.h"
#include "time/sun.h"
#include "time/time_zone.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace asio {
class io_context;
}

namespace tess {

class Portfolio;
class TextRenderer;
class UrlFetcher;
class UserInterface;
class Wallpaper;

class Application {
public:
    // The update timer wakes when the portfolio's next item or output comes due, but never
    // sooner than kUpdateInterval after the last tick (so outputs at 1/30 s keep their
    // grid and "at every update" means a hundred times a second) and never later than
    // kLongestSleep (so daily schedules that open or close are seen at once). An idle
    // portfolio costs four short ticks a second.
    static constexpr std::chrono::milliseconds kUpdateInterval{10};
    static constexpr std::chrono::milliseconds kLongestSleep{250};
    static constexpr int kCanvasSlots = 20;

    Application(UserInterface& ui, std::string directory);
    ~Application();
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    UserInterface& UI() { return ui_; }
    asio::io_context& Loop();
    const std::string& Directory() const { return directory_; }
    std::string PathInDirectory(const std::string& name) const;

    bool Running() const { return running_; }
    void SetRunning(bool value) { running_ = value; }
    bool Starting() const { return starting_; }
    void SetStarting(bool value) { starting_ = value; }
    bool ShutdownRequested() const { return shutdown_requested_; }
    void SetShutdownRequested(bool value) { shutdown_requested_ = value; }
    bool ShuttingDown() const { return shutting_down_; }
    void SetShuttingDown(bool value) { shutting_down_ = value; }

    INI& Settings() { return settings_; }
    AppSettings& Setup() { return setup_; }
    MainWindowPlan& MainWindow() { return main_window_; }
    InstanceLock& Lock() { return lock_; }
    // The program's "now", the time zone in force and the station's sun times.
    Clock& AppClock() { return clock_; }
    TimeZone& Zone() { return zone_; }
    Sun& StationSun() { return sun_; }
    int AllowedCanvases() const { return kCanvasSlots; }

    // The script's Shutdown event, raised on the way out before anything is asked.
    void RaiseShutdownEvent();

    // --require-web: a web server that cannot listen ends the program (kExitWebFailed).
    bool RequireWeb() const { return require_web_; }
    void SetRequireWeb(bool value) { require_web_ = value; }

    // A portfolio to open at start-up in place of the last one (`tessarolle run FILE`).
    const std::string& StartPortfolio() const { return start_portfolio_; }
    void SetStartPortfolio(std::string path) { start_portfolio_ = std::move(path); }

    Portfolio* CurrentPortfolio() { return portfolio_.get(); }
    void SetCurrentPortfolio(std::unique_ptr<Portfolio> portfolio);
    std::unique_ptr<Portfolio> ReleasePortfolio();

    // The services every portfolio of the running program shares: the text renderer, the
    // URL downloads on the event loop and the desktop background.
    TextRenderer& Text();
    UrlFetcher& Downloads();
    tess::Wallpaper& Wallpaper();

    // The update timer tmrUpdateCanvas on the event loop (see kUpdateInterval).
    void StartUpdateTimer();
    void StopUpdateTimer();
    std::uint64_t TickCount() const { return ticks_; }
    // Something arrived between ticks (a downloaded picture): a tick as soon as allowed.
    void WakeSoon();

    // Stops the event loop; Run returns.
    void Stop();
    int ExitCode() const { return exit_code_; }
    void SetExitCode(int code) { exit_code_ = code; }

private:
    struct LoopState;
    void ScheduleTick();
    void tmrUpdateCanvas_Timer();
    std::chrono::steady_clock::duration SleepAfterTick();

    UserInterface& ui_;
    std::string directory_;
    std::unique_ptr<LoopState> loop_;
    bool running_ = false;
    bool starting_ = false;
    bool shutdown_requested_ = false;
    bool shutting_down_ = false;
    INI settings_;
    AppSettings setup_;
    MainWindowPlan main_window_;
    InstanceLock lock_;
    Clock clock_;
    TimeZone zone_{clock_};
    Sun sun_{clock_, zone_};
    std::unique_ptr<TextRenderer> text_;
    std::unique_ptr<UrlFetcher> downloads_;
    std::unique_ptr<tess::Wallpaper> wallpaper_;
    std::string start_portfolio_;
    std::unique_ptr<Portfolio> portfolio_;
    std::uint64_t ticks_ = 0;
    int exit_code_ = 0;
    bool require_web_ = false;
};

} // namespace tess
