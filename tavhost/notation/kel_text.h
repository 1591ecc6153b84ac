#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "host/base/string.h"
#include "tavhost/base/work_meter.h"
#include "tavhost/notation/element.h"
#include "tavhost/notation/value.h"

// Values as text, and operands as values.
namespace kel {

// The KEL literal of a text, quotes included. Reads back to the same bytes.
SV::String Literal(std::string_view text);

// The shortest digits that read back to the same double, always with a `.` or an exponent.
// Infinities and "not a number" have no literal; they are written `inf`, `-inf`, `nan`. `room` has
// kLongestReal bytes; returns the place behind the last one written.
inline constexpr std::size_t kLongestReal = 32;
char* WriteReal(double real, char* room) noexcept;

// The text of a value: a string's or word's bytes, a number's digits, the inside of a list or
// record (items joined by ", ", strings in it as literals, lists and records in it in
// parentheses), a body with its braces; nothing for no value. `quoted` gives a string as its
// literal. Depth costs no stack. The work is told to a meter, if there is one: a value that holds
// others many times over has a text that is longer than any memory.
void AppendText(SV::String& out, const Value& value, bool quoted, base::WorkMeter* meter = nullptr);
// The value as KEL: like AppendText with `quoted`, lists and records in their parentheses.
void AppendKel(SV::String& out, const Value& value, base::WorkMeter* meter = nullptr);
// The text of an operand's value, as AppendText without `quoted`.
void AppendText(SV::String& out, const Operand& operand);
// An element, without what ends it.
void AppendKel(SV::String& out, const Element& element);

// What an operand stands for. Strings are copied, values shared. A body shares `owner`, the
// document that its tables lie in; without an owner it becomes a document of its own.
Value ToValue(const Operand& operand, const std::shared_ptr<const Document>& owner,
              base::WorkMeter* meter = nullptr);

// An operand that stands for `value`, which somebody else keeps for as long as it is used. Numbers
// are copied into it.
Operand Borrow(const Value& value);

// The bytes of a string or word operand: shared or copied.
SV::String TextOf(const Operand& operand);

}  // namespace kel
