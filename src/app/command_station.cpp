#include "app/command_station.h"

#include "settings/ini.h"
#include "settings/numbers.h"
#include "settings/vb_date.h"

#include <filesystem>
#include <ostream>

namespace tess {

namespace {

// Nothing is written: the settings file of a live folder stays as it is.
double StationSetting(INI& ini, const char* key) {
    return Str2DblNI(ini.GetKey("General", key, WriteDefault::No, "0"));
}

} // namespace

bool CommandStation::SetTime(const std::string& command, const std::string& at, std::ostream& err) {
    if (at.empty()) {
        clock_.SetFixed(Clock::SystemNow());
        return true;
    }
    double date = 0;
    if (!ParseDateText(at, date)) {
        err << command << ": '" << at
            << "' is not a date and time; write it as \"YYYY-MM-DD HH:MM:SS\"\n";
        return false;
    }
    clock_.SetFixed(date);
    return true;
}

void CommandStation::SetStation(std::optional<double> latitude, std::optional<double> longitude) {
    INI ini("Tessarolle.INI");
    zone_.LoadTimeZoneLookup("timezone.txt");
    sun_.SetStation(latitude ? *latitude : StationSetting(ini, "StationLatitude"),
                    longitude ? *longitude : StationSetting(ini, "StationLongitude"));
}

bool CommandStation::LoadWeather(const std::string& command, const std::string& csv,
                                 std::ostream& err) {
    if (!csv.empty()) {
        karvell_.SetCSVFile(csv);
        karvell_.SetCSVEnableDatabase(true);
        const CSVStatus status = karvell_.GetCSVData();
        if (status == CSVStatus::Accepted) return true;
        err << command << ": '" << csv << "': " << CSVStatusText(status) << "\n";
        return false;
    }
    karvell_.SetLastDataPath(std::string(Karvell::kLastDataFile));
    std::string error;
    if (std::filesystem::exists(karvell_.LastDataPath()) && !karvell_.LoadLastData(&error))
        err << command << ": weather values not loaded: " << error << "\n";
    return true;
}

TagContext CommandStation::Tags() {
    TagContext context;
    context.now = clock_.Now();
    context.sun = &sun_;
    context.zone = &zone_;
    context.karvell = &karvell_;
    return context;
}

} // namespace tess
