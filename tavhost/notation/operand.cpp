#include <tl/expected.hpp>
#include <vector>

#include "tavhost/notation/document.h"
#include "tavhost/notation/kel_text.h"
#include "tavhost/notation/scan.h"

namespace kel {

namespace {

// A body whose tables nobody can keep alive: it is written as text and parsed into a document of
// its own.
Value CopyBody(const Operand& body) {
  SV::String text;
  for (std::uint32_t i = 0; i < body.length; ++i) {
    if (i > 0) text += '\n';
    AppendKel(text, body.elements[i]);
  }
  const base::Result<std::shared_ptr<const Document>> parsed = Document::Parse(text);
  if (!parsed) throw std::bad_alloc();  // the text itself is right
  const Document& document = **parsed;
  return Value::Body(*parsed, document.Elements(), document.Count());
}

// The value, with lists and records still empty. ToValue fills these one after the other, so that
// their depth costs no stack.
Value Shallow(const Operand& operand, const std::shared_ptr<const Document>& owner) {
  switch (operand.storage) {
    case Storage::kInline:
      if (operand.kind == TavKelInteger) return Value(operand.integer);
      return operand.kind == TavKelReal ? Value(operand.real) : Value();
    case Storage::kRaw:
    case Storage::kEscaped:
      return Value(TextOf(operand), static_cast<TavKelValueType>(operand.kind));
    case Storage::kValue:
      return *operand.value;
    case Storage::kItems:
      return Value::List();
    case Storage::kFields:
      return Value::Record();
    case Storage::kElements:
      return owner ? Value::Body(owner, operand.elements, operand.length) : CopyBody(operand);
  }
  return Value();
}

// A list or record that still has to get what it holds.
struct Unfilled {
  const Operand* from;
  Value* to;
};

}  // namespace

SV::String TextOf(const Operand& operand) {
  switch (operand.storage) {
    case Storage::kRaw:
      return SV::String(operand.text, static_cast<long>(operand.length));
    case Storage::kEscaped:
      return Unescape({operand.text, operand.length});
    case Storage::kValue:
      return operand.value->IsText() ? operand.value->Text() : SV::String();
    default:
      return SV::String();
  }
}

Operand Borrow(const Value& value) {
  Operand operand;
  operand.kind = value.Kind();
  switch (value.Kind()) {
    case Value::kNone:
      break;
    case TavKelInteger:
      operand.integer = value.Integer();
      break;
    case TavKelReal:
      operand.real = value.Real();
      break;
    default:
      operand.storage = Storage::kValue;
      operand.value = &value;
      break;
  }
  return operand;
}

Value ToValue(const Operand& operand, const std::shared_ptr<const Document>& owner,
              base::WorkMeter* meter) {
  Value result = Shallow(operand, owner);
  std::vector<Unfilled> unfilled;
  const auto fillLater = [&unfilled](const Operand& from, Value& to) {
    if (from.storage == Storage::kItems || from.storage == Storage::kFields) {
      unfilled.push_back({&from, &to});
    }
  };
  fillLater(operand, result);
  while (!unfilled.empty()) {
    const auto [from, to] = unfilled.back();
    unfilled.pop_back();
    if (from->storage == Storage::kItems) {
      auto& items = to->MutableList().items;
      items.resize(from->length);
      for (std::uint32_t i = 0; i < from->length; ++i) {
        items[i] = Shallow(from->items[i], owner);
        fillLater(from->items[i], items[i]);
        if (meter) meter->Did(1);
      }
    } else {
      auto& fields = to->MutableRecord().fields;
      fields.resize(from->length);
      for (std::uint32_t i = 0; i < from->length; ++i) {
        const Attribute& field = from->fields[i];
        fields[i].name = SV::String(field.name, static_cast<long>(field.nameLength));
        fields[i].value = Shallow(field.operand, owner);
        fillLater(field.operand, fields[i].value);
        if (meter) meter->Did(1);
      }
    }
  }
  return result;
}

}  // namespace kel
