#pragma once

#include "commands/support/names.h"
#include "host/notation/kel_parser.h"
#include "host/notation/kel_value_type.h"
#include "host/script/type_check.h"

// The type checks that stand at the head of a handler. Each is true when the handler must return
// at once: the host has then written the error, and the handler writes nothing.
//
//   if (checks::Fails(parser, kPath, TavKelString, result, checks::kRequired)) return;
namespace checks {

inline constexpr names::Literal kMainValue = "";  // stands for the name of the main value
// The last argument of a check. A missing parameter is an error only when it is required; one of
// another type always is.
inline constexpr bool kRequired = false;
inline constexpr bool kOptional = true;

inline bool Fails(TavKelParser& parser, names::Literal name, TavKelValueType type,
                  TavScriptResult& result, bool optional) {
  return Tav_IsInvalidKelParamType(parser, names::Kept(name), type, result, optional);
}

// For parameters whose absence has an outcome of its own in the command: checked only when they
// are there.
inline bool FailsWhenPresent(TavKelParser& parser, names::Literal name, TavKelValueType type,
                             TavScriptResult& result, bool optional) {
  return parser.IsContained(names::Kept(name)) && Fails(parser, name, type, result, optional);
}

}  // namespace checks
