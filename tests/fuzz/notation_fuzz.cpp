// Any bytes as KEL: what parses is written again, read back, read by a parser and made XML.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <tl/expected.hpp>

#include "host/notation/kel_converter.h"
#include "tavhost/notation/document.h"
#include "tavhost/notation/kel_text.h"

namespace {

void Require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "%s\n", what);
  std::abort();
}

SV::String Written(const kel::Document& document) {
  SV::String text;
  for (std::uint32_t i = 0; i < document.Count(); ++i) {
    kel::AppendKel(text, document.Elements()[i]);
    text += '\n';
  }
  return text;
}

// The parser stands over these elements, or over others that were parsed from the same text.
void ReadAll(TavKelParser& parser, const kel::Element* elements, std::uint32_t count, int depth) {
  for (std::uint32_t index = 0; index < count; ++index) {
    Require(parser.SetCurElemIndex(index), "an element is not found");
    const kel::Element& element = elements[index];
    parser.GetStrValue();
    parser.GetIntValue();
    for (std::uint32_t i = 0; i < element.attributeCount; ++i) {
      const auto view = element.attributes[i].Name();
      const SV::String name(view.data(), static_cast<long>(view.size()));
      Require(parser.IsContained(name), "an attribute is not found");
      parser.GetStrValue(name);
      parser.GetIntValue(name);
      parser.GetBoolValue(name, false);
      parser.GetModifier(name);
      TavKelParser* const body = parser.GetBodyParser(name);
      const kel::Operand& operand = element.attributes[i].operand;
      Require((body != nullptr) == (operand.kind == TavKelBody), "a body is not found");
      if (body && depth > 0) ReadAll(*body, operand.elements, operand.length, depth - 1);
    }
  }
  Require(!parser.SetCurElemIndex(count), "there are more elements than were parsed");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const SV::String text(reinterpret_cast<const char*>(data), static_cast<long>(size));
  TavKelConverter converter(text);
  if (converter.Parse() != 0) {
    const auto document = kel::Document::Parse(text);
    Require(!document, "parses only sometimes");
    const base::Error& error = document.error();
    Require(error.line > 0 && error.column > 0 && !error.message.empty(), "an error without words");
    return 0;
  }
  converter.ToXML(true, SV::String(text.Copy(0, 8)));

  const auto document = kel::Document::Parse(text).value_or(nullptr);
  Require(document != nullptr, "parses only sometimes");
  ReadAll(converter, document->Elements(), document->Count(), 20);

  const SV::String once = Written(*document);
  const auto again = kel::Document::Parse(once).value_or(nullptr);
  Require(again != nullptr, "what was written does not parse");
  Require(Written(*again) == once, "what was written reads back to something else");
  for (std::uint32_t i = 0; i < again->Count(); ++i) {
    const kel::Element& element = again->Elements()[i];
    for (std::uint32_t j = 0; j < element.attributeCount; ++j) {
      const kel::Operand& operand = element.attributes[j].operand;
      SV::String direct;
      SV::String copied;
      kel::AppendText(direct, operand);
      kel::AppendText(copied, kel::ToValue(operand, again), false);
      Require(direct == copied, "a value differs from its operand");
    }
  }
  return 0;
}
