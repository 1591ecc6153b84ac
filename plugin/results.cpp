#include "plugin/results.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "host/notation/kel_parser.h"
#include "host/notation/kel_value.h"
#include "host/notation/kel_value_set.h"
#include "host/script/script_result.h"
#include "host/sv/string.h"

namespace results {

namespace {

// The name as a string. Handlers name their variables by the same few literals over and over; each
// keeps its string, found by its address, so that naming a variable allocates nothing.
const SV::String& NameString(const char* name) {
  struct Kept {
    const char* literal = nullptr;
    SV::String text;
  };
  constexpr std::size_t kPlaces = 256;
  static Kept kept[kPlaces];
  const auto address = reinterpret_cast<std::uintptr_t>(name);
  Kept& place = kept[(address ^ (address >> 8)) % kPlaces];
  // Another text may stand at the same address when the name is no literal.
  if (place.literal != name || std::strcmp(place.text.GetStr(), name) != 0) {
    place.literal = name;
    place.text = SV::String(name);
  }
  return place.text;
}

bool WantsText(TavScriptResult& result) { return !result.GetValueSet() && !result.GetObject(); }

// Hands the value to whoever collects the variables; a value that could not be allocated is null
// and goes the same way.
void Move(TavScriptResult& result, const char* name, TavKelValue* value) {
  if (TavKelValueSet* variables = result.GetValueSet()) {
    variables->OldMoveValue(NameString(name), value, false);
  } else {
    result.GetObject()->MoveValue(NameString(name), value);
  }
}

void AppendText(TavScriptResult& result, const char* name, const SV::String& text) {
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

void SetInteger(TavScriptResult& result, const char* name, int value) {
  if (WantsText(result)) {
    AppendText(result, name, SV::String(value));
  } else {
    Move(result, name, new TavKelValue(static_cast<long>(value)));
  }
}

void SetInteger(TavScriptResult& result, const char* name, long value) {
  const long narrowed = static_cast<std::int32_t>(value);
  if (WantsText(result)) {
    AppendText(result, name, SV::String(narrowed));
  } else {
    Move(result, name, new TavKelValue(narrowed));
  }
}

void SetString(TavScriptResult& result, const char* name, const char* text) {
  if (WantsText(result)) {
    AppendText(result, name, TavKelParser::GetKelTextOfStrValue(text));
  } else {
    Move(result, name, new TavKelValue(new SV::String(text)));
  }
}

void SetString(TavScriptResult& result, const char* name, const SV::String& text) {
  if (WantsText(result)) {
    AppendText(result, name, TavKelParser::GetKelTextOfStrValue(text));
  } else {
    Move(result, name, new TavKelValue(new SV::String(text)));
  }
}

void SetValue(TavScriptResult& result, const char* name, TavKelValue* value) {
  if (!WantsText(result)) {
    Move(result, name, value);
    return;
  }
  if (!value) return;
  SV::String text = value->GetText(false);
  if (IsContainer(*value)) {
    SV::String wrapped("(");
    wrapped += text;
    wrapped += ')';
    text = wrapped;
  }
  AppendText(result, name, text);
  delete value;
}

}  // namespace results
