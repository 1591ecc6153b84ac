#include "host/script/script_result.h"

#include "host/notation/kel_parser.h"

TavScriptResult::TavScriptResult() = default;

TavScriptResult::TavScriptResult(TavKelValueSet* variables, TavKelValue* object)
    : variables_(variables), object_(object) {}

TavScriptResult::TavScriptResult(TavKelValue* object) : object_(object) {}

void TavScriptResult::SetError(const SV::String& message) {
  if (hasError_) return;
  hasError_ = true;
  error_ = message;
  if (variables_ || object_) return;
  text_ += " error:";
  text_ += TavKelParser::GetKelTextOfStrValue(message);
}
