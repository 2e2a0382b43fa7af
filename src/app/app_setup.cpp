#include "app/app_setup.h"

#include "app/app_settings_properties.h"
#include "base/log.h"
#include "imaging/picture_decoders.h"
#include "settings/ini.h"
#include "settings/numbers.h"

#include <algorithm>

namespace tess {

// Values that are not numbers take their defaults, with a warning naming the file and key.
void LoadSetup(INI& ini, AppSettings& s) {
    AppSettingsProperties().Load(s, IniPlace{&ini, {}, {}});
    // One limit for the whole program, in force before any picture is read.
    SetMaxPicturePixels(s.MaxPicturePixels);
}

void SaveSetup(INI& ini, const AppSettings& s) {
    AppSettingsProperties().Save(s, IniPlace{&ini, {}, {}});
}

void RecordMainWindow(const MainWindowPlan& window, AppSettings& s) {
    if (window.shown_as_loaded) return; // an unknown mode leaves the window as it was loaded
    s.StartupLastNonMinimizedState = window.last_non_minimized_state;
    if (window.state != WindowState::Minimized) s.StartupState = static_cast<int>(window.state);
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
