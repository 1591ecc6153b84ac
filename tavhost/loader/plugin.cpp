#include "tavhost/loader/plugin.h"

#include <cxxabi.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string_view>
#include <tl/expected.hpp>
#include <utility>

#include "host/base/string.h"
#include "host/notation/message_port.h"
#include "host/script/script_result.h"
#include "host/system/version.h"
#include "tavhost/base/command_end.h"
#include "tavhost/base/memory_reserve.h"
#include "tavhost/base/plugin_call.h"
#include "tavhost/base/refused_memory.h"
#include "tavhost/base/stop.h"
#include "tavhost/base/string_of.h"
#include "tavhost/base/trace.h"
#include "tavhost/loader/command_signals.h"
#include "tavhost/loader/library_file.h"
#include "tavhost/loader/path_text.h"
#include "tavhost/loader/refusal_texts.h"
#include "tavhost/notation/scope.h"
#include "tavhost/script/ports/command_index.h"
#include "tavhost/script/ports/message.h"

namespace loader {

namespace {

// Of a command that was broken off no result counts, and least of all the outcome: 0 would stand
// for what did not happen.
void ForgetResults(TavScriptResult& result) {
  constexpr std::string_view kOutcome = "ecode";
  result.GetText() = SV::String();
  if (TavKelValueSet* const variables = result.GetValueSet()) {
    kel::Scope& scope = kel::Scope::Of(*variables);
    if (scope.Read(kOutcome)) scope.Set(kOutcome, {});
  }
  if (TavKelValue* const record = result.GetObject()) {
    kel::Value::Of(*record) = kel::Value::Record();
  }
}

void SetError(TavScriptResult& result, const char* command, const char* text,
              const char* what = "") {
  const memory_reserve::Use reserve;
  ForgetResults(result);
  const std::string message = std::string(command) + ": " + text + what;
  result.SetError(base::StringOf(message));
}

// Calls into the plug-in. What the plug-in throws becomes the error of the result, and the command
// counts as carried out; a stop passes through to the interpreter.
template <typename CallPlugin>
bool Guarded(const Plugin& plugin, const char* command, TavScriptResult& result,
             CallPlugin callPlugin) {
  try {
    refused_memory::Take();  // what was refused before is nothing of this command's
    command_end::Scope end;
    bool isCommand;
    {
      const trace::PluginScope scope;
      const plugin_call::Scope call(plugin.Path().c_str(), command);
      const CommandSignals signals(plugin.IsOwn());
      try {
        isCommand = callPlugin();
      } catch (const abi::__forced_unwind&) {
        // It ends the thread on which everything runs: nothing could go on behind it.
        std::abort();
      }
    }
    end.Returned();
    if (refused_memory::Take()) throw std::bad_alloc();
    return isCommand;
  } catch (const stop::Stopped&) {
    throw;
  } catch (const command_end::Failure& failure) {
    SetError(result, command, failure.what());
  } catch (const std::bad_alloc&) {
    SetError(result, command, "out of memory");
  } catch (const std::length_error& error) {
    SetError(result, command, error.what());
  } catch (const std::exception& error) {
    SetError(result, command, "internal error: ", error.what());
  } catch (...) {
    SetError(result, command, "internal error: unknown exception");
  }
  return true;
}

// Asks the plug-in, with a scope around the call: its answer may use operations of the host, which
// belong into the trace; those that the host uses to judge the answer do not.
template <typename Answer>
Answer Ask(Answer (*function)()) {
  const trace::PluginScope scope;
  return function();
}

base::Result<Module> LoadModule(const std::string& path) {
  const trace::PluginScope scope;
  const plugin_call::Scope call(path.c_str(), nullptr);
  return Module::Load(path);
}

template <typename Function>
void Bind(const Module& module, const char* name, Function*& function, std::string& missing) {
  function = reinterpret_cast<Function*>(module.Symbol(name));
  if (!function && missing.empty()) missing = messages::NoSymbol(name);
}

// All checks of a library in memory.
base::Result<void> Check(const Module& module, PluginFunctions& functions) {
  if (base::Result<void> bound = BindFunctions(module, functions); !bound) return bound;
  for (const auto step : {CheckType, CheckExecutionType, CheckVersion, CheckPort}) {
    if (base::Result<void> checked = step(functions); !checked) return checked;
  }
  return {};
}

base::Result<void> Require(bool holds, const std::string& otherwise) {
  if (!holds) return base::Failure(otherwise);
  return {};
}

}  // namespace

bool IsOwnPlugin(const std::string& path) {
  return ToText(ToPath(path).stem()).ends_with("tavscript_commands");
}

base::Result<void> BindFunctions(const Module& module, PluginFunctions& functions) {
  std::string missing;
  Bind(module, kFunctionNames[0], functions.getVersion, missing);
  Bind(module, kFunctionNames[1], functions.getType, missing);
  Bind(module, kFunctionNames[2], functions.getExecutionType, missing);
  Bind(module, kFunctionNames[3], functions.getMessagePortName, missing);
  Bind(module, kFunctionNames[4], functions.handleRequestMsg, missing);
  Bind(module, kFunctionNames[5], functions.handleRequestDirect, missing);
  Bind(module, kFunctionNames[6], functions.isCommandExisting, missing);
  Bind(module, kFunctionNames[7], functions.getAllCommands, missing);
  return Require(missing.empty(), missing);
}

base::Result<void> CheckType(const PluginFunctions& functions) {
  const int type = Ask(functions.getType);
  return Require(type == kPluginType, messages::WrongType(type, kPluginType));
}

base::Result<void> CheckExecutionType(const PluginFunctions& functions) {
  const int type = Ask(functions.getExecutionType);
  return Require(type == kExecutionType, messages::WrongExecutionType(type, kExecutionType));
}

base::Result<void> CheckVersion(const PluginFunctions& functions) {
  const int version = Ask(functions.getVersion);
  const int host = Tav_GetVersionIdentifier();
  return Require(version == host, messages::WrongVersion(version, host));
}

base::Result<void> CheckPort(const PluginFunctions& functions) {
  const char* port = Ask(functions.getMessagePortName);
  const char* wanted = TavMessagePort::TavScript();
  if (!port) return base::Failure(messages::NoPortName());
  if (std::strcmp(port, wanted) != 0) return base::Failure(messages::OtherPort(port, wanted));
  return Require(port == wanted, messages::CopiedPortName());
}

base::Result<std::unique_ptr<Plugin>> Plugin::Load(const std::string& name) {
  const std::string subject = "plug-in \"" + name + "\" ";
  const std::string path = WholePath(name);
  if (const base::Result<void> file = CheckLibraryFile(path); !file) {
    return base::Failure(subject + file.error().message);
  }
  base::Result<Module> module = LoadModule(path);
  if (!module) return base::Failure(subject + messages::CannotLoad(module.error().message));
  PluginFunctions functions;
  if (const base::Result<void> checked = Check(*module, functions); !checked) {
    return base::Failure(subject + checked.error().message);
  }
  return std::unique_ptr<Plugin>(new Plugin(path, std::move(*module), functions));
}

Plugin::Plugin(const std::string& path, Module module, const PluginFunctions& functions)
    : path_(path), isOwn_(IsOwnPlugin(path)), module_(std::move(module)), functions_(functions) {}

Plugin::~Plugin() {
  {
    const trace::PluginScope scope;
    const plugin_call::Scope call(path_.c_str(), nullptr);
    module_.Unload();
  }
  script::CommandIndex::ForgetAll();
}

bool Plugin::Handle(const char* command, TavKelParser& params, TavScriptResult& result) {
  return Guarded(*this, command, result,
                 [&] { return functions_.handleRequestDirect(command, params, result); });
}

bool Plugin::Handle(const char* command, TavKelParser& params, TavMessage& message) {
  return Guarded(*this, command, message.Result(),
                 [&] { return functions_.handleRequestMsg(command, params, &message); });
}

// A question has no result that could take an error: when it throws, the plug-in counts as one
// without commands.
SV::String Plugin::AllCommands(char separator) {
  try {
    const trace::PluginScope scope;
    const plugin_call::Scope call(path_.c_str(), nullptr);
    SV::String commands;
    functions_.getAllCommands(commands, separator);
    return commands;
  } catch (const std::bad_alloc&) {
    refused_memory::Note();
  } catch (...) {
  }
  return {};
}

}  // namespace loader
