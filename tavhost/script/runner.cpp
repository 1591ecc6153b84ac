#include "tavhost/script/runner.h"

#include <new>
#include <utility>

#include "tavhost/base/memory_reserve.h"
#include "tavhost/script/engine.h"

namespace script {

namespace {

Outcome NotParsed(const SV::String& text, const std::string& name, const SyntaxError& mistake) {
  const memory_reserve::Use reserve;
  Outcome outcome;
  outcome.parsed = false;
  try {
    outcome.error = Describe(mistake, text, name);
  } catch (const std::bad_alloc&) {
    outcome.error = DescribeNoMemory(1, 1);
  }
  return outcome;
}

Outcome WithoutMemory(const SV::String& text, const std::string& name) {
  return NotParsed(text, name, {0, "out of memory"});
}

// Nothing of the text has run.
Outcome StoppedWhileRead(const StoppedReading& stopped) {
  Outcome outcome;
  outcome.exitType = TavScriptExitStop;
  outcome.stopReason = stop::Requested();
  outcome.error.file = stopped.File();
  outcome.error.line = stopped.Line();
  return outcome;
}

std::shared_ptr<Program> TryCompile(const SV::String& text, const std::string& name,
                                    Outcome& outcome, bool stepped = false) {
  try {
    return CompileToRun(text, name, stepped);
  } catch (const StoppedReading& stopped) {
    outcome = StoppedWhileRead(stopped);
  } catch (const SyntaxError& mistake) {
    outcome = NotParsed(text, name, mistake);
  } catch (const std::bad_alloc&) {
    outcome = WithoutMemory(text, name);
  }
  return nullptr;
}

Outcome Refused(const SV::String& text, const std::string& name) {
  return NotParsed(text, name, {0, "another script is running"});
}

// Ends the outermost script that was begun, if one was.
class EndOfScript {
 public:
  explicit EndOfScript(Engine& engine) : engine_(engine) {}
  EndOfScript(const EndOfScript&) = delete;
  EndOfScript& operator=(const EndOfScript&) = delete;
  ~EndOfScript() { engine_.End(); }

 private:
  Engine& engine_;
};

// Throws std::bad_alloc when there is no memory to begin; nothing of the text has run then.
Outcome RunAsOutermost(const SV::String& text, const RunOptions& options) {
  Engine& engine = Engine::Current();
  if (engine.IsRunning()) return Refused(text, options.name);
  Outcome outcome;
  const auto program = TryCompile(text, options.name, outcome, options.step != nullptr);
  if (!program) {
    if (outcome.exitType == TavScriptExitStop) stop::Clear();
    return outcome;
  }
  const EndOfScript end(engine);
  engine.Begin(options);
  engine.Publish(program);
  return engine.Run(program, kel::Scope::Of(GlobalVariables()));
}

}  // namespace

Outcome RunText(const SV::String& text, const RunOptions& options) {
  try {
    return RunAsOutermost(text, options);
  } catch (const std::bad_alloc&) {
    return WithoutMemory(text, options.name);
  }
}

struct Session::State {
  RunOptions options;
  bool began = false;
};

Session::Session(RunOptions options) : state_(new State{std::move(options)}) {
  state_->began = Engine::Current().Begin(state_->options);
}

Session::~Session() {
  if (state_->began) Engine::Current().End();
}

Outcome Session::Run(const SV::String& text) {
  if (!state_->began) return Refused(text, state_->options.name);
  Outcome outcome;
  const auto program = TryCompile(text, state_->options.name, outcome);
  if (!program) {
    if (outcome.exitType == TavScriptExitStop) stop::Clear();
    return outcome;
  }
  Engine& engine = Engine::Current();
  try {
    engine.Publish(program);
  } catch (const std::bad_alloc&) {
    return WithoutMemory(text, state_->options.name);
  }
  outcome = engine.Run(program, kel::Scope::Of(GlobalVariables()));
  if (outcome.exitType == TavScriptExitStop) stop::Clear();
  return outcome;
}

bool IsScriptRunning() { return Engine::Current().IsRunning(); }

}  // namespace script
