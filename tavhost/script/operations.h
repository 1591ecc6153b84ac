#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "tavhost/base/string_of.h"
#include "tavhost/base/work_meter.h"
#include "tavhost/notation/value.h"
#include "tavhost/script/syntax/syntax.h"

// What operators do, for values of any kind. All of them throw ScriptError for what has no
// meaning. Their work is told to the meter.
namespace script {

// In a list; indices are integers.
inline constexpr std::size_t kMostItems = 0x7FFFFFFF;

// "an integer", "a list" and so on.
const char* KindWord(const kel::Value& value);

// An integer or a real as a real.
inline double AsReal(const kel::Value& value) {
  return value.Kind() == TavKelInteger ? value.Integer() : value.Real();
}

// What conditions take for true: numbers other than 0, texts, lists and records that are not empty.
bool IsTrue(const kel::Value& value);

// `+ - * / // %`. Numbers; `+` also joins lists, texts, and anything with a text.
kel::Value Arithmetic(Operator op, const kel::Value& left, const kel::Value& right,
                      base::WorkMeter& meter);
kel::Value Negated(const kel::Value& value);

// Values of different kinds are not equal, except an integer and a real of the same number. Lists
// and records are compared whole, records without regard to the order of their fields.
bool AreEqual(const kel::Value& left, const kel::Value& right, base::WorkMeter& meter);
// The six comparisons. Only numbers, and texts byte by byte, have an order.
bool Compare(Operator op, const kel::Value& left, const kel::Value& right, base::WorkMeter& meter);

// The text that stands for a value in print, str and joined text.
void AppendShown(SV::String& out, const kel::Value& value, base::WorkMeter& meter);
SV::String Shown(const kel::Value& value, base::WorkMeter& meter);

// An element of a list or text, a field of a record.
kel::Value Index(const kel::Value& whole, const kel::Value& index, base::WorkMeter& meter);
kel::Value FieldOf(const kel::Value& whole, const SV::String& name);
// The place of an element or field for writing; a record gets the field when it has none.
kel::Value& PlaceIn(kel::Value& whole, const kel::Value& key, base::WorkMeter& meter);
// The same for what has to be there.
kel::Value& KnownPlaceIn(kel::Value& whole, const kel::Value& key, base::WorkMeter& meter);

// What lies at a place becomes that `op` the operand. Texts and lists that nobody shares grow where
// they are. An error leaves everything as it was.
void Update(kel::Value& place, Operator op, const kel::Value& operand, base::WorkMeter& meter);

// An integer result; out of the 32-bit range is an error.
kel::Value IntegerValue(std::int64_t number);
// A finite real result; anything else is an error.
kel::Value RealValue(double number);
inline kel::Value TextValue(std::string_view text) { return kel::Value(base::StringOf(text)); }

}  // namespace script
