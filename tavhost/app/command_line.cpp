#include "tavhost/app/command_line.h"

#include <algorithm>
#include <span>
#include <string_view>
#include <tl/expected.hpp>
#include <utility>

#include "host/system/version.h"
#include "tavhost/app/command_line_tables.h"
#include "tavhost/app/exit_codes.h"
#include "tavhost/base/nearest_name.h"
#include "tavhost/base/report.h"

// Written here rather than taken from a library: one with what this needs would make every start of
// the program a seventh longer.
namespace app {

namespace {

std::string DidYouMean(std::string_view name, const std::vector<std::string_view>& candidates) {
  const std::string nearest = base::NearestName(name, candidates);
  return nearest.empty() ? std::string() : "; did you mean '" + nearest + "'?";
}

std::string_view NameOf(const SubcommandRow& row) {
  return row.name.empty() ? "the workbench" : row.name;
}

std::string NotTakenText(const OptionRow& option, const SubcommandRow& row) {
  return "option '" + std::string(option.name) + "' is not for " + std::string(NameOf(row)) +
         ", but for " + NamesOfSubcommands(option);
}

// The options and operands of one subcommand.
class Parser {
 public:
  Parser(const SubcommandRow& row, CommandLine& line) : row_(row), line_(line) {}

  // What stands before the name of a subcommand: whose options they are is not known yet.
  static Parser BeforeName(CommandLine& line) {
    Parser parser(kIdeRow, line);
    parser.takesAll_ = true;
    return parser;
  }

  // Those that stood before its name.
  base::Result<void> CheckGiven(const std::vector<const OptionRow*>& given) {
    for (const OptionRow* const option : given) {
      if (!IsOptionOf(*option, row_.subcommand)) return base::Failure(NotTakenText(*option, row_));
    }
    return {};
  }

  const std::vector<const OptionRow*>& Given() const { return given_; }

  // Takes the arguments from `first` on. Where options may not follow operands, all behind the
  // first operand are operands. Fails with what is wrong.
  base::Result<void> Parse(const std::vector<std::string>& arguments, std::size_t first) {
    for (at_ = first; at_ < arguments.size(); ++at_) {
      const std::string& argument = arguments[at_];
      if (argument == "--") {
        ++at_;
        break;
      }
      if (argument.size() < 2 || argument[0] != '-') {
        if (!row_.optionsBehindOperands) break;
        line_.operands.push_back(argument);
        continue;
      }
      if (base::Result<void> taken = TakeOption(arguments); !taken) return taken;
    }
    line_.operands.insert(line_.operands.end(), arguments.begin() + static_cast<long>(at_),
                          arguments.end());
    return {};
  }

 private:
  static const OptionRow* Find(std::string_view name) {
    for (const OptionRow& option : kOptions) {
      if (option.name == name) return &option;
    }
    return nullptr;
  }

  // `--name`, `--name=value`, `--name value`, and the same with `-x` and `-xvalue`.
  base::Result<void> TakeOption(const std::vector<std::string>& arguments) {
    const std::string& argument = arguments[at_];
    const bool isLong = argument[1] == '-';
    const std::size_t nameEnd = isLong ? std::min(argument.find('='), argument.size()) : 2;
    std::string name = argument.substr(0, nameEnd);
    if (name == "-h") name = "--help";
    const OptionRow* const option = Find(name);
    if (!option) {
      return base::Failure("unknown option '" + argument.substr(0, nameEnd) + "'" + Nearest(name));
    }
    if (!Takes(*option)) return base::Failure(NotTakenText(*option, row_));
    given_.push_back(option);
    const bool hasValue = nameEnd < argument.size();
    if (!option->value) {
      if (hasValue) return base::Failure(std::string(option->name) + " takes no value");
      return option->take(line_, {});
    }
    std::string value;
    if (hasValue) {
      value = argument.substr(nameEnd + (isLong ? 1 : 0));
      if (value.empty() && option->value[0] == '[') {  // else it would count as left out
        return base::Failure(std::string(option->name) + ": must not be empty");
      }
    } else if (option->value[0] == '[') {
      // It can be left out, and so never stands by itself.
    } else if (at_ + 1 < arguments.size()) {
      value = arguments[++at_];
    } else {
      return base::Failure(std::string(option->name) + " needs a value");
    }
    const base::Result<void> taken = option->take(line_, std::move(value));
    if (!taken) return base::Failure(std::string(option->name) + ": " + taken.error().message);
    return {};
  }

  bool Takes(const OptionRow& option) const {
    return takesAll_ || IsOptionOf(option, row_.subcommand);
  }

  std::string Nearest(std::string_view name) const {
    std::vector<std::string_view> known;
    for (const OptionRow& option : kOptions) {
      if (Takes(option) && option.name.size() > 2) {
        known.push_back(option.name);
      }
    }
    return DidYouMean(name, known);
  }

