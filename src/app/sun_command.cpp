#include "app/sun_command.h"

#include "settings/format.h"
#include "settings/ini.h"
#include "settings/numbers.h"
#include "settings/vb_date.h"
#include "time/clock.h"
#include "time/sun.h"
#include "time/sun_event.h"
#include "time/time_zone.h"

#include <cmath>
#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

namespace tess {

namespace {

constexpr int kExitBadInput = 2;

// Someone checking sun times must not find a settings file created or changed for it, so
// the position is read without writing defaults.
double StationSetting(INI& ini, const char* key) {
    return Str2DblNI(ini.GetKey("General", key, WriteDefault::No, "0"));
}

std::string PositionText(double latitude, double longitude) {
    return fmt::format("{} {}, {} {}", CStrNI(std::fabs(latitude)), latitude < 0 ? "S" : "N",
                       CStrNI(std::fabs(longitude)), longitude < 0 ? "W" : "E");
}

std::string UtcText(double gmt_offset) {
    const double east = -gmt_offset;
    if (east == 0) return "UTC";
    return fmt::format("UTC{}{}", east > 0 ? "+" : "", CStrNI(east));
}

std::string EventLine(const char* name, double time, bool beyond_limit) {
    if (beyond_limit) return fmt::format("{:<8} none\n", name);
    if (time == 0) {
        return fmt::format("{:<8} none: the sun does not rise or set on this day\n", name);
    }
    return fmt::format("{:<8} {}  {}\n", name, FormatNI(time, "HH:MM"),
                       FormatNI(time, "H:MM AM/PM"));
}

} // namespace

int RunSunCommand(const SunRequest& request, std::ostream& out, std::ostream& err) {
    double day = std::floor(Clock::SystemNow());
    if (!request.date.empty()) {
        double date = 0;
        if (!ParseDateText(request.date, date) || FP(date) != 0) {
            err << "sun: '" << request.date << "' is not a date; write it as YYYY-MM-DD\n";
            return kExitBadInput;
        }
        day = date;
    }
    INI ini("Tessarolle.INI");
    const double latitude =
        request.latitude ? *request.latitude : StationSetting(ini, "StationLatitude");
    const double longitude =
        request.longitude ? *request.longitude : StationSetting(ini, "StationLongitude");

    // Noon of the day: the daylight-saving state in force then is the one that holds at
    // sunrise and sunset on any day the clocks change.
    Clock clock;
    clock.SetFixed(day + 0.5);
    TimeZone zone(clock);
    Sun sun(clock, zone);
    sun.SetStation(latitude, longitude);

    const bool beyond_limit = std::fabs(latitude) > kSunLatitudeLimit;
    const std::string name = zone.GetTimeZone();
    const std::string utc = UtcText(zone.GMTOffset());
    out << fmt::format("{} on {} ({})\n", PositionText(latitude, longitude),
                       FormatDate(day, "yyyy-mm-dd"), name == utc ? utc : name + ", " + utc);
    out << EventLine("Sunrise", sun.Sunrise(), beyond_limit);
    out << EventLine("Sunset", sun.Sunset(), beyond_limit);
    if (beyond_limit) {
        out << "Sun times are computed only up to 63 degrees north or south; schedules take "
               "sunrise and sunset as 00:00 there.\n";
    }
    return 0;
}

void AddSunCommand(CLI::App& cli, int& status) {
    auto request = std::make_shared<SunRequest>();
    CLI::App* sun = cli.add_subcommand(
        "sun", "Print the station's sunrise and sunset (from Tessarolle.INI unless given)");
    sun->add_option("--lat", request->latitude, "Latitude in degrees, north positive")
        ->check(CLI::Range(-90.0, 90.0));
    sun->add_option("--lon", request->longitude, "Longitude in degrees, east positive")
        ->check(CLI::Range(-180.0, 180.0));
    sun->add_option("--date", request->date, "The day, YYYY-MM-DD (default: today)");
    sun->callback([request, &status] { status = RunSunCommand(*request, std::cout, std::cerr); });
}

} // namespace tess
