#include "tavhost/script/code/compiler.h"

#include <algorithm>

#include "tavhost/base/nearest_name.h"
#include "tavhost/notation/kel_text.h"
#include "tavhost/script/built_in/built_in.h"
#include "tavhost/script/syntax/parser.h"

namespace script {

namespace {

std::shared_ptr<Program> Compile(SV::String text, std::string name, bool stepped,
                                 base::LongWork* work) {
  auto program = std::make_shared<Program>(std::move(text), std::move(name));
  program->stepped = stepped;
  base::Arena arena;
  try {
    for (const FunctionSyntax& parsed : Parser(*program, arena, work).Parse()) {
      Compiler(*program, *parsed.function, work).Compile(parsed.body);
    }
  } catch (SyntaxError& mistake) {
    // The texts of included files go with the program; the mistake's line has to be copied now.
    if (program->source.HasIncludes()) {
      mistake.described =
          std::make_shared<Diagnostic>(program->source.Describe(mistake.offset, mistake.message));
    }
    throw;
  }
  for (const auto& [operand, constant] : program->constantOperands) {
    *operand = kel::Borrow(program->constants[constant]);
  }
  return program;
}

}  // namespace

std::shared_ptr<Program> Compile(SV::String text, std::string name) {
  return Compile(std::move(text), std::move(name), false, nullptr);
}

std::shared_ptr<Program> CompileToRun(SV::String text, std::string name, bool stepped) {
  const std::string what = name;
  base::LongWork work("Reading", what);
  return Compile(std::move(text), std::move(name), stepped, &work);
}

std::string UnknownFunctionText(const std::string& name, const Program& program,
                                std::vector<std::string_view> known) {
  for (const auto& [other, unused] : program.functionsByName) known.emplace_back(other);
  for (std::uint32_t i = 0; i < kBuiltInCount; ++i) known.emplace_back(kBuiltIns[i].name);
  const std::string nearest = base::NearestName(name, known);
  return "unknown function \"" + name + '"' +
         (nearest.empty() ? "" : "; did you mean \"" + nearest + "\"?");
}

Compiler::Compiler(Program& program, Function& function, base::LongWork* work)
    : program_(program),
      function_(function),
      work_(work),
      temporaries_(function.layout.Count()),
      statementOffset_(function.offset) {
  if (temporaries_ > kMaxRegister / 2) {
    throw SyntaxError{function.offset, "too many variables in one function"};
  }
  function.registers = temporaries_;
  function.outer.resize(temporaries_);
}

void Compiler::Compile(const Statement* body) {
  CompileStatements(body);
  Emit(Code::kReturnNothing, 0, 0, 0, function_.offset);
}

std::uint32_t Compiler::Emit(Code code, std::uint32_t a, std::uint32_t b, std::int32_t c,
                             std::uint32_t offset) {
  return Emit(code, a, b, c, {offset, offset, offset});
}

std::uint32_t Compiler::Emit(Code code, std::uint32_t a, std::uint32_t b, std::int32_t c,
                             CodePlace place) {
  if (function_.code.size() >= static_cast<std::size_t>(kMaxC)) FailTooLarge();
  if (c > kMaxC || c < -kMaxC) FailTooLarge();
  function_.code.push_back(Encode(code, a, b, c));
  function_.places.push_back(place);
  if (function_.code.size() % kLookEveryCode == 0) Look(place.at);
  return Here() - 1;
}

void Compiler::FailTooLarge() const {
  throw SyntaxError{statementOffset_, "the script is too large"};
}

void Compiler::LandAt(const Jumps& jumps, std::uint32_t target) {
  for (const std::uint32_t jump : jumps) {
    const Instruction i = function_.code[jump];
    const auto distance = static_cast<std::int32_t>(target) - static_cast<std::int32_t>(jump) - 1;
    function_.code[jump] = Encode(CodeOf(i), AOf(i), BOf(i), distance);
  }
}

std::uint32_t Compiler::NewTemporary() { return NewTemporaries(1); }

std::uint32_t Compiler::NewTemporaries(std::uint32_t count) {
  const std::uint32_t first = temporaries_;
  if (count > kMaxRegister || first + count > kMaxRegister) {
    throw SyntaxError{statementOffset_, "too many values at once in one statement"};
  }
  temporaries_ += count;
  function_.registers = std::max(function_.registers, temporaries_);
  return first;
}

void Compiler::CompileStatements(const Statement* statement) {
  for (; statement; statement = statement->next) {
    const std::uint32_t temporaries = temporaries_;
    statementOffset_ = statement->offset;
    if (++statements_ % kLookEvery == 0) {
      // A long run of statements sees a stop while it runs, too.
      Emit(Code::kRepeat, 0, 0, 0, statement->offset);
      Look(statement->offset);
    }
    if (program_.stepped) {
      const std::uint32_t line = lines_.PlaceOf(statement->offset).line;
      Emit(Code::kStep, 0, 0, static_cast<std::int32_t>(line), statement->offset);
    }
    CompileStatement(statement);
    temporaries_ = temporaries;
  }
}

void Compiler::Look(std::uint32_t offset) {
  if (work_ && !work_->GoesOn(offset, program_.source.Text().size())) {
    throw StoppedReading(program_.source, offset);
  }
}

void Compiler::CompileStatement(const Statement* statement) {
  const std::uint32_t offset = statement->offset;
  switch (statement->kind) {
    case StatementKind::kAssign:
      CompileAssignment(statement);
      break;
    case StatementKind::kCall:
      statementCall_ = statement->expr;
      CompileCall(statement->expr, kNoSlot);
      break;
    case StatementKind::kCommand:
      CompileCommand(statement);
      break;
    case StatementKind::kIf:
      CompileIf(statement);
      break;
    case StatementKind::kWhile:
      CompileWhile(statement);
      break;
    case StatementKind::kForIn:
      CompileForIn(statement);
      break;
    case StatementKind::kForFrom:
      CompileForFrom(statement);
      break;
    case StatementKind::kBreak:
      loops_.back()->breaks.push_back(Emit(Code::kJump, 0, 0, 0, offset));
      break;
    case StatementKind::kContinue:
      loops_.back()->continues.push_back(Emit(Code::kJump, 0, 0, 0, offset));
      break;
    case StatementKind::kReturn:
      CompileReturn(statement);
      break;
    case StatementKind::kTry:
      CompileTry(statement);
      break;
    case StatementKind::kThrow:
      Emit(Code::kThrow, Operand(statement->expr), 0, 0,
           CodePlace{offset, statement->expr->offset, offset});
      break;
    case StatementKind::kPrint:
      CompilePrint(statement);
      break;
    case StatementKind::kExit:
      if (statement->expr) {
        Emit(Code::kExit, Operand(statement->expr), 0, 0,
             CodePlace{offset, statement->expr->offset, offset});
      } else {
        Emit(Code::kExitPlain, 0, 0, 0, offset);
      }
      break;
  }
}

void Compiler::CompileIf(const Statement* statement) {
  Jumps ends;
  for (const Statement* branch = statement; branch; branch = branch->otherwise) {
    if (!branch->expr || branch->kind != StatementKind::kIf) {
      CompileStatements(branch);
      break;
    }
    const std::uint32_t temporaries = temporaries_;
    Jumps otherwise;
    JumpUnless(branch->expr, otherwise);
    temporaries_ = temporaries;
    CompileStatements(branch->body);
    if (branch->otherwise) ends.push_back(Emit(Code::kJump, 0, 0, 0, branch->offset));
    Land(otherwise);
    // `else { if ... }` has the same syntax nodes as `else if ...`. The two mean the same as long
    // as nothing follows that inner `if` in its block; else the block is compiled as one.
    if (branch->otherwise && branch->otherwise->next) {
      CompileStatements(branch->otherwise);
      break;
    }
  }
  Land(ends);
}

void Compiler::CompileLoopBody(const Statement* statement, Loop& loop) {
  loops_.push_back(&loop);
  CompileStatements(statement->body);
  loops_.pop_back();
}

void Compiler::CompileWhile(const Statement* statement) {
  Jumps ends;
  Jumps rounds;
  Loop loop;
  const std::uint32_t temporaries = temporaries_;
  JumpUnless(statement->expr, ends);
  temporaries_ = temporaries;
  const std::uint32_t body = Here();
  CompileLoopBody(statement, loop);
  Land(loop.continues);
  JumpIf(statement->expr, rounds);
  LandAt(rounds, body);
  Land(ends);
  Land(loop.breaks);
}

std::uint32_t Compiler::LoopVariable(const Statement* statement) {
  return function_.layout.IsGlobal(statement->slot) ? NewTemporary() : statement->slot;
}

void Compiler::CompileForIn(const Statement* statement) {
  const std::uint32_t base = NewTemporaries(2);
  const std::uint32_t variable = LoopVariable(statement);
  Loop loop;
  CompileInto(statement->expr, base);
  const std::uint32_t start = Emit(Code::kEachStart, base, 0, 0, statement->expr->offset);
  const std::uint32_t body = Here();
  if (variable != statement->slot) {
    Emit(Code::kStoreGlobal, statement->slot, variable, 0, statement->offset);
  }
  CompileLoopBody(statement, loop);
  Land(loop.continues);
  LandAt({start}, Here());
  const std::uint32_t next = Emit(Code::kEachNext, base, variable, 0, statement->offset);
  LandAt({next}, body);
  Land(loop.breaks);
}

void Compiler::CompileForFrom(const Statement* statement) {
  const std::uint32_t base = NewTemporaries(4);
  const std::uint32_t variable = LoopVariable(statement);
  Loop loop;
  CompileInto(statement->expr, base);
  CompileInto(statement->second, base + 1);
  if (statement->third) {
    CompileInto(statement->third, base + 2);
  } else {
    program_.constants.push_back(kel::Value(std::int32_t{1}));
    Emit(Code::kConstant, base + 2, 0, static_cast<std::int32_t>(program_.constants.size() - 1),
         statement->offset);
  }
  const std::uint32_t start = Emit(Code::kCountStart, base, variable, 0, statement->offset);
  const std::uint32_t body = Here();
  if (variable != statement->slot) {
    Emit(Code::kStoreGlobal, statement->slot, variable, 0, statement->offset);
  }
  CompileLoopBody(statement, loop);
  Land(loop.continues);
  const std::uint32_t next = Emit(Code::kCountStep, base, variable, 0, statement->offset);
  LandAt({next}, body);
  LandAt({start}, Here());
  Land(loop.breaks);
}

void Compiler::CompileTry(const Statement* statement) {
  const std::uint32_t begin = Here();
  CompileStatements(statement->body);
  const std::uint32_t end = Here();
  const std::uint32_t over = Emit(Code::kJump, 0, 0, 0, statement->offset);
  function_.handlers.push_back({begin, end, Here(), statement->slot});
  CompileStatements(statement->otherwise);
  LandAt({over}, Here());
}

void Compiler::CompileReturn(const Statement* statement) {
  if (!statement->expr) {
    Emit(Code::kReturnNothing, 0, 0, 0, statement->offset);
    return;
  }
  const std::uint32_t reg = Operand(statement->expr);
  const bool isVariable = reg < function_.layout.Count();
  Emit(isVariable ? Code::kReturnCopy : Code::kReturn, reg, 0, 0,
       CodePlace{statement->offset, statement->expr->offset, statement->offset});
}

void Compiler::CompileAssignment(const Statement* statement) {
  const std::uint32_t slot = statement->slot;
  if (CompileUpdate(statement)) return;
  if (statement->count > 0) {
    const std::uint32_t base = NewTemporaries(statement->count + 1);
    std::uint32_t place = base;
    for (const Item* key = statement->items; key; key = key->next) {
      CompileInto(key->expr, place++);
    }
    CompileInto(statement->expr, place);
    Emit(Code::kSetPath, slot, base, static_cast<std::int32_t>(statement->count),
         CodePlace{statement->offset, statement->items->offset, statement->offset});
    return;
  }
  if (CompileAddTo(statement)) return;
  if (function_.layout.IsGlobal(slot)) {
    const std::uint32_t value = NewTemporary();
    CompileInto(statement->expr, value);
    Emit(Code::kStoreGlobal, slot, value, 0, statement->offset);
    return;
  }
  CompileInto(statement->expr, slot);
}

// `x[i] += a`, whose place is worked out once, and `x = x + f()`: what is added to is read before
// `f` runs, and still grows in its place when `f` has left it alone. False, and nothing emitted,
// for other assignments.
bool Compiler::CompileUpdate(const Statement* statement) {
  const Expr* right = statement->expr;
  Operator op = statement->op;
  std::uint32_t offset = statement->opOffset;
  if (!statement->isUpdate) {
    const Expr* const sum = statement->expr;
    const bool isOfItself = statement->count == 0 && sum->kind == ExprKind::kChain &&
                            sum->first->kind == ExprKind::kName &&
                            sum->first->index == statement->slot;
    if (!isOfItself || !sum->calls || sum->count > 1) return false;
    if (sum->items->op != Operator::kAdd) return false;
    right = sum->items->expr;
    op = Operator::kAdd;
    offset = sum->items->offset;
  }
  const std::uint32_t base = NewTemporaries(statement->count + 2);
  std::uint32_t place = base;
  for (const Item* key = statement->items; key; key = key->next) CompileInto(key->expr, place++);
  const CodePlace where{offset, statement->slotOffset, right->offset};
  const auto keys = static_cast<std::int32_t>(statement->count);
  if (right->calls) Emit(Code::kReadPath, statement->slot, base, keys, where);
  CompileInto(right, place);
  const std::int32_t shifted = static_cast<std::int32_t>(op) << kUpdateOperatorShift;
  Emit(Code::kUpdatePath, statement->slot, base,
       keys | shifted | (right->calls ? kUpdateIsRead : 0), where);
  return true;
}

// `x = x + a`, and `x = x + a + b ...`, which let a text grow in its place instead of copying it.
// What is added may call no function that could change x meanwhile. False, and nothing emitted, for
// other assignments.
bool Compiler::CompileAddTo(const Statement* statement) {
  const Expr* sum = statement->expr;
  if (sum->kind != ExprKind::kChain || sum->calls) return false;
  if (sum->first->kind != ExprKind::kName || sum->first->index != statement->slot) return false;
  for (const Item* item = sum->items; item; item = item->next) {
    if (item->op != Operator::kAdd) return false;
  }
  const CodePlace place{sum->items->offset, sum->first->offset, sum->items->expr->offset};
  if (sum->count == 1) {
    std::int32_t number = 0;
    const kel::Value* constant = ConstantOf(sum->items->expr);
    if (constant && constant->IsText()) {
      Emit(Code::kAppendConstant, statement->slot, 0,
           static_cast<std::int32_t>(sum->items->expr->index), place);
    } else if (SmallInteger(sum->items->expr, kMaxC, number)) {
      Emit(Code::kAddNumberTo, statement->slot, 0, number, place);
    } else {
      Emit(Code::kAddTo, statement->slot, Operand(sum->items->expr), 0, place);
    }
    return true;
  }
  const std::uint32_t base = NewTemporaries(sum->count);
  std::uint32_t target = base;
  for (const Item* item = sum->items; item; item = item->next) CompileInto(item->expr, target++);
  Emit(Code::kAppendAll, statement->slot, base, static_cast<std::int32_t>(sum->count), place);
  return true;
}

void Compiler::CompilePrint(const Statement* statement) {
  const std::uint32_t base = NewTemporaries(statement->count);
  std::uint32_t place = base;
  for (const Item* item = statement->items; item; item = item->next) {
    CompileInto(item->expr, place++);
  }
  Emit(Code::kPrint, base, statement->count, 0, statement->offset);
}

}  // namespace script
