#include "tavhost/analysis/check.h"

#include <nlohmann/json.hpp>
#include <string>
#include <tl/expected.hpp>
#include <vector>

#include "host/base/string.h"
#include "tavhost/app/exit_codes.h"
#include "tavhost/app/script_source.h"
#include "tavhost/app/standard_streams.h"
#include "tavhost/app/subcommands.h"
#include "tavhost/base/diagnostic.h"
#include "tavhost/base/file_text.h"
#include "tavhost/base/report.h"

namespace app {

namespace {

nlohmann::ordered_json ToJson(const base::Diagnostic& finding) {
  nlohmann::ordered_json json = {
      {"file", finding.file},
      {"line", finding.line},
      {"column", finding.column},
      {"length", finding.length},
      {"severity", finding.severity == base::Severity::kError ? "error" : "hint"},
      {"message", finding.message}};
  if (!finding.replacement.empty()) json["replacement"] = finding.replacement;
  return json;
}

}  // namespace

int CheckScripts(const CommandLine& line) {
  auto all = nlohmann::ordered_json::array();
  bool isUnreadable = false;
  bool hasErrors = false;
  check::AnswersFile answers;
  const std::string answersName = line.options.answers.value_or("");
  const bool hasAnswers = !answersName.empty() && answersName != "accept" &&
                          answersName != "cancel" && answersName != "ask";
  if (hasAnswers) {
    const base::Result<std::string> text = base::ReadFileText(answersName);
    if (!text) {
      report::Line("tavhost: cannot read " + answersName + ": " + text.error().message);
      return kExitUsage;
    }
    answers = {answersName, *text};
  }
  for (const std::string& name : line.operands) {
    const auto source = ReadScript(name);
    if (!source) {
      isUnreadable = true;
      continue;
    }
    for (const base::Diagnostic& finding :
         check::CheckScript(source->text, source->name, hasAnswers ? &answers : nullptr)) {
      if (!line.json) Print(finding.text);
      hasErrors = hasErrors || finding.severity == base::Severity::kError;
      if (line.json) all.push_back(ToJson(finding));
    }
  }
  // A script may hold any bytes, JSON only UTF-8.
  if (line.json) {
    Print(all.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n");
  }
  if (isUnreadable) return kExitUsage;
  return hasErrors ? kExitScriptError : kExitSuccess;
}

}  // namespace app
