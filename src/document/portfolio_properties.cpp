#include "document/portfolio_properties.h"

namespace tess {

namespace {

using T = PropertyType;

PropertyTable<Canvas> MakeSlotTable() {
    return PropertyTable<Canvas>({
        Property<Canvas>("FileName", "", "FileName", T::Path, "")
            .Means("the canvas file open in this slot; empty: a free slot")
            .Access([](const Canvas& c) { return c.Enabled() ? c.FileName() : std::string(); },
                    &Canvas::SetFileName),
    });
}

// Enabled comes last: enabling loads and starts the script.
PropertyTable<ScriptSettings> MakeScriptTable() {
    using P = Property<ScriptSettings>;
    using S = ScriptSettings;
    auto allow = [](std::string_view name, std::string_view meaning, auto get, auto set) {
        return P(name, "", name, T::Boolean, "False").Means(meaning).Access(get, set);
    };
    return PropertyTable<ScriptSettings>({
        P("FileName", "", "FileName", T::Path, "script.txt")
            .Means("the script file")
            .Access(&S::FileName, &S::SetFileName),
        allow("AllowInterval", "the script's Interval event may run", &S::AllowInterval,
              &S::SetAllowInterval),
        allow("AllowTextUpdate", "the script's TextUpdate event may run", &S::AllowTextUpdate,
              &S::SetAllowTextUpdate),
        allow("AllowGraphicUpdate", "the script's GraphicUpdate event may run",
              &S::AllowGraphicUpdate, &S::SetAllowGraphicUpdate),
        allow("AllowStartup", "the script's Startup event may run", &S::AllowStartup,
              &S::SetAllowStartup),
        allow("AllowShutdown", "the script's Shutdown event may run", &S::AllowShutdown,
              &S::SetAllowShutdown),
        allow("AllowMotionDetected", "the script's MotionDetected event may run",
              &S::AllowMotionDetected, &S::SetAllowMotionDetected),
        allow("AllowNewCSVData", "the script's NewCSVData event may run", &S::AllowNewCSVData,
              &S::SetAllowNewCSVData),
        allow("AllowWebRequest", "the script's WebRequest event may run", &S::AllowWebRequest,
              &S::SetAllowWebRequest),
        P("Rate", "", "Rate", T::Double, "1")
            .Range(S::kMinRate, S::kMaxRate)
            .Units("seconds")
            .Means("between Interval events")
            .Access(&S::Rate, &S::SetRate),
        P("BaseTime", "", "BaseTime", T::TimeOfDay, "00:00:00")
            .Range(0, S::kMaxBaseTime)
            .Means("anchor of the Interval grid after midnight")
            .Access(&S::BaseTime, &S::SetBaseTime),
        P("Enabled", "", "Enabled", T::Boolean, "False")
            .Means("the script is loaded and run")
            .Access(&S::Enabled, &S::SetEnabled),
    });
}

} // namespace

const PropertyTable<Canvas>& CanvasSlotProperties() {
    static const PropertyTable<Canvas> table = MakeSlotTable();
    return table;
}

const PropertyTable<ScriptSettings>& ScriptSettingsProperties() {
    static const PropertyTable<ScriptSettings> table = MakeScriptTable();
    return table;
}

} // namespace tess
