#include "app/check_command.h"

#include "app/camera_hosting.h"
#include "app/command_station.h"
#include "app/exit_status.h"
#include "app/instance_lock.h"
#include "base/errors_txt.h"
#include "base/log.h"
#include "base/text.h"
#include "capture/video_feed.h"
#include "document/portfolio.h"
#include "imaging/text/text_renderer.h"
#include "publish/ftp_control.h"
#include "publish/url_fetcher.h"
#include "settings/numbers.h"

#include <chrono>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>

#include <CLI/CLI.hpp>
#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <fmt/format.h>

namespace tess {

namespace {

constexpr const char* kLockFile = "Tessarolle.lock";

// One composition of each canvas, as the first tick of a run makes it: pictures are read and
// decoded, fonts resolved, and with a fetcher the URLs downloaded. The problems are the
// loaders' own log lines.
void ComposeCanvases(Portfolio& portfolio, CommandStation& station, UrlFetcher* fetcher,
                     asio::io_context& loop) {
    TextRenderer text;
    CompositionServices services;
    services.now = station.Now();
    services.tags = station.Tags();
    services.text_renderer = &text;
    services.url_fetcher = fetcher;
    for (int slot = 1; slot <= Portfolio::kCanvasSlots; ++slot) {
        Canvas& canvas = portfolio.Canvas(slot);
        if (canvas.FileName().empty()) continue;
        canvas.UpdateImage(services);
        if (!fetcher || fetcher->InFlight() == 0) continue;
        loop.restart();
        loop.run();
        canvas.UpdateImage(services); // takes in what the downloads brought
    }
}

// The web port as the server binds it. A running program in this folder holds the port
// itself, which is no problem: it gives the port up when it stops.
void CheckWebPort(Portfolio& portfolio) {
    WebServer& web = portfolio.WebServer();
    if (!web.Enabled() || web.Port() <= 0) return;
    InstanceLock lock;
    std::error_code ec;
    // Without the lock file nobody runs here; it is not made just to look.
    if (std::filesystem::exists(kLockFile, ec) && !lock.Acquire(kLockFile)) {
        LogInfo("web server: port {} not checked: Tessarolle runs in this folder (process {})",
                web.Port(), InstanceLock::HolderPid(kLockFile));
        return;
    }
    asio::io_context loop;
    asio::ip::tcp::acceptor acceptor(loop);
    const asio::ip::tcp::endpoint endpoint(asio::ip::address_v4::any(),
                                           static_cast<std::uint16_t>(web.Port()));
    acceptor.open(endpoint.protocol(), ec);
    if (!ec) acceptor.set_option(asio::socket_base::reuse_address(true), ec);
    if (!ec) acceptor.bind(endpoint, ec);
    if (!ec) acceptor.listen(asio::socket_base::max_listen_connections, ec);
    if (ec) {
        LogError("portfolio '{}' [WebServer] Port: cannot listen on port {}: {}",
                 portfolio.FileName(), web.Port(), ec.message());
    }
}

// Logs in to the canvas's FTP server and leaves again.
void CheckFtpServer(const Canvas& canvas, double timeout_seconds) {
    const FTPPush& push = canvas.FTPPush();
    asio::io_context loop;
    std::optional<int> state;
    FtpControl control(loop, [&state](int s) { state = s; });
    FtpLogin login;
    login.server = push.ServerName();
    login.user = push.UserName();
    login.password = push.Password();
    login.server_key = push.ServerKey();
    login.timeout_seconds = static_cast<int>(timeout_seconds);
    control.SetLogin(login);
    control.Execute({FtpCommandKind::Connect, "./", "", nullptr});
    const auto limit = std::chrono::duration<double>(timeout_seconds + 2);
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!state && std::chrono::steady_clock::now() < end) {
        if (loop.run_one_for(std::chrono::milliseconds(100)) == 0 && loop.stopped()) loop.restart();
    }
    if (state == FtpControl::kStateResponseCompleted) return;
    const std::string why = state ? control.ResponseInfo() : std::string("no answer in time");
    LogError("canvas file '{}' [FTPPush] ServerName: the FTP server '{}' cannot be reached: {}",
             canvas.FileName(), push.ServerName(), why);
    control.Cancel();
}

void CheckFtpServers(Portfolio& portfolio, double timeout_seconds) {
    for (int slot = 1; slot <= Portfolio::kCanvasSlots; ++slot) {
        const Canvas& canvas = portfolio.Canvas(slot);
        if (canvas.FileName().empty() || !canvas.FTPPush().Enabled()) continue;
        if (Trim(canvas.FTPPush().ServerName()).empty()) continue;
        CheckFtpServer(canvas, timeout_seconds);
    }
}

// The enabled feeds' cameras: each must exist, and with the network each must give a
// picture. Webcams are left alone while the program runs here, since it holds them.
void CheckCameras(Portfolio& portfolio, bool network, double timeout_seconds) {
    std::vector<std::string> problems;
    const auto drivers = FindCaptureDrivers("Tessarolle.INI", problems);
    for (const std::string& problem : problems)
        LogWarning("camera not usable: {}", problem);
    std::error_code ec;
    InstanceLock lock;
    const bool running = std::filesystem::exists(kLockFile, ec) && !lock.Acquire(kLockFile);
    std::array<bool, CaptureDrivers::kDrivers> wanted{};
    for (int i = 0; i < CaptureDrivers::kDrivers; ++i) {
        const VideoFeed& feed = portfolio.VideoFeed(i);
        if (!feed.Enabled()) continue;
        const DriverEntry* entry = drivers->Entry(i);
        if (!entry) {
            LogError("portfolio '{}' [VideoFeeds] Feed{}Enabled: feed {} '{}' has no camera: "
                     "Tessarolle.INI [Cameras] declares no Camera{} and no webcam was found",
                     portfolio.FileName(), i, i, feed.FeedName(), i);
            continue;
        }
        wanted[i] = network && entry->source.kind != CameraKind::Invalid &&
                    !(running && entry->source.kind == CameraKind::V4L2);
    }
    const CameraProbes probes = ProbeCameras(*drivers, timeout_seconds, wanted);
    for (int i = 0; i < CaptureDrivers::kDrivers; ++i) {
        if (!wanted[i] || probes[i].frame) continue;
        LogError("portfolio '{}' [VideoFeeds] Feed{}Enabled: feed {} '{}' ({}) gave no picture "
                 "in {} s: {}",
                 portfolio.FileName(), i, i, portfolio.VideoFeed(i).FeedName(),
                 drivers->Entry(i)->url, timeout_seconds, probes[i].text);
    }
}

void CheckPortfolio(const CheckRequest& request, CommandStation& station) {
    Portfolio portfolio(station.Sun());
    portfolio.SetFileName(request.portfolio);
    portfolio.LoadFile(Canvas::FileAccess::ReadOnly);
    asio::io_context loop;
    std::unique_ptr<UrlFetcher> fetcher;
    if (request.network) {
        UrlFetchLimits limits;
        limits.timeout_seconds = request.network_timeout;
        limits.connect_timeout_seconds = request.network_timeout;
        fetcher = std::make_unique<UrlFetcher>(loop, limits);
    }
    ComposeCanvases(portfolio, station, fetcher.get(), loop);
    CheckWebPort(portfolio);
    CheckCameras(portfolio, request.network, request.network_timeout);
    if (request.network) CheckFtpServers(portfolio, request.network_timeout);
    fetcher.reset();
    portfolio.Unload();
}

} // namespace

