#pragma once

// `tessarolle keys`: every settings file, section and key with its type, default, range,
// units and meaning, made from the settings tables (docs/keys.md holds the same text).

#include <string>

namespace CLI {
class App;
}

namespace tess {

std::string SettingsReferenceText();

void AddKeysCommand(CLI::App& cli, int& status);

} // namespace tess
