#include "host/notation/kel_parser.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>
#include <tl/expected.hpp>
#include <utility>

#include "tavhost/base/long_work.h"
#include "tavhost/base/string_of.h"
#include "tavhost/base/trace.h"
#include "tavhost/base/work_meter.h"
#include "tavhost/notation/document.h"
#include "tavhost/notation/element.h"
#include "tavhost/notation/kel_text.h"
#include "tavhost/notation/parser_access.h"

using kel::Attribute;
using kel::Element;
using kel::Operand;
using kel::ParserAccess;

namespace {

const Operand kAbsent;  // what a parameter that is not there reads as

const Operand& OperandOf(const TavKelParser& parser, const SV::String& name) {
  const Attribute* const attribute = ParserAccess::Find(parser, name.View());
  return attribute ? attribute->operand : kAbsent;
}

SV::String StringOf(const Operand& operand) {
  if (operand.kind == TavKelString || operand.kind == TavKelWord) return kel::TextOf(operand);
  SV::String text;
  kel::AppendText(text, operand);
  return text;
}

std::int32_t IntegerOf(const Operand& operand) {
  return operand.storage == kel::Storage::kValue ? operand.value->Integer() : operand.integer;
}

double RealOf(const Operand& operand) {
  return operand.storage == kel::Storage::kValue ? operand.value->Real() : operand.real;
}

// Cut towards zero; what lies outside becomes the nearest end of the range.
std::int32_t Truncated(double real) {
  constexpr double kMin = std::numeric_limits<std::int32_t>::min();
  constexpr double kMax = std::numeric_limits<std::int32_t>::max();
  if (std::isnan(real)) return 0;
  return static_cast<std::int32_t>(std::clamp(real, kMin, kMax));
}

long LongOf(const Operand& operand) {
  if (operand.kind == TavKelInteger) return IntegerOf(operand);
  return operand.kind == TavKelReal ? Truncated(RealOf(operand)) : 0;
}

// Names are a few bytes long: a call would take longer.
inline bool IsSame(const char* bytes, std::string_view name) {
  for (std::size_t i = 0; i < name.size(); ++i) {
    if (bytes[i] != name[i]) return false;
  }
  return true;
}

// 1 or 0 for what names a truth value, -1 for all else.
int TruthOf(std::string_view text) {
  for (const std::string_view word : {"true", "yes", "on", "1"}) {
    if (text == word) return 1;
  }
  for (const std::string_view word : {"false", "no", "off", "0"}) {
    if (text == word) return 0;
  }
  return -1;
}

}  // namespace

const Element* ParserAccess::Current(const TavKelParser& parser) {
  return parser.current_ < parser.count_ ? parser.elements_ + parser.current_ : nullptr;
}

std::string_view ParserAccess::ElementName(const TavKelParser& parser) {
  const Element* const element = Current(parser);
  return element ? element->Name() : std::string_view();
}

const Attribute* ParserAccess::Find(const TavKelParser& parser, std::string_view name) {
  const Element* const element = Current(parser);
  if (!element) return nullptr;
  const Attribute* const end = element->attributes + element->attributeCount;
  for (const Attribute* attribute = element->attributes; attribute != end; ++attribute) {
    if (attribute->nameLength == name.size() && IsSame(attribute->name, name)) return attribute;
  }
  return nullptr;
}

const Operand& ParserAccess::Main(const TavKelParser& parser) {
  const Element* const element = Current(parser);
  return element ? element->main : kAbsent;
}

TavKelParser::TavKelParser(const SV::String& text) : text_(text) {}

TavKelParser::TavKelParser(const Element* elements, unsigned count)
    : elements_(elements), count_(count) {}

TavKelParser::~TavKelParser() {
  // The chain is taken apart here, so that bodies in bodies cost no stack.
  TavKelParser* rest = bodies_;
  while (rest) {
    TavKelParser* const body = rest;
    rest = body->nextBody_;
    if (body->bodies_) {
      TavKelParser* last = body->bodies_;
      while (last->nextBody_) last = last->nextBody_;
      last->nextBody_ = rest;
      rest = body->bodies_;
      body->bodies_ = nullptr;
    }
    delete body;
  }
}

bool TavKelParser::IsContained(const SV::String& name) const {
  return ParserAccess::Find(*this, name.View()) != nullptr;
}

SV::String TavKelParser::GetStrValue(const SV::String& name) {
  return StringOf(OperandOf(*this, name));
}

SV::String TavKelParser::GetStrValue() { return StringOf(ParserAccess::Main(*this)); }

long TavKelParser::GetIntValue(const SV::String& name) { return LongOf(OperandOf(*this, name)); }

