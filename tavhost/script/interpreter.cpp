#include <cmath>

#include "tavhost/script/engine.h"
#include "tavhost/script/operations.h"

// The loop that runs code. What is common and cheap is done here; everything else, and every
// error, by the functions in instructions.cpp and operations.cpp.
//
// Each instruction jumps to the next one's code on its own, which processors predict better than
// one jump for all; where a compiler has no computed goto (or SCRIPT_SWITCH_DISPATCH is defined)
// the same code stands in a switch.
#if defined(__GNUC__) && !defined(SCRIPT_SWITCH_DISPATCH)
#define SCRIPT_COMPUTED_GOTO 1
#endif

#if defined(SCRIPT_COMPUTED_GOTO)
#define CASE(code) label_##code:
#define NEXT                                     \
  do {                                           \
    i = *pc++;                                   \
    goto* kLabels[static_cast<std::uint8_t>(i)]; \
  } while (false)
#else
#define CASE(code) case Code::code:
#define NEXT break
#endif

// Has to come before everything that can throw, poll or look at the frame: an error's place, and
// where a run goes on, are told by the frame's `next`.
#define SAVE frame->next = pc
#define RA registers[AOf(i)]
#define RB registers[BOf(i)]
#define RC registers[COf(i)]
#define POLL                           \
  do {                                 \
    if (--budget_ <= 0) [[unlikely]] { \
      SAVE;                            \
      Poll();                          \
    }                                  \
  } while (false)

