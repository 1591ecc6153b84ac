#pragma once

#include "commands/support/names.h"
#include "host/base/forward.h"
#include "host/notation/forward.h"
#include "host/script/forward.h"

// How a handler reports: result variables, written wherever the result wants them (the calling
// script's variables, an object value, or KEL text). Handlers never ask which. There are no other
// types: outcomes that are true or false are the integers 1 and 0.
namespace results {

// Kept as 32-bit signed values, also where `long` is wider.
void SetInteger(TavScriptResult& result, names::Literal name, int value);
void SetInteger(TavScriptResult& result, names::Literal name, long value);
// Of a variable that the script names.
void SetIntegerOf(TavScriptResult& result, const SV::String& name, int value);
// The text up to its first NUL.
void SetString(TavScriptResult& result, names::Literal name, const char* text);
// All bytes; the variable shares them.
void SetString(TavScriptResult& result, names::Literal name, const SV::String& text);
// Takes ownership of the value.
void SetValue(TavScriptResult& result, names::Literal name, TavKelValue* value);

}  // namespace results
