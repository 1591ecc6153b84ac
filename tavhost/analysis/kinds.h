#pragma once

#include <cstdint>
#include <string>

#include "tavhost/notation/value.h"
#include "tavhost/reference/reference.h"
#include "tavhost/script/syntax/syntax.h"

namespace check {

// What is known about a value before it is there.
enum class Kind : std::uint8_t {
  kUnknown,
  kString,
  kInteger,
  kReal,
  kWord,
  kModifier,  // a parameter's name without a value
  kBody,
  kList,
  kRecord,
};

// kUnknown for no value, and for types, like switches, that several kinds fit.
Kind KindOf(const kel::Value& value);
Kind KindOf(reference::Type type);

// "a string", "an integer", ….
const char* WordFor(Kind kind);

inline bool IsNumber(Kind kind) { return kind == Kind::kInteger || kind == Kind::kReal; }

// What is known where two ways through a script meet and the value can have come along either.
inline Kind Joined(Kind a, Kind b) { return a == b ? a : Kind::kUnknown; }

}  // namespace check
