#include "app/tags_command.h"

#include "imaging/tags/process_text.h"
#include "settings/ini.h"
#include "settings/numbers.h"
#include "settings/vb_date.h"
#include "time/clock.h"
#include "time/sun.h"
#include "time/time_zone.h"
#include "weather/karvell.h"

#include <filesystem>
#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>

namespace tess {

namespace {

constexpr int kExitBadInput = 2;

// Trying tags must not create or change anything in a live folder: settings are read
// without writing defaults, and lastdata.csv is only read.
double StationSetting(INI& ini, const char* key) {
    return Str2DblNI(ini.GetKey("General", key, WriteDefault::No, "0"));
}

// The station's values: the given CSV file, or the running program's last record.
bool LoadWeather(const TagsRequest& request, Karvell& karvell, std::ostream& err) {
    if (!request.csv.empty()) {
        karvell.SetCSVFile(request.csv);
        karvell.SetCSVEnableDatabase(true);
        const CSVStatus status = karvell.GetCSVData();
        if (status == CSVStatus::Accepted) return true;
        err << "tags: '" << request.csv << "': " << CSVStatusText(status) << "\n";
        return false;
    }
    karvell.SetLastDataPath(std::string(Karvell::kLastDataFile));
    std::string error;
    if (std::filesystem::exists(karvell.LastDataPath()) && !karvell.LoadLastData(&error))
        err << "tags: weather values not loaded: " << error << "\n";
    return true;
}

} // namespace

int RunTagsCommand(const TagsRequest& request, std::ostream& out, std::ostream& err) {
    InitNumberFormat(); // weather values show in the user's locale, as on the pictures
    Clock clock;
    if (!request.at.empty()) {
        double at = 0;
        if (!ParseDateText(request.at, at)) {
            err << "tags: '" << request.at
                << "' is not a date and time; write it as \"YYYY-MM-DD HH:MM:SS\"\n";
            return kExitBadInput;
        }
        clock.SetFixed(at);
    } else {
        clock.SetFixed(Clock::SystemNow());
    }

    Karvell karvell;
    if (!LoadWeather(request, karvell, err)) return kExitBadInput;

    INI ini("Tessarolle.INI");
    TimeZone zone(clock);
    zone.LoadTimeZoneLookup("timezone.txt");
    Sun sun(clock, zone);
    sun.SetStation(request.latitude ? *request.latitude : StationSetting(ini, "StationLatitude"),
                   request.longitude ? *request.longitude
                                     : StationSetting(ini, "StationLongitude"));

    TagContext context;
    context.now = clock.Now();
    context.sun = &sun;
    context.zone = &zone;
    context.karvell = &karvell;
    out << ProcessText(request.text, context) << "\n";
    return 0;
}

void AddTagsCommand(CLI::App& cli, int& status) {
    auto request = std::make_shared<TagsRequest>();
    CLI::App* tags = cli.add_subcommand(
        "tags", "Print a text with its tags expanded (see README.md for the tags)");
    tags->add_option("text", request->text, "The text, such as \"<TIME> <csvouttemp>\"")
        ->required();
    tags->add_option("--at", request->at, "The time, \"YYYY-MM-DD HH:MM:SS\" (default: now)");
    tags->add_option("--csv", request->csv,
                     "A weather station CSV file (default: lastdata.csv when there)");
    tags->add_option("--lat", request->latitude, "Latitude in degrees, north positive")
        ->check(CLI::Range(-90.0, 90.0));
    tags->add_option("--lon", request->longitude, "Longitude in degrees, east positive")
        ->check(CLI::Range(-180.0, 180.0));
    tags->callback([request, &status] { status = RunTagsCommand(*request, std::cout, std::cerr); });
}

} // namespace tess
