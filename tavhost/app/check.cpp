#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "host/sv/string.h"
#include "tavhost/app/exit_codes.h"
#include "tavhost/app/script_source.h"
#include "tavhost/app/standard_streams.h"
#include "tavhost/app/subcommands.h"
#include "tavhost/script/runner.h"

namespace app {

namespace {

nlohmann::ordered_json ToJson(const script::Diagnostic& diagnostic) {
  return {{"file", diagnostic.file},
          {"line", diagnostic.line},
          {"column", diagnostic.column},
          {"severity", "error"},
          {"message", diagnostic.message}};
}

}  // namespace

int CheckScripts(const CommandLine& line) {
  auto all = nlohmann::ordered_json::array();
  bool unreadable = false;
  for (const std::string& name : line.operands) {
    const auto source = ReadScript(name);
    if (!source) {
      unreadable = true;
      continue;
    }
    for (const script::Diagnostic& diagnostic : script::Check(source->text, source->name)) {
      if (!line.json) Print(diagnostic.text);
      all.push_back(ToJson(diagnostic));
    }
  }
  // A script may hold any bytes, JSON only UTF-8.
  if (line.json) {
    Print(all.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n");
  }
  if (unreadable) return kExitUsage;
  return all.empty() ? kExitSuccess : kExitScriptError;
}

}  // namespace app
