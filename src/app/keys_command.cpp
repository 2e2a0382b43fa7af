#include "app/keys_command.h"

#include "app/app_settings_properties.h"
#include "capture/video_feed_properties.h"
#include "document/canvas_properties.h"
#include "document/item_properties.h"
#include "document/portfolio_properties.h"
#include "publish/publish_properties.h"
#include "settings/property_reference.h"
#include "weather/karvell_properties.h"

#include <iostream>

#include <CLI/CLI.hpp>

namespace tess {

std::string SettingsReferenceText() {
    PropertyReference ref;
    ref.File("Tessarolle.INI",
             "The program's own settings, in the folder it runs in. The `[Wallpaper]` keys are "
             "read only when present and never written by the program.");
    ref.Table(AppSettingsProperties(), "General");
    ref.File(
        "Portfolio files (.por)",
        "The canvases open in each slot, the video feeds, the weather input, the web "
        "server and the script. `<NN>` is the slot 01..20; `<N>` is the feed 0..9: the keys of "
        "feed 3 are `Feed3Name`, `Feed3Enabled` and so on. A feed without a name keeps its "
        "defaults, whatever its other keys say.");
    ref.Table(CanvasSlotProperties(), "Canvas<NN>");
    ref.Table(VideoFeedProperties(), "VideoFeeds", "Feed<N>");
    ref.Table(KarvellProperties(), "Karvell");
    ref.Table(WebServerProperties(), "WebServer");
    ref.Table(ScriptSettingsProperties(), "Scripting");
    ref.File("Canvas files (.can)",
             "One canvas: its picture, its outputs with their daily schedules, and its items. "
             "`<NN>` in a default is the canvas's slot. Text items are the sections `Text001` to "
             "`Text101` and graphic items `Graphic001` to `Graphic100`; a section without an "
             "`Enabled` key is no item.");
    ref.Table(CanvasProperties(), "General");
    ref.Table(TextItemProperties(), "Text<NNN>");
    ref.Table(GraphicItemProperties(), "Graphic<NNN>");
    return ref.Text();
}

void AddKeysCommand(CLI::App& cli, int& status) {
    CLI::App* keys = cli.add_subcommand(
        "keys", "Print every section and key of the settings files, with types, defaults, "
                "ranges, units and meanings (Markdown)");
    keys->callback([&status] {
        std::cout << SettingsReferenceText();
        status = 0;
    });
}

} // namespace tess
