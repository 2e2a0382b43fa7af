#pragma once

// The time zone in force at the program's "now": its name as the system spells it, the
// user's display text for it from "timezone.txt", and the offset from UTC.
//
// "timezone.txt" holds one row per line that contains a comma: the text before the first
// comma is a zone name ("CET", "cest"), the rest of the line the text to show for it
// ("Central European Time, winter"); both are trimmed of blanks. Names match without regard
// to case and the first matching row wins.

#include <string>
#include <string_view>
#include <vector>

namespace tess {

class Clock;

class TimeZone {
public:
    static constexpr std::string_view kNotDefined = "Not defined in timezone.txt";

    explicit TimeZone(const Clock& clock) : clock_(&clock) {}

    // The abbreviation of the zone in force now ("CET", "CEST", "UTC"), or at a local date
    // (a tick's time: the zone in force then, not when the text is drawn).
    std::string GetTimeZone() const;
    std::string GetTimeZone(double date) const;
    // Hours to add to local time to get UTC: -1 in Central European winter, 5 in New York.
    double GMTOffset() const;

    // (Re)reads the table; a missing file leaves it empty and is not an error.
    void LoadTimeZoneLookup(const std::string& path = "timezone.txt");
    std::string ConvertedTimeZone() const;
    std::string ConvertedTimeZone(double date) const;

private:
    struct Row {
        std::string name;
        std::string text;
    };

    const Clock* clock_;
    std::vector<Row> rows_;
};

} // namespace tess
