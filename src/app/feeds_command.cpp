#include "app/feeds_command.h"

#include "app/camera_hosting.h"
#include "capture/capture_drivers.h"
#include "capture/ffmpeg_capture.h"
#include "capture/video_feed.h"

#include <chrono>
#include <iostream>
#include <memory>
#include <thread>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

namespace tess {

namespace {

// What the source delivers: asked of every source at once, so the wait is paid only once.
std::array<std::string, CaptureDrivers::kDrivers> ProbeFormats(const CaptureDrivers& drivers,
                                                               double wait_seconds) {
    std::array<std::string, CaptureDrivers::kDrivers> formats;
    std::array<std::unique_ptr<CaptureDriver>, CaptureDrivers::kDrivers> open;
    for (int i = 0; i < CaptureDrivers::kDrivers; ++i) {
        const DriverEntry* entry = drivers.Entry(i);
        if (!entry) continue;
        if (entry->source.kind == CameraKind::Invalid) {
            formats[i] = entry->source.problem;
            continue;
        }
        if (entry->source.kind == CameraKind::V4L2)
            formats[i] = V4l2CurrentFormat(entry->source.address);
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
            const bool got = driver.DeliverFrame([&](const VideoHeader&) {
                int width = 0, height = 0;
                driver.Status(width, height);
                const VideoFormat format = driver.Format();
                formats[i] = fmt::format("{} x {}, {} bits{}", width, height, format.bit_count,
                                         formats[i].empty() ? "" : " (" + formats[i] + ")");
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
        if (open[i]) formats[i] = "no frame yet: " + open[i]->StateText();
    return formats;
}

} // namespace

int RunFeedsCommand(const std::string& settings_file, double wait_seconds, std::ostream& out,
                    std::ostream& err) {
    std::vector<std::string> problems;
    const std::shared_ptr<CaptureDrivers> drivers = FindCaptureDrivers(settings_file, problems);
    for (const std::string& problem : problems)
        err << problem << "\n";
    const auto formats = ProbeFormats(*drivers, wait_seconds);
    CaptureServices services;
    services.drivers = drivers.get();
    for (int i = 0; i < CaptureDrivers::kDrivers; ++i) {
        const DriverEntry* entry = drivers->Entry(i);
        if (!entry) {
            out << fmt::format("{}  (none)\n", i);
            continue;
        }
        VideoFeed feed; // for the name users see, numbered when two are the same
        feed.SetCaptureServices(&services);
        feed.SetVfWInput(i);
        out << fmt::format("{}  {}  [{}]  {}  {}\n", i, feed.GetFeedName(),
                           CameraKindName(entry->source.kind), entry->url, formats[i]);
    }
    return 0;
}

void AddFeedsCommand(CLI::App& cli, int& status) {
    auto wait = std::make_shared<double>(4.0);
    CLI::App* feeds = cli.add_subcommand(
        "feeds", "List the video feeds 0..9: cameras from Tessarolle.INI [Cameras], then the "
                 "V4L2 webcams found, with the frames each delivers");
    feeds->add_option("--wait", *wait, "Seconds to wait for each source's first frame")
        ->check(CLI::Range(0.0, 60.0));
    feeds->callback([wait, &status] {
        status = RunFeedsCommand("Tessarolle.INI", *wait, std::cout, std::cerr);
    });
}

} // namespace tess
