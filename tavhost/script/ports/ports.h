#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/notation/extended_message_port.h"
#include "tavhost/script/ports/command_provider.h"

namespace script {

// A port whose commands come from providers, asked in the order in which they were added.
class ScriptPort : public TavExtendedMessagePort {
 public:
  // The port named by TavMessagePort::TavScript().
  static ScriptPort& TavScript();

  // Owned by the caller, who takes it away before it ends.
  void AddProvider(CommandProvider& provider);
  void RemoveProvider(CommandProvider& provider);

  // False when no provider has the command. It stands in the header so that the interpreter
  // takes it in without a call: the processor predicts where returns lead only for so many calls
  // inside one another, and a command that calls the system uses these up. Every call less above a
  // handler spares a wrong prediction.
  bool Handle(const char* command, TavKelParser& params, TavScriptResult& result) {
    if (refusedCommand_ && IsRefused(command, result)) [[unlikely]]
      return true;
    for (CommandProvider* provider : providers_) {
      if (provider->Handle(command, params, result)) return true;
    }
    return false;
  }
  bool Handle(const char* command, TavKelParser& params, TavMessage& message);
  // For a provider that takes a command in order to look at what becomes of it: carried out by
  // those behind it. `reply` is the result or the message that it was given.
  template <typename Reply>
  bool HandOn(const CommandProvider& from, const char* command, TavKelParser& params,
              Reply& reply) {
    bool isBehind = false;
    for (CommandProvider* provider : providers_) {
      if (isBehind && provider->Handle(command, params, reply)) return true;
      isBehind = isBehind || provider == &from;
    }
    return false;
  }
  SV::String GetAllCommands(char separator) override;

  // A command that ends in an error for now, whoever sends it, without being carried out: a request
  // of the script service must not crash the host. Null for none. The name has to stay where it is.
  static void SetRefusedCommand(const char* command) { refusedCommand_ = command; }

 private:
  static bool IsRefused(const char* command, TavScriptResult& result);

  static inline const char* refusedCommand_ = nullptr;
  std::vector<CommandProvider*> providers_;
};

// Enters the host's ports in the manager: "TavScript", and the plain "TavHost", which takes no
// commands. May be called again.
void RegisterHostPorts();

// The port of this name that takes commands; null when there is none.
ScriptPort* FindScriptPort(const SV::String& name);

// What is wrong with sending `command` to `port`: `unknown command "FOO" on port "P"; did you mean
// "FOE"?` or `unknown port "P"`.
std::string UnknownCommandText(std::string_view port, std::string_view command);

}  // namespace script
