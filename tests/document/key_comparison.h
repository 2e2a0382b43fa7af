#pragma once

#include "settings/ini_document.h"

#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace tess::test {

struct KeyComparison {
    int compared = 0;     // keys both files hold
    int only_changed = 0; // keys the defaults do not hold
};

// Every key of `changed` that `defaults` holds too must have another value there, so a round
// trip of `changed` proves that each key is read and written.
inline KeyComparison ExpectEveryKeyChanged(const std::string& changed,
                                           const std::string& defaults) {
    IniDocument base;
    base.Parse(defaults);
    std::istringstream lines(changed);
    std::string line, section;
    KeyComparison result;
    while (std::getline(lines, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.starts_with("[")) {
            section = line.substr(1, line.size() - 2);
            continue;
        }
        std::size_t eq = line.find('=');
        auto def = base.Find(section, line.substr(0, eq));
        if (!def) {
            ++result.only_changed;
            continue;
        }
        EXPECT_NE(*def, line.substr(eq + 1)) << "[" << section << "] " << line;
        ++result.compared;
    }
    return result;
}

} // namespace tess::test
