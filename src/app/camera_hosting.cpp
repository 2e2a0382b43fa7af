#include "app/camera_hosting.h"

#include "app/application.h"
#include "app/user_interface.h"
#include "base/log.h"
#include "capture/capture_drivers.h"
#include "capture/video_feed.h"
#include "document/portfolio.h"

#include <chrono>
#include <thread>

#include <asio/io_context.hpp>
#include <asio/post.hpp>
#include <fmt/format.h>

namespace tess {

std::shared_ptr<CaptureDrivers> FindCaptureDrivers(const std::string& settings_file,
                                                   std::vector<std::string>& problems) {
    auto drivers = std::make_shared<CaptureDrivers>();
    drivers->LoadDeclared(settings_file, problems);
    drivers->AddDevices(FindV4l2Devices());
    return drivers;
}

CameraProbes ProbeCameras(const CaptureDrivers& drivers, double wait_seconds,
                          const std::array<bool, CaptureDrivers::kDrivers>& wanted) {
    CameraProbes probes;
    std::array<std::unique_ptr<CaptureDriver>, CaptureDrivers::kDrivers> open;
    for (int i = 0; i < CaptureDrivers::kDrivers; ++i) {
        const DriverEntry* entry = drivers.Entry(i);
        if (!wanted[i] || !entry) continue;
        if (entry->source.kind == CameraKind::Invalid) {
            probes[i].text = entry->source.problem;
            continue;
        }
        if (entry->source.kind == CameraKind::V4L2)
            probes[i].text = V4l2CurrentFormat(entry->source.address);
        open[i] = drivers.Create(i);
        if (!open[i]->Connect()) open[i].reset();
        if (open[i]) open[i]->RequestFrame();
    }
    const auto end = std::chrono::steady_clock::now() +
                     std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                         std::chrono::duration<double>(wait_seconds));
    bool waiting = true;
    while (waiting && std::chrono::steady_clock::now() < end) {
        waiting = false;
        for (int i = 0; i < CaptureDrivers::kDrivers; ++i) {
            if (!open[i]) continue;
            CaptureDriver& driver = *open[i];
            CameraProbe& probe = probes[i];
            const bool got = driver.DeliverFrame([&](const VideoHeader&) {
                int width = 0, height = 0;
                driver.Status(width, height);
                probe.frame = true;
                probe.text =
                    fmt::format("{} x {}, {} bits{}", width, height, driver.Format().bit_count,
                                probe.text.empty() ? "" : " (" + probe.text + ")");
            });
            if (got) {
                open[i].reset();
                continue;
            }
            waiting = true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    for (int i = 0; i < CaptureDrivers::kDrivers; ++i)
        if (open[i]) probes[i].text = "no frame yet: " + open[i]->StateText();
    return probes;
}

namespace {

void SetDrivers(Application& app, Portfolio& portfolio, std::shared_ptr<CaptureDrivers> drivers) {
    // Reader threads only post: everything else happens on the loop.
    asio::io_context& loop = app.Loop();
    drivers->SetFrameReady([&loop, &app] { asio::post(loop, [&app] { app.WakeSoon(); }); });
    CaptureServices services;
    services.now = [&app] { return app.AppClock().Now(); };
    services.message = [&app](std::string_view text, std::string_view caption) {
        app.UI().ShowMessage(text, caption);
    };
    portfolio.SetCapture(std::move(drivers), std::move(services));
}

std::shared_ptr<CaptureDrivers> FindAndReport(Application& app) {
    std::vector<std::string> problems;
    auto drivers = FindCaptureDrivers(app.PathInDirectory("Tessarolle.INI"), problems);
    for (const std::string& problem : problems)
        LogWarning("camera not usable: {}", problem);
    return drivers;
}

std::string Named(const DriverEntry* entry) {
    return entry ? "'" + entry->name + "' (" + entry->url + ")" : std::string("none");
}

} // namespace

void HostCameras(Application& app, Portfolio& portfolio) {
    SetDrivers(app, portfolio, FindAndReport(app));
}

void ReloadCameras(Application& app, Portfolio& portfolio) {
    auto drivers = FindAndReport(app);
    const auto* old = dynamic_cast<const CaptureDrivers*>(portfolio.Drivers());
    for (int i = 0; i < CaptureDrivers::kDrivers; ++i) {
        const DriverEntry* before = old ? old->Entry(i) : nullptr;
        const DriverEntry* after = drivers->Entry(i);
        if (!before && !after) continue;
        if (before && after && before->url == after->url && before->name == after->name) continue;
        LogInfo("reload: camera {}: {} -> {}", i, Named(before), Named(after));
        VideoFeed& feed = portfolio.VideoFeed(i);
        if (feed.Enabled()) feed.SetEnabled(false);
    }
    SetDrivers(app, portfolio, std::move(drivers));
}

} // namespace tess
