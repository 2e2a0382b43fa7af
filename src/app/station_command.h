#pragma once

// `tessarolle station [--lat D --lon D]`: shows, or sets in Tessarolle.INI, the station's
// position, which sunrise and sunset (the sun tags and the sun schedules) are computed for.

namespace CLI {
class App;
}

namespace tess {

void AddStationCommand(CLI::App& cli, int& status);

} // namespace tess
