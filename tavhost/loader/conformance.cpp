#include "tavhost/loader/conformance.h"

#include <algorithm>
#include <exception>
#include <functional>
#include <set>

#include "host/base/string.h"
#include "host/notation/kel_parser.h"
#include "host/notation/kel_value.h"
#include "host/notation/kel_value_set.h"
#include "host/notation/message_port.h"
#include "host/notation/message_port_manager.h"
#include "host/script/script_result.h"
#include "tavhost/loader/library_file.h"
#include "tavhost/loader/messages.h"
#include "tavhost/loader/plugin.h"
#include "tavhost/notation/scope.h"
#include "tavhost/notation/value.h"
#include "tavhost/script/ports/message.h"
#include "tavhost/script/ports/ports.h"

namespace loader {

namespace {

constexpr int kRepeats = 3;  // how often an answer must stay the same
constexpr const char* kUnknownCommand = "NO_SUCH_COMMAND";

// A plug-in as a test has it: in memory, its functions bound as far as they are there.
class Subject {
 public:
  explicit Subject(std::string path) : path_(std::move(path)) {}

  const std::string& Path() const { return path_; }
  const PluginFunctions& Functions() const { return functions_; }
  Module& Library() { return *module_; }

  std::string Load() {
    std::string reason;
    module_ = Module::Load(path_, reason);
    if (!module_) return messages::CannotLoad(reason);
    FindFaultOfFunctions(*module_, functions_);
    return {};
  }
  void Unload() { module_.reset(); }

  std::string Commands(char separator) const {
    SV::String commands;
    functions_.getAllCommands(commands, separator);
    return std::string(commands.View());
  }

