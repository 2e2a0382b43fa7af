#include "app/application.h"

#include "app/user_interface.h"
#include "document/portfolio.h"

#include <asio/io_context.hpp>
#include <asio/steady_timer.hpp>

namespace tess {

struct Application::LoopState {
    asio::io_context context;
    asio::steady_timer update_timer{context};
    bool timer_enabled = false;
    std::chrono::steady_clock::time_point next_tick;
};

Application::Application(UserInterface& ui, std::string directory)
    : ui_(ui), directory_(std::move(directory)), loop_(std::make_unique<LoopState>()) {}

Application::~Application() = default;

asio::io_context& Application::Loop() {
    return loop_->context;
}

std::string Application::PathInDirectory(const std::string& name) const {
    return directory_.empty() || directory_ == "." ? name : directory_ + "/" + name;
}

void Application::SetCurrentPortfolio(std::unique_ptr<Portfolio> portfolio) {
    portfolio_ = std::move(portfolio);
}

std::unique_ptr<Portfolio> Application::ReleasePortfolio() {
    return std::move(portfolio_);
}

void Application::StartUpdateTimer() {
    if (loop_->timer_enabled) return;
    loop_->timer_enabled = true;
    loop_->next_tick = std::chrono::steady_clock::now() + kUpdateInterval;
    ScheduleTick();
}

void Application::StopUpdateTimer() {
    loop_->timer_enabled = false;
    loop_->update_timer.cancel();
}

void Application::ScheduleTick() {
    loop_->update_timer.expires_at(loop_->next_tick);
    loop_->update_timer.async_wait([this](const std::error_code& ec) {
        if (ec || !loop_->timer_enabled) return;
        // Ticks keep their cadence; a tick that ran long delays the next one, never doubles it.
        auto now = std::chrono::steady_clock::now();
        loop_->next_tick += kUpdateInterval;
        if (loop_->next_tick <= now) loop_->next_tick = now + kUpdateInterval;
        ScheduleTick();
        tmrUpdateCanvas_Timer();
    });
}

void Application::tmrUpdateCanvas_Timer() {
    ++ticks_;
    if (!running_ || !portfolio_) return;
}

void Application::Stop() {
    StopUpdateTimer();
    loop_->context.stop();
}

} // namespace tess
