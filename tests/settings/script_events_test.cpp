// The user's permission for each script event is checked in one place, whoever raises it.

#include "settings/script_events.h"
#include "support/recording_script.h"

#include <gtest/gtest.h>

namespace tess {
namespace {

using Setter = void (ScriptSettings::*)(bool);

TEST(ScriptEvents, EachEventNeedsScriptingItsOwnPermissionAndAScript) {
    const std::pair<ScriptEvent, Setter> events[] = {
        {ScriptEvent::Interval, &ScriptSettings::SetAllowInterval},
        {ScriptEvent::TextUpdate, &ScriptSettings::SetAllowTextUpdate},
        {ScriptEvent::GraphicUpdate, &ScriptSettings::SetAllowGraphicUpdate},
        {ScriptEvent::Startup, &ScriptSettings::SetAllowStartup},
        {ScriptEvent::Shutdown, &ScriptSettings::SetAllowShutdown},
        {ScriptEvent::MotionDetected, &ScriptSettings::SetAllowMotionDetected},
        {ScriptEvent::NewCSVData, &ScriptSettings::SetAllowNewCSVData},
        {ScriptEvent::WebRequest, &ScriptSettings::SetAllowWebRequest},
    };
    static_assert(std::size(events) == kScriptEventCount);
    for (const auto& [event, allow] : events) {
        ScriptSettings settings;
        test::AllowEveryScriptEvent(settings);
        ScriptEvents door(settings);
        test::RecordingScript script;
        const std::string name(ScriptEventName(event));

        EXPECT_FALSE(door.Raise(event)) << name << ": no script yet";
        door.SetHandler(&script);
        EXPECT_TRUE(door.Raise(event, {3, std::string("x")})) << name;
        (settings.*allow)(false);
        EXPECT_FALSE(door.Raise(event)) << name << ": not allowed";
        // The other seven are unaffected by this one's flag.
        for (const auto& [other, unused] : events)
            if (other != event) EXPECT_TRUE(door.Allowed(other)) << name;
        (settings.*allow)(true);
        settings.SetEnabled(false);
        EXPECT_FALSE(door.Raise(event)) << name << ": scripting off";
        EXPECT_EQ(script.heard, std::vector<std::string>{name + "(3,x)"});
    }
}

} // namespace
} // namespace tess
