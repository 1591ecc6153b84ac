#pragma once

#include "commands/support/names.h"
#include "host/base/forward.h"
#include "host/notation/forward.h"
#include "host/script/forward.h"

// How a handler reports: result variables, written wherever the result wants them (the calling
// script's variables, an object value, or KEL text). Handlers never ask which. There are no other
// types: outcomes that are true or false are the integers 1 and 0.
namespace results {

// Scripts know signed integers of 32 bits; of a wider `long` the low 32 bits are kept.
void SetInteger(TavScriptResult& result, names::Literal name, int value);
void SetInteger(TavScriptResult& result, names::Literal name, long value);
// Sets a variable whose name the script gives, which is therefore no literal.
void SetIntegerOf(TavScriptResult& result, const SV::String& name, int value);
// The text up to its first NUL.
void SetString(TavScriptResult& result, names::Literal name, const char* text);
// All bytes; the variable shares them.
void SetString(TavScriptResult& result, names::Literal name, const SV::String& text);
// Takes ownership of the value; null, when there was no memory for it, sets nothing.
void SetValue(TavScriptResult& result, names::Literal name, TavKelValue* value);

}  // namespace results
