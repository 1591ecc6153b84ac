#include "tavhost/notation/kel_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <vector>

#include "tavhost/base/literal.h"
#include "tavhost/notation/document.h"
#include "tavhost/notation/scan.h"

namespace kel {

namespace {

void Put(SV::String& out, std::string_view text) {
  out.Append(text.data(), static_cast<long>(text.size()));
}

void PutInteger(SV::String& out, std::int32_t integer) {
  char digits[16];
  const auto end = std::to_chars(digits, digits + sizeof digits, integer).ptr;
  out.Append(digits, static_cast<long>(end - digits));
}

void PutReal(SV::String& out, double real) {
  char room[kLongestReal];
  out.Append(room, static_cast<long>(WriteReal(real, room) - room));
}

// Reals of few decimals, as people write them. Below 10^15 the decimals of one length lie further
// apart than doubles do: the first length that reads back to `real` is the shortest. Null when
// there is none.
char* WriteShortDecimal(double real, char* room) {
  constexpr double kDigitsAreExact = 1e15;
  constexpr double kPowers[] = {10, 100, 1000, 10000};
  const double magnitude = std::fabs(real);
  if (magnitude >= kDigitsAreExact) return nullptr;
  for (int decimals = 1; decimals <= 4; ++decimals) {
    const double power = kPowers[decimals - 1];
    const double scaled = magnitude * power + 0.5;
    if (scaled >= kDigitsAreExact) return nullptr;
    const auto whole = static_cast<std::int64_t>(scaled);
    if (static_cast<double>(whole) / power != magnitude) continue;
    const auto divisor = static_cast<std::int64_t>(power);
    if (std::signbit(real)) *room++ = '-';
    room = std::to_chars(room, room + 20, whole / divisor).ptr;
    *room++ = '.';
    std::int64_t rest = whole % divisor;
    for (int i = decimals - 1; i >= 0; --i, rest /= 10)
      room[i] = static_cast<char>('0' + rest % 10);
    return room + decimals;
  }
  return nullptr;
}

// Writes values and operands; what is still to be written of open containers lies on a stack.
class Writer {
 public:
  explicit Writer(SV::String& out, base::WorkMeter* meter = nullptr) : out_(out), meter_(meter) {}

  // kRaw: a text's bytes as they are, the inside of a list or record; kQuoted: likewise, but a text
  // as its literal; kKel: as KEL that reads back, lists and records in their parentheses. What lies
  // inside a list, record or body is written as KEL in any case.
  enum class Form { kRaw, kQuoted, kKel };

  void Write(const Value& value, Form form) {
    Begin(value, form);
    Finish();
  }
  void Write(const Operand& operand, Form form) {
    Begin(operand, form);
    Finish();
  }
  void Write(const Element& element) {
    BeginElement(element);
    Finish();
  }

 private:
  enum class What : std::uint8_t { kValues, kFieldValues, kItems, kFields, kElements, kAttributes };

  // Items of one container, of which those from `next` on are still to be written.
  struct Rest {
    What what;
    const void* first;
    std::uint32_t count;
    std::string_view close;
    std::uint32_t next = 0;
  };

  void Finish() {
    while (!rests_.empty()) {
      Rest& rest = rests_.back();
      if (rest.next == rest.count) {
        Put(out_, rest.close);
        rests_.pop_back();
        continue;
      }
      WriteNext(rest.what, rest.first, rest.next++);
      if (meter_) meter_->Did(1);
    }
  }

  // Opening what is nested adds to the stack, which may move it; that is why everything needed of
  // the entry is passed by value.
  void WriteNext(What what, const void* first, std::uint32_t index) {
    if (what == What::kAttributes) {
      Put(out_, " ");
    } else if (index > 0) {
      Put(out_, what == What::kElements ? "; " : ", ");
    }
    switch (what) {
      case What::kValues:
        Begin(static_cast<const Value*>(first)[index], Form::kKel);
        break;
      case What::kFieldValues: {
        const Field& field = static_cast<const Field*>(first)[index];
        Key(field.name.View());
        Begin(field.value, Form::kKel);
        break;
      }
      case What::kItems:
        Begin(static_cast<const Operand*>(first)[index], Form::kKel);
        break;
      case What::kFields: {
        const Attribute& field = static_cast<const Attribute*>(first)[index];
        Key(field.Name());
        Begin(field.operand, Form::kKel);
        break;
      }
      case What::kElements:
        BeginElement(static_cast<const Element*>(first)[index]);
        break;
      case What::kAttributes: {
        const Attribute& attribute = static_cast<const Attribute*>(first)[index];
        Put(out_, attribute.Name());
        if (attribute.operand.IsNone()) break;
        Put(out_, ":");
        Begin(attribute.operand, Form::kKel);
        break;
      }
    }
  }

  void Key(std::string_view name) {
    if (IsName(name)) {
      Put(out_, name);
    } else {
      base::AppendLiteral(out_, name);
    }
    Put(out_, ": ");
  }

  // The attributes go onto the stack first, so that a main value that is a body, written before
  // them, lies above them there.
  void BeginElement(const Element& element) {
    Put(out_, element.Name());
    rests_.push_back({What::kAttributes, element.attributes, element.attributeCount, {}});
    if (element.main.IsNone()) return;
    Put(out_, " ");
    Begin(element.main, Form::kKel);
  }

