#include "tavhost/files/dry_run.h"

#include <utility>

#include "host/notation/kel_parser.h"
#include "tavhost/files/planned_functions.h"

DryRun::DryRun(dry_run::Teller tell) {
  dry_run::SetTeller(std::move(tell));
  planned_functions::Use(&files_);
}

DryRun::~DryRun() {
  planned_functions::Use(nullptr);
  dry_run::SetTeller(nullptr);
}

bool DryRun::Handle(const char* command, TavKelParser& params, TavScriptResult&) {
  Begin(command, params);
  return false;
}

bool DryRun::Handle(const char* command, TavKelParser& params, TavMessage&) {
  Begin(command, params);
  return false;
}

void DryRun::Begin(const char* command, TavKelParser& params) {
  command_ = command;
  const bool goesInto = command_ == "COPY_FILES" || command_ == "MOVE_FILES";
  planned_functions::Command how;
  planned_functions::SetCommand(how);
  if (!goesInto && command_ != "DELETE_FILES") return;
  how.isOfTrees = true;
  how.fillsFolders = command_ == "COPY_FILES" && params.IsContained("overwrite-existing-dir");
  const SV::String pattern = params.GetStrValue();
  const SV::String target = goesInto ? params.GetStrValue("to") : SV::String();
  // The commands look at the disk for this, which knows nothing of directories that were told.
  if (goesInto && files_.GoesIntoItself(pattern.GetStr(), target.GetStr())) {
    how.isRefused = true;
    files_.Refuse({target.GetStr()}, "it lies in the directory that is to go there");
  }
  planned_functions::SetCommand(how);
}
