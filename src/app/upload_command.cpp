#include "app/upload_command.h"

#include "app/command_station.h"
#include "base/log.h"
#include "base/text.h"
#include "document/portfolio.h"
#include "imaging/text/text_renderer.h"
#include "publish/ftp_push.h"
#include "publish/url_fetcher.h"
#include "settings/numbers.h"

#include <filesystem>
#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>
#include <asio/io_context.hpp>

namespace tess {

namespace {

constexpr int kExitFailed = 1;
constexpr int kExitBadInput = 2;

// The picture as the update loop would make it now, URL pictures included.
const DIB& ComposeNow(Canvas& canvas, CommandStation& station, asio::io_context& loop,
                      UrlFetcher& fetcher, TextRenderer& text) {
    CompositionServices services;
    services.now = station.Now();
    services.tags = station.Tags();
    services.text_renderer = &text;
    services.url_fetcher = &fetcher;
    canvas.UpdateImage(services);
    if (fetcher.InFlight() > 0) {
        loop.run();
        loop.restart();
        canvas.UpdateImage(services);
    }
    return canvas.ComposedDIB();
}

} // namespace

int RunUploadCommand(const std::string& canvas_file, std::ostream& out, std::ostream& err) {
    const std::string path = PathFromSettings(canvas_file);
    if (std::error_code ec; !std::filesystem::is_regular_file(path, ec)) {
        err << "upload: '" << canvas_file << "': no such canvas file\n";
        return kExitBadInput;
    }
    InitNumberFormat();
    // The steps are printed below; the log would say each of them twice.
    LogSetStderrLevel(LogLevel::Warning);
    CommandStation station;
    station.SetTime("upload", "", err);
    station.LoadWeather("upload", "", err);

    asio::io_context loop; // outlives the push's transfer engine
    Portfolio portfolio(station.Sun());
    Canvas& canvas = portfolio.Canvas(1);
    canvas.SetFileName(canvas_file);
    canvas.LoadFile(Canvas::FileAccess::ReadOnly);
    canvas.SetEnabled(true);
    if (!canvas.SizeProblem().empty()) {
        err << "upload: '" << canvas_file << "': " << canvas.SizeProblem() << "\n";
        return kExitBadInput;
    }
    FTPPush& push = canvas.FTPPush();
    if (push.ServerName().empty()) {
        err << "upload: '" << canvas_file << "': [FTPPush] ServerName is empty\n";
        return kExitBadInput;
    }

    UrlFetcher fetcher(loop);
    TextRenderer text;
    const DIB& picture = ComposeNow(canvas, station, loop, fetcher, text);
    if (!picture.HasBitmap()) {
        err << "upload: '" << canvas_file << "': the picture could not be made\n";
        return kExitBadInput;
    }
    out << "upload: " << push.Path() << " to " << push.ServerName() << ", mode " << push.FTPMode()
        << "\n";
    push.SetStatusListener([&out](const std::string& step) { out << "  " << step << "\n"; });
    if (!push.Upload(loop, picture)) {
        err << "upload: '" << canvas_file << "': the picture could not be encoded\n";
        return kExitFailed;
    }
    while (push.Uploading())
        loop.run_one();
    // The last report may still be queued; the state says how it ended.
    loop.poll();
    if (push.Stage() == 1) {
        err << "upload: " << push.ServerName() << ": the upload failed: " << push.Status() << "\n";
        return kExitFailed;
    }
    return 0;
}

void AddUploadCommand(CLI::App& cli, int& status) {
    auto canvas = std::make_shared<std::string>();
    CLI::App* upload = cli.add_subcommand(
        "upload", "Compose one canvas file and push it once with its FTP settings");
    upload->add_option("canvas", *canvas, "The canvas file (.can)")->required();
    upload->callback(
        [canvas, &status] { status = RunUploadCommand(*canvas, std::cout, std::cerr); });
}

} // namespace tess
