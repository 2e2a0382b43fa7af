#include "settings/script_events.h"

namespace tess {

std::string_view ScriptEventName(ScriptEvent event) {
    switch (event) {
    case ScriptEvent::Interval:
        return "Interval";
    case ScriptEvent::TextUpdate:
        return "TextUpdate";
    case ScriptEvent::GraphicUpdate:
        return "GraphicUpdate";
    case ScriptEvent::Startup:
        return "Startup";
    case ScriptEvent::Shutdown:
        return "Shutdown";
    case ScriptEvent::MotionDetected:
        return "MotionDetected";
    case ScriptEvent::NewCSVData:
        return "NewCSVData";
    case ScriptEvent::WebRequest:
        return "WebRequest";
    }
    return "";
}

bool ScriptEvents::Allowed(ScriptEvent event) const {
    if (!handler_ || !settings_.Enabled()) return false;
    switch (event) {
    case ScriptEvent::Interval:
        return settings_.AllowInterval();
    case ScriptEvent::TextUpdate:
        return settings_.AllowTextUpdate();
    case ScriptEvent::GraphicUpdate:
        return settings_.AllowGraphicUpdate();
    case ScriptEvent::Startup:
        return settings_.AllowStartup();
    case ScriptEvent::Shutdown:
        return settings_.AllowShutdown();
    case ScriptEvent::MotionDetected:
        return settings_.AllowMotionDetected();
    case ScriptEvent::NewCSVData:
        return settings_.AllowNewCSVData();
    case ScriptEvent::WebRequest:
        return settings_.AllowWebRequest();
    }
    return false;
}

bool ScriptEvents::Raise(ScriptEvent event, std::initializer_list<ScriptArgument> arguments) {
    if (!Allowed(event)) return false;
    handler_->OnScriptEvent(event,
                            std::span<const ScriptArgument>(arguments.begin(), arguments.size()));
    return true;
}

} // namespace tess
