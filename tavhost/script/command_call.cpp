#include <new>
#include <stdexcept>

#include "host/notation/kel_value.h"
#include "host/script/script_result.h"
#include "tavhost/base/memory_reserve.h"
#include "tavhost/base/refused_memory.h"
#include "tavhost/notation/kel_text.h"
#include "tavhost/notation/parser_access.h"
#include "tavhost/script/engine.h"
#include "tavhost/script/operations.h"
#include "tavhost/script/ports/ports.h"

namespace script {

namespace {

// A command's operands lie in its compiled form, in one place for all its runs. A command that
// executes a text can come to run again while its first run has not returned; the inner run then
// fills the same places anew. This keeps what the outer run had put there and puts it back at the
// inner run's end. The outermost run has nothing to keep.
class OperandGuard {
 public:
  explicit OperandGuard(Command& command) : command_(command) {
    if (!command.running) {
      command.running = true;
      return;
    }
    isInner_ = true;
    for (const Command::Patch& patch : command.patches) kept_.push_back(*patch.operand);
  }
  OperandGuard(const OperandGuard&) = delete;
  OperandGuard& operator=(const OperandGuard&) = delete;
  ~OperandGuard() {
    if (!isInner_) {
      command_.running = false;
      return;
    }
    for (std::size_t i = 0; i < kept_.size(); ++i) *command_.patches[i].operand = kept_[i];
  }

 private:
  Command& command_;
  bool isInner_ = false;
  std::vector<kel::Operand> kept_;
};

// While it lives, the set for results stands for `scope`; afterwards again for the scope before,
// whose command may still be running.
class ScopeRedirect {
 public:
  ScopeRedirect(kel::BorrowedSet& borrowed, kel::Scope& scope)
      : borrowed_(borrowed), before_(borrowed.Current()), set_(borrowed.Over(scope)) {}
  ScopeRedirect(const ScopeRedirect&) = delete;
  ScopeRedirect& operator=(const ScopeRedirect&) = delete;
  ~ScopeRedirect() { borrowed_.Over(before_); }

  TavKelValueSet* Set() const { return set_; }

 private:
  kel::BorrowedSet& borrowed_;
  kel::Scope& before_;
  TavKelValueSet* set_;
};

ScriptError CommandError(const Command& command, std::string message) {
  const memory_reserve::Use reserve;
  ScriptError error(std::move(message));
  error.command = command.name;
  return error;
}

}  // namespace

// Always inline, for the reason that ScriptPort::Handle gives.
[[gnu::always_inline]] inline void Engine::Send(Frame& frame, const Command& command,
                                                TavScriptResult& result) {
  kel::BorrowedParser parser(&command.element);
  if (command.port == Command::kIntoScope) {
    if (!scriptPort_.Handle(command.name.c_str(), parser, result)) [[unlikely]] {
      throw CommandError(command, UnknownCommandText(TavMessagePort::TavScript(), command.name));
    }
  } else {
    const kel::Value& name = Read(frame, command.port, Part::kLeft);
    if (!name.IsText()) {
      throw ScriptError(std::string("the name of a port must be a string, not ") + KindWord(name),
                        Part::kLeft);
    }
    const SV::String portName = name.Text();
    ScriptPort* const port = FindScriptPort(portName);
    if (!port || !port->Handle(command.name.c_str(), parser, result)) {
      throw CommandError(command, UnknownCommandText(portName.View(), command.name));
    }
  }
  if (result.HasError()) [[unlikely]]
    throw CommandError(command, std::string(result.GetError().View()));
  if (refused_memory::Take()) [[unlikely]]
    throw std::bad_alloc();
}

void Engine::RunCommand(Frame& frame, Command& command) {
  const OperandGuard outer(command);
  for (const Command::Patch& patch : command.patches) {
    const kel::Value& value = frame.registers[patch.reg];
    if (!value.IsNone()) [[likely]] {
      *patch.operand = kel::Borrow(value);
      continue;
    }
    try {
      *patch.operand = kel::Borrow(ReadOuter(frame, patch.reg, Part::kWhole));
    } catch (ScriptError& error) {
      error.offset = patch.offset;
      throw;
    }
  }
  try {
    if (command.record == Command::kIntoScope) {
      const ScopeRedirect scope(resultSet_, *frame.scope);
      TavScriptResult result(scope.Set());
      Send(frame, command, result);
    } else {
      SendForRecord(frame, command);
    }
  } catch (const stop::Stopped&) {
    throw;
  } catch (const std::length_error&) {
    throw CommandError(command, "a text is longer than 2147483647 bytes");
  } catch (const std::bad_alloc&) {
    throw CommandError(command, "out of memory");
  } catch (const std::exception& error) {
    throw CommandError(command, error.what());
  }
  // Temporary registers still share the texts that the command was given. Without them a variable
  // that holds such a text alone can grow it in its place.
  const std::uint32_t variables = frame.function->layout.Count();
  for (const Command::Patch& patch : command.patches) {
    if (patch.reg >= variables) frame.registers[patch.reg] = kel::Value();
  }
  PollAroundCommand();
}

// For `-> name`: the results become the fields of a record.
void Engine::SendForRecord(Frame& frame, const Command& command) {
  TavKelValue record(TavKelRecord);
  TavScriptResult result(&record);
  Send(frame, command, result);
  Store(frame, command.record, std::move(kel::Value::Of(record)));
}

}  // namespace script
