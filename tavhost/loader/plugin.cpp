#include "tavhost/loader/plugin.h"

#include <cstring>
#include <new>
#include <optional>
#include <stdexcept>
#include <utility>

#include "host/base/string.h"
#include "host/notation/message_port.h"
#include "host/script/script_result.h"
#include "host/system/version.h"
#include "tavhost/base/stop.h"
#include "tavhost/base/trace.h"
#include "tavhost/loader/library_file.h"
#include "tavhost/loader/messages.h"
#include "tavhost/loader/path_text.h"
#include "tavhost/script/ports/command_index.h"
#include "tavhost/script/ports/message.h"

namespace loader {

namespace {

void SetError(TavScriptResult& result, const char* command, const std::string& text) {
  const std::string message = std::string(command) + ": " + text;
  result.SetError(SV::String(message.data(), static_cast<long>(message.size())));
}

// Calls into the plug-in. What the plug-in throws becomes the error of the result, and the command
// counts as carried out; a stop passes through to the interpreter.
template <typename CallPlugin>
bool Guarded(const char* command, TavScriptResult& result, CallPlugin callPlugin) {
  try {
    const trace::PluginScope scope;
    return callPlugin();
  } catch (const stop::Stopped&) {
    throw;
  } catch (const std::bad_alloc&) {
    SetError(result, command, "out of memory");
  } catch (const std::length_error& error) {
    SetError(result, command, error.what());
  } catch (const std::exception& error) {
    SetError(result, command, std::string("internal error: ") + error.what());
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

std::optional<Module> LoadModule(const std::string& path, std::string& error) {
  const trace::PluginScope scope;
  return Module::Load(path, error);
}

template <typename Function>
void Bind(const Module& module, const char* name, Function*& function, std::string& missing) {
  function = reinterpret_cast<Function*>(module.Symbol(name));
  if (!function && missing.empty()) missing = messages::NoSymbol(name);
}

// All checks of a library in memory.
std::string FindFault(const Module& module, PluginFunctions& functions) {
  if (std::string fault = FindFaultOfFunctions(module, functions); !fault.empty()) return fault;
  for (const auto step :
       {FindFaultOfType, FindFaultOfExecutionType, FindFaultOfVersion, FindFaultOfPort}) {
    if (std::string fault = step(functions); !fault.empty()) return fault;
  }
  return {};
}

}  // namespace

std::string FindFaultOfFunctions(const Module& module, PluginFunctions& functions) {
  std::string missing;
  Bind(module, kFunctionNames[0], functions.getVersion, missing);
  Bind(module, kFunctionNames[1], functions.getType, missing);
  Bind(module, kFunctionNames[2], functions.getExecutionType, missing);
  Bind(module, kFunctionNames[3], functions.getMessagePortName, missing);
  Bind(module, kFunctionNames[4], functions.handleRequestMsg, missing);
  Bind(module, kFunctionNames[5], functions.handleRequestDirect, missing);
  Bind(module, kFunctionNames[6], functions.isCommandExisting, missing);
  Bind(module, kFunctionNames[7], functions.getAllCommands, missing);
  return missing;
}

std::string FindFaultOfType(const PluginFunctions& functions) {
  const int type = Ask(functions.getType);
  return type == kPluginType ? std::string() : messages::WrongType(type, kPluginType);
}

std::string FindFaultOfExecutionType(const PluginFunctions& functions) {
  const int type = Ask(functions.getExecutionType);
  return type == kExecutionType ? std::string()
                                : messages::WrongExecutionType(type, kExecutionType);
}

std::string FindFaultOfVersion(const PluginFunctions& functions) {
  const int version = Ask(functions.getVersion);
  const int host = Tav_GetVersionIdentifier();
  return version == host ? std::string() : messages::WrongVersion(version, host);
}

std::string FindFaultOfPort(const PluginFunctions& functions) {
  const char* port = Ask(functions.getMessagePortName);
  const char* wanted = TavMessagePort::TavScript();
  if (!port) return messages::NoPortName();
  if (std::strcmp(port, wanted) != 0) return messages::OtherPort(port, wanted);
  return port == wanted ? std::string() : messages::CopiedPortName();
}

std::unique_ptr<Plugin> Plugin::Load(const std::string& name, std::string& error) {
  const std::string subject = "plug-in \"" + name + "\" ";
  const std::string path = WholePath(name);
  if (const std::string fault = FindFaultOfLibraryFile(path); !fault.empty()) {
    error = subject + fault;
    return nullptr;
  }
  std::string reason;
  std::optional<Module> module = LoadModule(path, reason);
  if (!module) {
    error = subject + messages::CannotLoad(reason);
    return nullptr;
  }
  PluginFunctions functions;
  if (const std::string fault = FindFault(*module, functions); !fault.empty()) {
    error = subject + fault;
    return nullptr;
  }
  return std::unique_ptr<Plugin>(new Plugin(path, std::move(*module), functions));
}

Plugin::Plugin(const std::string& path, Module module, const PluginFunctions& functions)
    : path_(path), module_(std::move(module)), functions_(functions) {}

Plugin::~Plugin() {
  {
    const trace::PluginScope scope;
    module_.Unload();
  }
  script::CommandIndex::ForgetAll();
}

bool Plugin::Handle(const char* command, TavKelParser& params, TavScriptResult& result) {
  return Guarded(command, result,
                 [&] { return functions_.handleRequestDirect(command, params, result); });
}

bool Plugin::Handle(const char* command, TavKelParser& params, TavMessage& message) {
  return Guarded(command, message.Result(),
                 [&] { return functions_.handleRequestMsg(command, params, &message); });
}

// Questions have no result that could take an error: when one throws, the plug-in counts as one
// without commands.
bool Plugin::Exists(const char* command) {
  try {
    const trace::PluginScope scope;
    return functions_.isCommandExisting(command);
  } catch (...) {
    return false;
  }
}

SV::String Plugin::AllCommands(char separator) {
  try {
    const trace::PluginScope scope;
    SV::String commands;
    functions_.getAllCommands(commands, separator);
    return commands;
  } catch (...) {
    return {};
  }
}

}  // namespace loader
