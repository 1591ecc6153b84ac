#include "commands/support/results.h"

#include <cstdint>

#include "commands/support/names.h"
#include "host/base/string.h"
#include "host/notation/kel_parser.h"
#include "host/notation/kel_value.h"
#include "host/notation/kel_value_set.h"
#include "host/script/script_result.h"

namespace results {

namespace {

bool WantsText(TavScriptResult& result) { return !result.GetValueSet() && !result.GetObject(); }

// Hands the value over to the variables or the object, which own it from here on. Both ignore null,
// the value that could not be allocated.
void Move(TavScriptResult& result, const SV::String& name, TavKelValue* value) {
  if (TavKelValueSet* variables = result.GetValueSet()) {
    variables->OldMoveValue(name, value, false);
  } else {
    result.GetObject()->MoveValue(name, value);
  }
}

// ` name:text`; the blank parts it from what stands before, and stands before the first one too.
void AppendText(TavScriptResult& result, const SV::String& name, const SV::String& text) {
  SV::String& all = result.GetText();
  all += ' ';
  all += name;
  all += ':';
  all += text;
}

bool IsContainer(const TavKelValue& value) {
  return value.GetType() == TavKelList || value.GetType() == TavKelRecord;
}

}  // namespace

void SetInteger(TavScriptResult& result, names::Literal name, int value) {
  SetIntegerOf(result, names::Kept(name), value);
}

void SetIntegerOf(TavScriptResult& result, const SV::String& name, int value) {
  if (WantsText(result)) {
    AppendText(result, name, SV::String(value));
  } else {
    Move(result, name, new TavKelValue(static_cast<long>(value)));
  }
}

void SetInteger(TavScriptResult& result, names::Literal name, long value) {
  SetIntegerOf(result, names::Kept(name), static_cast<std::int32_t>(value));
}

void SetString(TavScriptResult& result, names::Literal name, const char* text) {
  if (WantsText(result)) {
    AppendText(result, names::Kept(name), TavKelParser::GetKelTextOfStrValue(text));
  } else {
    Move(result, names::Kept(name), new TavKelValue(new SV::String(text)));
  }
}

void SetString(TavScriptResult& result, names::Literal name, const SV::String& text) {
  if (WantsText(result)) {
    AppendText(result, names::Kept(name), TavKelParser::GetKelTextOfStrValue(text));
  } else {
    Move(result, names::Kept(name), new TavKelValue(new SV::String(text)));
  }
}

void SetValue(TavScriptResult& result, names::Literal name, TavKelValue* value) {
  if (!WantsText(result)) {
    Move(result, names::Kept(name), value);
    return;
  }
  if (!value) return;
  SV::String text = value->GetText(false);
  if (IsContainer(*value)) {
    SV::String wrapped("(");
    if (value->GetType() == TavKelRecord && text.Len() == 0) wrapped += ':';
    wrapped += text;
    wrapped += ')';
    text = wrapped;
  }
  AppendText(result, names::Kept(name), text);
  delete value;
}

}  // namespace results