  const SubcommandRow& row_;
  CommandLine& line_;
  std::vector<const OptionRow*> given_;
  std::size_t at_ = 0;
  bool takesAll_ = false;
};

const SubcommandRow* FindSubcommand(std::string_view name) {
  for (const SubcommandRow& row : kSubcommands) {
    if (name == row.name) return &row;
  }
  return nullptr;
}

int Complain(const std::string& message, const SubcommandRow& row) {
  std::string text = "tavhost: " + message + "\nTry 'tavhost ";
  if (!row.name.empty()) text.append(row.name).append(" ");
  report::Line(text + "--help'.");
  return kExitUsage;
}

std::string UnknownSubcommandText(const std::string& name) {
  if (name.ends_with(".tav")) {
    return "unknown subcommand '" + name + "'; a script is run by 'tavhost run " + name + "'";
  }
  std::vector<std::string_view> known;
  for (const SubcommandRow& row : kSubcommands) {
    if (!row.summary.empty()) known.push_back(row.name);
  }
  return "unknown subcommand '" + name + "'" + DidYouMean(name, known);
}

std::string VersionText() {
  const int version = Tav_GetVersionIdentifier();
  return std::to_string(version / 10000) + "." + std::to_string(version / 100 % 100) + "." +
         std::to_string(version % 100);
}

// The operands that name something: a file, a command. Those of a script and commands as such may
// be empty.
std::span<const std::string> NamesIn(const CommandLine& line) {
  const std::span<const std::string> all(line.operands);
  switch (line.subcommand) {
    case Subcommand::kSend:
      return {};
    case Subcommand::kRun:
      return all.first(line.scriptText || all.empty() ? 0 : 1);
    default:
      return all;
  }
}

base::Result<void> Require(bool holds, std::string otherwise) {
  if (!holds) return base::Failure(std::move(otherwise));
  return {};
}

// Whether the subcommand takes so many operands.
base::Result<void> CheckCount(const CommandLine& line) {
  const std::size_t count = line.operands.size();
  switch (line.subcommand) {
    case Subcommand::kIde:
      return {};
    case Subcommand::kRun:
      return Require(count > 0 || line.scriptText, "run needs a script");
    case Subcommand::kSend:
      if (count == 0) return base::Failure("send needs a command");
      for (const std::string& operand : line.operands) {
        if (operand.starts_with("--")) {
          return base::Failure("options stand before the commands: " + operand);
        }
      }
      return {};
    case Subcommand::kCheck:
      return Require(count > 0, "check needs a script");
    case Subcommand::kCommands:
      return Require(count <= 1, "commands takes one name");
    case Subcommand::kValidate:
      return Require(count == 1, "validate needs the path of one plug-in");
    case Subcommand::kValidateChild:
      return Require(count == 3, "validate-child needs a plug-in, a test and a mark");
    case Subcommand::kTrace:
      if (count > 0 && line.operands[0] != "diff") {
        return base::Failure("unknown subcommand 'trace " + line.operands[0] +
                             "'; there is 'trace diff A B'");
      }
      return Require(count == 3, "trace diff needs two trace files");
    default:
      if (count > 0) return base::Failure("unexpected operand '" + line.operands[0] + "'");
      return {};
  }
}

base::Result<void> CheckOperands(const CommandLine& line) {
  if (base::Result<void> counted = CheckCount(line); !counted) return counted;
  const std::span<const std::string> names = NamesIn(line);
  const bool isNamed = std::none_of(names.begin(), names.end(),
                                    [](const std::string& name) { return name.empty(); });
  return Require(isNamed, "the name of a file or command is empty");
}

}  // namespace

std::variant<CommandLine, int> ParseCommandLine(const std::vector<std::string>& arguments) {
  CommandLine line;
  const SubcommandRow* row = &kIdeRow;
  // Options before the subcommand's name; the rest is left for the subcommand.
  Parser before = Parser::BeforeName(line);
  base::Result<void> parsed = before.Parse(arguments, 0);
  if (parsed && line.operands.empty()) {
    parsed = Parser(*row, line).CheckGiven(before.Given());
  } else if (parsed) {
    const std::vector<std::string> rest = std::exchange(line.operands, {});
    row = FindSubcommand(rest[0]);
    if (!row) return Complain(UnknownSubcommandText(rest[0]), kIdeRow);
    line.subcommand = row->subcommand;
    Parser behind(*row, line);
    parsed = behind.Parse(rest, 1);
    if (parsed && !line.help) parsed = behind.CheckGiven(before.Given());
  }
  if (!parsed) return Complain(parsed.error().message, *row);
  if (line.help || line.version) {
    line.about = line.help ? HelpText(*row) : "tavhost " + VersionText() + "\n";
    return line;
  }
  if (const base::Result<void> checked = CheckOperands(line); !checked) {
    return Complain(checked.error().message, *row);
  }
  return line;
}

}  // namespace app
