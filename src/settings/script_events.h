#pragma once

// The one door through which every object tells the user's script what happened. Objects
// of every layer raise their event here; the user's permission for each event is checked
// here and nowhere else; the script host, when one runs, plugs itself in as the handler.

#include "settings/script_settings.h"

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace tess {

enum class ScriptEvent {
    Interval,
    TextUpdate,    // canvas, item index
    GraphicUpdate, // canvas, item index
    Startup,
    Shutdown,
    MotionDetected, // the feed's 1-based number
    NewCSVData,
    WebRequest, // client address, path
};
inline constexpr int kScriptEventCount = 8;

// The name of the script procedure each event calls.
std::string_view ScriptEventName(ScriptEvent event);

using ScriptArgument = std::variant<std::int32_t, std::string>;

// Implemented by the script host: runs the event's procedure when the script defines one.
class ScriptEventHandler {
public:
    virtual ~ScriptEventHandler() = default;
    virtual void OnScriptEvent(ScriptEvent event, std::span<const ScriptArgument> arguments) = 0;
};

class ScriptEvents {
public:
    explicit ScriptEvents(const ScriptSettings& settings) : settings_(settings) {}

    // Null: no script runs, and nothing is raised.
    void SetHandler(ScriptEventHandler* handler) { handler_ = handler; }
    ScriptEventHandler* Handler() const { return handler_; }

    // Scripting is on, the user allows this event, and a script is there to hear it.
    bool Allowed(ScriptEvent event) const;

    // Hands the event to the script when allowed; returns whether it was.
    bool Raise(ScriptEvent event, std::initializer_list<ScriptArgument> arguments = {});

private:
    const ScriptSettings& settings_;
    ScriptEventHandler* handler_ = nullptr;
};

} // namespace tess
