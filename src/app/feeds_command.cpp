#include "app/feeds_command.h"

#include "app/camera_hosting.h"
#include "capture/capture_drivers.h"
#include "capture/video_feed.h"

#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

namespace tess {

int RunFeedsCommand(const std::string& settings_file, double wait_seconds, std::ostream& out,
                    std::ostream& err) {
    std::vector<std::string> problems;
    const std::shared_ptr<CaptureDrivers> drivers = FindCaptureDrivers(settings_file, problems);
    for (const std::string& problem : problems)
        err << problem << "\n";
    std::array<bool, CaptureDrivers::kDrivers> all;
    all.fill(true);
    const CameraProbes probes = ProbeCameras(*drivers, wait_seconds, all);
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
                           CameraKindName(entry->source.kind), entry->url, probes[i].text);
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
