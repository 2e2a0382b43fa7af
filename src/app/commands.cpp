#include "app/commands.h"

#include "app/check_command.h"
#include "app/document_commands.h"
#include "app/feeds_command.h"
#include "app/keys_command.h"
#include "app/render_command.h"
#include "app/run_commands.h"
#include "app/script_command.h"
#include "app/station_command.h"
#include "app/sun_command.h"
#include "app/tags_command.h"
#include "app/upload_command.h"

namespace tess {

const std::vector<AddSubcommand>& Subcommands() {
    static const std::vector<AddSubcommand> all = {
        AddRunCommand,   AddRenderCommand,  AddPortfolioCommand, AddCanvasCommand,
        AddSunCommand,   AddStationCommand, AddTagsCommand,      AddDemoCommand,
        AddFeedsCommand, AddScriptCommand,  AddUploadCommand,    AddKeysCommand,
        AddCheckCommand};
    return all;
}

} // namespace tess
