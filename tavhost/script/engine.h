#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "host/script/script.h"
#include "tavhost/base/plugin_call.h"
#include "tavhost/base/work_meter.h"
#include "tavhost/notation/scope.h"
#include "tavhost/script/code/code.h"
#include "tavhost/script/register_stack.h"
#include "tavhost/script/runner.h"
#include "tavhost/script/script_error.h"

namespace script {

class ScriptPort;

// Runs compiled texts. There is one engine: the outermost script and the texts that it executes
// share its limits, its stop request and its output; all work that runs for them is told to it. On
// the user-interface thread only.
class Engine final : public base::WorkMeter {
 public:
  // Calls inside one another, texts run by EXECUTE included. Deep enough for what a person
  // writes, and far from the end of the machine's stack.
  static constexpr std::uint32_t kMaxDepth = 200;

  static Engine& Current();

  // Runs a text's top level in a scope, and returns when it has ended, in whatever way: nothing
  // that the script throws leaves it. May be called inside a run, by a command that executes a
  // text.
  Outcome Run(const std::shared_ptr<Program>& program, kel::Scope& scope);

  // An outermost script lasts from Begin to End. Begin empties the global variables and returns
  // false when a script runs already; End sends INTERNAL_TAVSCRIPT_FINISHED, so that the commands
  // release what the script left behind, and takes a stop request back.
  bool Begin(const RunOptions& options);
  void End();
  bool IsRunning() const { return running_; }
  // Makes a text's functions known to later texts of the same outermost script.
  void Publish(const std::shared_ptr<Program>& program);

  // Where the innermost call stands. Neither allocates nor locks: a signal handler may ask.
  plugin_call::Place Here() const noexcept;

  // The variables of the function that runs; nothing at the top level.
  void ForEachLocal(const std::function<void(std::string_view, const kel::Value&)>& visit) const;

  // Where `print` writes, and where the error that ends an executed text is told.
  void Print(std::string_view text);
  void ReportError(std::string_view text);
  // The next line of standard input without its end; false when there is no more.
  bool ReadLine(std::string& line);

 private:
  // A call that is going on, or a text's top level.
  struct Frame {
    const Program* program = nullptr;
    const Function* function = nullptr;
    kel::Value* registers = nullptr;
    const Instruction* next = nullptr;  // behind the instruction that runs, once that is saved
    kel::Scope* scope = nullptr;        // `own`, or for a top level the scope that it was given
    std::uint32_t result = 0;           // the caller's register for what is returned
    kel::Scope own;                     // of a function call
  };
  // Holds the program, so that a function outlives the text that brought it.
  struct PublishedFunction {
    std::shared_ptr<Program> program;
    const Function* function;
  };
  // Thrown by `exit`: ends the text, through all its calls.
  struct ExitRequest {
    long code;
  };

  Engine();

  // engine.cpp. Poll is for when the budget is used up; the other looks at the stop request in any
  // case, and lets events through when it is time.
  void Poll() override;
  void PollAroundCommand();
  void Step(std::uint32_t line);
  void PopFrame() noexcept;
  void PushTop(const Program& program, kel::Scope& scope);
  void PushCall(const Program* program, const Function* callee, kel::Value* arguments,
                std::uint32_t count, std::uint32_t result);
  // The outcome of a stop that comes into frames from `base` on.
  Outcome StoppedIn(const Program& program, std::uint32_t base);
  plugin_call::Place TextPlaceOf(const Frame& frame) const noexcept;
  // Errors of frames from `base` on: goes on at the innermost `catch`, or ends the run.
  bool Catch(const ScriptError& error, std::uint32_t base);
  static const CodePlace& PlaceOf(const Frame& frame) noexcept;
  std::uint32_t OffsetOf(const Frame& frame, const ScriptError& error) const;
  Outcome Uncaught(const ScriptError& error, std::uint32_t base);
  kel::Value ErrorRecord(const Frame& frame, const ScriptError& error) const;

  // interpreter.cpp. Reading a register without a value looks outside (ReadOuter), which fails when
  // there is none either.
  void Interpret(std::uint32_t base);
  void Return(std::uint32_t base, kel::Value&& value);
  const kel::Value& ReadOuter(const Frame& frame, std::uint32_t reg, Part part);
  const kel::Value& Read(const Frame& frame, std::uint32_t reg, Part part) {
    const kel::Value& value = frame.registers[reg];
    if (!value.IsNone()) [[likely]]
      return value;
    return ReadOuter(frame, reg, part);
  }
  // instructions.cpp
  void Store(Frame& frame, std::uint32_t slot, kel::Value value);
  kel::Value& Changeable(Frame& frame, std::uint32_t slot);
  void AddTo(Frame& frame, std::uint32_t slot, const kel::Value* added, std::uint32_t count);
  void SetPath(Frame& frame, Instruction i);
  kel::Value& UpdatedPlace(Frame& frame, Instruction i, std::uint32_t count,
                           const kel::Value& added);
  void ReadPath(Frame& frame, Instruction i);
  void UpdatePath(Frame& frame, Instruction i);
  // How an update of what is not there might begin: text for the end of an error's message.
  std::string BeginningOf(const Frame& frame, const kel::Value& added) const;
  void Push(Frame& frame, Instruction i);
  bool CountStart(Frame& frame, Instruction i);
  bool CountStep(Frame& frame, Instruction i);
  void EachStart(Frame& frame, Instruction i);
  bool EachNext(Frame& frame, Instruction i);
  void CallNamed(Frame& frame, Instruction i);
  void CallBuiltIn(Frame& frame, Instruction i);
  void PrintValues(Frame& frame, Instruction i);
  [[noreturn]] void Throw(Frame& frame, Instruction i);
  [[noreturn]] void Exit(Frame& frame, Instruction i);

  // command_call.cpp. Results go into variables, or into a record for `-> name`.
  void RunCommand(Frame& frame, Command& command);
  inline void Send(Frame& frame, const Command& command, TavScriptResult& result);
  void SendForRecord(Frame& frame, const Command& command);

  std::unique_ptr<Frame[]> frames_;  // kMaxDepth + 1; none ever moves
  std::uint32_t depth_ = 0;          // frames in use
  RegisterStack registers_;
  std::uint32_t lastEvents_ = 0;  // when events were let through last, by the coarse clock
  bool running_ = false;
  std::string stoppedText_;  // where a text that the script executes was stopped; or empty
  Sinks sinks_;
  std::function<void(const StepPlace&)> step_;                    // of RunOptions
  std::unordered_map<std::string, PublishedFunction> functions_;  // of all texts run so far
  kel::BorrowedSet resultSet_;                                    // of the command that runs
  ScriptPort& scriptPort_;
};

// The global variables, one set for the whole process; Engine::Begin empties it for each outermost
// script. Made at its first use.
TavKelValueSet& GlobalVariables();

}  // namespace script