 private:
  std::string path_;
  std::optional<Module> module_;
  PluginFunctions functions_;
};

std::string Quoted(const std::string& text) {
  const SV::String counted(text.data(), static_cast<long>(text.size()));
  return std::string(TavKelParser::GetKelTextOfStrValue(counted).View());
}

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> pieces{""};
  for (const char byte : text) {
    if (byte == separator) {
      pieces.emplace_back();
    } else {
      pieces.back() += byte;
    }
  }
  return pieces;
}

std::vector<std::string> CommandNames(const Subject& subject) {
  return Split(subject.Commands('\n'), '\n');
}

// A question of loading, asked several times: the answer must not depend on having been asked.
template <std::string (*Step)(const PluginFunctions&)>
std::string OnEveryCall(Subject& subject) {
  for (int i = 0; i < kRepeats; ++i) {
    if (std::string fault = Step(subject.Functions()); !fault.empty()) return fault;
  }
  return {};
}

std::string TestListSeparator(Subject& subject) {
  const std::vector<std::string> names = CommandNames(subject);
  for (const char separator : {' ', ',', '*', '\t', '\0'}) {
    const std::string list = subject.Commands(separator);
    const std::string shown = Quoted(std::string(1, separator));
    if (list.starts_with(separator)) return "the list begins with the separator " + shown;
    if (list.ends_with(separator)) return "the list ends with the separator " + shown;
    if (Split(list, separator) != names) {
      return "the list joined by " + shown + " names other commands than the one joined by \"\\n\"";
    }
  }
  return {};
}

std::string TestListReplaces(Subject& subject) {
  SV::String commands("what stood there before");
  subject.Functions().getAllCommands(commands, ' ');
  if (subject.Commands(' ') == commands.View()) return {};
  return "the receiving text begins " + Quoted(std::string(commands.View().substr(0, 40)));
}

std::string TestListNames(Subject& subject) {
  std::set<std::string> seen;
  for (const std::string& name : CommandNames(subject)) {
    const bool isWord = !name.empty() && std::all_of(name.begin(), name.end(), [](char byte) {
      return (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9') || byte == '_';
    });
    if (!isWord) return "it lists " + Quoted(name);
    if (!seen.insert(name).second) return "it lists " + name + " twice";
  }
  return {};
}

std::string TestExistsListed(Subject& subject) {
  for (const std::string& name : CommandNames(subject)) {
    if (!subject.Functions().isCommandExisting(name.c_str())) return "it does not know " + name;
  }
  return {};
}

std::string TestExistsOthers(Subject& subject) {
  const std::vector<std::string> names = CommandNames(subject);
  std::vector<std::string> others{"", " ", kUnknownCommand};
  for (const std::string& name : names) {
    others.push_back(name + "X");
    others.push_back(name.substr(0, name.size() - (name.empty() ? 0 : 1)));
  }
  for (const std::string& other : others) {
    if (std::find(names.begin(), names.end(), other) != names.end()) continue;
    if (subject.Functions().isCommandExisting(other.c_str())) return "it knows " + Quoted(other);
  }
  return {};
}

// What an unknown command left in a result, in words.
std::string FindTraceOfCall(bool handled, TavScriptResult& result) {
  if (handled) return "it says that it carried out " + std::string(kUnknownCommand);
  if (result.HasError()) {
    return "it wrote the error " + Quoted(std::string(result.GetError().View()));
  }
  if (result.GetText().Len() > 0) {
    return "it wrote " + Quoted(std::string(result.GetText().View()));
  }
  return {};
}

std::string TestUnknownResult(Subject& subject) {
  const auto call = [&](TavScriptResult& result) {
    TavKelParser parser("NO_SUCH_COMMAND \"x\" name:1");
    parser.Parse();
    return subject.Functions().handleRequestDirect(kUnknownCommand, parser, result);
  };
  TavKelValueSet variables;
  TavScriptResult toVariables(&variables);
  if (std::string fault = FindTraceOfCall(call(toVariables), toVariables); !fault.empty()) {
    return fault;
  }
  std::string written;
  kel::Scope::Of(variables).ForEach(
      [&](std::string_view name, const kel::Value&) { written = name; });
  if (!written.empty()) return "it wrote the variable " + written;

  TavKelValue object(TavKelRecord);
  TavScriptResult toObject(&object);
  if (std::string fault = FindTraceOfCall(call(toObject), toObject); !fault.empty()) return fault;
  if (!kel::Value::Of(object).AsRecord().fields.empty()) return "it wrote a field of the object";

  TavScriptResult toText;
  return FindTraceOfCall(call(toText), toText);
}

std::string TestUnknownMessage(Subject& subject) {
  TavKelParser parser("NO_SUCH_COMMAND \"x\" name:1");
  parser.Parse();
  TavMessage message;
  const bool handled = subject.Functions().handleRequestMsg(kUnknownCommand, parser, &message);
  return FindTraceOfCall(handled, message.Result());
}

std::string TestUnload(Subject& subject) {
  subject.Unload();
  return Module::IsLoaded(subject.Path()) ? "it stays in the process" : "";
}

std::string TestReload(Subject& subject) {
  const std::string before = subject.Commands(' ');
  subject.Unload();
  if (std::string fault = subject.Load(); !fault.empty()) return fault;
  return subject.Commands(' ') == before ? "" : "it lists other commands than before";
}

// Loads the plug-in itself, so as to compare.
std::string TestLoadQuiet(Subject& subject) {
  script::RegisterHostPorts();
  const auto ports = TavMessagePortManager::Instance().m_ports;
  if (std::string fault = subject.Load(); !fault.empty()) return fault;
  const PluginFunctions& functions = subject.Functions();
  functions.getType();
  functions.getExecutionType();
  functions.getVersion();
  functions.getMessagePortName();
  return TavMessagePortManager::Instance().m_ports == ports ? "" : "it changed the host's ports";
}

// kLoaded: the plug-in is loaded before the test runs; kFile: the test gets nothing but the path.
enum class Needs { kFile, kLoaded };

struct Test : ConformanceTest {
  Needs needs;
  std::function<std::string(Subject&)> run;
};

std::vector<Test> MakeTests() {
  std::vector<Test> tests;
  const auto add = [&](std::string id, std::string sentence, Needs needs, auto run,
                       bool isGate = false) {
    tests.push_back({{std::move(id), std::move(sentence), isGate}, needs, std::move(run)});
  };
  add(
      "file", "The file is a shared library for this machine.", Needs::kFile,
      [](Subject& subject) { return FindFaultOfLibraryFile(subject.Path()); }, true);
  add(
      "load", "It loads, and finds in the host all that it needs.", Needs::kFile,
      [](Subject& subject) { return subject.Load(); }, true);
  for (const char* name : kFunctionNames) {
    add(
        std::string("export.") + name, std::string("It exports ") + name + ".", Needs::kLoaded,
        [name](Subject& subject) {
          return subject.Library().Symbol(name) ? std::string() : messages::NoSymbol(name);
        },
        true);
  }
  add("type", "Its type is 102, on every call.", Needs::kLoaded, OnEveryCall<FindFaultOfType>);
  add("execution-type", "Its execution type is 44, on every call.", Needs::kLoaded,
      OnEveryCall<FindFaultOfExecutionType>);
  add("version", "It was made for this version of the host.", Needs::kLoaded,
      OnEveryCall<FindFaultOfVersion>);
  add("port", "It serves the script port, by the host's own pointer to the name.", Needs::kLoaded,
      OnEveryCall<FindFaultOfPort>);
  add("load.quiet", "Loading it and asking who it is leaves the host's ports as they were.",
      Needs::kFile, TestLoadQuiet);
  add("list.separator", "It joins the names of its commands by the separator asked for.",
      Needs::kLoaded, TestListSeparator);
  add("list.replaces", "The list of its commands replaces what the receiving text held.",
      Needs::kLoaded, TestListReplaces);
  add("list.names", "The names that it lists are words in upper case, no two alike.",
      Needs::kLoaded, TestListNames);
  add("exists.listed", "It knows every command that it lists.", Needs::kLoaded, TestExistsListed);
  add("exists.others", "It knows no command that it does not list.", Needs::kLoaded,
      TestExistsOthers);
  add("unknown.result", "It leaves an unknown command to others and writes no result for it.",
      Needs::kLoaded, TestUnknownResult);
  add("unknown.message", "It leaves a message with an unknown command to others, unanswered.",
      Needs::kLoaded, TestUnknownMessage);
  add("unload", "Unloading takes it out of the process.", Needs::kLoaded, TestUnload);
  add("reload", "It can be loaded again, with the same commands.", Needs::kLoaded, TestReload);
  return tests;
}

const std::vector<Test>& Tests() {
  static const std::vector<Test> tests = MakeTests();
  return tests;
}

}  // namespace

const std::vector<ConformanceTest>& ConformanceTests() {
  static const std::vector<ConformanceTest> tests(Tests().begin(), Tests().end());
  return tests;
}

std::string RunConformanceTest(const std::string& path, const std::string& id) {
  const auto test = std::find_if(Tests().begin(), Tests().end(),
                                 [&](const Test& candidate) { return candidate.id == id; });
  if (test == Tests().end()) return "there is no test " + id;
  try {
    Subject subject(path);
    if (test->needs == Needs::kLoaded) {
      if (std::string fault = subject.Load(); !fault.empty()) return fault;
    }
    return test->run(subject);
  } catch (const std::exception& error) {
    return messages::LeakedException(error.what());
  } catch (...) {
    return messages::LeakedException("of an unknown type");
  }
}

}  // namespace loader
