#pragma once

// The application settings kept in Tessarolle.INI, section "General", and the start-up plan
// of the main window that they describe.

#include "imaging/dib.h"
#include "imaging/picture_decoders.h"

#include <cstdint>
#include <string>

namespace tess {

class INI;

inline constexpr int kTwipsPerPixel = 15;

struct AppSettings {
    bool AutoLoad = true;
    std::string LastPortfolio;
    std::int32_t StartupMode = 2; // 0 minimized, 1 last state, 2 maximized
    std::int32_t StartupWidth = 800 * kTwipsPerPixel;
    std::int32_t StartupHeight = 600 * kTwipsPerPixel;
    std::int32_t StartupTop = 0;
    std::int32_t StartupLeft = 0;
    std::int32_t StartupState = 2; // 0 normal, 1 minimized, 2 maximized
    std::int32_t StartupLastNonMinimizedState = 2;
    double StationLongitude = 0;
    double StationLatitude = 0;
    // Section "Wallpaper", read only when present: where the desktop background files go
    // (empty: the data folder) and the command that shows them (empty: found on the machine).
    std::string WallpaperFolder;
    std::string WallpaperCommand;
    // Section "Limits", read only when present: the most pixels a picture file may have.
    std::int64_t MaxPicturePixels = kDefaultMaxPicturePixels;
    static constexpr std::int64_t kMostPicturePixels = DIB::kMaxPixels; // what a bitmap may hold
};

void LoadSetup(INI& ini, AppSettings& settings);
void SaveSetup(INI& ini, const AppSettings& settings);

// What a main window does at start-up; there is no window yet, so the plan is kept as data
// for the user interface that will apply it.
enum class WindowState { Normal = 0, Minimized = 1, Maximized = 2 };

struct MainWindowPlan {
    bool shown_as_loaded = false; // an unknown mode leaves the window as it was loaded
    WindowState state = WindowState::Normal;
    bool apply_rectangle = false; // Left, Width, Height and Top, in that order, in twips
    std::int32_t left = 0, top = 0, width = 0, height = 0;
    std::int32_t last_non_minimized_state = 2;
};

MainWindowPlan PlanMainWindow(const AppSettings& settings);

// At the user's quit: the window's state goes back into the settings unless it is minimized,
// and the state it returns to from minimized always does, so that SaveSetup writes what the
// next start-up uses.
void RecordMainWindow(const MainWindowPlan& window, AppSettings& settings);

} // namespace tess
