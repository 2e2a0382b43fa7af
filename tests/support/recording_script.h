#pragma once

// A script host that only writes down what it hears, as "Name(arg,arg)".

#include "settings/script_events.h"

#include <functional>
#include <string>
#include <vector>

namespace tess::test {

class RecordingScript : public ScriptEventHandler {
public:
    void OnScriptEvent(ScriptEvent event, std::span<const ScriptArgument> arguments) override {
        std::string line(ScriptEventName(event));
        line += '(';
        for (std::size_t i = 0; i < arguments.size(); ++i) {
            if (i) line += ',';
            if (const auto* n = std::get_if<std::int32_t>(&arguments[i]))
                line += std::to_string(*n);
            else
                line += std::get<std::string>(arguments[i]);
        }
        line += ')';
        heard.push_back(line);
        if (on_event) on_event(event);
    }

    std::vector<std::string> heard;
    std::function<void(ScriptEvent)> on_event; // what the script does when it runs
};

// Scripting on with every event allowed.
inline void AllowEveryScriptEvent(ScriptSettings& script) {
    script.SetEnabled(true);
    script.SetAllowInterval(true);
    script.SetAllowTextUpdate(true);
    script.SetAllowGraphicUpdate(true);
    script.SetAllowStartup(true);
    script.SetAllowShutdown(true);
    script.SetAllowMotionDetected(true);
    script.SetAllowNewCSVData(true);
    script.SetAllowWebRequest(true);
}

} // namespace tess::test