int RunCheckCommand(const CheckRequest& request, std::ostream& out, std::ostream& err) {
    if (std::error_code ec;
        !std::filesystem::is_regular_file(PathFromSettings(request.portfolio), ec)) {
        err << "check: '" << request.portfolio << "': no such portfolio file\n";
        return kExitUsage;
    }
    InitNumberFormat();
    CommandStation station;
    station.SetTime("check", "", err);
    station.SetStation(std::nullopt, std::nullopt);
    LogCapture capture;
    SetErrorsTxtEnabled(false);
    CheckPortfolio(request, station);
    SetErrorsTxtEnabled(true);
    for (const LogCapture::Entry& entry : capture.Entries())
        out << (entry.level == LogLevel::Error ? "error: " : "warning: ") << entry.text << "\n";
    const std::size_t count = capture.Entries().size();
    if (count == 0) {
        out << "check: '" << request.portfolio << "': no problems found"
            << (request.network ? "" : " (URLs, FTP servers and cameras not tried; add --network)")
            << "\n";
        return kExitOk;
    }
    out << fmt::format("check: '{}': {} problem{} found\n", request.portfolio, count,
                       count == 1 ? "" : "s");
    return kExitProblemsFound;
}

void AddCheckCommand(CLI::App& cli, int& status) {
    auto request = std::make_shared<CheckRequest>();
    CLI::App* check = cli.add_subcommand(
        "check", "Load a portfolio and its canvases without writing anything and report every "
                 "problem found; exit status 5 when there are any");
    check->add_option("portfolio", request->portfolio, "The portfolio file (.por)")->required();
    check->add_flag("--network", request->network,
                    "Also download the URLs of graphic items, log in to the FTP servers and "
                    "wait for a picture from each enabled camera");
    check
        ->add_option("--timeout", request->network_timeout,
                     "Seconds given to each URL, FTP server and camera with --network (default 10)")
        ->check(CLI::Range(1.0, 300.0));
    check->callback(
        [request, &status] { status = RunCheckCommand(*request, std::cout, std::cerr); });
}

} // namespace tess
