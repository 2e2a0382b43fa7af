#include "app/render_command.h"

#include "app/command_station.h"
#include "base/error.h"
#include "base/log.h"
#include "base/text.h"
#include "document/output_files.h"
#include "document/portfolio.h"
#include "imaging/bmp_writer.h"
#include "imaging/jpeg.h"
#include "imaging/picture_encoders.h"
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

enum class OutputFormat { Jpeg, Png, Webp, Bmp };

std::optional<OutputFormat> FormatOf(const std::string& output) {
    const std::string extension = ToLowerAscii(std::filesystem::path(output).extension().string());
    if (extension == ".jpg" || extension == ".jpeg" || extension == ".jpe")
        return OutputFormat::Jpeg;
    if (extension == ".png") return OutputFormat::Png;
    if (extension == ".webp") return OutputFormat::Webp;
    if (extension == ".bmp") return OutputFormat::Bmp;
    return std::nullopt;
}

std::vector<std::uint8_t> Encode(const DIB& picture, OutputFormat format, int quality) {
    switch (format) {
    case OutputFormat::Jpeg:
        return EncodeJpeg(picture, quality);
    case OutputFormat::Png:
        return EncodePng(picture);
    case OutputFormat::Webp:
        return EncodeWebp(picture, quality);
    case OutputFormat::Bmp:
        return EncodeBmp(picture);
    }
    return {};
}

} // namespace

int RunRenderCommand(const RenderRequest& request, std::ostream& out, std::ostream& err) {
    const std::string path = PathFromSettings(request.canvas);
    if (std::error_code ec; !std::filesystem::is_regular_file(path, ec)) {
        err << "render: '" << request.canvas << "': no such canvas file\n";
        return kExitBadInput;
    }
    const std::optional<OutputFormat> format = FormatOf(request.output);
    if (!format) {
        err << "render: '" << request.output
            << "': the extension names no format written here; use .jpg, .jpeg, .png, .webp or "
               ".bmp\n";
        return kExitBadInput;
    }
    // A typing mistake in the folder would otherwise leave pictures where nobody looks.
    const std::filesystem::path folder = std::filesystem::path(request.output).parent_path();
    if (std::error_code ec; !folder.empty() && !std::filesystem::exists(folder, ec)) {
        err << "render: '" << request.output << "': the folder '" << folder.string()
            << "' does not exist\n";
        return kExitBadInput;
    }
    InitNumberFormat();
    CommandStation station;
    if (!station.SetTime("render", request.at, err)) return kExitBadInput;
    if (!station.LoadWeather("render", request.csv, err)) return kExitBadInput;
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
    const std::vector<std::uint8_t> bytes = Encode(picture, *format, quality);
    try {
        if (bytes.empty())
            throw TessError(ErrorNumber::InvalidCall, "the picture could not be encoded");
        WriteOutputFile(request.output, bytes, "picture");
    } catch (const TessError& e) {
        err << "render: '" << request.output << "': " << e.Description() << "\n";
        return kExitNotWritten;
    }
    out << request.output << ": " << picture.Width() << " x " << picture.Height() << ", "
        << bytes.size() << " bytes\n";
    return 0;
}

void AddRenderCommand(CLI::App& cli, int& status) {
    auto request = std::make_shared<RenderRequest>();
    CLI::App* render = cli.add_subcommand(
        "render", "Compose one canvas file at a given time and write it as a picture file");
    render->add_option("canvas", request->canvas, "The canvas file (.can)")->required();
    render
        ->add_option("-o,--output", request->output,
                     "The file to write: .jpg, .png, .webp or .bmp (its folder must exist)")
        ->required();
    render->add_option("--at", request->at,
                       "The time, \"YYYY-MM-DD HH:MM:SS[.ff]\" (default: now)");
    render->add_option("--csv", request->csv,
                       "A weather station CSV file (default: lastdata.csv when there)");
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
