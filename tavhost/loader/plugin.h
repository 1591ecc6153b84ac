#pragma once

#include <memory>
#include <string>

#include "tavhost/base/result.h"
#include "tavhost/loader/module.h"
#include "tavhost/script/ports/command_provider.h"

namespace loader {

inline constexpr int kPluginType = 102;    // of plug-ins that serve a script port
inline constexpr int kExecutionType = 44;  // that the script port wants

// The functions of a plug-in, by the names under which it exports them.
struct PluginFunctions {
  int (*getVersion)() = nullptr;
  int (*getType)() = nullptr;
  int (*getExecutionType)() = nullptr;
  const char* (*getMessagePortName)() = nullptr;
  bool (*handleRequestMsg)(const char*, TavKelParser&, TavMessage*) = nullptr;
  bool (*handleRequestDirect)(const char*, TavKelParser&, TavScriptResult&) = nullptr;
  bool (*isCommandExisting)(const char*) = nullptr;
  void (*getAllCommands)(SV::String&, char) = nullptr;
};

// The eight names, in the order in which a plug-in is asked for them.
inline constexpr const char* kFunctionNames[] = {
    "TavPluginFctGetVersion",
    "TavPluginFctGetType",
    "TavPluginFctTavScriptGetExecutionType",
    "TavPluginFctTavScriptGetMessagePortName",
    "TavPluginFctTavScriptHandleRequestMsg",
    "TavPluginFctTavScriptHandleRequestDirect",
    "TavPluginFctTavScriptIsCommandExisting",
    "TavPluginFctTavScriptGetAllCommands",
};

// Whether a library is, by its name, the one with the program's own commands.
bool IsOwnPlugin(const std::string& path);

// A loaded plug-in, found to fit this host. What it throws, a stop apart, becomes the command's
// error. Everything belongs to the user-interface thread.
class Plugin : public script::CommandProvider {
 public:
  // Fails when the plug-in does not fit, with a whole sentence about what is wrong. `name` is the
  // library's path, from the working folder or from the root.
  static base::Result<std::unique_ptr<Plugin>> Load(const std::string& name);
  ~Plugin() override;  // unloads it

  const std::string& Path() const { return path_; }
  bool IsOwn() const { return isOwn_; }  // the program's

  bool Handle(const char* command, TavKelParser& params, TavScriptResult& result) override;
  bool Handle(const char* command, TavKelParser& params, TavMessage& message) override;
  SV::String AllCommands(char separator) override;

 private:
  Plugin(const std::string& path, Module module, const PluginFunctions& functions);

  std::string path_;
  bool isOwn_;
  Module module_;
  PluginFunctions functions_;
};

// The steps of loading, in the order in which they are taken; they fail with what is wrong. The
// first binds those functions that are there, also when it fails.
base::Result<void> BindFunctions(const Module& module, PluginFunctions& functions);
base::Result<void> CheckType(const PluginFunctions& functions);
base::Result<void> CheckExecutionType(const PluginFunctions& functions);
base::Result<void> CheckVersion(const PluginFunctions& functions);
base::Result<void> CheckPort(const PluginFunctions& functions);

}  // namespace loader
