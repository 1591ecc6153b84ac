#include <memory>
#include <new>
#include <tl/expected.hpp>
#include <vector>

#include "host/notation/kel_parser.h"
#include "tavhost/base/string_of.h"
#include "tavhost/notation/document.h"
#include "tavhost/notation/kel_text.h"
#include "tavhost/script/built_in/built_in_support.h"
#include "tavhost/script/built_in/built_in_text.h"

// kel_parse(text): a list with a record for each element: `name`, `value` (its main value, when it
// has one) and `params`, a record of its parameters, in which a bare modifier is 1. Words are
// strings here, and a body is again a list of such records.
namespace script {

using kel::Value;

namespace {

// A body still to be turned into a list, and the place that waits for it.
struct OpenBody {
  const kel::Element* elements;
  std::uint32_t count;
  Value* place;
};

// The value with every word in it, however deep in lists and records, as a string.
Value WithoutWords(Value value, Engine& engine) {
  std::vector<Value*> open{&value};
  while (!open.empty()) {
    engine.Did(1);
    Value& next = *open.back();
    open.pop_back();
    if (next.Kind() == TavKelWord) {
      next = Value(next.Text());
    } else if (next.Kind() == TavKelList) {
      for (Value& item : next.MutableList().items) open.push_back(&item);
    } else if (next.Kind() == TavKelRecord) {
      for (kel::Field& field : next.MutableRecord().fields) open.push_back(&field.value);
    }
  }
  return value;
}

void Place(const kel::Operand& operand, Value& place,
           const std::shared_ptr<const kel::Document>& document, std::vector<OpenBody>& open,
           Engine& engine) {
  if (operand.kind == TavKelBody) {
    open.push_back({operand.elements, operand.length, &place});
  } else if (operand.IsNone()) {
    place = Value(std::int32_t{1});
  } else {
    place = WithoutWords(kel::ToValue(operand, document, &engine), engine);
  }
}

}  // namespace

Value KelParse(Engine& engine, Value* arguments, std::uint32_t) {
  const SV::String& text = TextArgument("kel_parse", arguments, 0);
  const auto parsed = kel::Document::Parse(text, kel::Document::kTableBytes, &engine);
  engine.ChargeBytes(text.View().size());
  if (!parsed) {
    const base::Error& mistake = parsed.error();
    if (kel::Document::IsWantOfMemory(mistake)) throw std::bad_alloc();
    throw ScriptError("kel_parse: line " + std::to_string(mistake.line) + ", column " +
                      std::to_string(mistake.column) + ": " + mistake.message);
  }
  const std::shared_ptr<const kel::Document>& document = *parsed;
  Value result;
  std::vector<OpenBody> open{{document->Elements(), document->Count(), &result}};
  while (!open.empty()) {
    const OpenBody body = open.back();
    open.pop_back();
    *body.place = Value::List();
    auto& items = body.place->MutableList().items;
    items.resize(body.count);
    for (std::uint32_t i = 0; i < body.count; ++i) {
      const kel::Element& element = body.elements[i];
      engine.Did(1);
      items[i] = Value::Record();
      auto& fields = items[i].MutableRecord().fields;
      fields.reserve(3);  // so that places in them stay where they are
      fields.push_back({base::StringOf("name"), Value(base::StringOf(element.Name()))});
      if (!element.main.IsNone()) {
        fields.push_back({base::StringOf("value"), Value()});
        Place(element.main, fields.back().value, document, open, engine);
      }
      fields.push_back({base::StringOf("params"), Value::Record()});
      auto& params = fields.back().value.MutableRecord().fields;
      params.resize(element.attributeCount);
      for (std::uint32_t k = 0; k < element.attributeCount; ++k) {
        engine.Did(1);
        params[k].name = base::StringOf(element.attributes[k].Name());
        Place(element.attributes[k].operand, params[k].value, document, open, engine);
      }
    }
  }
  return result;
}

}  // namespace script
