#pragma once

#include <string_view>

namespace tess {

// What became of one attempt to read the weather station's CSV file. Only Accepted changes
// any value.
enum class CSVStatus {
    NotRead,
    Accepted,
    NotNewer, // the same line again, or an older one
    FileMissing,
    FileUnreadable,
    LineTooLong,
    ControlCharacters, // NUL and the like: a file caught half-written
    WrongFieldCount,
    UnknownVersion,
    BadStationTime,
    AheadOfClock, // dated more than a day after the clock: a station clock gone wrong
};

// A short reason for logs and messages: "the line is longer than 1000 characters".
std::string_view CSVStatusText(CSVStatus status);

} // namespace tess
