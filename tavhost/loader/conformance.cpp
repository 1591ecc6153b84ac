#include "tavhost/loader/conformance.h"

#include <algorithm>
#include <exception>
#include <functional>
#include <optional>
#include <set>
#include <tl/expected.hpp>

#include "host/base/string.h"
#include "host/notation/kel_parser.h"
#include "host/notation/kel_value.h"
#include "host/notation/kel_value_set.h"
#include "host/notation/message_port.h"
#include "host/notation/message_port_manager.h"
#include "host/script/script_result.h"
#include "tavhost/base/ascii.h"
#include "tavhost/base/string_of.h"
#include "tavhost/loader/library_file.h"
#include "tavhost/loader/plugin.h"
#include "tavhost/loader/refusal_texts.h"
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

  base::Result<void> Load() {
    base::Result<Module> module = Module::Load(path_);
    if (!module) return base::Failure(messages::CannotLoad(module.error().message));
    module_ = std::move(*module);
    BindFunctions(*module_, functions_);  // tests of their own look for each
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
  const SV::String counted = base::StringOf(text);
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
template <base::Result<void> (*Step)(const PluginFunctions&)>
base::Result<void> OnEveryCall(Subject& subject) {
  for (int i = 0; i < kRepeats; ++i) {
    if (base::Result<void> checked = Step(subject.Functions()); !checked) return checked;
  }
  return {};
}

base::Result<void> TestListSeparator(Subject& subject) {
  const std::vector<std::string> names = CommandNames(subject);
  for (const char separator : {' ', ',', '*', '\t', '\0'}) {
    const std::string list = subject.Commands(separator);
    const std::string shown = Quoted(std::string(1, separator));
    if (list.starts_with(separator))
      return base::Failure("the list begins with the separator " + shown);
    if (list.ends_with(separator))
      return base::Failure("the list ends with the separator " + shown);
    if (Split(list, separator) != names) {
      return base::Failure("the list joined by " + shown +
                           " names other commands than the one joined by \"\\n\"");
    }
  }
  return {};
}

base::Result<void> TestListReplaces(Subject& subject) {
  SV::String commands("what stood there before");
  subject.Functions().getAllCommands(commands, ' ');
  if (subject.Commands(' ') == commands.View()) return {};
  return base::Failure("the receiving text begins " +
                       Quoted(std::string(commands.View().substr(0, 40))));
}

base::Result<void> TestListNames(Subject& subject) {
  std::set<std::string> seen;
  for (const std::string& name : CommandNames(subject)) {
    const bool isWord = !name.empty() && std::all_of(name.begin(), name.end(), [](char byte) {
      return ascii::IsLetterOrDigit(byte) ? byte == ascii::ToUpper(byte) : byte == '_';
    });
    if (!isWord) return base::Failure("it lists " + Quoted(name));
    if (!seen.insert(name).second) return base::Failure("it lists " + name + " twice");
  }
  return {};
}

base::Result<void> TestExistsListed(Subject& subject) {
  for (const std::string& name : CommandNames(subject)) {
    if (!subject.Functions().isCommandExisting(name.c_str()))
      return base::Failure("it does not know " + name);
  }
  return {};
}

base::Result<void> TestExistsOthers(Subject& subject) {
  const std::vector<std::string> names = CommandNames(subject);
  std::vector<std::string> others{"", " ", kUnknownCommand};
  for (const std::string& name : names) {
    others.push_back(name + "X");
    others.push_back(name.substr(0, name.size() - (name.empty() ? 0 : 1)));
  }
  for (const std::string& other : others) {
    if (std::find(names.begin(), names.end(), other) != names.end()) continue;
    if (subject.Functions().isCommandExisting(other.c_str()))
      return base::Failure("it knows " + Quoted(other));
  }
  return {};
}

// Fails when an unknown command left something in a result.
base::Result<void> CheckUntouched(bool handled, TavScriptResult& result) {
  if (handled) return base::Failure("it says that it carried out " + std::string(kUnknownCommand));
  if (result.HasError()) {
    return base::Failure("it wrote the error " + Quoted(std::string(result.GetError().View())));
  }
  if (result.GetText().Len() > 0) {
    return base::Failure("it wrote " + Quoted(std::string(result.GetText().View())));
  }
  return {};
}

base::Result<void> TestUnknownResult(Subject& subject) {
  const auto call = [&](TavScriptResult& result) {
    TavKelParser parser("NO_SUCH_COMMAND \"x\" name:1");
    parser.Parse();
    return subject.Functions().handleRequestDirect(kUnknownCommand, parser, result);
  };
  TavKelValueSet variables;
  TavScriptResult toVariables(&variables);
  base::Result<void> untouched = CheckUntouched(call(toVariables), toVariables);
  if (!untouched) return untouched;
  std::string written;
  kel::Scope::Of(variables).ForEach(
      [&](std::string_view name, const kel::Value&) { written = name; });
  if (!written.empty()) return base::Failure("it wrote the variable " + written);

  TavKelValue object(TavKelRecord);
  TavScriptResult toObject(&object);
  untouched = CheckUntouched(call(toObject), toObject);
  if (!untouched) return untouched;
  if (!kel::Value::Of(object).AsRecord().fields.empty())
    return base::Failure("it wrote a field of the object");

  TavScriptResult toText;
  return CheckUntouched(call(toText), toText);
}

base::Result<void> TestUnknownMessage(Subject& subject) {
  TavKelParser parser("NO_SUCH_COMMAND \"x\" name:1");
  parser.Parse();
  TavMessage message;
  const bool handled = subject.Functions().handleRequestMsg(kUnknownCommand, parser, &message);
  return CheckUntouched(handled, message.Result());
}

base::Result<void> TestUnload(Subject& subject) {
  subject.Unload();
  if (Module::IsLoaded(subject.Path())) return base::Failure("it stays in the process");
  return {};
}

base::Result<void> TestReload(Subject& subject) {
  const std::string before = subject.Commands(' ');
  subject.Unload();
  if (base::Result<void> loaded = subject.Load(); !loaded) return loaded;
  if (subject.Commands(' ') != before) return base::Failure("it lists other commands than before");
  return {};
}

// Loads the plug-in itself, so as to compare.
base::Result<void> TestLoadQuiet(Subject& subject) {
  script::RegisterHostPorts();
  const auto ports = TavMessagePortManager::Instance().m_ports;
  if (base::Result<void> loaded = subject.Load(); !loaded) return loaded;
  const PluginFunctions& functions = subject.Functions();
  functions.getType();
  functions.getExecutionType();
  functions.getVersion();
  functions.getMessagePortName();
  if (TavMessagePortManager::Instance().m_ports != ports) {
    return base::Failure("it changed the host's ports");
  }
  return {};
}

// kLoaded: the plug-in is loaded before the test runs; kFile: the test gets nothing but the path.
enum class Needs { kFile, kLoaded };

struct Test : ConformanceTest {
  Needs needs;
  std::function<base::Result<void>(Subject&)> run;
};

std::vector<Test> MakeTests() {
  std::vector<Test> tests;
  const auto add = [&](std::string id, std::string sentence, Needs needs, auto run,
                       bool isGate = false) {
    tests.push_back({{std::move(id), std::move(sentence), isGate}, needs, std::move(run)});
  };
  add(
      "file", "The file is a shared library for this machine.", Needs::kFile,
      [](Subject& subject) { return CheckLibraryFile(subject.Path()); }, true);
  add(
      "load", "It loads, and finds in the host all that it needs.", Needs::kFile,
      [](Subject& subject) { return subject.Load(); }, true);
  for (const char* name : kFunctionNames) {
    add(
        std::string("export.") + name, std::string("It exports ") + name + ".", Needs::kLoaded,
        [name](Subject& subject) -> base::Result<void> {
          if (!subject.Library().Symbol(name)) return base::Failure(messages::NoSymbol(name));
          return {};
        },
        true);
  }
  add("type", "Its type is 102, on every call.", Needs::kLoaded, OnEveryCall<CheckType>);
  add("execution-type", "Its execution type is 44, on every call.", Needs::kLoaded,
      OnEveryCall<CheckExecutionType>);
  add("version", "It was made for this version of the host.", Needs::kLoaded,
      OnEveryCall<CheckVersion>);
  add("port", "It serves the script port, by the host's own pointer to the name.", Needs::kLoaded,
      OnEveryCall<CheckPort>);
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

base::Result<void> RunConformanceTest(const std::string& path, const std::string& id) {
  const auto test = std::find_if(Tests().begin(), Tests().end(),
                                 [&](const Test& candidate) { return candidate.id == id; });
  if (test == Tests().end()) return base::Failure("there is no test " + id);
  try {
    Subject subject(path);
    if (test->needs == Needs::kLoaded) {
      if (base::Result<void> loaded = subject.Load(); !loaded) return loaded;
    }
    return test->run(subject);
  } catch (const std::exception& error) {
    return base::Failure(messages::LeakedException(error.what()));
  } catch (...) {
    return base::Failure(messages::LeakedException("of an unknown type"));
  }
}

}  // namespace loader
