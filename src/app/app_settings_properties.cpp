#include "app/app_settings_properties.h"

#include "settings/numbers.h"

#include <algorithm>

namespace tess {

namespace {

using T = PropertyType;
using P = Property<AppSettings>;

// A row over a plain field of the settings.
template <typename V>
P Field(std::string_view name, std::string_view section, std::string_view key, T type,
        std::string_view def, V AppSettings::*field) {
    return P(name, section, key, type, def)
        .Access([field](const AppSettings& s) { return s.*field; },
                [field](AppSettings& s, V value) { s.*field = std::move(value); });
}

P Twips(std::string_view key, std::string_view def, std::int32_t AppSettings::*field,
        std::string_view meaning) {
    return Field(key, "General", key, T::Integer, def, field).Units("twips").Means(meaning);
}

P State(std::string_view key, std::int32_t AppSettings::*field, std::string_view meaning) {
    return Field(key, "General", key, T::Integer, "2", field).Means(meaning);
}

PropertyTable<AppSettings> MakeTable() {
    static const std::string width = CStrNI(800 * kTwipsPerPixel);
    static const std::string height = CStrNI(600 * kTwipsPerPixel);
    static const std::string pixels = CStrNI(static_cast<double>(kDefaultMaxPicturePixels));
    return PropertyTable<AppSettings>({
        Field("LoadLastOnStartup", "General", "AutoLoad", T::Boolean, "True",
              &AppSettings::AutoLoad)
            .Means("reopen the last portfolio at start-up"),
        Field("LoadLastFileName", "General", "LastPortfolio", T::Path, "",
              &AppSettings::LastPortfolio)
            .Means("the last portfolio file"),
        State("StartupMode", &AppSettings::StartupMode,
              "main window at start-up: 0 minimized, 1 last state, 2 maximized"),
        Twips("StartupWidth", width, &AppSettings::StartupWidth, "main window width at shutdown"),
        Twips("StartupHeight", height, &AppSettings::StartupHeight,
              "main window height at shutdown"),
        Twips("StartupTop", "0", &AppSettings::StartupTop, "main window top at shutdown"),
        Twips("StartupLeft", "0", &AppSettings::StartupLeft, "main window left at shutdown"),
        State("StartupState", &AppSettings::StartupState,
              "main window at shutdown: 0 normal, 1 minimized, 2 maximized"),
        State("StartupLastNonMinimizedState", &AppSettings::StartupLastNonMinimizedState,
              "the last state other than minimized: 0 normal, 2 maximized"),
        Field("StationLongitude", "General", "StationLongitude", T::Double, "0",
              &AppSettings::StationLongitude)
            .Units("degrees")
            .Means("east positive; for sunrise and sunset"),
        Field("StationLatitude", "General", "StationLatitude", T::Double, "0",
              &AppSettings::StationLatitude)
            .Units("degrees")
            .Means("north positive; for sunrise and sunset"),
        Field("WallpaperFolder", "Wallpaper", "Folder", T::Path, "", &AppSettings::WallpaperFolder)
            .Optional()
            .Means("where desktop background files go; empty: ~/.local/share/tessarolle"),
        Field("WallpaperCommand", "Wallpaper", "ApplyCommand", T::String, "",
              &AppSettings::WallpaperCommand)
            .Optional()
            .Means("command that shows a background file; empty: gsettings or feh when found"),
        P("MaxPicturePixels", "Limits", "MaxPicturePixels", T::Integer, pixels)
            .Optional()
            .Range(1, static_cast<double>(AppSettings::kMostPicturePixels))
            .Units("pixels")
            .Means("the largest picture file read, width x height; 0 or less: the default")
            .Access([](const AppSettings& s) { return s.MaxPicturePixels; },
                    [](AppSettings& s, std::int64_t value) {
                        s.MaxPicturePixels = value < 1
                                                 ? kDefaultMaxPicturePixels
                                                 : std::min(value, AppSettings::kMostPicturePixels);
                    }),
    });
}

} // namespace

const PropertyTable<AppSettings>& AppSettingsProperties() {
    static const PropertyTable<AppSettings> table = MakeTable();
    return table;
}

} // namespace tess
