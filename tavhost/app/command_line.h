#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "host/base/size.h"

namespace app {

// What can be said to every subcommand.
struct Options {
  std::string userInterface = "auto";  // auto, qt or headless
  std::optional<std::string> answers;  // a file's name, accept, cancel or ask
  std::string recordFile;
  std::string traceFile;  // "-": standard error
  std::string screenshotFolder;
  std::string pluginPath;  // empty: those in the program's plug-in folder
  std::string databaseFolder;
  std::optional<SV::Size> screen;
  std::string printer;
  double timeoutSeconds = 0;  // 0: none
  bool quiet = false;
  bool modelWindow = false;
  bool dryRun = false;
  bool dryRunAsJson = false;
};

enum class Subcommand : std::uint8_t {
  kIde,
  kRun,
  kSend,
  kCheck,
  kCommands,
  kValidate,
  kValidateChild,  // started by the validator itself
  kWindowsChild,   // started by the host itself
  kRepl,
  kServe,
  kLanguageServer,
  kTrace,
};

struct CommandLine {
  Subcommand subcommand = Subcommand::kIde;
  Options options;
  std::vector<std::string> operands;
  std::optional<std::string> scriptText;  // run -e
  bool json = false;
  std::optional<int> port;                         // serve --port
  std::vector<std::string> addresses;              // serve --address, each once
  bool allowCrash = false;                         // serve --allow-crash
  std::size_t replyLimit = std::size_t{64} << 20;  // serve --reply-limit, bytes
  std::string socket;                              // serve --socket
  std::string tokenFile;                           // serve --token-file
  double requestSeconds = 0;                       // serve --request-timeout; 0: none
  bool help = false;
  bool version = false;
  std::string about;  // help or the version: to be printed, and nothing else done
};

// The program's arguments, its own name left out, as UTF-8. Mistakes are written right away; the
// answer is then the exit code.
std::variant<CommandLine, int> ParseCommandLine(const std::vector<std::string>& arguments);

}  // namespace app
