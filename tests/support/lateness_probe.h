#pragma once

// A timer ticking at a fixed period on an event loop, recording how late each tick ran on
// the steady clock. Ticks are due on a fixed grid (start + n * period), so a loop held up for
// a while shows as every tick it should have run meanwhile being late, not as one.
//
// Each tick also notes how long the loop's thread had been ready to run but waiting for a
// core since the tick before (Linux's schedstat), a lateness that is the machine's, not the
// loop's.

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <vector>

#include <asio/io_context.hpp>
#include <asio/steady_timer.hpp>

namespace tess::test {

class LatenessProbe {
public:
    using Clock = std::chrono::steady_clock;

    LatenessProbe(asio::io_context& loop, std::chrono::microseconds period)
        : timer_(loop), period_(period) {}

    void Start() {
        running_ = true;
        waited_before_ = WaitedForCore();
        due_ = start_ = Clock::now();
        Arm();
    }
    void Stop() {
        running_ = false;
        timer_.cancel();
    }

    std::size_t Ticks() const { return lateness_.size(); }
    // When tick `index` was due, and how late it ran.
    Clock::time_point Due(std::size_t index) const { return start_ + period_ * (index + 1); }
    const std::vector<Clock::duration>& Lateness() const { return lateness_; }
    // How long the loop's thread waited for a core between tick `index` and the one before;
    // zero where the kernel does not say.
    Clock::duration WaitedForCore(std::size_t index) const { return waited_[index]; }
    // The lateness in milliseconds that `fraction` (0.99 for the 99th percentile) of the
    // ticks did not exceed; 1.0 gives the largest.
    double PercentileMs(double fraction) const {
        if (lateness_.empty()) return 0;
        std::vector<Clock::duration> sorted = lateness_;
        std::sort(sorted.begin(), sorted.end());
        auto index = static_cast<std::size_t>(fraction * static_cast<double>(sorted.size() - 1));
        return std::chrono::duration<double, std::milli>(sorted[index]).count();
    }
    double MaxMs() const { return PercentileMs(1.0); }

private:
    static Clock::duration WaitedForCore() {
        unsigned long long running = 0, waiting = 0;
        std::FILE* file = std::fopen("/proc/thread-self/schedstat", "r");
        if (!file) return {};
        if (std::fscanf(file, "%llu %llu", &running, &waiting) != 2) waiting = 0;
        std::fclose(file);
        return std::chrono::nanoseconds(waiting);
    }

    void Arm() {
        due_ += period_;
        timer_.expires_at(due_);
        timer_.async_wait([this](const std::error_code& error) {
            if (error || !running_) return;
            lateness_.push_back(Clock::now() - due_);
            const Clock::duration waited = WaitedForCore();
            waited_.push_back(waited - waited_before_);
            waited_before_ = waited;
            Arm();
        });
    }

    asio::steady_timer timer_;
    std::chrono::microseconds period_;
    Clock::time_point start_;
    Clock::time_point due_;
    bool running_ = false;
    std::vector<Clock::duration> lateness_;
    std::vector<Clock::duration> waited_;
    Clock::duration waited_before_{};
};

} // namespace tess::test
