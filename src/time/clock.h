#pragma once

// The program's "now": a local date with sub-second resolution. Every timed object asks one
// Clock so that tests, and options that run the program at a chosen time, can set it.

#include <functional>
#include <utility>

namespace tess {

class Clock {
public:
    using Source = std::function<double()>;

    Clock() = default; // the system clock
    explicit Clock(Source source) : source_(std::move(source)) {}

    double Now() const { return source_ ? source_() : SystemNow(); }

    // An empty source goes back to the system clock.
    void SetSource(Source source) { source_ = std::move(source); }
    // "Now" stays at `date` until set again.
    void SetFixed(double date) {
        source_ = [date] { return date; };
    }

    // The system clock as a local date.
    static double SystemNow();

private:
    Source source_;
};

} // namespace tess
