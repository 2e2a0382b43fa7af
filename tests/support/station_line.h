#pragma once

// Weather station CSV lines for tests: column 1 the version, 2..7 the station time, the
// rest "0" until set.

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>

namespace tess::test {

class StationLine {
public:
    // Version 1.01 lines have 41 fields, version 1.0 lines 39.
    StationLine(int year, int month, int day, int hour, int minute, int second,
                std::string version = "1.01", int fields = 41)
        : fields_(static_cast<std::size_t>(fields), "0") {
        Set(1, std::move(version));
        Set(2, std::to_string(year)).Set(3, std::to_string(month)).Set(4, std::to_string(day));
        Set(5, std::to_string(hour)).Set(6, std::to_string(minute));
        Set(7, std::to_string(second));
    }

    StationLine& Set(int column, std::string text) {
        if (column >= 1 && column <= static_cast<int>(fields_.size()))
            fields_[static_cast<std::size_t>(column - 1)] = std::move(text);
        return *this;
    }
    // Several columns at once: {{14, "12.30"}, {15, "1013.2"}}.
    StationLine& Set(std::initializer_list<std::pair<int, const char*>> columns) {
        for (const auto& [column, text] : columns)
            Set(column, text);
        return *this;
    }

    std::string Text() const { return fmt::format("{}", fmt::join(fields_, ",")); }

private:
    std::vector<std::string> fields_;
};

} // namespace tess::test
