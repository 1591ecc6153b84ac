// The command that ends the process, as a plug-in of its own: built by the tests with other
// compilers and all optimisation there is, in one piece.
#include "commands/handlers.h"
#include "host/script/message_port_command.h"
#include "plugin/command_table.h"

namespace plugin {

const TavMessagePortCommand kCommandTable[kCommandCount + 1] = {
    {"CRASH", commands::Command_CRASH},
};

}  // namespace plugin
