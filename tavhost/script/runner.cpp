#include "tavhost/script/runner.h"

#include <utility>

#include "tavhost/script/engine.h"

namespace script {

namespace {

Outcome NotParsed(const SV::String& text, const std::string& name, const SyntaxError& mistake) {
  Outcome outcome;
  outcome.parsed = false;
  outcome.error = Describe(mistake, text, name);
  return outcome;
}

std::shared_ptr<Program> TryCompile(const SV::String& text, const std::string& name,
                                    Outcome& outcome, bool stepped = false) {
  try {
    return Compile(text, name, stepped);
  } catch (const SyntaxError& mistake) {
    outcome = NotParsed(text, name, mistake);
  } catch (const std::bad_alloc&) {
    outcome = NotParsed(text, name, {0, "out of memory"});
  }
  return nullptr;
}

Outcome Refused(const SV::String& text, const std::string& name) {
  return NotParsed(text, name, {0, "another script is running"});
}

}  // namespace

Outcome RunText(const SV::String& text, const RunOptions& options) {
  Engine& engine = Engine::Current();
  if (engine.IsRunning()) return Refused(text, options.name);
  Outcome outcome;
  const auto program = TryCompile(text, options.name, outcome, options.step != nullptr);
  if (!program) return outcome;
  engine.Begin(options);
  engine.Publish(program);
  outcome = engine.Run(program, kel::Scope::Of(GlobalVariables()));
  engine.End();
  return outcome;
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
  if (!program) return outcome;
  Engine& engine = Engine::Current();
  engine.Publish(program);
  outcome = engine.Run(program, kel::Scope::Of(GlobalVariables()));
  if (outcome.exitType == TavScriptExitStop) stop::Clear();
  return outcome;
}

bool IsScriptRunning() { return Engine::Current().IsRunning(); }

}  // namespace script