namespace script {

using kel::Value;

namespace {

inline bool AreIntegers(const Value& a, const Value& b) {
  return a.Kind() == TavKelInteger && b.Kind() == TavKelInteger;
}
inline bool AreReals(const Value& a, const Value& b) {
  return a.Kind() == TavKelReal && b.Kind() == TavKelReal;
}
inline bool IsInteger(const Value& a) { return a.Kind() == TavKelInteger; }

}  // namespace

// `integer` adds, subtracts or multiplies and tells whether the result did not fit; results that do
// not fit, and reals that are not finite, are errors, which Arithmetic words.
#define ARITHMETIC(code, op, integer, real)                                                   \
  CASE(code) {                                                                                \
    const Value& left = RB;                                                                   \
    const Value& right = RC;                                                                  \
    std::int32_t result;                                                                      \
    if (AreIntegers(left, right) && !integer(left.Integer(), right.Integer(), &result))       \
        [[likely]] {                                                                          \
      RA.SetInteger(result);                                                                  \
    } else if (AreReals(left, right) && std::isfinite(left.Real() real right.Real())) {       \
      RA.SetReal(left.Real() real right.Real());                                              \
    } else {                                                                                  \
      SAVE;                                                                                   \
      RA = Arithmetic(op, Read(*frame, BOf(i), Part::kLeft),                                  \
                      Read(*frame, static_cast<std::uint32_t>(COf(i)), Part::kRight), *this); \
    }                                                                                         \
    NEXT;                                                                                     \
  }

#define SLOW_ARITHMETIC(code, op)                                                           \
  CASE(code) {                                                                              \
    SAVE;                                                                                   \
    RA = Arithmetic(op, Read(*frame, BOf(i), Part::kLeft),                                  \
                    Read(*frame, static_cast<std::uint32_t>(COf(i)), Part::kRight), *this); \
    NEXT;                                                                                   \
  }

#define NUMBER_ARITHMETIC(code, op, integer)                                        \
  CASE(code) {                                                                      \
    const Value& left = RB;                                                         \
    std::int32_t result;                                                            \
    if (IsInteger(left) && !integer(left.Integer(), COf(i), &result)) [[likely]] {  \
      RA.SetInteger(result);                                                        \
    } else {                                                                        \
      SAVE;                                                                         \
      RA = Arithmetic(op, Read(*frame, BOf(i), Part::kLeft), Value(COf(i)), *this); \
    }                                                                               \
    NEXT;                                                                           \
  }

// Integers and reals are compared here, all else by Compare. `slowRight` stands for its two
// operands; COMMA keeps the macro from taking them for two arguments.
#define HOLDS(op, compare, leftPart, right, slowRight)                         \
  (AreIntegers(leftPart, right) ? (leftPart).Integer() compare right.Integer() \
   : AreReals(leftPart, right)  ? (leftPart).Real() compare right.Real()       \
                                : (SAVE, Compare(op, slowRight, *this)))

#define COMPARISON(name, op, compare)                                                             \
  CASE(k##name) {                                                                                 \
    const Value& left = RB;                                                                       \
    const Value& right = RC;                                                                      \
    RA.SetInteger(HOLDS(op, compare, left, right,                                                 \
                        Read(*frame, BOf(i), Part::kLeft) COMMA Read(                             \
                            *frame, static_cast<std::uint32_t>(COf(i)), Part::kRight)));          \
    NEXT;                                                                                         \
  }                                                                                               \
  CASE(kUnless##name) {                                                                           \
    const Value& left = RA;                                                                       \
    const Value& right = RB;                                                                      \
    if (!HOLDS(op, compare, left, right,                                                          \
               Read(*frame, AOf(i), Part::kLeft) COMMA Read(*frame, BOf(i), Part::kRight))) {     \
      pc += COf(i);                                                                               \
    }                                                                                             \
    NEXT;                                                                                         \
  }                                                                                               \
  CASE(kRepeatIf##name) {                                                                         \
    const Value& left = RA;                                                                       \
    const Value& right = RB;                                                                      \
    if (HOLDS(op, compare, left, right,                                                           \
              Read(*frame, AOf(i), Part::kLeft) COMMA Read(*frame, BOf(i), Part::kRight))) {      \
      pc += COf(i);                                                                               \
      POLL;                                                                                       \
    }                                                                                             \
    NEXT;                                                                                         \
  }                                                                                               \
  CASE(kUnless##name##Number) {                                                                   \
    const Value& left = RA;                                                                       \
    const bool holds =                                                                            \
        IsInteger(left)                                                                           \
            ? left.Integer() compare SignedBOf(i)                                                 \
            : (SAVE, Compare(op, Read(*frame, AOf(i), Part::kLeft), Value(SignedBOf(i)), *this)); \
    if (!holds) pc += COf(i);                                                                     \
    NEXT;                                                                                         \
  }                                                                                               \
  CASE(kRepeatIf##name##Number) {                                                                 \
    const Value& left = RA;                                                                       \
    const bool holds =                                                                            \
        IsInteger(left)                                                                           \
            ? left.Integer() compare SignedBOf(i)                                                 \
            : (SAVE, Compare(op, Read(*frame, AOf(i), Part::kLeft), Value(SignedBOf(i)), *this)); \
    if (holds) {                                                                                  \
      pc += COf(i);                                                                               \
      POLL;                                                                                       \
    }                                                                                             \
    NEXT;                                                                                         \
  }
#define COMMA ,

// The value is taken out first: it may lie in the frame that goes. The frame below `base` belongs
// to whoever called Run and gets nothing.
void Engine::Return(std::uint32_t base, Value&& value) {
  const std::uint32_t target = frames_[depth_ - 1].result;
  Value result = std::move(value);
  PopFrame();
  if (depth_ > base) frames_[depth_ - 1].registers[target] = std::move(result);
}

// Runs the topmost frame, and what it calls, until frame `base` has returned.
void Engine::Interpret(std::uint32_t base) {
#if defined(SCRIPT_COMPUTED_GOTO)
  static const void* const kLabels[] = {
#define SCRIPT_LABEL(name) &&label_##name,
      SCRIPT_INSTRUCTIONS(SCRIPT_LABEL)
#undef SCRIPT_LABEL
  };
#endif
  Frame* frame = nullptr;
  Value* registers = nullptr;
  const Value* constants = nullptr;
  const Instruction* pc = nullptr;
  Instruction i = 0;

// Takes the topmost frame's state into local variables, after a call or a return.
#define ENTER                                     \
  do {                                            \
    frame = &frames_[depth_ - 1];                 \
    registers = frame->registers;                 \
    constants = frame->program->constants.data(); \
    pc = frame->next;                             \
  } while (false)

  ENTER;
#if defined(SCRIPT_COMPUTED_GOTO)
  NEXT;
#else
  for (;;) {
    i = *pc++;
    switch (CodeOf(i)) {
#endif

  CASE(kConstant) {
    RA = constants[COf(i)];
    NEXT;
  }
  CASE(kMove) {
    const Value& from = RB;
    if (IsInteger(from)) {
      RA.SetInteger(from.Integer());
    } else {
      SAVE;
      RA = Read(*frame, BOf(i), Part::kWhole);
    }
    NEXT;
  }
  CASE(kTake) {
    RA = std::move(RB);
    NEXT;
  }
  CASE(kStoreGlobal) {
    SAVE;
    Store(*frame, AOf(i), std::move(RB));
    NEXT;
  }

  ARITHMETIC(kAdd, Operator::kAdd, __builtin_add_overflow, +)
  ARITHMETIC(kSubtract, Operator::kSubtract, __builtin_sub_overflow, -)
  ARITHMETIC(kMultiply, Operator::kMultiply, __builtin_mul_overflow, *)
  SLOW_ARITHMETIC(kDivide, Operator::kDivide)
  SLOW_ARITHMETIC(kFloorDivide, Operator::kFloorDivide)
  CASE(kModulo) {
    const Value& left = RB;
    const Value& right = RC;
    if (AreIntegers(left, right) && left.Integer() >= 0 && right.Integer() > 0) [[likely]] {
      RA.SetInteger(left.Integer() % right.Integer());
    } else {
      SAVE;
      RA = Arithmetic(Operator::kModulo, Read(*frame, BOf(i), Part::kLeft),
                      Read(*frame, static_cast<std::uint32_t>(COf(i)), Part::kRight), *this);
    }
    NEXT;
  }
  NUMBER_ARITHMETIC(kAddNumber, Operator::kAdd, __builtin_add_overflow)
  NUMBER_ARITHMETIC(kSubtractNumber, Operator::kSubtract, __builtin_sub_overflow)

  CASE(kAddTo) {
    Value& left = RA;
    const Value& right = RB;
    std::int32_t result;
    if (AreIntegers(left, right) &&
        !__builtin_add_overflow(left.Integer(), right.Integer(), &result)) {
      left.SetInteger(result);
    } else if (left.Kind() == TavKelString && right.Kind() == TavKelString) {
      SAVE;
      left.MutableText().Append(right.Text().GetStr(), right.Text().Len());
      ChargeBytes(right.Text().View().size());
    } else {
      SAVE;
      AddTo(*frame, AOf(i), &Read(*frame, BOf(i), Part::kRight), 1);
    }
    NEXT;
  }
  CASE(kAddNumberTo) {
    Value& left = RA;
    std::int32_t result;
    if (IsInteger(left) && !__builtin_add_overflow(left.Integer(), COf(i), &result)) [[likely]] {
      left.SetInteger(result);
    } else {
      SAVE;
      const Value number(COf(i));
      AddTo(*frame, AOf(i), &number, 1);
    }
    NEXT;
  }
  CASE(kAppendConstant) {
    Value& left = RA;
    const Value& text = constants[COf(i)];
    SAVE;
    if (left.Kind() == TavKelString) {
      left.MutableText().Append(text.Text().GetStr(), text.Text().Len());
      ChargeBytes(text.Text().View().size());
    } else {
      AddTo(*frame, AOf(i), &text, 1);
    }
    NEXT;
  }
  CASE(kAppendAll) {
    SAVE;
    AddTo(*frame, AOf(i), &RB, static_cast<std::uint32_t>(COf(i)));
    NEXT;
  }
  CASE(kNegate) {
    SAVE;
    RA = Negated(Read(*frame, BOf(i), Part::kLeft));
    NEXT;
  }
  CASE(kNot) {
    SAVE;
    RA = Value(std::int32_t{!IsTrue(Read(*frame, BOf(i), Part::kLeft))});
    NEXT;
  }

  COMPARISON(Equal, Operator::kEqual, ==)
  COMPARISON(NotEqual, Operator::kNotEqual, !=)
  COMPARISON(Less, Operator::kLess, <)
  COMPARISON(LessEqual, Operator::kLessEqual, <=)
  COMPARISON(Greater, Operator::kGreater, >)
  COMPARISON(GreaterEqual, Operator::kGreaterEqual, >=)

  CASE(kJump) {
    pc += COf(i);
    NEXT;
  }
  CASE(kJumpIfTrue) {
    SAVE;
    if (IsTrue(Read(*frame, AOf(i), Part::kWhole))) pc += COf(i);
    NEXT;
  }
  CASE(kJumpIfFalse) {
    SAVE;
    if (!IsTrue(Read(*frame, AOf(i), Part::kWhole))) pc += COf(i);
    NEXT;
  }
  CASE(kRepeat) {
    pc += COf(i);
    POLL;
    NEXT;
  }
  CASE(kRepeatIf) {
    SAVE;
    if (IsTrue(Read(*frame, AOf(i), Part::kWhole))) {
      pc += COf(i);
      POLL;
    }
    NEXT;
  }
  CASE(kCountStart) {
    SAVE;
    if (!CountStart(*frame, i)) pc += COf(i);
    NEXT;
  }
  CASE(kCountStep) {
    Value& counter = RA;
    const Value& last = registers[AOf(i) + 1];
    const Value& step = registers[AOf(i) + 2];
    if (IsInteger(counter)) [[likely]] {
      const std::int64_t next = std::int64_t{counter.Integer()} + step.Integer();
      if (step.Integer() > 0 ? next <= last.Integer() : next >= last.Integer()) {
        counter.SetInteger(static_cast<std::int32_t>(next));
        RB.SetInteger(static_cast<std::int32_t>(next));
        pc += COf(i);
      }
    } else if (CountStep(*frame, i)) {
      pc += COf(i);
    }
    POLL;
    NEXT;
  }
  CASE(kEachStart) {
    SAVE;
    EachStart(*frame, i);
    pc += COf(i);
    NEXT;
  }
  CASE(kEachNext) {
    SAVE;
    if (EachNext(*frame, i)) pc += COf(i);
    POLL;
    NEXT;
  }

  CASE(kCall) {
    SAVE;
    POLL;
    const Program* const program = frame->program;
    PushCall(program, program->functions[static_cast<std::size_t>(COf(i))].get(), &RA, BOf(i),
             AOf(i));
    ENTER;
    NEXT;
  }
  CASE(kCallNamed) {
    SAVE;
    POLL;
    CallNamed(*frame, i);
    ENTER;
    NEXT;
  }
  CASE(kCallBuiltIn) {
    SAVE;
    CallBuiltIn(*frame, i);
    NEXT;
  }
  CASE(kNeedValue) {
    if (RA.IsNone()) {
      SAVE;
      throw ScriptError("this function returned no value");
    }
    NEXT;
  }
  CASE(kReturn) {
    Return(base, std::move(RA));
    if (depth_ == base) return;
    ENTER;
    NEXT;
  }
  CASE(kReturnCopy) {
    SAVE;
    Return(base, Value(Read(*frame, AOf(i), Part::kLeft)));
    if (depth_ == base) return;
    ENTER;
    NEXT;
  }
  CASE(kReturnNothing) {
    Return(base, Value());
    if (depth_ == base) return;
    ENTER;
    NEXT;
  }

  CASE(kList) {
    SAVE;
    RA = Value::List();
    NEXT;
  }
  CASE(kAppend) {
    SAVE;
    RA.MutableList().items.push_back(Read(*frame, BOf(i), Part::kLeft));
    NEXT;
  }
  CASE(kRecord) {
    SAVE;
    RA = Value::Record();
    NEXT;
  }
  CASE(kSetField) {
    SAVE;
    RA.MutableRecord().fields.push_back(
        {constants[COf(i)].Text(), Read(*frame, BOf(i), Part::kLeft)});
    NEXT;
  }
  CASE(kIndex) {
    SAVE;
    RA = Index(Read(*frame, BOf(i), Part::kLeft),
               Read(*frame, static_cast<std::uint32_t>(COf(i)), Part::kRight), *this);
    NEXT;
  }
  CASE(kField) {
    SAVE;
    RA = FieldOf(Read(*frame, BOf(i), Part::kLeft), constants[COf(i)].Text());
    NEXT;
  }
  CASE(kSetPath) {
    SAVE;
    SetPath(*frame, i);
    NEXT;
  }
  CASE(kReadPath) {
    SAVE;
    ReadPath(*frame, i);
    NEXT;
  }
  CASE(kUpdatePath) {
    SAVE;
    UpdatePath(*frame, i);
    NEXT;
  }
  CASE(kPush) {
    SAVE;
    Push(*frame, i);
    NEXT;
  }
  CASE(kCommand) {
    SAVE;
    RunCommand(*frame, *frame->program->commands[static_cast<std::size_t>(COf(i))]);
    NEXT;
  }
  CASE(kPrint) {
    SAVE;
    PrintValues(*frame, i);
    NEXT;
  }
  CASE(kStep) {
    SAVE;
    Step(static_cast<std::uint32_t>(COf(i)));
    NEXT;
  }
  CASE(kThrow) {
    SAVE;
    Throw(*frame, i);
  }
  CASE(kExit) {
    SAVE;
    Exit(*frame, i);
  }
  CASE(kExitPlain) { throw ExitRequest{0}; }

#if !defined(SCRIPT_COMPUTED_GOTO)
}
}
#endif
}

}  // namespace script
