#include "app/render_command.h"

#include "app/command_station.h"
#include "base/error.h"
#include "base/log.h"
#include "base/text.h"
#include "document/output_files.h"
#include "document/portfolio.h"
#include "imaging/jpeg.h"
#include "imaging/text/text_renderer.h"
#include "publish/url_fetcher.h"
#include "settings/numbers.h"

#include <filesystem>
#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>
#include <asio/io_context.hpp>

namespace tess {

namespace {

constexpr int kExitNotWritten = 1;
constexpr int kExitBadInput = 2;

// Pictures from URLs arrive after the first pass: the loop runs until the downloads are
// done (each within its time-out), and a second pass at the same moment takes them in.
void Compose(Canvas& canvas, CompositionServices& services, asio::io_context& loop,
             UrlFetcher& fetcher) {
    canvas.UpdateImage(services);
    if (fetcher.InFlight() == 0) return;
    loop.run();
    canvas.UpdateImage(services);
}

} // namespace

int RunRenderCommand(const RenderRequest& request, std::ostream& out, std::ostream& err) {
    const std::string path = PathFromSettings(request.canvas);
    if (std::error_code ec; !std::filesystem::is_regular_file(path, ec)) {
        err << "render: '" << request.canvas << "': no such canvas file\n";
        return kExitBadInput;
    }
    InitNumberFormat();
    CommandStation station;
    if (!station.SetTime("render", request.at, err)) return kExitBadInput;
    station.LoadWeather("render", "", err);
    station.SetStation(request.latitude, request.longitude);

    Portfolio portfolio(station.Sun());
    Canvas& canvas = portfolio.Canvas(1);
    canvas.SetFileName(request.canvas);
    canvas.LoadFile(Canvas::FileAccess::ReadOnly);
    canvas.SetEnabled(true);
    if (!canvas.SizeProblem().empty()) {
        err << "render: '" << request.canvas << "': " << canvas.SizeProblem() << "\n";
        return kExitBadInput;
    }

    asio::io_context loop;
    UrlFetcher fetcher(loop);
    TextRenderer text;
    CompositionServices services;
    services.now = station.Now();
    services.tags = station.Tags();
    services.text_renderer = &text;
    services.url_fetcher = &fetcher;
    Compose(canvas, services, loop, fetcher);
    const DIB& picture = canvas.ComposedDIB();
    if (!picture.HasBitmap()) {
        err << "render: '" << request.canvas << "': the picture of " << canvas.Width() << " x "
            << canvas.Height() << " pixels could not be made\n";
        return kExitBadInput;
    }

    const int quality = request.quality ? *request.quality : canvas.FixedQuality();
    const std::vector<std::uint8_t> jpeg = EncodeJpeg(picture, quality);
    try {
        if (jpeg.empty())
            throw TessError(ErrorNumber::InvalidCall, "the picture could not be encoded");
        WriteOutputFile(request.output, jpeg, "picture");
    } catch (const TessError& e) {
        err << "render: '" << request.output << "': " << e.Description() << "\n";
        return kExitNotWritten;
    }
    out << request.output << ": " << picture.Width() << " x " << picture.Height() << ", "
        << jpeg.size() << " bytes\n";
    return 0;
}

void AddRenderCommand(CLI::App& cli, int& status) {
    auto request = std::make_shared<RenderRequest>();
    CLI::App* render = cli.add_subcommand(
        "render", "Compose one canvas file at a given time and write it as a JPEG file");
    render->add_option("canvas", request->canvas, "The canvas file (.can)")->required();
    render->add_option("-o,--output", request->output, "The JPEG file to write")->required();
    render->add_option("--at", request->at, "The time, \"YYYY-MM-DD HH:MM:SS\" (default: now)");
    render
        ->add_option("--quality", request->quality,
                     "JPEG quality 0-100 (default: the canvas's fixed-file quality)")
        ->check(CLI::Range(0, 100));
    render->add_option("--lat", request->latitude, "Latitude in degrees, north positive")
        ->check(CLI::Range(-90.0, 90.0));
    render->add_option("--lon", request->longitude, "Longitude in degrees, east positive")
        ->check(CLI::Range(-180.0, 180.0));
    render->callback(
        [request, &status] { status = RunRenderCommand(*request, std::cout, std::cerr); });
}

} // namespace tess
