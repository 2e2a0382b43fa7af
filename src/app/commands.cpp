#include "app/commands.h"

namespace tess {

const std::vector<AddSubcommand>& Subcommands() {
    static const std::vector<AddSubcommand> all = {};
    return all;
}

} // namespace tess