long TavKelParser::GetIntValue() { return LongOf(ParserAccess::Main(*this)); }

bool TavKelParser::TryGetStrValue(const SV::String& name, SV::String& out) {
  const Operand& operand = OperandOf(*this, name);
  if (operand.kind != TavKelString) return false;
  out = kel::TextOf(operand);
  return true;
}

bool TavKelParser::TryGetIntValue(const SV::String& name, long& out) {
  const Operand& operand = OperandOf(*this, name);
  if (operand.kind != TavKelInteger) return false;
  out = IntegerOf(operand);
  return true;
}

bool TavKelParser::TryGetRealValue(const SV::String& name, double& out) {
  const Operand& operand = OperandOf(*this, name);
  if (operand.kind != TavKelReal && operand.kind != TavKelInteger) return false;
  out = operand.kind == TavKelReal ? RealOf(operand) : IntegerOf(operand);
  return true;
}

bool TavKelParser::GetBoolValue(const SV::String& name, bool dflt) {
  const Attribute* const attribute = ParserAccess::Find(*this, name.View());
  if (!attribute) return dflt;
  const Operand& operand = attribute->operand;
  int truth = -1;
  if (operand.IsNone()) {
    truth = 1;
  } else if (operand.kind == TavKelInteger) {
    const std::int32_t integer = IntegerOf(operand);
    truth = integer == 1 ? 1 : integer == 0 ? 0 : -1;
  } else if (operand.kind == TavKelString || operand.kind == TavKelWord) {
    truth = TruthOf(kel::TextOf(operand).View());
  }
  return truth < 0 ? dflt : truth == 1;
}

SV::String TavKelParser::GetModifier(const SV::String& name) {
  const Operand& operand = OperandOf(*this, name);
  const bool isText = operand.kind == TavKelString || operand.kind == TavKelWord;
  return isText ? kel::TextOf(operand) : SV::String();
}

TavKelParser* TavKelParser::GetBodyParser(const SV::String& name) {
  const Operand& operand = OperandOf(*this, name);
  if (operand.kind != TavKelBody) return nullptr;
  const bool isValue = operand.storage == kel::Storage::kValue;
  const Element* const elements = isValue ? operand.value->AsBody().elements : operand.elements;
  const unsigned count = isValue ? operand.value->AsBody().count : operand.length;
  for (TavKelParser* body = bodies_; body; body = body->nextBody_) {
    if (body->elements_ != elements || body->count_ != count) continue;
    body->current_ = 0;
    return body;
  }
  auto* const body = new TavKelParser(elements, count);
  body->document_ = document_;
  body->nextBody_ = bodies_;
  bodies_ = body;
  return body;
}

bool TavKelParser::SetCurElemIndex(unsigned long index) {
  if (index >= count_) return false;
  current_ = static_cast<unsigned>(index);
  return true;
}

SV::String TavKelParser::GetCurElemName() {
  const std::string_view name = ParserAccess::ElementName(*this);
  return base::StringOf(name);
}

namespace {

// Parsing for a command: a stop ends that of a long text, and windows paint meanwhile.
class Reading final : public base::WorkMeter {
 public:
  Reading() { budget_ = kUnits; }

 private:
  static constexpr std::int64_t kUnits =
      50'000;  // between two looks; a text of a few lines has less

  void Poll() override {
    budget_ = kUnits;
    work_.At(0);
  }

  base::LongWork work_{"Reading"};
};

}  // namespace

long TavKelParser::Parse() {
  trace::Call call(this, "Parse");
  Reading reading;
  const base::Result<void> parsed = kel::ParserAccess::Parse(*this, &reading);
  if (!parsed && kel::Document::IsWantOfMemory(parsed.error())) throw std::bad_alloc();
  return call.Result(parsed ? 0L : 1L);
}

SV::String TavKelParser::GetKelTextOfStrValue(const char* text) {
  return kel::Literal(text ? text : "");
}

SV::String TavKelParser::GetKelTextOfStrValue(const SV::String& text) {
  return kel::Literal(text.View());
}

base::Result<void> kel::ParserAccess::Parse(TavKelParser& parser, base::WorkMeter* meter) {
  parser.elements_ = nullptr;
  parser.count_ = parser.current_ = 0;
  base::Result<std::shared_ptr<const Document>> document =
      Document::Parse(parser.text_, Document::kTableBytes, meter);
  parser.document_ = document ? std::move(*document) : nullptr;
  if (!document) return tl::unexpected<base::Error>(std::move(document.error()));
  parser.elements_ = parser.document_->Elements();
  parser.count_ = parser.document_->Count();
  return {};
}
