#include "app/application.h"

#include "app/quit.h"
#include "app/user_interface.h"
#include "document/portfolio.h"
#include "document/wallpaper.h"
#include "imaging/text/text_renderer.h"
#include "publish/url_fetcher.h"

#include <algorithm>

#include <asio/io_context.hpp>
#include <asio/steady_timer.hpp>

namespace tess {

struct Application::LoopState {
    asio::io_context context;
    asio::steady_timer update_timer{context};
    bool timer_enabled = false;
    std::chrono::steady_clock::time_point next_tick;
    std::chrono::steady_clock::time_point last_tick;
    // Each wait armed gets a new number, so a wait replaced by WakeSoon ends quietly even if
    // its handler was already queued.
    std::uint64_t generation = 0;
};

Application::Application(UserInterface& ui, std::string directory)
    : ui_(ui), directory_(std::move(directory)), loop_(std::make_unique<LoopState>()) {}

Application::~Application() {
    // What the portfolio holds on the loop goes before the loop's helpers.
    portfolio_.reset();
}

asio::io_context& Application::Loop() {
    return loop_->context;
}

std::string Application::PathInDirectory(const std::string& name) const {
    return directory_.empty() || directory_ == "." ? name : directory_ + "/" + name;
}

void Application::RaiseShutdownEvent() {
    if (portfolio_) portfolio_->Events().Raise(ScriptEvent::Shutdown);
}

void Application::SetCurrentPortfolio(std::unique_ptr<Portfolio> portfolio) {
    portfolio_ = std::move(portfolio);
}

std::unique_ptr<Portfolio> Application::ReleasePortfolio() {
    return std::move(portfolio_);
}

TextRenderer& Application::Text() {
    if (!text_) text_ = std::make_unique<TextRenderer>();
    return *text_;
}

UrlFetcher& Application::Downloads() {
    if (!downloads_) downloads_ = std::make_unique<UrlFetcher>(loop_->context);
    return *downloads_;
}

tess::Wallpaper& Application::Wallpaper() {
    if (!wallpaper_) {
        wallpaper_ =
            std::make_unique<tess::Wallpaper>(setup_.WallpaperFolder, setup_.WallpaperCommand);
    }
    return *wallpaper_;
}

void Application::StartUpdateTimer() {
    if (loop_->timer_enabled) return;
    loop_->timer_enabled = true;
    loop_->last_tick = std::chrono::steady_clock::now();
    loop_->next_tick = loop_->last_tick + kUpdateInterval;
    ScheduleTick();
}

void Application::StopUpdateTimer() {
    loop_->timer_enabled = false;
    ++loop_->generation;
    loop_->update_timer.cancel();
}

void Application::ScheduleTick() {
    const std::uint64_t generation = ++loop_->generation;
    loop_->update_timer.expires_at(loop_->next_tick);
    loop_->update_timer.async_wait([this, generation](const std::error_code& ec) {
        if (ec || !loop_->timer_enabled || generation != loop_->generation) return;
        // A tick that ran long delays the next one; ticks never overlap or pile up.
        loop_->last_tick = std::chrono::steady_clock::now();
        tmrUpdateCanvas_Timer();
        if (!loop_->timer_enabled) return;
        loop_->next_tick = std::chrono::steady_clock::now() + SleepAfterTick();
        ScheduleTick();
    });
}

void Application::WakeSoon() {
    if (!loop_->timer_enabled) return;
    const auto soonest = loop_->last_tick + kUpdateInterval;
    if (loop_->next_tick <= soonest) return;
    loop_->next_tick = soonest;
    ScheduleTick();
}

// Until the earliest time anything of the portfolio comes due, within the two limits.
std::chrono::steady_clock::duration Application::SleepAfterTick() {
    if (!running_ || !portfolio_) return kLongestSleep;
    // A camera frame taken after the composition is drawn at once: waiting out the interval
    // would add it to every frame's delay.
    if (portfolio_->FramesWaiting()) return std::chrono::steady_clock::duration::zero();
    const double now = clock_.Now();
    const double longest = std::chrono::duration<double>(kLongestSleep).count();
    const double due = portfolio_->NextDue(now + longest / 86400.0);
    // Half a millisecond late rather than early: an early wake finds nothing due yet.
    const double seconds = std::clamp((due - now) * 86400.0 + 0.0005, 0.0, longest);
    const auto wait = std::chrono::duration_cast<std::chrono::steady_clock::duration>(
        std::chrono::duration<double>(seconds));
    return std::max<std::chrono::steady_clock::duration>(wait, kUpdateInterval);
}

void Application::tmrUpdateCanvas_Timer() {
    ++ticks_;
    if (!running_ || !portfolio_) return;
    if (!portfolio_->Tick(clock_.Now())) RequestQuit(*this);
}

void Application::Stop() {
    StopUpdateTimer();
    loop_->context.stop();
}

} // namespace tess
