#pragma once

#include <span>
#include <string>
#include <string_view>

#include "tavhost/app/command_line.h"
#include "tavhost/base/result.h"

// The subcommands and options as data: what the parser knows and what the help says.
namespace app {

struct SubcommandRow {
  std::string_view name;
  Subcommand subcommand;
  std::string_view operands;  // as the usage line shows them
  std::string_view summary;   // empty: not for users, in no list
  bool optionsBehindOperands;
};

struct OptionRow {
  std::string_view name;  // with its dashes
  const char* value;      // what its value is; null for a switch
  std::string_view description;
  unsigned subcommands;  // a bit for each that has it
  // Puts the value into its place; fails with what is wrong with it.
  base::Result<void> (*take)(CommandLine& line, std::string value);
};

extern const SubcommandRow kIdeRow;
extern const std::span<const SubcommandRow> kSubcommands;
extern const std::span<const OptionRow> kOptions;

bool IsOptionOf(const OptionRow& option, Subcommand subcommand);

// The subcommands that have it, for people: `check, commands and validate`.
std::string NamesOfSubcommands(const OptionRow& option);

// What `--help` prints.
std::string HelpText(const SubcommandRow& row);

}  // namespace app
