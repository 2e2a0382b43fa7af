#include "app/tags_command.h"

#include "app/command_station.h"
#include "settings/numbers.h"

#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>

namespace tess {

namespace {
constexpr int kExitBadInput = 2;
}

int RunTagsCommand(const TagsRequest& request, std::ostream& out, std::ostream& err) {
    InitNumberFormat(); // weather values show in the user's locale, as on the pictures
    CommandStation station;
    if (!station.SetTime("tags", request.at, err)) return kExitBadInput;
    if (!station.LoadWeather("tags", request.csv, err)) return kExitBadInput;
    station.SetStation(request.latitude, request.longitude);
    out << ProcessText(request.text, station.Tags()) << "\n";
    return 0;
}

void AddTagsCommand(CLI::App& cli, int& status) {
    auto request = std::make_shared<TagsRequest>();
    CLI::App* tags = cli.add_subcommand(
        "tags", "Print a text with its tags expanded (see README.md for the tags)");
    tags->add_option("text", request->text, "The text, such as \"<TIME> <csvouttemp>\"")
        ->required();
    tags->add_option("--at", request->at, "The time, \"YYYY-MM-DD HH:MM:SS[.ff]\" (default: now)");
    tags->add_option("--csv", request->csv,
                     "A weather station CSV file (default: lastdata.csv when there)");
    tags->add_option("--lat", request->latitude, "Latitude in degrees, north positive")
        ->check(CLI::Range(-90.0, 90.0));
    tags->add_option("--lon", request->longitude, "Longitude in degrees, east positive")
        ->check(CLI::Range(-180.0, 180.0));
    tags->callback([request, &status] { status = RunTagsCommand(*request, std::cout, std::cerr); });
}

} // namespace tess