  void Open(What what, const void* first, std::uint32_t count, Form form) {
    const bool braces = what == What::kElements;
    const bool parentheses = !braces && form == Form::kKel;
    const bool isRecord = what == What::kFieldValues || what == What::kFields;
    Put(out_, braces ? "{" : parentheses ? "(" : "");
    if (parentheses && isRecord && count == 0) Put(out_, ":");
    rests_.push_back({what, first, count, braces ? "}" : parentheses ? ")" : ""});
  }

  void PutText(std::string_view text, std::uint8_t kind, Form form) {
    const bool bare = form == Form::kRaw || (kind == TavKelWord && IsName(text));
    if (bare) {
      Put(out_, text);
    } else if (!meter_) {
      base::AppendLiteral(out_, text);
    } else {
      Put(out_, "\"");
      for (; !text.empty(); text.remove_prefix(std::min(text.size(), meter_->kPiece))) {
        const std::string_view piece = text.substr(0, meter_->kPiece);
        base::AppendEscaped(out_, piece);
        meter_->DidBytes(piece.size());
      }
      Put(out_, "\"");
    }
  }

  void Begin(const Value& value, Form form) {
    switch (value.Kind()) {
      case TavKelString:
      case TavKelWord:
        PutText(value.Text().View(), value.Kind(), form);
        break;
      case TavKelInteger:
        PutInteger(out_, value.Integer());
        break;
      case TavKelReal:
        PutReal(out_, value.Real());
        break;
      case TavKelList: {
        const auto& items = value.AsList().items;
        Open(What::kValues, items.data(), static_cast<std::uint32_t>(items.size()), form);
        break;
      }
      case TavKelRecord: {
        const auto& fields = value.AsRecord().fields;
        Open(What::kFieldValues, fields.data(), static_cast<std::uint32_t>(fields.size()), form);
        break;
      }
      case TavKelBody:
        Open(What::kElements, value.AsBody().elements, value.AsBody().count, form);
        break;
      default:
        break;
    }
  }

  void Begin(const Operand& operand, Form form) {
    switch (operand.storage) {
      case Storage::kInline:
        if (operand.kind == TavKelInteger) PutInteger(out_, operand.integer);
        if (operand.kind == TavKelReal) PutReal(out_, operand.real);
        break;
      case Storage::kRaw:
        PutText({operand.text, operand.length}, operand.kind, form);
        break;
      case Storage::kEscaped:
        PutText(Unescape({operand.text, operand.length}).View(), operand.kind, form);
        break;
      case Storage::kValue:
        Begin(*operand.value, form);
        break;
      case Storage::kItems:
        Open(What::kItems, operand.items, operand.length, form);
        break;
      case Storage::kFields:
        Open(What::kFields, operand.fields, operand.length, form);
        break;
      case Storage::kElements:
        Open(What::kElements, operand.elements, operand.length, form);
        break;
    }
  }

  SV::String& out_;
  base::WorkMeter* meter_;  // not owned; null: nobody asks
  std::vector<Rest> rests_;
};

}  // namespace

SV::String Literal(std::string_view text) {
  std::size_t length = text.size() + 2;
  for (const char byte : text) {
    char room[4];
    if (base::NeedsEscape(byte)) length += base::EscapeOf(byte, room).size() - 1;
  }
  SV::String literal;
  char* out = literal.AllocBuffer(static_cast<long>(length));
  *out++ = '"';
  for (const char byte : text) {
    if (!base::NeedsEscape(byte)) {
      *out++ = byte;
      continue;
    }
    char room[4];
    const std::string_view escape = base::EscapeOf(byte, room);
    out += escape.copy(out, escape.size());
  }
  *out = '"';
  return literal;
}

char* WriteReal(double real, char* room) noexcept {
  if (!std::isfinite(real)) {
    const std::string_view name = std::isnan(real) ? "nan" : real < 0 ? "-inf" : "inf";
    return room + name.copy(room, name.size());
  }
  if (char* const end = WriteShortDecimal(real, room)) return end;
  constexpr double kFixedFrom = 1e-5;
  constexpr double kFixedBelow = 1e16;
  const double magnitude = std::fabs(real);
  const bool fixed = magnitude >= kFixedFrom && magnitude < kFixedBelow;
  char* end = std::to_chars(room, room + kLongestReal, real,
                            fixed ? std::chars_format::fixed : std::chars_format::scientific)
                  .ptr;
  if (fixed && !std::memchr(room, '.', static_cast<std::size_t>(end - room))) {
    *end++ = '.';
    *end++ = '0';
  }
  return end;
}

void AppendText(SV::String& out, const Value& value, bool quoted, base::WorkMeter* meter) {
  Writer(out, meter).Write(value, quoted ? Writer::Form::kQuoted : Writer::Form::kRaw);
}

void AppendKel(SV::String& out, const Value& value, base::WorkMeter* meter) {
  Writer(out, meter).Write(value, Writer::Form::kKel);
}

void AppendText(SV::String& out, const Operand& operand) {
  Writer(out).Write(operand, Writer::Form::kRaw);
}

void AppendKel(SV::String& out, const Element& element) { Writer(out).Write(element); }

}  // namespace kel
