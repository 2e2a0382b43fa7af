#include "app/app_setup.h"

#include "base/log.h"
#include "imaging/picture_decoders.h"
#include "settings/ini.h"
#include "settings/numbers.h"

#include <algorithm>

namespace tess {

namespace {
constexpr const char* kGeneral = "General";
}

void LoadSetup(INI& ini, AppSettings& s) {
    IniBatch batch(ini);
    auto get = [&](const char* key, const std::string& def) {
        return ini.GetKey(kGeneral, key, WriteDefault::Yes, def);
    };
    s.AutoLoad = Str2Bool(get("AutoLoad", "True"));
    s.LastPortfolio = get("LastPortfolio", "");
    s.StartupMode = Str2Lng(get("StartupMode", "2"));
    s.StartupWidth = Str2LngNI(get("StartupWidth", CStrNI(800 * kTwipsPerPixel)));
    s.StartupHeight = Str2LngNI(get("StartupHeight", CStrNI(600 * kTwipsPerPixel)));
    s.StartupTop = Str2LngNI(get("StartupTop", "0"));
    s.StartupLeft = Str2LngNI(get("StartupLeft", "0"));
    s.StartupState = Str2Lng(get("StartupState", "2"));
    s.StartupLastNonMinimizedState = Str2Lng(get("StartupLastNonMinimizedState", "2"));
    s.StationLongitude = Str2DblNI(get("StationLongitude", "0"));
    s.StationLatitude = Str2DblNI(get("StationLatitude", "0"));
    // Optional: a file without them stays as it is.
    s.WallpaperFolder = ini.GetKey("Wallpaper", "Folder", WriteDefault::No, "");
    s.WallpaperCommand = ini.GetKey("Wallpaper", "ApplyCommand", WriteDefault::No, "");
    const std::string pixels = ini.GetKey("Limits", "MaxPicturePixels", WriteDefault::No, "");
    if (!pixels.empty()) {
        const double value = Str2DblNI(pixels);
        if (value >= 1) {
            s.MaxPicturePixels = static_cast<std::int64_t>(std::min(value, 1e15));
        } else {
            LogWarning("settings file '{}': [Limits] MaxPicturePixels={} is not a number of "
                       "pixels; {} is used",
                       ini.File(), pixels, s.MaxPicturePixels);
        }
    }
    // One limit for the whole program, in force before any picture is read.
    SetMaxPicturePixels(s.MaxPicturePixels);
}

void SaveSetup(INI& ini, const AppSettings& s) {
    IniBatch batch(ini);
    ini.SetKey(kGeneral, "AutoLoad", CStrNI(s.AutoLoad));
    ini.SetKey(kGeneral, "LastPortfolio", s.LastPortfolio);
    ini.SetKey(kGeneral, "StartupMode", CStrNI(s.StartupMode));
    ini.SetKey(kGeneral, "StartupWidth", CStrNI(s.StartupWidth));
    ini.SetKey(kGeneral, "StartupHeight", CStrNI(s.StartupHeight));
    ini.SetKey(kGeneral, "StartupTop", CStrNI(s.StartupTop));
    ini.SetKey(kGeneral, "StartupLeft", CStrNI(s.StartupLeft));
    ini.SetKey(kGeneral, "StartupState", CStrNI(s.StartupState));
    ini.SetKey(kGeneral, "StartupLastNonMinimizedState", CStrNI(s.StartupLastNonMinimizedState));
    ini.SetKey(kGeneral, "StationLongitude", CStrNI(s.StationLongitude));
    ini.SetKey(kGeneral, "StationLatitude", CStrNI(s.StationLatitude));
}

MainWindowPlan PlanMainWindow(const AppSettings& s) {
    MainWindowPlan plan;
    switch (s.StartupMode) {
    case 0:
        plan.state = WindowState::Minimized;
        plan.last_non_minimized_state = 2;
        break;
    case 2:
        plan.state = WindowState::Maximized;
        plan.last_non_minimized_state = 2;
        break;
    case 1:
        plan.state = static_cast<WindowState>(s.StartupState);
        if (s.StartupState == 0) {
            plan.apply_rectangle = true;
            plan.left = s.StartupLeft;
            plan.width = s.StartupWidth;
            plan.height = s.StartupHeight;
            plan.top = s.StartupTop;
        }
        plan.last_non_minimized_state = s.StartupLastNonMinimizedState;
        break;
    default:
        plan.shown_as_loaded = true;
        break;
    }
    return plan;
}

} // namespace tess
