#pragma once

#include "host/base/string.h"
#include "host/notation/forward.h"
#include "host/script/forward.h"
#include "tavhost/base/dry_run.h"
#include "tavhost/files/planned_files.h"
#include "tavhost/script/ports/command_provider.h"

// A dry run of scripts: every command runs as always, but what it would do outside the process is
// told and not done. Reading goes on against what is there and what was told before. Stands before
// the plug-ins, to know which command comes and what it said of itself at its end.
class DryRun : public script::CommandProvider {
 public:
  // `tell` is called with each step, and `Command()` then says whose it is.
  explicit DryRun(dry_run::Teller tell);
  DryRun(const DryRun&) = delete;
  DryRun& operator=(const DryRun&) = delete;
  ~DryRun() override;

  // The command that runs.
  const std::string& Command() const { return command_; }

  bool Handle(const char* command, TavKelParser& params, TavScriptResult& result) override;
  bool Handle(const char* command, TavKelParser& params, TavMessage& message) override;
  SV::String AllCommands(char) override { return {}; }

 private:
  template <typename Reply>
  bool Run(const char* command, TavKelParser& params, Reply& reply, TavScriptResult& result);
  void Begin(TavKelParser& params);

  PlannedFiles files_;
  std::string command_;
  int failures_ = 0;  // told so far
};
