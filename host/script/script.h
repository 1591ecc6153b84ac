#pragma once

#include "host/base/string.h"
#include "host/export.h"
#include "host/notation/forward.h"
#include "host/script/forward.h"

// How a run ended.
enum TavScriptExitType {
  TavScriptExitEnd = 0,    // ran to its end
  TavScriptExitCode = 1,   // by `exit`
  TavScriptExitError = 2,  // by an error that nothing caught
  TavScriptExitStop = 3,   // by a stop request
};

// One script: parsed once, run any number of times.
class TAV_HOST_API TavScript {
 public:
  // `name` stands for the file in error texts; the two strings behind it are kept for the host.
  TavScript(unsigned id, const SV::String& name, const SV::String& first, const SV::String& second);
  TavScript(const TavScript&) = delete;
  TavScript& operator=(const TavScript&) = delete;
  ~TavScript();

  // 0 when the text parsed; otherwise `error` holds place and reason.
  long Parse(const SV::String& text, SV::String& error);
  // Runs what was parsed in `vars`. `code` is the number that `exit` gave, 0 without one.
  // `nested` marks a run inside another script, `debug` is not used by this host.
  void Execute(TavScriptExitType& exitType, long& code, TavScriptRuntime& runtime,
               TavKelValueSet* vars, bool nested, bool debug);

  static TavKelValueSet* GlobalVars();  // of the outermost script; the host's

 private:
  struct Program;
  Program* program_;
};
