#include "command.h"

namespace cli {

// The folder commands (list, bars, create, check) arrive with the data component.
std::vector<Command> storeCommands()
{
    return {};
}

} // namespace cli
