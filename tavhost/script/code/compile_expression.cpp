#include "tavhost/base/string_of.h"
#include "tavhost/script/built_in/built_in.h"
#include "tavhost/script/code/compiler.h"

namespace script {

namespace {

constexpr std::int32_t kMaxSignedB = 0x7FFF;

// The instruction for an operator: instructions of one kind stand in the order of the operators.
Code Shifted(Code first, Operator op, Operator firstOp) {
  return static_cast<Code>(static_cast<int>(first) + static_cast<int>(op) -
                           static_cast<int>(firstOp));
}

bool IsComparison(Operator op) { return op >= Operator::kEqual; }

Code CodeFor(Operator op) {
  return IsComparison(op) ? Shifted(Code::kEqual, op, Operator::kEqual)
                          : Shifted(Code::kAdd, op, Operator::kAdd);
}

std::string Arguments(unsigned count) {
  return std::to_string(count) + (count == 1 ? " argument" : " arguments");
}

}  // namespace

std::string ArityText(std::string_view name, unsigned least, unsigned most, unsigned given) {
  std::string text = '"' + std::string(name) + "\" takes ";
  if (most == kAnyNumber) {
    text += "at least " + Arguments(least);
  } else if (least == most) {
    text += Arguments(least);
  } else {
    text += std::to_string(least) + " to " + Arguments(most);
  }
  return text + ", not " + std::to_string(given);
}

const kel::Value* Compiler::ConstantOf(const Expr* expr) const {
  return expr->kind == ExprKind::kConstant ? &program_.constants[expr->index] : nullptr;
}

bool Compiler::SmallInteger(const Expr* expr, std::int32_t limit, std::int32_t& number) const {
  const kel::Value* constant = ConstantOf(expr);
  if (!constant || constant->Kind() != TavKelInteger) return false;
  number = constant->Integer();
  return number <= limit && number >= -limit;
}

std::uint32_t Compiler::Operand(const Expr* expr) {
  if (expr->kind == ExprKind::kName) return expr->index;
  const std::uint32_t target = NewTemporary();
  CompileInto(expr, target);
  return target;
}

std::uint32_t Compiler::StableOperand(const Expr* expr, bool mayChange) {
  if (expr->kind == ExprKind::kName && !mayChange) return expr->index;
  const std::uint32_t target = NewTemporary();
  CompileInto(expr, target);
  return target;
}

// The target may be a variable's register, whose old value the expression may still read: it is
// written once, by the last instruction.
void Compiler::CompileInto(const Expr* expr, std::uint32_t target) {
  const std::uint32_t temporaries = temporaries_;
  switch (expr->kind) {
    case ExprKind::kConstant:
      Emit(Code::kConstant, target, 0, static_cast<std::int32_t>(expr->index), expr->offset);
      break;
    case ExprKind::kName:
      Emit(Code::kMove, target, expr->index, 0, expr->offset);
      break;
    case ExprKind::kChain:
      CompileChain(expr, target);
      break;
    case ExprKind::kAnd:
    case ExprKind::kOr:
      CompileLogic(expr, target);
      break;
    case ExprKind::kNot:
    case ExprKind::kNegate:
      Emit(expr->kind == ExprKind::kNot ? Code::kNot : Code::kNegate, target, Operand(expr->first),
           0, CodePlace{expr->offset, expr->first->offset, expr->offset});
      break;
    case ExprKind::kIndex:
    case ExprKind::kField:
      CompilePath(expr, target);
      break;
    case ExprKind::kCall:
      CompileCall(expr, target);
      break;
    case ExprKind::kList:
    case ExprKind::kRecord:
      CompileItems(expr, target);
      break;
  }
  temporaries_ = temporaries;
}

void Compiler::CompileChain(const Expr* expr, std::uint32_t target) {
  bool laterCalls = false;
  for (const Item* item = expr->items; item; item = item->next) {
    laterCalls = laterCalls || item->expr->calls;
  }
  std::uint32_t left = StableOperand(expr->first, laterCalls);
  std::uint32_t leftOffset = expr->first->offset;
  // The temporary register for results in between: a variable's own may still be read further on.
  std::uint32_t between = kNoSlot;
  for (const Item* item = expr->items; item; item = item->next) {
    const std::uint32_t temporaries = temporaries_;
    std::uint32_t result = target;
    if (item->next && target < function_.layout.Count()) {
      if (between == kNoSlot) between = NewTemporary();
      result = between;
    } else if (item->next) {
      result = between = target;
    }
    const CodePlace place{item->offset, leftOffset, item->expr->offset};
    std::int32_t number = 0;
    if ((item->op == Operator::kAdd || item->op == Operator::kSubtract) &&
        SmallInteger(item->expr, kMaxC, number)) {
      Emit(item->op == Operator::kAdd ? Code::kAddNumber : Code::kSubtractNumber, result, left,
           number, place);
    } else {
      const std::uint32_t right = Operand(item->expr);
      Emit(CodeFor(item->op), result, left, static_cast<std::int32_t>(right), place);
    }
    left = result;
    leftOffset = item->offset;
    if (temporaries_ > temporaries && between < temporaries) temporaries_ = temporaries;
  }
}

// Each link in turn, on what the links before it led to.
void Compiler::CompilePath(const Expr* expr, std::uint32_t target) {
  const Path path = PathOf(expr);
  const Expr* const first = path.links.front();
  std::uint32_t whole =
      StableOperand(path.root, first->kind == ExprKind::kIndex && first->items->expr->calls);
  std::uint32_t between = whole < function_.layout.Count() ? kNoSlot : whole;
  for (const Expr* link : path.links) {
    if (link != expr && between == kNoSlot) between = NewTemporary();
    const std::uint32_t result = link == expr ? target : between;
    const std::uint32_t temporaries = temporaries_;
    if (link->kind == ExprKind::kIndex) {
      const Expr* index = link->items->expr;
      Emit(Code::kIndex, result, whole, static_cast<std::int32_t>(Operand(index)),
           CodePlace{link->offset, link->first->offset, index->offset});
    } else {
      Emit(Code::kField, result, whole, static_cast<std::int32_t>(link->index),
           CodePlace{link->offset, link->first->offset, link->offset});
    }
    temporaries_ = temporaries;
    whole = result;
  }
}

// The value of `and` and `or` is that of the operand that decides: the first false one of `and`,
// the first true one of `or`, else the last.
void Compiler::CompileLogic(const Expr* expr, std::uint32_t target) {
  const bool isVariable = target < function_.layout.Count();
  const std::uint32_t value = isVariable ? NewTemporary() : target;
  Jumps ends;
  for (const Item* item = expr->items; item; item = item->next) {
    CompileInto(item->expr, value);
    if (!item->next) break;
    ends.push_back(Emit(expr->kind == ExprKind::kAnd ? Code::kJumpIfFalse : Code::kJumpIfTrue,
                        value, 0, 0, item->next->offset));
  }
  Land(ends);
  if (isVariable) Emit(Code::kTake, target, value, 0, expr->offset);
}

void Compiler::CompileCall(const Expr* expr, std::uint32_t target) {
  const BuiltIn* builtIn = FindBuiltIn(expr->text);
  const auto known = program_.functionsByName.find(expr->text);
  if (builtIn) {
    if (expr->count < builtIn->least ||
        (builtIn->most != kAnyNumber && expr->count > builtIn->most)) {
      throw SyntaxError{expr->offset,
                        ArityText(expr->text, builtIn->least, builtIn->most, expr->count)};
    }
    if (builtIn->changesVariable) {
      CompilePush(expr, target);
      return;
    }
  } else if (known != program_.functionsByName.end()) {
    const std::uint32_t takes = program_.functions[known->second]->parameters;
    if (expr->count != takes) {
      throw SyntaxError{expr->offset, ArityText(expr->text, takes, takes, expr->count)};
    }
  }
  const std::uint32_t base = NewTemporaries(expr->count + 1);
  std::uint32_t place = base;
  for (const Item* item = expr->items; item; item = item->next) CompileInto(item->expr, place++);
  if (builtIn) {
    Emit(Code::kCallBuiltIn, base, expr->count, static_cast<std::int32_t>(builtIn - kBuiltIns),
         expr->offset);
  } else if (known != program_.functionsByName.end()) {
    Emit(Code::kCall, base, expr->count, static_cast<std::int32_t>(known->second), expr->offset);
  } else {
    program_.constants.push_back(kel::Value(base::StringOf(expr->text)));
    Emit(Code::kConstant, base + expr->count, 0,
         static_cast<std::int32_t>(program_.constants.size() - 1), expr->offset);
    Emit(Code::kCallNamed, base, expr->count, 0, expr->offset);
  }
  if (statementCall_ == expr) return;
  if (!builtIn) Emit(Code::kNeedValue, base, 0, 0, expr->offset);
  Emit(Code::kTake, target, base, 0, expr->offset);
}

void Compiler::CompilePush(const Expr* expr, std::uint32_t target) {
  const auto [root, keys] = PathOf(expr->items->expr);
  if (root->kind != ExprKind::kName) {
    throw SyntaxError{expr->items->offset, "what \"push\" changes must be a variable"};
  }
  const auto count = static_cast<std::uint32_t>(keys.size());
  const std::uint32_t base = NewTemporaries(count + 1);
  std::uint32_t place = base;
  for (const Expr* key : keys) {
    if (key->kind == ExprKind::kField) {
      Emit(Code::kConstant, place++, 0, static_cast<std::int32_t>(key->index), key->offset);
    } else {
      CompileInto(key->items->expr, place++);
    }
  }
  CompileInto(expr->items->next->expr, place);
  Emit(Code::kPush, root->index, base, static_cast<std::int32_t>(count),
       CodePlace{expr->offset, root->offset, expr->offset});
  if (statementCall_ != expr) Emit(Code::kTake, target, base, 0, expr->offset);
}

void Compiler::CompileItems(const Expr* expr, std::uint32_t target) {
  const bool isRecord = expr->kind == ExprKind::kRecord;
  const std::uint32_t whole =
      target < function_.layout.Count() || expr->count > 0 ? NewTemporary() : target;
  Emit(isRecord ? Code::kRecord : Code::kList, whole, 0, 0, expr->offset);
  for (const Item* item = expr->items; item; item = item->next) {
    const std::uint32_t temporaries = temporaries_;
    const std::uint32_t value = Operand(item->expr);
    const CodePlace place{item->offset, item->expr->offset, item->offset};
    if (isRecord) {
      Emit(Code::kSetField, whole, value, static_cast<std::int32_t>(item->key), place);
    } else {
      Emit(Code::kAppend, whole, value, 0, place);
    }
    temporaries_ = temporaries;
  }
  if (whole != target) Emit(Code::kTake, target, whole, 0, expr->offset);
}

// One comparison and a jump in one instruction: forwards when it does not hold, or, at the end of
// a loop, back when it holds.
bool Compiler::EmitCompareJump(const Expr* expr, bool when, Jumps& jumps) {
  if (expr->kind != ExprKind::kChain || expr->count != 1) return false;
  const Item* item = expr->items;
  if (!IsComparison(item->op)) return false;
  const std::uint32_t left = StableOperand(expr->first, item->expr->calls);
  const CodePlace place{item->offset, expr->first->offset, item->expr->offset};
  std::int32_t number = 0;
  if (SmallInteger(item->expr, kMaxSignedB, number)) {
    const Code first = when ? Code::kRepeatIfEqualNumber : Code::kUnlessEqualNumber;
    jumps.push_back(Emit(Shifted(first, item->op, Operator::kEqual), left,
                         static_cast<std::uint32_t>(number) & 0xFFFF, 0, place));
  } else {
    const std::uint32_t right = Operand(item->expr);
    const Code first = when ? Code::kRepeatIfEqual : Code::kUnlessEqual;
    jumps.push_back(Emit(Shifted(first, item->op, Operator::kEqual), left, right, 0, place));
  }
  return true;
}

void Compiler::JumpUnless(const Expr* expr, Jumps& jumps) {
  const std::uint32_t temporaries = temporaries_;
  if (expr->kind == ExprKind::kAnd) {
    for (const Item* item = expr->items; item; item = item->next) JumpUnless(item->expr, jumps);
  } else if (expr->kind == ExprKind::kOr) {
    Jumps holds;
    for (const Item* item = expr->items; item; item = item->next) {
      item->next ? JumpIf(item->expr, holds) : JumpUnless(item->expr, jumps);
    }
    Land(holds);
  } else if (expr->kind == ExprKind::kNot) {
    JumpIf(expr->first, jumps);
  } else if (!EmitCompareJump(expr, false, jumps)) {
    jumps.push_back(Emit(Code::kJumpIfFalse, Operand(expr), 0, 0, expr->offset));
  }
  temporaries_ = temporaries;
}

void Compiler::JumpIf(const Expr* expr, Jumps& jumps) {
  const std::uint32_t temporaries = temporaries_;
  const kel::Value* constant = ConstantOf(expr);
  if (expr->kind == ExprKind::kOr) {
    for (const Item* item = expr->items; item; item = item->next) JumpIf(item->expr, jumps);
  } else if (expr->kind == ExprKind::kAnd) {
    Jumps fails;
    for (const Item* item = expr->items; item; item = item->next) {
      item->next ? JumpUnless(item->expr, fails) : JumpIf(item->expr, jumps);
    }
    Land(fails);
  } else if (expr->kind == ExprKind::kNot) {
    JumpUnless(expr->first, jumps);
  } else if (constant && constant->Kind() == TavKelInteger && constant->Integer() != 0) {
    jumps.push_back(Emit(Code::kRepeat, 0, 0, 0, expr->offset));
  } else if (!EmitCompareJump(expr, true, jumps)) {
    jumps.push_back(Emit(Code::kRepeatIf, Operand(expr), 0, 0, expr->offset));
  }
  temporaries_ = temporaries;
}

}  // namespace script
