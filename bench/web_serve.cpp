// The web server as the running program has it, for load tests from outside (see
// bench/web_vs_nginx.sh): the Application's event loop and update timer, a portfolio whose
// canvas 1 composes a 1280 x 720 camera-like frame from a bitmap file, served as
// "Canvas01.jpg" and saved as a fixed file every second, and a 10 ms probe timer on the same
// loop that measures how late timers run while requests pour in.
//
//   web_serve --port N [--interval SECONDS] [--web FOLDER] [--frame-quality Q]
//
// With --frame-quality the frame is kept as a JPEG file of that quality instead of a bitmap,
// as a camera would deliver it; the served picture then carries that JPEG's artefacts too.
//
// SIGUSR1 starts a measurement window, SIGUSR2 prints one line about it (fixed file saves,
// update ticks, probe lateness, memory); SIGINT or SIGTERM end the program.

#include "app/application.h"
#include "app/headless_ui.h"
#include "app/portfolio_hosting.h"
#include "base/log.h"
#include "document/portfolio.h"
#include "imaging/bmp_writer.h"
#include "imaging/jpeg.h"
#include "web_frame.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include <asio/signal_set.hpp>
#include <asio/steady_timer.hpp>

namespace {

using Steady = std::chrono::steady_clock;
std::string fixed_file; // the canvas's fixed file, watched for its saves
constexpr auto kProbePeriod = std::chrono::milliseconds(10);

struct Window {
    Steady::time_point start = Steady::now();
    std::uint64_t ticks_at_start = 0;
    std::vector<double> late_ms;
    ino_t fixed_inode = 0; // each save of the fixed file is a new file renamed into place
    int fixed_writes = 0;
};

std::string StatusValue(const char* key) {
    std::ifstream in("/proc/self/status");
    for (std::string line; std::getline(in, line);) {
        if (line.rfind(key, 0) == 0) return line.substr(std::strlen(key));
    }
    return "?";
}

void Report(const tess::Application& app, Window& w) {
    double seconds = std::chrono::duration<double>(Steady::now() - w.start).count();
    auto& late = w.late_ms;
    std::sort(late.begin(), late.end());
    auto at = [&](double q) { return late.empty() ? 0.0 : late[(late.size() - 1) * q]; };
    std::printf("window %.2f s: fixed file saved %d times (%.2f/s, 1/s due); update ticks %llu; "
                "probe timer late median %.3f ms, p99 %.3f ms, max %.3f ms over %zu; VmRSS%s; "
                "VmHWM%s\n",
                seconds, w.fixed_writes, w.fixed_writes / seconds,
                static_cast<unsigned long long>(app.TickCount() - w.ticks_at_start), at(0.5),
                at(0.99), at(1.0), late.size(), StatusValue("VmRSS:").c_str(),
                StatusValue("VmHWM:").c_str());
    std::fflush(stdout);
}

void Probe(asio::steady_timer& timer, Steady::time_point due, Window& w) {
    timer.expires_at(due);
    timer.async_wait([&timer, due, &w](const std::error_code& ec) {
        if (ec) return;
        w.late_ms.push_back(std::chrono::duration<double, std::milli>(Steady::now() - due).count());
        struct stat st {};
        if (::stat(fixed_file.c_str(), &st) == 0 && st.st_ino != w.fixed_inode) {
            if (w.fixed_inode != 0) ++w.fixed_writes;
            w.fixed_inode = st.st_ino;
        }
        Probe(timer, due + kProbePeriod, w);
    });
}

} // namespace

int main(int argc, char** argv) {
    int port = 18080;
    double interval = 60;
    std::string web = "web";
    int frame_quality = 0; // 0: a bitmap
    for (int i = 1; i + 1 < argc; i += 2) {
        std::string flag = argv[i];
        if (flag == "--port") port = std::atoi(argv[i + 1]);
        if (flag == "--interval") interval = std::atof(argv[i + 1]);
        if (flag == "--web") web = argv[i + 1];
        if (flag == "--frame-quality") frame_quality = std::atoi(argv[i + 1]);
    }
    std::signal(SIGPIPE, SIG_IGN);
    tess::LogSetStderrLevel(tess::LogLevel::Warning);
    tess::HeadlessUI ui;
    tess::Application app(ui, ".");
    app.SetRunning(true);
    auto portfolio = std::make_unique<tess::Portfolio>(app.StationSun());
    tess::HostPortfolio(app, *portfolio);
    tess::Canvas& canvas = portfolio->Canvas(1);
    canvas.SetFileName("bench.can");
    canvas.SetEnabled(true);
    canvas.SetWidthHeight(1280, 720);
    // The frame and the fixed file live in a folder of their own, gone at the end.
    const std::filesystem::path files =
        std::filesystem::temp_directory_path() / ("tess-web-serve-" + std::to_string(::getpid()));
    std::filesystem::create_directories(files);
    const std::string frame_file = (files / (frame_quality ? "frame.jpg" : "frame.bmp")).string();
    fixed_file = (files / "fixed.jpg").string();
    {
        // A bitmap keeps the frame without loss, so that the served picture is the frame itself.
        tess::DIB frame;
        tess::bench::FillCameraFrame(frame);
        const std::vector<std::uint8_t> bytes =
            frame_quality ? tess::EncodeJpeg(frame, frame_quality) : tess::EncodeBmp(frame);
        std::ofstream(frame_file, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), static_cast<long>(bytes.size()));
    }
    tess::GraphicItem& camera = canvas.AddGraphic(1);
    camera.SetEnabled(true);
    camera.SetSourceType(static_cast<int>(tess::SourceType::GraphicFile));
    camera.SetSourceFileName(frame_file);
    camera.SetLayer(0);
    // The program's own timing under load: a fixed file saved every second.
    canvas.SetFixedEnabled(true);
    canvas.SetFixedRate(1);
    canvas.SetFixedFileName(fixed_file);
    tess::CanvasWebServer& served = canvas.CanvasWebServer();
    served.SetEnabled(true);
    served.SetFileName("Canvas01.jpg");
    served.SetInterval(interval);
    tess::WebServer& server = portfolio->WebServer();
    server.SetPort(port);
    server.SetWebPath(web);
    server.SetAllowNonCanvasServes(true);
    server.SetEnabled(true);
    if (!server.Listening()) return 1;
    app.SetCurrentPortfolio(std::move(portfolio));
    app.StartUpdateTimer();

    Window window;
    asio::steady_timer probe(app.Loop());
    Probe(probe, Steady::now() + kProbePeriod, window);
    asio::signal_set signals(app.Loop(), SIGINT, SIGTERM, SIGUSR1);
    asio::signal_set report(app.Loop(), SIGUSR2);
    std::function<void()> await_signals = [&] {
        signals.async_wait([&](const std::error_code& ec, int signal) {
            if (ec) return;
            if (signal != SIGUSR1) return app.Stop();
            window = Window{Steady::now(), app.TickCount(), {}, window.fixed_inode, 0};
            await_signals();
        });
    };
    std::function<void()> await_report = [&] {
        report.async_wait([&](const std::error_code& ec, int) {
            if (ec) return;
            Report(app, window);
            await_report();
        });
    };
    await_signals();
    await_report();
    std::printf("serving on port %d, interval %g s\n", server.ListeningPort(), interval);
    std::fflush(stdout);
    app.Loop().run();
    if (auto open = app.ReleasePortfolio()) open->Unload();
    std::error_code ignored;
    std::filesystem::remove_all(files, ignored);
    return 0;
}
