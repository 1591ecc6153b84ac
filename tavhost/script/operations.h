#pragma once

#include <cstdint>
#include <string>

#include "tavhost/notation/value.h"
#include "tavhost/script/syntax/syntax.h"

// What operators do, for values of any kind. All of them throw ScriptError for what has no
// meaning.
namespace script {

// "an integer", "a list" and so on.
const char* KindWord(const kel::Value& value);

// What conditions take for true: numbers other than 0, texts, lists and records that are not empty.
bool IsTrue(const kel::Value& value);

// `+ - * / // %`. Numbers; `+` also joins texts, and anything with a text.
kel::Value Arithmetic(Operator op, const kel::Value& left, const kel::Value& right);
kel::Value Negated(const kel::Value& value);

// Values of different kinds are not equal, except an integer and a real of the same number. Lists
// and records are compared whole, records without regard to the order of their fields.
bool AreEqual(const kel::Value& left, const kel::Value& right);
// The six comparisons. Only numbers, and texts byte by byte, have an order.
bool Compare(Operator op, const kel::Value& left, const kel::Value& right);

// The text that stands for a value in print, str and joined text.
void AppendShown(SV::String& out, const kel::Value& value);
SV::String Shown(const kel::Value& value);

// An element of a list or text, a field of a record.
kel::Value Index(const kel::Value& whole, const kel::Value& index);
kel::Value FieldOf(const kel::Value& whole, const SV::String& name);
// The place of an element or field for writing; a record gets the field when it has none.
kel::Value& PlaceIn(kel::Value& whole, const kel::Value& key);

// The number of code points of a text, and at which byte the one of that number, from 0, begins.
std::int32_t CodePoints(const SV::String& text);
std::size_t ByteOf(const SV::String& text, std::int32_t codePoint);
// How many bytes the code point that begins at `at` takes.
std::size_t CodePointLength(std::string_view text, std::size_t at);
// CodePoints and ByteOf remember the text that they last worked on; this lets go of it.
void ForgetText();

// An integer result; out of the 32-bit range is an error.
kel::Value IntegerValue(std::int64_t number);
// A finite real result; anything else is an error.
kel::Value RealValue(double number);

}  // namespace script
