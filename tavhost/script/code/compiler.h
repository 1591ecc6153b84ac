#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tavhost/base/long_work.h"
#include "tavhost/script/code/code.h"
#include "tavhost/script/syntax/syntax.h"

namespace script {

// What is wrong with the number of arguments of a call.
std::string ArityText(std::string_view name, unsigned least, unsigned most, unsigned given);

// Turns one parsed function into code. Variables are registers of their own; values in between
// lie in registers above them, used like a stack.
class Compiler {
 public:
  // With `work`, which is not owned, a stop ends it by StoppedReading.
  Compiler(Program& program, Function& function, base::LongWork* work = nullptr);

  void Compile(const Statement* body);

 private:
  using Jumps = std::vector<std::uint32_t>;  // instructions whose target is not known yet

  // Statements between two looks at a stop; each may take some milliseconds when it runs.
  static constexpr std::uint32_t kLookEvery = 32;
  // Instructions between two such looks.
  static constexpr std::uint32_t kLookEveryCode = 4096;

  // The jumps of a loop's `break` and `continue`, which lead on when its end is known.
  struct Loop {
    Jumps breaks;
    Jumps continues;
  };

  // compiler.cpp. Emit returns the instruction's number, so that its jump can be set later by Land.
  std::uint32_t Emit(Code code, std::uint32_t a, std::uint32_t b, std::int32_t c,
                     std::uint32_t offset);
  std::uint32_t Emit(Code code, std::uint32_t a, std::uint32_t b, std::int32_t c, CodePlace place);
  std::uint32_t Here() const { return static_cast<std::uint32_t>(function_.code.size()); }
  // Makes jumps lead to the next instruction that is emitted, or to another one.
  void Land(const Jumps& jumps) { LandAt(jumps, Here()); }
  void LandAt(const Jumps& jumps, std::uint32_t target);
  std::uint32_t NewTemporary();
  std::uint32_t NewTemporaries(std::uint32_t count);
  [[noreturn]] void FailTooLarge() const;

  void CompileStatements(const Statement* statement);
  void Look(std::uint32_t offset);
  void CompileStatement(const Statement* statement);
  void CompileIf(const Statement* statement);
  void CompileWhile(const Statement* statement);
  void CompileForIn(const Statement* statement);
  void CompileForFrom(const Statement* statement);
  void CompileLoopBody(const Statement* statement, Loop& loop);
  void CompileTry(const Statement* statement);
  void CompileReturn(const Statement* statement);
  void CompileAssignment(const Statement* statement);
  bool CompileAddTo(const Statement* statement);
  bool CompileUpdate(const Statement* statement);
  void CompilePrint(const Statement* statement);
  // The register for a loop's variable; a global one is stored from it each round.
  std::uint32_t LoopVariable(const Statement* statement);

  // compile_expression.cpp
  // The register that holds the value: a variable's own, or a temporary one.
  std::uint32_t Operand(const Expr* expr);
  // As Operand, but the value stays what it is now, whatever runs before it is used.
  std::uint32_t StableOperand(const Expr* expr, bool mayChange);
  void CompileInto(const Expr* expr, std::uint32_t target);
  void CompileChain(const Expr* expr, std::uint32_t target);
  void CompilePath(const Expr* expr, std::uint32_t target);
  void CompileLogic(const Expr* expr, std::uint32_t target);
  void CompileCall(const Expr* expr, std::uint32_t target);
  void CompilePush(const Expr* expr, std::uint32_t target);
  void CompileItems(const Expr* expr, std::uint32_t target);
  // Jumps, collected in `jumps`, that are taken when the condition does not hold, or when it does.
  // Those of the second kind can lead back to a loop's next round, so they also poll.
  void JumpUnless(const Expr* expr, Jumps& jumps);
  void JumpIf(const Expr* expr, Jumps& jumps);
  bool EmitCompareJump(const Expr* expr, bool when, Jumps& jumps);
  const kel::Value* ConstantOf(const Expr* expr) const;
  bool SmallInteger(const Expr* expr, std::int32_t limit, std::int32_t& number) const;

  // compile_command.cpp
  void CompileCommand(const Statement* statement);
  // An operand whose value is an expression: worked out for each run of the command.
  struct Dynamic {
    kel::Operand* operand;
    const Expr* expr;
  };
  void FillElement(kel::Element& out, const CommandElement* element, std::vector<Dynamic>& found);
  void FillOperand(kel::Operand& out, const CommandValue& value, std::vector<Dynamic>& found);

  // The statement that is being compiled may run more than once: it stands in a loop or a function.
  bool MayRepeat() const { return !loops_.empty() || !function_.name.empty(); }

  Program& program_;
  Function& function_;
  base::LongWork* const work_;
  std::uint32_t statements_ = 0;  // compiled so far
  Source::Cursor lines_{program_.source};
  std::uint32_t temporaries_;      // the first register that is free
  std::uint32_t statementOffset_;  // where the statement that is being compiled begins
  std::vector<Loop*> loops_;
  const Expr* statementCall_ = nullptr;  // a call whose value nobody needs
};

}  // namespace script
