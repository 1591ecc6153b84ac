#include "tavhost/app/command_line_tables.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <tl/expected.hpp>
#include <utility>

#include "tavhost/service/address.h"

namespace app {

namespace {

// The bit of a subcommand in OptionRow::subcommands.
constexpr unsigned Only(Subcommand subcommand) { return 1u << static_cast<unsigned>(subcommand); }
constexpr unsigned kAll = ~0u;
constexpr unsigned kWithJson =
    Only(Subcommand::kCheck) | Only(Subcommand::kCommands) | Only(Subcommand::kValidate);
// Those in which commands run.
constexpr unsigned kRunning = Only(Subcommand::kIde) | Only(Subcommand::kRun) |
                              Only(Subcommand::kSend) | Only(Subcommand::kRepl) |
                              Only(Subcommand::kServe);
constexpr unsigned kWithAnswers = kRunning | Only(Subcommand::kCheck);

constexpr SubcommandRow kSubcommandTable[] = {
    {"workbench", Subcommand::kIde, "[OPTION...] [FILE...]",
     "Open the workbench with these scripts; also without a subcommand", true},
    {"run", Subcommand::kRun, "[OPTION...] SCRIPT|-|-e TEXT [ARG...]",
     "Run a script: a file, '-' for standard input, or the text behind -e", false},
    {"send", Subcommand::kSend, "[OPTION...] 'COMMAND ...'... | -",
     "Send commands and print each reply; '-' reads them from standard input", false},
    {"check", Subcommand::kCheck, "SCRIPT... [--json]", "Find mistakes without running", true},
    {"commands", Subcommand::kCommands, "[NAME] [--json]", "List the commands, or explain one",
     true},
    {"validate", Subcommand::kValidate, "PLUGIN [--json]",
     "Load a plug-in in a process of its own and test it", true},
    {"validate-child", Subcommand::kValidateChild, "PLUGIN TEST MARK", "", false},
    {"windows-child", Subcommand::kWindowsChild, "", "", false},
    {"repl", Subcommand::kRepl, "[OPTION...]", "Run statements as they are typed", true},
    {"serve", Subcommand::kServe, "[--port N] [--address ADDR]... [--socket PATH] [OPTION...]",
     "Serve scripts over HTTP until interrupted", true},
    {"lsp", Subcommand::kLanguageServer, "", "Speak the language server protocol", true},
    {"trace", Subcommand::kTrace, "diff A B", "Name the first call in which two traces part", true},
};

base::Result<void> TakeUserInterface(CommandLine& line, std::string value) {
  if (value != "auto" && value != "qt" && value != "headless") {
    return base::Failure("must be auto, qt or headless");
  }
  line.options.userInterface = std::move(value);
  return {};
}

base::Result<void> TakeScreen(CommandLine& line, std::string value) {
  constexpr int kLongestSide = 32767;  // pixels; window systems count them in 16 bits
  int sides[2] = {};
  const char* at = value.data();
  const char* const end = at + value.size();
  for (int& side : sides) {
    const bool first = &side == &sides[0];
    const auto [rest, error] = std::from_chars(at, end, side);
    const bool endsRight = first ? rest != end && *rest == 'x' : rest == end;
    if (error != std::errc() || side < 1 || side > kLongestSide || !endsRight) {
      return base::Failure("must be WIDTHxHEIGHT, for example 1280x720");
    }
    at = rest + 1;
  }
  line.options.screen = SV::Size(sides[0], sides[1]);
  return {};
}

base::Result<void> ReadSeconds(const std::string& value, double& taken) {
  constexpr double kLongest = 1e9;  // far beyond any run, well within any timer
  double seconds = 0;
  const char* const end = value.data() + value.size();
  const auto [rest, error] = std::from_chars(value.data(), end, seconds);
  if (error != std::errc() || rest != end || !(seconds > 0) || seconds > kLongest) {
    return base::Failure("must be a number of seconds above 0, at most 1000000000");
  }
  taken = seconds;
  return {};
}

base::Result<void> TakeTimeout(CommandLine& line, std::string value) {
  return ReadSeconds(value, line.options.timeoutSeconds);
}

base::Result<void> TakeRequestTimeout(CommandLine& line, std::string value) {
  return ReadSeconds(value, line.requestSeconds);
}

base::Result<void> TakePort(CommandLine& line, std::string value) {
  int port = 0;
  const char* const end = value.data() + value.size();
  const auto [rest, error] = std::from_chars(value.data(), end, port);
  if (error != std::errc() || rest != end || port < 0 || port > 65535) {
    return base::Failure("must be a port number from 0 to 65535");
  }
  line.port = port;
  return {};
}

base::Result<void> TakeAddress(CommandLine& line, std::string value) {
  std::optional<std::string> address = script::service::ReadAddress(value);
  if (!address) {
    return base::Failure(
        "must be an address of this machine, for example 192.168.1.10; no name, and not one that "
        "stands for all, such as 0.0.0.0");
  }
  if (std::find(line.addresses.begin(), line.addresses.end(), *address) == line.addresses.end()) {
    line.addresses.push_back(std::move(*address));
  }
  return {};
}

base::Result<void> TakeReplyLimit(CommandLine& line, std::string value) {
  constexpr std::size_t kMega = std::size_t{1} << 20;
  constexpr std::size_t kMost = 1024;  // a text can hold no more than twice that
  std::size_t megabytes = 0;
  const char* const end = value.data() + value.size();
  const auto [rest, error] = std::from_chars(value.data(), end, megabytes);
  if (error != std::errc() || rest != end || megabytes < 1 || megabytes > kMost) {
    return base::Failure("must be a number of MiB from 1 to 1024");
  }
  line.replyLimit = megabytes * kMega;
  return {};
}

base::Result<void> TakeScriptText(CommandLine& line, std::string value) {
  line.scriptText = line.scriptText ? *line.scriptText + "\n" + value : std::move(value);
  return {};
}

// Options that only keep what they are given: a name, or a word. An empty one, as of a variable of
// the shell that is not set, would count as not given.
template <auto member>
base::Result<void> Keep(CommandLine& line, std::string value) {
  if (value.empty()) return base::Failure("must not be empty");
  line.options.*member = std::move(value);
  return {};
}
template <auto member>
base::Result<void> KeepPath(CommandLine& line, std::string value) {
  if (value.empty()) return base::Failure("must not be empty");
  line.*member = std::move(value);
  return {};
}
template <auto member>
base::Result<void> SetOption(CommandLine& line, std::string) {
  line.options.*member = true;
  return {};
}
template <auto member>
base::Result<void> Set(CommandLine& line, std::string) {
  line.*member = true;
  return {};
}

base::Result<void> TakeDryRun(CommandLine& line, std::string value) {
  if (!value.empty() && value != "json") return base::Failure("the only other form is json");
  line.options.dryRun = true;
  line.options.dryRunAsJson = value == "json";
  return {};
}

constexpr OptionRow kOptionTable[] = {
    {"-e", "TEXT", "Run this text; given several times, they are the lines of one script",
     Only(Subcommand::kRun), TakeScriptText},
    {"--json", nullptr, "Write JSON", kWithJson, Set<&CommandLine::json>},
    {"--port", "N", "The port to listen on; 0 takes a free one", Only(Subcommand::kServe),
     TakePort},
    {"--address", "ADDR", "Listen on this address instead of loopback; repeatable",
     Only(Subcommand::kServe), TakeAddress},
    {"--allow-crash", nullptr, "Let requests end the program by CRASH", Only(Subcommand::kServe),
     Set<&CommandLine::allowCrash>},
    {"--socket", "PATH", "Listen on a socket in the file system that only its owner may use",
     Only(Subcommand::kServe), KeepPath<&CommandLine::socket>},
    {"--token-file", "PATH", "Where the token is, or is to be written", Only(Subcommand::kServe),
     KeepPath<&CommandLine::tokenFile>},
    {"--request-timeout", "S", "Stop each request after so many seconds", Only(Subcommand::kServe),
     TakeRequestTimeout},
    {"--reply-limit", "MIB", "The most that one reply may take, 64 MiB unless given",
     Only(Subcommand::kServe), TakeReplyLimit},
    {"--ui", "auto|qt|headless", "Real windows or none; auto: real ones where they can be",
     kRunning, TakeUserInterface},
    {"--answers", "FILE|accept|cancel|ask",
     "Answer dialogs from a file, all alike, or in the terminal", kWithAnswers,
     Keep<&Options::answers>},
    {"--record", "FILE", "Write the answers given to dialogs to a file", kRunning,
     Keep<&Options::recordFile>},
    {"--trace", "FILE|-", "Write a line for each call of the plug-in into the host", kRunning,
     Keep<&Options::traceFile>},
    {"--screenshots", "DIR", "Write a picture of each window", kRunning,
     Keep<&Options::screenshotFolder>},
    {"--plugin", "PATH", "Load this plug-in", kRunning, Keep<&Options::pluginPath>},
    {"--db", "DIR", "The folder behind names that begin with db:\\", kRunning,
     Keep<&Options::databaseFolder>},
    {"--screen", "WxH", "The size of the screen where there is no display", kRunning, TakeScreen},
    {"--printer", "NAME", "The printer where there is no display", kRunning,
     Keep<&Options::printer>},
    {"--timeout", "S", "End, or stop what runs, after so many seconds", kAll, TakeTimeout},
    {"--quiet", nullptr, "No output windows, progress or notes", kRunning,
     SetOption<&Options::quiet>},
    {"--model-window", nullptr, "Have a model window without a display", kRunning,
     SetOption<&Options::modelWindow>},
    {"--dry-run", "[=json]", "Tell what would be written, deleted or sent, and do none of it",
     kRunning, TakeDryRun},
    {"--version", nullptr, "Print the version", kAll, Set<&CommandLine::version>},
    {"--help", nullptr, "Print this help (also -h)", kAll, Set<&CommandLine::help>},
};

constexpr std::string_view kFooter =
    "\n"
    "Options stand anywhere before the script or the commands; all behind is the script's own.\n"
    "\n"
    "Exit codes: 0 success, 1 script error, 2 usage or parse error, 3 a dialog without a fitting\n"
    "answer, 4 the plug-in could not be loaded, 5 a trace, record or picture could not be "
    "written,\n"
    "124 the time is over, 130 Ctrl-C, 143 SIGTERM; `exit N` in a script gives N, 255 for what is\n"
    "not 0 to 255.\n";

// A name and what it means, the meanings below each other.
void AppendEntry(std::string& help, const std::string& name, std::string_view meaning) {
  constexpr std::size_t kColumn = 26;
  std::string entry = "  " + name;
  if (entry.size() + 2 > kColumn) {
    help += entry + "\n";
    entry.clear();
  }
  entry.resize(kColumn, ' ');
  help.append(entry).append(meaning).append("\n");
}

}  // namespace

constexpr SubcommandRow kIdeRow = {"", Subcommand::kIde, "[OPTION...] [SUBCOMMAND ...]",
                                   "The TavScript host. Without a subcommand: the workbench.",
                                   false};
constexpr std::span<const SubcommandRow> kSubcommands = kSubcommandTable;
constexpr std::span<const OptionRow> kOptions = kOptionTable;

bool IsOptionOf(const OptionRow& option, Subcommand subcommand) {
  return (option.subcommands & Only(subcommand)) != 0;
}

std::string NamesOfSubcommands(const OptionRow& option) {
  std::string names;
  std::string_view last;
  for (const SubcommandRow& row : kSubcommands) {
    if (row.summary.empty() || !IsOptionOf(option, row.subcommand)) continue;
    if (!last.empty()) names.append(names.empty() ? "" : ", ").append(last);
    last = row.name;
  }
  return names.append(names.empty() ? "" : " and ").append(last);
}

namespace {

void AppendOption(std::string& help, const OptionRow& option) {
  std::string name(option.name);
  if (option.value) name.append(option.value[0] == '[' ? "" : " ").append(option.value);
  AppendEntry(help, name, option.description);
}

// Those of several subcommands, under what takes them.
void AppendAllOptions(std::string& help) {
  for (const unsigned takers : {kAll, kRunning, kWithAnswers}) {
    help += '\n';
    bool isNamed = false;
    for (const OptionRow& option : kOptions) {
      if (option.subcommands != takers) continue;
      if (!std::exchange(isNamed, true)) {
        const std::string names = NamesOfSubcommands(option);
        help += "Options of " + (takers == kAll ? "all subcommands" : names) + ":\n";
      }
      AppendOption(help, option);
    }
  }
}

}  // namespace

std::string HelpText(const SubcommandRow& row) {
  std::string help(row.summary);
  help += "\n\nUsage: tavhost";
  for (const std::string_view part : {row.name, row.operands}) {
    if (!part.empty()) help.append(" ").append(part);
  }
  help += '\n';
  if (!row.name.empty()) {
    help += "\nOptions:\n";
    for (const OptionRow& option : kOptions) {
      if (IsOptionOf(option, row.subcommand)) AppendOption(help, option);
    }
    return help;
  }
  AppendAllOptions(help);
  help += "\nSubcommands:\n";
  for (const SubcommandRow& other : kSubcommands) {
    if (!other.summary.empty()) AppendEntry(help, std::string(other.name), other.summary);
  }
  return help.append(kFooter);
}

}  // namespace app
