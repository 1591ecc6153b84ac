#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "host/script/script.h"
#include "tavhost/notation/scope.h"
#include "tavhost/script/code/code.h"
#include "tavhost/script/register_stack.h"
#include "tavhost/script/runner.h"
#include "tavhost/script/script_error.h"

namespace script {

class ScriptPort;

// Runs compiled texts. There is one: the outermost script and the texts that it executes share
// its limits, its stop request and its output.
class Engine {
 public:
  // Calls inside one another, texts run by EXECUTE included. Deep enough for what a person
  // writes, and far from the end of the machine's stack.
  static constexpr std::uint32_t kMaxDepth = 200;

  static Engine& Current();

  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;

  // Runs a text's top level in a scope.
  Outcome Run(const std::shared_ptr<Program>& program, kel::Scope& scope);

  // The outermost script: from Begin to End. False when one runs already.
  bool Begin(const RunOptions& options);
  void End();
  bool IsRunning() const { return running_; }
  // Makes a text's functions known to later texts of the same outermost script.
  void Publish(const std::shared_ptr<Program>& program);

  // The variables of the function that runs; nothing at the top level.
  void ForEachLocal(const std::function<void(std::string_view, const kel::Value&)>& visit) const;

  void Print(std::string_view text);
  void ReportError(std::string_view text);
  // The next line of standard input without its end; false when there is no more.
  bool ReadLine(std::string& line);

  // Takes note of work that is not seen in loops, in units of about a loop's round.
  void Charge(std::size_t work) noexcept { budget_ -= static_cast<std::int64_t>(work); }
  void PollIfDue() {
    if (budget_ <= 0) Poll();
  }

 private:
  struct Frame {
    const Program* program = nullptr;
    const Function* function = nullptr;
    kel::Value* registers = nullptr;
    const Instruction* next = nullptr;
    kel::Scope* scope = nullptr;
    std::uint32_t result = 0;  // the caller's register for what is returned
    kel::Scope own;            // of a function call
  };
  struct PublishedFunction {
    std::shared_ptr<Program> program;
    const Function* function;
  };
  struct ExitRequest {
    long code;
  };

  Engine();

  // engine.cpp
  void Poll();
  void PollAroundCommand();
  void Step(std::uint32_t line);
  void PopFrame() noexcept;
  void PushCall(const Program* program, const Function* callee, kel::Value* arguments,
                std::uint32_t count, std::uint32_t result);
  bool Catch(const ScriptError& error, std::uint32_t base);
  std::uint32_t OffsetOf(const Frame& frame, const ScriptError& error) const;
  Outcome Uncaught(const ScriptError& error, std::uint32_t base);
  kel::Value ErrorRecord(const Frame& frame, const ScriptError& error) const;

  // interpreter.cpp
  void Interpret(std::uint32_t base);
  void Return(std::uint32_t base, kel::Value&& value);
  const kel::Value& ReadOuter(const Frame& frame, std::uint32_t reg, Part part);
  const kel::Value& Read(const Frame& frame, std::uint32_t reg, Part part) {
    const kel::Value& value = frame.registers[reg];
    if (!value.IsNone()) [[likely]]
      return value;
    return ReadOuter(frame, reg, part);
  }
  void Store(Frame& frame, std::uint32_t slot, kel::Value value);
  kel::Value& Changeable(Frame& frame, std::uint32_t slot);
  void AddTo(Frame& frame, std::uint32_t slot, const kel::Value* added, std::uint32_t count);
  void SetPath(Frame& frame, Instruction i);
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

  // command_call.cpp
  void RunCommand(Frame& frame, Command& command);
  inline void Send(Frame& frame, const Command& command, TavScriptResult& result);
  void SendForRecord(Frame& frame, const Command& command);

  std::unique_ptr<Frame[]> frames_;
  std::uint32_t depth_ = 0;  // frames in use
  RegisterStack registers_;
  std::int64_t budget_ = 0;  // rounds left until the next look at clock and stop request
  std::uint32_t lastEvents_ = 0;
  bool running_ = false;
  Sinks sinks_;
  std::function<void(const StepPlace&)> step_;
  std::unordered_map<std::string, PublishedFunction> functions_;
  kel::BorrowedSet resultSet_;
  ScriptPort& scriptPort_;
};

// Starts over: only what the whole process runs in.
TavKelValueSet& GlobalVariables();

}  // namespace script
