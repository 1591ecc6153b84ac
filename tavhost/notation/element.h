#pragma once

#include <cstdint>
#include <string_view>

#include "host/notation/kel_value_type.h"
#include "tavhost/notation/value.h"

// The parsed form of KEL: plain tables of views. A parsed text and a running script both make
// them, and TavKelParser reads either. Nothing here owns anything: the bytes, tables and values
// pointed to belong to a Document or to the script that lends them.
namespace kel {

struct Attribute;
struct Element;

// How an operand's value is stored.
enum class Storage : std::uint8_t {
  kInline,    // integer and real: in the operand
  kRaw,       // string and word: bytes as they are
  kEscaped,   // string: the bytes between the quotes, escapes still in them, known to be right
  kValue,     // any kind: a Value that somebody else holds for as long as the operand is used
  kItems,     // list: `length` operands
  kFields,    // record: `length` attributes, their names without escapes
  kElements,  // body: `length` elements
};

// A value, or none: kind 0 is an absent main value or a bare modifier.
struct Operand {
  std::uint8_t kind = Value::kNone;  // TavKelValueType
  Storage storage = Storage::kInline;
  std::uint16_t reserved = 0;
  std::uint32_t length = 0;  // bytes, items, fields or elements
  union {
    std::int32_t integer;
    double real;
    const char* text;
    const Value* value;
    const Operand* items;
    const Attribute* fields;
    const Element* elements;
  };

  Operand() : integer(0) {}
  bool IsNone() const { return kind == Value::kNone; }
};

static_assert(sizeof(Operand) == 16);

// A parameter `name:value`, a bare modifier (an operand of kind 0), or a field of a record.
struct Attribute {
  const char* name = nullptr;
  std::uint32_t nameLength = 0;
  Operand operand;

  std::string_view Name() const { return {name, nameLength}; }
};

// `NAME main attribute ...`: a command, or what stands in a body.
struct Element {
  const char* name = nullptr;
  std::uint32_t nameLength = 0;
  std::uint32_t attributeCount = 0;
  const Attribute* attributes = nullptr;
  Operand main;

  std::string_view Name() const { return {name, nameLength}; }
};

}  // namespace kel
