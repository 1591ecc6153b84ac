#pragma once

#include <cstdint>

namespace script {

// One instruction in 64 bits: code, then A (16 bits), B (16 bits) and C (24 bits, signed). R is a
// register, K a constant, J a jump counted from the next instruction.
using Instruction = std::uint64_t;

// X(code): the operands are in the comment.
#define SCRIPT_INSTRUCTIONS(X)                                                                    \
  X(kConstant)    /* R[A] = K[C] */                                                               \
  X(kMove)        /* R[A] = R[B] */                                                               \
  X(kTake)        /* R[A] = R[B], a temporary value that is not needed any more */                \
  X(kStoreGlobal) /* the global variable of slot A = R[B], taken */                               \
  X(kAdd)         /* R[A] = R[B] + R[C]; likewise the following */                                \
  X(kSubtract)                                                                                    \
  X(kMultiply)                                                                                    \
  X(kDivide)                                                                                      \
  X(kFloorDivide)                                                                                 \
  X(kModulo)                                                                                      \
  X(kAddNumber) /* R[A] = R[B] + C; likewise */                                                   \
  X(kSubtractNumber)                                                                              \
  X(kAddTo)          /* the variable of slot A gets R[B] added, in place where possible */        \
  X(kAddNumberTo)    /* the variable of slot A gets C added */                                    \
  X(kAppendConstant) /* the variable of slot A gets the text K[C] added, in place where possible  \
                      */                                                                          \
  X(kAppendAll)      /* the variable of slot A gets R[B], ... C values added one by one */        \
  X(kNegate)         /* R[A] = -R[B] */                                                           \
  X(kNot)            /* R[A] = not R[B] */                                                        \
  X(kEqual)          /* R[A] = R[B] == R[C] as 0 or 1; likewise the following */                  \
  X(kNotEqual)                                                                                    \
  X(kLess)                                                                                        \
  X(kLessEqual)                                                                                   \
  X(kGreater)                                                                                     \
  X(kGreaterEqual)                                                                                \
  X(kJump)        /* J(C) */                                                                      \
  X(kJumpIfTrue)  /* if R[A]: J(C) */                                                             \
  X(kJumpIfFalse) /* if not R[A]: J(C) */                                                         \
  X(kUnlessEqual) /* if not R[A] == R[B]: J(C); likewise the following */                         \
  X(kUnlessNotEqual)                                                                              \
  X(kUnlessLess)                                                                                  \
  X(kUnlessLessEqual)                                                                             \
  X(kUnlessGreater)                                                                               \
  X(kUnlessGreaterEqual)                                                                          \
  X(kUnlessEqualNumber) /* if not R[A] == B, B a signed number: J(C); likewise */                 \
  X(kUnlessNotEqualNumber)                                                                        \
  X(kUnlessLessNumber)                                                                            \
  X(kUnlessLessEqualNumber)                                                                       \
  X(kUnlessGreaterNumber)                                                                         \
  X(kUnlessGreaterEqualNumber)                                                                    \
  X(kRepeat)        /* J(C), at the end of a loop */                                              \
  X(kRepeatIf)      /* if R[A]: J(C), at the end of a loop */                                     \
  X(kRepeatIfEqual) /* if R[A] == R[B]: J(C), at the end of a loop; likewise */                   \
  X(kRepeatIfNotEqual)                                                                            \
  X(kRepeatIfLess)                                                                                \
  X(kRepeatIfLessEqual)                                                                           \
  X(kRepeatIfGreater)                                                                             \
  X(kRepeatIfGreaterEqual)                                                                        \
  X(kRepeatIfEqualNumber) /* if R[A] == B, B a signed number: J(C), at the end of a loop */       \
  X(kRepeatIfNotEqualNumber)                                                                      \
  X(kRepeatIfLessNumber)                                                                          \
  X(kRepeatIfLessEqualNumber)                                                                     \
  X(kRepeatIfGreaterNumber)                                                                       \
  X(kRepeatIfGreaterEqualNumber)                                                                  \
  X(kCountStart)  /* R[A] from, R[A+1] to, R[A+2] step; the first number into R[B], else J(C) */  \
  X(kCountStep)   /* at the loop's end: the next number into R[B], then J(C); R[A+3] counts */    \
  X(kEachStart)   /* R[A] will be gone through; R[A+1] = 0; J(C) */                               \
  X(kEachNext)    /* at the loop's end: next of R[A] into R[B], then J(C); else onwards */        \
  X(kCall)        /* R[A] = function C of the program with R[A], ... B values */                  \
  X(kCallNamed)   /* R[A] = the function named R[A+B] with R[A], ... B values */                  \
  X(kCallBuiltIn) /* R[A] = built-in function C with R[A], ... B values */                        \
  X(kNeedValue)   /* R[A] came from a call and must have a value */                               \
  X(kReturn)      /* with R[A], taken */                                                          \
  X(kReturnCopy)  /* with R[A] */                                                                 \
  X(kReturnNothing)                                                                               \
  X(kList)     /* R[A] = an empty list */                                                         \
  X(kAppend)   /* list R[A] gets R[B] at its end */                                               \
  X(kRecord)   /* R[A] = an empty record */                                                       \
  X(kSetField) /* field K[C] of record R[A] = R[B] */                                             \
  X(kIndex)    /* R[A] = R[B][R[C]] */                                                            \
  X(kField)    /* R[A] = R[B].K[C] */                                                             \
  X(kSetPath)  /* in the variable of slot A: the path R[B], ... C keys = R[B+C] */                \
  X(kReadPath) /* in the variable of slot A: R[B+C+1] = what lies at the path R[B], ... C keys */ \
  X(kUpdatePath) /* there: likewise what lies at the path becomes that with R[B+C] added or so; C \
                    is the keys, an operator, and whether R[B+C+1] holds what is added to */      \
  X(kPush)    /* as kSetPath, but R[B+C] goes to the end of the list there; R[B] = its length */  \
  X(kCommand) /* command C */                                                                     \
  X(kPrint)   /* R[A], ... B values */                                                            \
  X(kThrow)   /* R[A] */                                                                          \
  X(kStep)    /* a statement begins, in line C; only in texts that are stepped through */         \
  X(kExit)    /* with R[A] */                                                                     \
  X(kExitPlain)

enum class Code : std::uint8_t {
#define SCRIPT_CODE(name) name,
  SCRIPT_INSTRUCTIONS(SCRIPT_CODE)
#undef SCRIPT_CODE
};

inline constexpr std::int32_t kMaxC = (1 << 23) - 1;
inline constexpr std::uint32_t kMaxRegister = 0xFFFF;

constexpr Instruction Encode(Code code, std::uint32_t a, std::uint32_t b, std::int32_t c) {
  return static_cast<Instruction>(code) | static_cast<Instruction>(a & 0xFFFF) << 8 |
         static_cast<Instruction>(b & 0xFFFF) << 24 |
         static_cast<Instruction>(static_cast<std::uint32_t>(c)) << 40;
}
constexpr Code CodeOf(Instruction i) { return static_cast<Code>(i & 0xFF); }
// C of kUpdatePath.
constexpr std::int32_t kUpdateKeys = 0xFFFF;
constexpr int kUpdateOperatorShift = 16;
constexpr std::int32_t kUpdateIsRead = 1 << 20;

constexpr std::uint32_t AOf(Instruction i) { return static_cast<std::uint16_t>(i >> 8); }
constexpr std::uint32_t BOf(Instruction i) { return static_cast<std::uint16_t>(i >> 24); }
constexpr std::int32_t SignedBOf(Instruction i) { return static_cast<std::int16_t>(i >> 24); }
constexpr std::int32_t COf(Instruction i) {
  return static_cast<std::int32_t>(static_cast<std::int64_t>(i) >> 40);
}

}  // namespace script
