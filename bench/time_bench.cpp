// The two questions every timed object asks on every tick: when am I next due
// (CalcNextUpdate) and is my output on (Schedule::EnableNow). A full portfolio asks them
// thousands of times per tick, so each must cost well under a microsecond. Reading the
// system clock is measured beside them as the yardstick.

#include "settings/vb_date.h"
#include "time/clock.h"
#include "time/local_time.h"
#include "time/next_update.h"
#include "time/schedule.h"
#include "time/sun.h"
#include "time/time_zone.h"

#include <ctime>

#include <benchmark/benchmark.h>

namespace {

const double kNoon = tess::DateSerial(2024, 6, 21) + 0.5;
constexpr double kStep = 1e-7; // about 9 ms: each call sees a new "now"

void BM_ClockGettime(benchmark::State& state) {
    timespec t{};
    for (auto _ : state) {
        clock_gettime(CLOCK_REALTIME, &t);
        benchmark::DoNotOptimize(t);
    }
}
BENCHMARK(BM_ClockGettime);

void BM_ClockNowSystem(benchmark::State& state) {
    tess::Clock clock;
    for (auto _ : state)
        benchmark::DoNotOptimize(clock.Now());
}
BENCHMARK(BM_ClockNowSystem);

void BM_CalcNextUpdate(benchmark::State& state) {
    double now = kNoon;
    for (auto _ : state) {
        benchmark::DoNotOptimize(tess::CalcNextUpdate(1.0 / 30, 1800, now));
        now += kStep;
    }
}
BENCHMARK(BM_CalcNextUpdate);

// EnableNow with the real sun service. `system_clock`: the sun's cache check reads the
// system clock on each call; otherwise the clock is fixed, as it is within one tick.
void EnableNow(benchmark::State& state, int start_mode, bool system_clock) {
    tess::Clock clock;
    if (!system_clock) clock.SetFixed(kNoon);
    tess::TimeZone zone(clock);
    tess::Sun sun(clock, zone);
    sun.SetStation(52.5, 13.4);
    tess::Schedule schedule(sun);
    schedule.SetScheduleMode(start_mode < 0 ? 0 : 1);
    schedule.SetStartMode(start_mode < 0 ? 0 : start_mode);
    schedule.SetStartAbsoluteTime(tess::TimeSerial(7, 0, 0));
    schedule.SetStartSunsetOffset(30);
    schedule.SetStopMode(1);
    schedule.SetStopSunriseOffset(-15);
    schedule.SetCanvasIndex(1);
    int redraws = 0;
    schedule.SetRedrawCallback([&redraws](int) { ++redraws; });
    double now = kNoon;
    for (auto _ : state) {
        benchmark::DoNotOptimize(schedule.EnableNow(now));
        now += kStep;
    }
    state.counters["redraws"] = redraws;
}

void BM_EnableNowAllDay(benchmark::State& state) {
    EnableNow(state, -1, false);
}
BENCHMARK(BM_EnableNowAllDay);

void BM_EnableNowAbsoluteToSunrise(benchmark::State& state) {
    EnableNow(state, 0, false);
}
BENCHMARK(BM_EnableNowAbsoluteToSunrise);

void BM_EnableNowSunsetToSunrise(benchmark::State& state) {
    EnableNow(state, 2, false);
}
BENCHMARK(BM_EnableNowSunsetToSunrise);

void BM_EnableNowSunsetToSunriseSystemClock(benchmark::State& state) {
    EnableNow(state, 2, true);
}
BENCHMARK(BM_EnableNowSunsetToSunriseSystemClock);

} // namespace

BENCHMARK_MAIN();
