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

// "12:00:05.37": the part after the seconds' point, as a fraction of a second; the rest of
// the text is left in `text`. False for anything but one to six digits there.
bool SplitFraction(std::string_view& text, double& seconds) {
    seconds = 0;
    const std::size_t colon = text.rfind(':');
    const std::size_t point = text.find('.', colon == std::string_view::npos ? 0 : colon);
    if (colon == std::string_view::npos || point == std::string_view::npos) return true;
    const std::string_view digits = text.substr(point + 1);
    if (digits.empty() || digits.size() > 6) return false;
    double scale = 1;
    for (char c : digits) {
        if (c < '0' || c > '9') return false;
        scale /= 10;
        seconds += (c - '0') * scale;
    }
    text = text.substr(0, point);
    return true;
}

} // namespace

bool CommandStation::SetTime(const std::string& command, const std::string& at, std::ostream& err) {
    if (at.empty()) {
        clock_.SetFixed(Clock::SystemNow());
        return true;
    }
    double date = 0, fraction = 0;
    std::string_view whole = at;
    if (!SplitFraction(whole, fraction) || !ParseDateText(whole, date)) {
        err << command << ": '" << at
            << "' is not a date and time; write it as \"YYYY-MM-DD HH:MM:SS\", with up to "
               "six digits of a second after a point if needed\n";
        return false;
    }
    clock_.SetFixed(date + fraction / 86400.0);
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
