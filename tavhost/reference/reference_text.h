#pragma once

#include <string>

#include "tavhost/reference/reference.h"

// What people read of the command reference.
namespace reference {

// All commands by family, a line each.
std::string ListText(const Catalogue& catalogue);
// One command: how it is written, its parameters, results and example.
std::string CommandText(const Command& command);

// How the command is written: its name, main value and parameters, optional ones in brackets; lines
// after the first are indented.
std::string UsageText(const Command& command);

}  // namespace reference
