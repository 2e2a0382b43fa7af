#include "app/commands.h"

#include "app/document_commands.h"
#include "app/sun_command.h"
#include "app/tags_command.h"

namespace tess {

const std::vector<AddSubcommand>& Subcommands() {
    static const std::vector<AddSubcommand> all = {AddPortfolioCommand, AddCanvasCommand,
                                                   AddSunCommand, AddTagsCommand};
    return all;
}

} // namespace tess
