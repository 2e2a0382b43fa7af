#pragma once

// What the commands that expand tags or draw a canvas at one moment need: a clock held at
// that moment, the station's position, its time zone and its weather values. They only read
// files (Tessarolle.INI, timezone.txt, lastdata.csv or a given station file), so they are
// safe to run in the folder of a running program.

#include "imaging/tags/process_text.h"
#include "time/clock.h"
#include "time/sun.h"
#include "time/time_zone.h"
#include "weather/karvell.h"

#include <iosfwd>
#include <optional>
#include <string>

namespace tess {

class CommandStation {
public:
    // `at`: "YYYY-MM-DD HH:MM:SS", with a fraction of a second ("05.37") if wanted, or
    // empty for now. False (with a message to `err` that
    // starts with `command`) when it is not a date and time.
    bool SetTime(const std::string& command, const std::string& at, std::ostream& err);
    // The position: as given, or StationLatitude/StationLongitude of Tessarolle.INI.
    void SetStation(std::optional<double> latitude, std::optional<double> longitude);
    // The weather values: the given station file (false, with a message, when its line is
    // not taken), or without one the running program's lastdata.csv when there.
    bool LoadWeather(const std::string& command, const std::string& csv, std::ostream& err);

    double Now() const { return clock_.Now(); }
    tess::Sun& Sun() { return sun_; }
    TagContext Tags();

private:
    Clock clock_;
    TimeZone zone_{clock_};
    tess::Sun sun_{clock_, zone_};
    Karvell karvell_;
};

} // namespace tess
