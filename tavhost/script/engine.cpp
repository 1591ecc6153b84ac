#include "tavhost/script/engine.h"

#include <stdexcept>
#include <utility>

#include "host/notation/kel_parser.h"
#include "host/script/script_result.h"
#include "tavhost/base/coarse_clock.h"
#include "tavhost/base/event_loop.h"
#include "tavhost/base/memory_reserve.h"
#include "tavhost/base/refused_memory.h"
#include "tavhost/base/report.h"
#include "tavhost/base/standard_write.h"
#include "tavhost/notation/freeing.h"
#include "tavhost/notation/parser_access.h"
#include "tavhost/script/code_points.h"
#include "tavhost/script/operations.h"
#include "tavhost/script/ports/ports.h"
#include "tavhost/script/syntax/syntax.h"

namespace script {

namespace {

// Loop rounds between two looks at the clock: well below a millisecond of plain work.
constexpr std::int64_t kBudget = 4096;
// Milliseconds between two times that events are let through; with the steps of the coarse clock it
// stays below 20.
constexpr std::uint32_t kEventsEvery = 8;

constexpr char kFinishedCommand[] = "INTERNAL_TAVSCRIPT_FINISHED";

void SendFinished() {
  const memory_reserve::Use reserve;
  kel::Element element;
  element.name = kFinishedCommand;
  element.nameLength = sizeof kFinishedCommand - 1;
  kel::BorrowedParser parser(&element);
  TavScriptResult unread;
  try {
    ScriptPort::TavScript().Handle(kFinishedCommand, parser, unread);
  } catch (const std::exception&) {
    // A stop that comes now, while what the script left behind is being released, comes too late to
    // change anything.
  }
}

// Short enough to need no memory where a message is kept.
constexpr char kNoMemory[] = "out of memory";

std::string TooDeepText() {
  return "calls are nested deeper than " + std::to_string(Engine::kMaxDepth) + " levels";
}

void Say(ScriptError& error, const char* text) noexcept {
  const memory_reserve::Use reserve;
  try {
    error.message = text;
  } catch (const std::bad_alloc&) {
    error.message = kNoMemory;
  }
}

// A run that ended in an error. Where a line is so long that there is no memory for the error with
// it, its place and words stand alone.
Outcome ErrorOutcome(const Source& source, std::uint32_t offset, const std::string& message) {
  const memory_reserve::Use reserve;
  Outcome outcome;
  outcome.exitType = TavScriptExitError;
  outcome.error = source.DescribeInAnyCase(offset, message);
  return outcome;
}

// The command that an error names, also when it was caught and thrown again.
std::string CommandOf(const ScriptError& error) {
  const memory_reserve::Use reserve;
  if (error.thrown.Kind() != TavKelRecord) return error.command;
  const kel::Value* const command = error.thrown.AsRecord().Find("command");
  return command && command->IsText() ? std::string(command->Text().View()) : error.command;
}

// Fields that the script itself put into a thrown record stay as they are.
void AddField(kel::Value& record, const char* name, kel::Value value) {
  const SV::String key(name);
  if (!record.AsRecord().Find(name)) record.MutableRecord().At(key) = std::move(value);
}

}  // namespace

// Never destroyed: to free what is in them would only hold up the end of the program.
TavKelValueSet& GlobalVariables() {
  static auto& globals = *new TavKelValueSet;
  return globals;
}

Engine& Engine::Current() {
  GlobalVariables();  // outlives the engine
  static Engine engine;
  return engine;
}

Engine::Engine() : frames_(new Frame[kMaxDepth + 1]), scriptPort_(ScriptPort::TavScript()) {
  kel::LetFreeingWait();
  plugin_call::SetPlaceTeller([]() noexcept { return Current().Here(); });
}

bool Engine::Begin(const RunOptions& options) {
  if (running_) return false;
  Sinks sinks = options.sinks;
  std::function<void(const StepPlace&)> step = options.step;
  kel::Value args = kel::Value::List();
  for (const std::string& argument : options.args) {
    args.MutableList().items.push_back(TextValue(argument));
  }
  kel::Scope& globals = kel::Scope::Of(GlobalVariables());
  {
    const kel::BriefFreeing brief;  // of what the script before has left
    globals.Clear();
  }
  globals.Set("args", std::move(args));
  refused_memory::Take();  // what was refused before is nothing of this script's
  sinks_ = std::move(sinks);
  step_ = std::move(step);
  lastEvents_ = base::CoarseMilliseconds();
  running_ = true;
  return true;
}

void Engine::End() {
  if (!running_) return;
  {
    const stop::CleanUp cleanUp;
    SendFinished();
  }
  running_ = false;
  functions_.clear();
  ForgetTexts();
  sinks_ = {};
  step_ = {};
}

void Engine::Publish(const std::shared_ptr<Program>& program) {
  for (const auto& [name, index] : program->functionsByName) {
    functions_[name] = {program, program->functions[index].get()};
  }
}

namespace {
void (*printOutsideScripts)(std::string_view) = nullptr;
}  // namespace

void SetPrintOutsideScripts(void (*print)(std::string_view)) { printOutsideScripts = print; }

void Engine::Print(std::string_view text) {
  if (sinks_.print) {
    sinks_.print(text);
  } else if (printOutsideScripts) {
    printOutsideScripts(text);
  } else {
    standard_write::Output(text);
  }
}

void Engine::ReportError(std::string_view text) {
  const memory_reserve::Use reserve;
  if (sinks_.error) {
    sinks_.error(text);
  } else {
    report::Line(text);
  }
}

bool Engine::ReadLine(std::string& line) {
  if (!sinks_.readLine) throw ScriptError("there is no standard input here");
  const bool isRead = sinks_.readLine(line);
  stop::ThrowIfRequested();
  return isRead;
}

void Engine::Poll() {
  budget_ = kBudget;
  PollAroundCommand();
}

void Engine::PollAroundCommand() {
  stop::ThrowIfRequested();
  const std::uint32_t now = base::CoarseMilliseconds();
  if (now - lastEvents_ < kEventsEvery) return;
  event_loop::ProcessEvents();
  lastEvents_ = base::CoarseMilliseconds();
  stop::ThrowIfRequested();
}

void Engine::Step(std::uint32_t line) {
  PollAroundCommand();
  step_({line, depth_});
  stop::ThrowIfRequested();
}

void Engine::ForEachLocal(
    const std::function<void(std::string_view, const kel::Value&)>& visit) const {
  if (depth_ == 0) return;
  const Frame& frame = frames_[depth_ - 1];
  if (frame.scope == &frame.own) frame.own.ForEach(visit);
}

void Engine::PushCall(const Program* program, const Function* callee, kel::Value* arguments,
                      std::uint32_t count, std::uint32_t result) {
  if (depth_ > kMaxDepth) throw ScriptError(TooDeepText());
  Frame& frame = frames_[depth_];
  frame.registers = registers_.Take(callee->registers);
  for (std::uint32_t i = 0; i < count; ++i) frame.registers[i].Swap(arguments[i]);
  frame.program = program;
  frame.function = callee;
  frame.next = callee->code.data();
  frame.result = result;
  frame.scope = &frame.own;
  frame.own.Begin(kel::Scope::Of(GlobalVariables()), callee->layout, frame.registers);
  ++depth_;
}

void Engine::PopFrame() noexcept {
  Frame& frame = frames_[--depth_];
  if (frame.scope == &frame.own) {
    frame.own.End();
  } else {
    frame.scope->Detach();
  }
  registers_.GiveBack(frame.registers, frame.function->registers);
}

void Engine::PushTop(const Program& program, kel::Scope& scope) {
  const Function& top = *program.functions.front();
  Frame& frame = frames_[depth_];
  kel::Value* const registers = registers_.Take(top.registers);
  try {
    scope.Attach(top.layout, registers);
  } catch (...) {
    registers_.GiveBack(registers, top.registers);
    throw;
  }
  frame.registers = registers;
  frame.program = &program;
  frame.function = &top;
  frame.next = top.code.data();
  frame.scope = &scope;
  ++depth_;
}

Outcome Engine::Run(const std::shared_ptr<Program>& program, kel::Scope& scope) {
  Outcome outcome;
  const std::uint32_t base = depth_;
  if (base == 0) stoppedText_.clear();
  if (depth_ > kMaxDepth) return ErrorOutcome(program->source, 0, TooDeepText());
  try {
    PushTop(*program, scope);
  } catch (const std::bad_alloc&) {
    return ErrorOutcome(program->source, 0, kNoMemory);
  }
  while (true) {
    ScriptError error{{}};
    try {
      stop::ThrowIfRequested();  // one that came while the text was read
      Interpret(base);
      return outcome;
    } catch (ScriptError& thrown) {
      error = std::move(thrown);
    } catch (const ExitRequest& request) {
      outcome.exitType = TavScriptExitCode;
      outcome.code = request.code;
    } catch (const stop::Stopped&) {
      outcome = StoppedIn(*program, base);
    } catch (const std::length_error&) {
      Say(error, "the text is longer than 2147483647 bytes");
    } catch (const std::bad_alloc&) {
      Say(error, kNoMemory);
    } catch (const std::exception& other) {
      Say(error, other.what());
    }
    if (outcome.exitType != TavScriptExitEnd) {
      while (depth_ > base) PopFrame();
      return outcome;
    }
    const memory_reserve::Use reserve;
    if (error.message == kNoMemory) ForgetTexts();
    if (!Catch(error, base)) return Uncaught(error, base);
  }
}

// Of the instruction that runs: `next` stands behind that one, once there is one.
const CodePlace& Engine::PlaceOf(const Frame& frame) noexcept {
  const auto behind = static_cast<std::size_t>(frame.next - frame.function->code.data());
  return frame.function->places[behind == 0 ? 0 : behind - 1];
}

// In the script itself, also where a function that a text brought runs, or the text: these are told
// beside it.
Outcome Engine::StoppedIn(const Program& program, std::uint32_t base) {
  const memory_reserve::Use reserve;
  Outcome outcome;
  outcome.exitType = TavScriptExitStop;
  outcome.stopReason = stop::Requested();
  std::uint32_t level = depth_;
  while (level > base + 1 && frames_[level - 1].program != &program) --level;
  if (stoppedText_.empty() && (base > 0 || level < depth_)) {
    const plugin_call::Place inner = Here();
    stoppedText_ = std::string(inner.file) + ':' + std::to_string(inner.line);
  }
  const plugin_call::Place place = TextPlaceOf(frames_[level - 1]);
  outcome.error.file = place.file;
  outcome.error.line = place.line;
  if (base == 0) outcome.error.message = std::exchange(stoppedText_, {});
  return outcome;
}

plugin_call::Place Engine::Here() const noexcept {
  if (depth_ == 0) return {};
  return TextPlaceOf(frames_[depth_ - 1]);
}

plugin_call::Place Engine::TextPlaceOf(const Frame& frame) const noexcept {
  const Source& source = frame.program->source;
  const std::uint32_t offset = PlaceOf(frame).at;
  return {source.FileOf(offset).name, source.PlaceOf(offset).line};
}

// The place in the text that the error is about.
std::uint32_t Engine::OffsetOf(const Frame& frame, const ScriptError& error) const {
  if (error.offset != ScriptError::kHere) return error.offset;
  const CodePlace& place = PlaceOf(frame);
  return error.part == Part::kLeft    ? place.left
         : error.part == Part::kRight ? place.right
                                      : place.at;
}

kel::Value Engine::ErrorRecord(const Frame& frame, const ScriptError& error) const {
  kel::Value record = error.thrown;
  if (record.Kind() != TavKelRecord || !record.AsRecord().Find("message")) {
    record = kel::Value::Record();
  }
  const Source& source = frame.program->source;
  const std::uint32_t offset = OffsetOf(frame, error);
  const Source::Place place = source.PlaceOf(offset);
  AddField(record, "message", TextValue(error.message));
  AddField(record, "line", kel::Value(static_cast<std::int32_t>(place.line)));
  AddField(record, "column", kel::Value(static_cast<std::int32_t>(place.column)));
  AddField(record, "command", TextValue(error.command));
  if (source.HasIncludes()) AddField(record, "file", TextValue(source.FileOf(offset).name));
  return record;
}

// Finds the innermost `catch` around the error, in the frame where it arose or one of its callers,
// and makes the run go on there. False when there is none. An error too long for what memory there
// is becomes the error that there is none.
bool Engine::Catch(const ScriptError& error, std::uint32_t base) {
  for (std::uint32_t level = depth_; level > base; --level) {
    Frame& frame = frames_[level - 1];
    const auto at = static_cast<std::uint32_t>(frame.next - frame.function->code.data()) - 1;
    for (const Handler& handler : frame.function->handlers) {
      if (at < handler.begin || at >= handler.end) continue;
      try {
        kel::Value record = ErrorRecord(frames_[depth_ - 1], error);
        if (handler.slot != kNoSlot) Store(frame, handler.slot, std::move(record));
      } catch (const std::bad_alloc&) {
        if (error.message == kNoMemory) return false;
        ScriptError shorter(kNoMemory, error.part);
        shorter.offset = error.offset;
        return Catch(shorter, base);
      }
      while (depth_ > level) PopFrame();
      frame.next = frame.function->code.data() + handler.target;
      return true;
    }
  }
  return false;
}

Outcome Engine::Uncaught(const ScriptError& error, std::uint32_t base) {
  const Frame& frame = frames_[depth_ - 1];
  std::uint32_t offset = OffsetOf(frame, error);
  if (error.thrown.Kind() == TavKelRecord) {
    // An error that was caught and thrown again is shown where it arose.
    const kel::Value* line = error.thrown.AsRecord().Find("line");
    const kel::Value* column = error.thrown.AsRecord().Find("column");
    if (line && column && line->Kind() == TavKelInteger && column->Kind() == TavKelInteger) {
      const kel::Value* file = error.thrown.AsRecord().Find("file");
      const bool hasFile = file && file->IsText();
      offset = frame.program->source.OffsetOf(line->Integer(), column->Integer(), offset,
                                              hasFile ? file->Text().View() : std::string_view());
    }
  }
  Outcome outcome = ErrorOutcome(frame.program->source, offset, error.message);
  outcome.command = CommandOf(error);
  while (depth_ > base) PopFrame();
  return outcome;
}

}  // namespace script
