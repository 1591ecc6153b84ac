#include "host/script/script.h"

#include <utility>

#include "tavhost/base/string_of.h"
#include "tavhost/base/trace.h"
#include "tavhost/script/engine.h"

struct TavScript::Program {
  std::string name;
  SV::String first;
  SV::String second;
  std::shared_ptr<script::Program> program;
};

TavScript::TavScript(unsigned id, const SV::String& name, const SV::String& first,
                     const SV::String& second) {
  trace::Call call("TavScript::TavScript", id, name, first, second);
  program_ = new Program{std::string(name.View()), first, second, nullptr};
  call.Created("TavScript", this);
}

TavScript::~TavScript() {
  trace::Call call(this, "~TavScript");
  call.Write();
  trace::Forget(this);
  delete program_;
}

long TavScript::Parse(const SV::String& text, SV::String& error) {
  trace::Call call(this, "Parse", text);
  program_->program = nullptr;
  try {
    program_->program = script::CompileToRun(text, program_->name);
    return call.Result(0L);
  } catch (const script::SyntaxError& mistake) {
    error = base::StringOf(script::Describe(mistake, text, program_->name).text);
  }
  return call.Result(1L);
}

void TavScript::Execute(TavScriptExitType& exitType, long& code, TavScriptRuntime&,
                        TavKelValueSet* vars, bool nested, bool debug) {
  trace::Call call(this, "Execute", nested, debug);
  call.Write();
  exitType = TavScriptExitEnd;
  code = 0;
  if (!program_->program) return;
  script::Engine& engine = script::Engine::Current();
  const bool isOutermost = !nested && engine.Begin({});
  kel::Scope& given = kel::Scope::Of(vars ? *vars : *GlobalVars());
  // The variables of a scope in which a text runs already lie in that text's registers; they stay
  // there, and this text gets a scope of its own inside.
  kel::Scope inner(&given);
  const script::Outcome outcome = engine.Run(program_->program, given.IsAttached() ? inner : given);
  exitType = outcome.exitType;
  code = outcome.code;
  if (exitType == TavScriptExitError) engine.ReportError(outcome.error.text);
  if (isOutermost) engine.End();
}

TavKelValueSet* TavScript::GlobalVars() {
  trace::Call call("TavScript::GlobalVars");
  call.Write();
  return &script::GlobalVariables();
}
