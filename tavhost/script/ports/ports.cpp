#include "tavhost/script/ports/ports.h"

#include <algorithm>
#include <cstring>
#include <tl/expected.hpp>

#include "host/notation/kel_parser.h"
#include "host/notation/message_port_manager.h"
#include "tavhost/base/nearest_name.h"
#include "tavhost/base/string_of.h"
#include "tavhost/base/trace.h"
#include "tavhost/notation/document.h"
#include "tavhost/notation/parser_access.h"
#include "tavhost/script/ports/command_index.h"
#include "tavhost/script/ports/message.h"
#include "tavhost/script/quoted.h"

namespace script {

namespace {

constexpr char kHostPortName[] = "TavHost";

bool IsPort(std::string_view name) {
  const SV::String text = base::StringOf(name);
  return TavMessagePortManager::Instance().GetMPNameStrAddress(text) != nullptr;
}

std::string Suggestion(std::string_view name, const std::vector<std::string_view>& candidates) {
  const std::string nearest = base::NearestName(name, candidates);
  return nearest.empty() ? std::string() : "; did you mean " + Quoted(nearest) + "?";
}

}  // namespace

ScriptPort* FindScriptPort(const SV::String& name) {
  auto& manager = TavMessagePortManager::Instance();
  const char* key = manager.GetMPNameStrAddress(name);
  return key ? dynamic_cast<ScriptPort*>(manager.FindMessagePort(key)) : nullptr;
}

ScriptPort& ScriptPort::TavScript() {
  static ScriptPort port;
  return port;
}

void ScriptPort::AddProvider(CommandProvider& provider) { providers_.push_back(&provider); }

void ScriptPort::RemoveProvider(CommandProvider& provider) {
  std::erase(providers_, &provider);
  CommandIndex::ForgetAll();
}

bool ScriptPort::IsRefused(const char* command, TavScriptResult& result) {
  if (!refusedCommand_ || std::strcmp(command, refusedCommand_) != 0) return false;
  SV::String message(command);
  message += ": refused in a request of the script service";
  result.SetError(message);
  return true;
}

bool ScriptPort::Handle(const char* command, TavKelParser& params, TavMessage& message) {
  if (IsRefused(command, message.Result())) return true;
  for (CommandProvider* provider : providers_) {
    if (provider->Handle(command, params, message)) return true;
  }
  return false;
}

SV::String ScriptPort::GetAllCommands(char separator) {
  trace::Call call(this, "GetAllCommands", static_cast<int>(separator));
  SV::String all;
  for (CommandProvider* provider : providers_) {
    const SV::String commands = provider->AllCommands(separator);
    if (commands.Len() == 0) continue;
    if (all.Len() > 0) all += separator;
    all += commands;
  }
  return call.Result(all);
}

void RegisterHostPorts() {
  static TavMessagePort hostPort;
  auto& ports = TavMessagePortManager::Instance().m_ports;
  ports.emplace(TavMessagePort::TavScript(), &ScriptPort::TavScript());
  ports.emplace(kHostPortName, &hostPort);
}

std::string UnknownCommandText(std::string_view port, std::string_view command) {
  if (!IsPort(port)) {
    std::vector<std::string_view> names;
    for (const auto& [name, unused] : TavMessagePortManager::Instance().m_ports) {
      names.emplace_back(name);
    }
    return "unknown port " + Quoted(port) + Suggestion(port, names);
  }
  std::string text = "unknown command " + Quoted(command) + " on port " + Quoted(port);
  ScriptPort* commands = FindScriptPort(base::StringOf(port));
  if (!commands) return text;
  const SV::String all = commands->GetAllCommands('\n');
  std::vector<std::string_view> names;
  std::string_view rest = all.View();
  while (!rest.empty()) {
    names.push_back(rest.substr(0, rest.find('\n')));
    rest.remove_prefix(std::min(rest.size(), names.back().size() + 1));
  }
  return text + Suggestion(command, names);
}

}  // namespace script
