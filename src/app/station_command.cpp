#include "app/station_command.h"

#include "app/exit_status.h"
#include "app/file_command_support.h"
#include "app/headless_ui.h"
#include "app/instance_lock.h"
#include "settings/ini.h"
#include "settings/numbers.h"

#include <iostream>
#include <memory>
#include <optional>

#include <CLI/CLI.hpp>

namespace tess {

namespace {

struct StationRequest {
    std::optional<double> latitude;
    std::optional<double> longitude;
};

constexpr const char* kSettingsFile = "Tessarolle.INI";

int RunStationCommand(const StationRequest& request) {
    InitNumberFormat();
    INI ini(kSettingsFile);
    if (!request.latitude) {
        std::cout << "Station: latitude "
                  << ini.GetKey("General", "StationLatitude", WriteDefault::No, "0")
                  << ", longitude "
                  << ini.GetKey("General", "StationLongitude", WriteDefault::No, "0") << " ("
                  << kSettingsFile << ")\n";
        return kExitOk;
    }
    // A running program writes Tessarolle.INI when it stops, over what is written here.
    InstanceLock lock;
    if (!lock.Acquire("Tessarolle.lock")) {
        HeadlessUI ui;
        ShowAlreadyRunning(ui, "Tessarolle.lock");
        return kExitAlreadyRunning;
    }
    if (!ini.SetKey("General", "StationLatitude", CStrNI(*request.latitude)) ||
        !ini.SetKey("General", "StationLongitude", CStrNI(*request.longitude))) {
        std::cerr << "station: '" << kSettingsFile << "' could not be written; the log says why\n";
        return kExitNotDone;
    }
    std::cout << "Station: latitude " << CStrNI(*request.latitude) << ", longitude "
              << CStrNI(*request.longitude) << " (written to " << kSettingsFile << ")\n";
    return kExitOk;
}

} // namespace

void AddStationCommand(CLI::App& cli, int& status) {
    auto request = std::make_shared<StationRequest>();
    CLI::App* station = cli.add_subcommand(
        "station", "Show the station's position, or set it in Tessarolle.INI (sun times)");
    auto* lat =
        station->add_option("--lat", request->latitude, "Latitude in degrees, north positive")
            ->check(CLI::Range(-90.0, 90.0));
    auto* lon =
        station->add_option("--lon", request->longitude, "Longitude in degrees, east positive")
            ->check(CLI::Range(-180.0, 180.0));
    lat->needs(lon);
    lon->needs(lat);
    station->callback([request, &status] { status = RunStationCommand(*request); });
}

} // namespace tess
