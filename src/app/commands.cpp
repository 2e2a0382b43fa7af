#include "app/commands.h"

#include "app/document_commands.h"
#include "app/keys_command.h"
#include "app/render_command.h"
#include "app/run_commands.h"
#include "app/sun_command.h"
#include "app/tags_command.h"

namespace tess {

const std::vector<AddSubcommand>& Subcommands() {
    static const std::vector<AddSubcommand> all = {
        AddRunCommand, AddRenderCommand, AddPortfolioCommand, AddCanvasCommand,
        AddSunCommand, AddTagsCommand,   AddDemoCommand,      AddKeysCommand};
    return all;
}

} // namespace tess
