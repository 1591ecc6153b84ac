#include "tavhost/notation/text_parser.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string_view>
#include <tl/expected.hpp>
#include <utility>

#include "tavhost/notation/scan.h"

namespace kel {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// Up to this many names are compared pair by pair when their marks meet.
constexpr std::size_t kFewNames = 16;

Operand TextOperand(TavKelValueType kind, Storage storage, const char* text, const char* end) {
  Operand operand;
  operand.kind = kind;
  operand.storage = storage;
  operand.length = static_cast<std::uint32_t>(end - text);
  operand.text = text;
  return operand;
}

// One bit of 64 for each name. Names with different bits differ for certain; only those that share
// a bit have to be compared.
std::uint64_t MarkOf(std::string_view name) {
  if (name.empty()) return 1;
  const auto first = static_cast<unsigned char>(name.front());
  const auto last = static_cast<unsigned char>(name.back());
  return std::uint64_t{1} << ((first + last * 5u + name.size() * 11u) & 63);
}

bool IsContinuationByte(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

}  // namespace

TextParser::TextParser(Document& document, base::WorkMeter* meter)
    : document_(document),
      meter_(meter),
      begin_(document.text_.GetStr()),
      end_(begin_ + document.text_.Len()),
      at_(begin_),
      frames_(&document.budget_),
      attributes_(&document.budget_),
      items_(&document.budget_),
      elements_(&document.budget_),
      nameSlots_(&document.budget_) {}

bool TextParser::HasByteOrderMark() const {
  return document_.text_.View().substr(0, kByteOrderMark.size()) == kByteOrderMark;
}

base::Result<void> TextParser::Run() {
  if (HasByteOrderMark()) at_ += kByteOrderMark.size();
  bool inside = false;
  while (true) {
    const bool inBody = frames_.Count() == 0 || frames_.Last().kind == Kind::kBody;
    switch (inBody ? ContinueBody(inside) : ContinueParentheses(inside)) {
      case Step::kOpened:
        inside = false;
        break;
      case Step::kClosed:
        inside = true;
        break;
      case Step::kEnd:
        return {};
      case Step::kFailed:
        return tl::unexpected<base::Error>(std::move(error_));
    }
  }
}

TextParser::Step TextParser::ContinueBody(bool inside) {
  const char* at = at_;
  while (true) {
    if (!inside) {
      Worked();
      at = SkipSeparators(at);
      const char* const nameEnd = ScanName(at, end_);
      if (nameEnd == at) return EndBody(at);
      if (!BeginElement(at, nameEnd)) return Step::kFailed;
      at = nameEnd;
    }
    inside = false;
    while (true) {
      at = SkipBlanks(at);
      if (IsNameStart(*at)) {
        Worked();
        const char* const nameEnd = ScanName(at, end_);
        Attribute& attribute = attributes_.Push();
        attribute.name = at;
        attribute.nameLength = static_cast<std::uint32_t>(nameEnd - at);
        at = nameEnd;
        if (*at == ':') {
          at = ReadValue(SkipBlanks(at + 1), attribute.operand, Target::kAttribute);
          if (!at) return step_;
        } else {
          attribute.operand = Operand();
        }
        continue;
      }
      if (*at == '\n' || *at == ';') {
        ++at;
        break;
      }
      if (*at == '}' || at == end_) break;
      at = ReadMain(at);
      if (!at) return step_;
    }
    if (!FinishElement()) return Step::kFailed;
  }
}

TextParser::Step TextParser::EndBody(const char* at) {
  const bool isNested = frames_.Count() > 0;
  if (at == end_ && !isNested) return Step::kEnd;
  if (!isNested || *at != '}') {
    FailExpected(at, isNested ? "an element or \"}\"" : "an element");
    return Step::kFailed;
  }
  at_ = at + 1;
  CloseBody();
  return Step::kClosed;
}

bool TextParser::BeginElement(const char* at, const char* nameEnd) {
  if (*nameEnd == ':') {
    Fail(nameEnd, "an element's name takes no \":\"; expected a value or an attribute");
    return false;
  }
  element_ = Element();
  element_.name = at;
  element_.nameLength = static_cast<std::uint32_t>(nameEnd - at);
  elementAttributes_ = attributes_.Count();
  return true;
}

// At something that is neither an attribute nor the element's end.
const char* TextParser::ReadMain(const char* at) {
  const bool isValue = *at == '"' || *at == '-' || *at == '(' || *at == '{' || IsDigit(*at);
  if (*at == ':') return Fail(at, "a \":\" must follow its name at once");
  if (!isValue) return FailExpected(at, "an attribute or the end of the element");
  if (!element_.main.IsNone()) {
    return Fail(at, "an element has one main value; expected an attribute, found " + Found(at));
  }
  if (attributes_.Count() != elementAttributes_) {
    return Fail(at, "a main value must stand before the attributes; expected an attribute, found " +
                        Found(at));
  }
  return ReadValue(at, element_.main, Target::kMain);
}

TextParser::Step TextParser::ContinueParentheses(bool inside) {
  const char* at = at_;
  while (true) {
    Worked();
    at = SkipSpace(at);
    const Kind kind = frames_.Last().kind;
    if (inside) {
      if (*at != ',' && *at != ')') {
        FailExpected(at, kind == Kind::kRecord ? "\",\" or \")\" in the record"
                                               : "\",\" or \")\" in the list");
        return Step::kFailed;
      }
      if (*at == ',') at = SkipSpace(at + 1);
    } else if (kind == Kind::kUndecided && *at == ':') {
      frames_.Last().kind = Kind::kRecord;
      frames_.Last().base = attributes_.Count();
      at = SkipSpace(at + 1);
      if (*at != ')') {
        FailExpected(at, "\")\" of the empty record");
        return Step::kFailed;
      }
    }
    if (*at == ')') {
      at_ = at + 1;
      return CloseParentheses() ? Step::kClosed : Step::kFailed;
    }
    const char* const start = at;
    Operand word;
    if (*at == '"') {
      at = ReadString(at, word);
      if (!at) return Step::kFailed;
    } else if (IsNameStart(*at)) {
      at = ScanName(at, end_);
      word = TextOperand(TavKelWord, Storage::kRaw, start, at);
    }
    const bool isKey = at != start && *at == ':';
    if (kind == Kind::kUndecided) {
      frames_.Last().kind = isKey ? Kind::kRecord : Kind::kList;
      frames_.Last().base = isKey ? attributes_.Count() : items_.Count();
    }
    if (frames_.Last().kind == Kind::kRecord) {
      at = ReadField(at, word, isKey);
    } else if (isKey) {
      at = Fail(start, "a list holds no keys; expected a value, found " + Found(start));
    } else {
      Operand& item = items_.Push();
      item = word;
      if (at == start) at = ReadValue(at, item, Target::kItem);
    }
    if (!at) return step_;
    inside = true;
  }
}

// Behind the key of a record's field.
const char* TextParser::ReadField(const char* at, const Operand& key, bool isKey) {
  if (key.IsNone()) return FailExpected(at, "a key or \")\"");
  if (!isKey) return FailExpected(at, "\":\" behind the key");
  Attribute& field = attributes_.Push();
  field = Attribute();
  field.name = key.text;
  field.nameLength = key.length;
  if (key.storage == Storage::kEscaped) {
    auto* const plain = static_cast<char*>(document_.arena_.Allocate(key.length));
    field.nameLength = static_cast<std::uint32_t>(Unescape({key.text, key.length}, plain));
    field.name = plain;
  }
  return ReadValue(SkipSpace(at + 1), field.operand, Target::kAttribute);
}

const char* TextParser::ReadValue(const char* at, Operand& slot, Target target) {
  if (*at == '"') return ReadString(at, slot);
  if (IsDigit(*at) || *at == '-') {
    const ScannedNumber number = ScanNumber(at, end_);
    if (number.error) return Fail(at, number.error);
    slot.storage = Storage::kInline;
    slot.kind = number.isReal ? TavKelReal : TavKelInteger;
    if (number.isReal) {
      slot.real = number.real;
    } else {
      slot.integer = number.integer;
    }
    return number.end;
  }
  if (IsNameStart(*at)) {
    const char* const wordEnd = ScanName(at, end_);
    slot = TextOperand(TavKelWord, Storage::kRaw, at, wordEnd);
    return wordEnd;
  }
  if (*at != '(' && *at != '{') return FailExpected(at, "a value");
  if (frames_.Count() == kMaxNesting) {
    return Fail(at, "nested deeper than " + std::to_string(kMaxNesting) + " levels");
  }
  slot = Operand();
  Open(at, *at == '(' ? Kind::kUndecided : Kind::kBody, target);
  return nullptr;
}

const char* TextParser::ReadString(const char* at, Operand& slot) {
  const char* const text = at + 1;
  const char* close = text;
  bool isEscaped = false;
  if (end_ - text >= static_cast<std::ptrdiff_t>(ByteBlock::kWidth)) {
    // Most strings end, without an escape, in the first block.
    const std::uint32_t found = ByteBlock(text).EitherOf('"', '\\');
    if (found != 0) close += std::countr_zero(found);
  }
  if (*close != '"' || close == end_) {
    const ScannedString string = ScanString(at, end_);
    if (string.error) return Fail(string.end, string.error);
    close = string.end - 1;
    isEscaped = string.isEscaped;
  }
  slot = TextOperand(TavKelString, isEscaped ? Storage::kEscaped : Storage::kRaw, text, close);
  return close + 1;
}

void TextParser::Open(const char* at, Kind kind, Target target) {
  frames_.Push() = {kind, target, elements_.Count(), element_, elementAttributes_};
  at_ = at + 1;
  step_ = Step::kOpened;
}

void TextParser::Deliver(const Operand& value, Target target) {
  switch (target) {
    case Target::kMain:
      element_.main = value;
      break;
    case Target::kAttribute:
      attributes_.Last().operand = value;
      break;
    case Target::kItem:
      items_.Last() = value;
      break;
  }
}

bool TextParser::FinishElement() {
  const std::size_t count = attributes_.Count() - elementAttributes_;
  if (count > 0) {
    if (count > 1 && !NamesDiffer(elementAttributes_, "attribute")) return false;
    element_.attributes = document_.arena_.Copy(attributes_.Data() + elementAttributes_, count);
    element_.attributeCount = static_cast<std::uint32_t>(count);
    attributes_.Cut(elementAttributes_);
  }
  if (frames_.Count() > 0) {
    elements_.Push() = element_;
    return true;
  }
  if (document_.elements_.Count() == document_.elements_.Capacity()) Foresee();
  document_.elements_.Push() = element_;
  return true;
}

// Makes room for all elements of the text at once, judging by what has been read of it: in a long
// text, growing step by step would copy them over and over and need the old and the new memory side
// by side each time.
void TextParser::Foresee() {
  constexpr std::size_t kTellsEnough = 1000;  // elements
  constexpr double kMostAtOnce = 8;           // times what there is: the rest may be different
  Table<Element>& elements = document_.elements_;
  if (elements.Count() < kTellsEnough) return;
  const auto whole = static_cast<double>(end_ - begin_);
  const auto read = static_cast<double>(element_.name - begin_);
  const double factor = std::min(whole / read * 1.05, kMostAtOnce);
  elements.Reserve(static_cast<std::size_t>(static_cast<double>(elements.Count()) * factor) + 16);
  const auto used = static_cast<double>(document_.arena_.Used());
  document_.arena_.Expect(static_cast<std::size_t>(used * (factor - 1)) + 4096);
}

void TextParser::CloseBody() {
  const Frame frame = frames_.Last();
  frames_.Cut(frames_.Count() - 1);
  Operand body;
  body.kind = TavKelBody;
  body.storage = Storage::kElements;
  body.length = static_cast<std::uint32_t>(elements_.Count() - frame.base);
  body.elements = document_.arena_.Copy(elements_.Data() + frame.base, body.length);
  elements_.Cut(frame.base);
  element_ = frame.outer;
  elementAttributes_ = frame.outerAttributes;
  Deliver(body, frame.target);
}

bool TextParser::CloseParentheses() {
  const Frame frame = frames_.Last();
  Operand value;
  if (frame.kind == Kind::kRecord) {
    if (!NamesDiffer(frame.base, "key")) return false;
    value.kind = TavKelRecord;
    value.storage = Storage::kFields;
    value.length = static_cast<std::uint32_t>(attributes_.Count() - frame.base);
    value.fields = document_.arena_.Copy(attributes_.Data() + frame.base, value.length);
    attributes_.Cut(frame.base);
  } else {
    value.kind = TavKelList;
    value.storage = Storage::kItems;
    value.items = nullptr;
    if (frame.kind == Kind::kList) {
      value.length = static_cast<std::uint32_t>(items_.Count() - frame.base);
      value.items = document_.arena_.Copy(items_.Data() + frame.base, value.length);
      items_.Cut(frame.base);
    }
  }
  frames_.Cut(frames_.Count() - 1);
  element_ = frame.outer;
  elementAttributes_ = frame.outerAttributes;
  Deliver(value, frame.target);
  return true;
}

bool TextParser::NamesDiffer(std::size_t base, const char* what) {
  const Attribute* const repeated = FindRepeated(base);
  if (!repeated) return true;
  // A key that had escapes does not lie in the text; the record's end then has to do.
  const bool liesInText = repeated->name >= begin_ && repeated->name < end_;
  Fail(liesInText ? repeated->name : at_ - 1,
       std::string(what) + " \"" + std::string(repeated->Name()) + "\" stands twice");
  return false;
}

const Attribute* TextParser::FindRepeated(std::size_t base) {
  const Attribute* const first = attributes_.Data() + base;
  const std::size_t count = attributes_.Count() - base;
  if (count > kFewNames) return FindRepeatedOfMany(first, count);
  std::uint64_t marks = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const std::string_view name = first[i].Name();
    const std::uint64_t mark = MarkOf(name);
    const bool isNew = (marks & mark) == 0;
    marks |= mark;
    for (std::size_t j = 0; j < i && !isNew; ++j) {
      if (first[j].Name() == name) return &first[i];
    }
  }
  return nullptr;
}

const Attribute* TextParser::FindRepeatedOfMany(const Attribute* first, std::size_t count) {
  // Open addressing, at most half full; a slot holds a name's number, counted from 1.
  std::size_t slots = 64;
  while (slots < count * 2) slots *= 2;
  nameSlots_.Reserve(slots);
  std::uint32_t* const table = nameSlots_.Data();
  std::fill_n(table, slots, 0u);
  for (std::size_t i = 0; i < count; ++i) {
    Worked();
    const std::string_view name = first[i].Name();
    std::size_t slot = std::hash<std::string_view>()(name) & (slots - 1);
    for (; table[slot] != 0; slot = (slot + 1) & (slots - 1)) {
      if (first[table[slot] - 1].Name() == name) return &first[i];
    }
    table[slot] = static_cast<std::uint32_t>(i + 1);
  }
  return nullptr;
}

// Behind the line feed when nothing but blanks stands before it, else null. The text's end counts
// as a line feed.
const char* TextParser::AfterLineBreak(const char* at) const {
  while (IsBlank(*at) || *at == '\r') ++at;
  if (at == end_) return at;
  return *at == '\n' ? at + 1 : nullptr;
}

// Beyond blanks: comments, ends of lines that go on, carriage returns before line feeds.
const char* TextParser::SkipMoreBlanks(const char* at) const {
  while (true) {
    while (IsBlank(*at)) ++at;
    if (*at == '#') {
      const void* const lineEnd = std::memchr(at, '\n', static_cast<std::size_t>(end_ - at));
      return lineEnd ? static_cast<const char*>(lineEnd) : end_;
    }
    if (*at == '\r' && at[1] == '\n') return at + 1;
    const char* const next = *at == '\\' ? AfterLineBreak(at + 1) : nullptr;
    if (!next) return at;
    at = next;
  }
}

const char* TextParser::SkipSpace(const char* at) const {
  for (at = SkipBlanks(at); *at == '\n';) at = SkipBlanks(at + 1);
  return at;
}

const char* TextParser::SkipSeparators(const char* at) const {
  for (at = SkipBlanks(at); *at == '\n' || *at == ';';) at = SkipBlanks(at + 1);
  return at;
}

std::string TextParser::Found(const char* at) const {
  if (at == end_) return "the end of the text";
  const auto byte = static_cast<unsigned char>(*at);
  if (byte == '\n') return "the end of the line";
  if (byte == '"') return "a string";
  if (IsDigit(*at)) return "a number";
  if (byte < 0x20 || byte == 0x7F) {
    char text[16];
    std::snprintf(text, sizeof text, "byte 0x%02x", byte);
    return text;
  }
  const char* wordEnd = ScanName(at, end_);
  if (wordEnd == at) {
    for (++wordEnd; IsContinuationByte(*wordEnd);) ++wordEnd;
  }
  constexpr std::ptrdiff_t kLongestQuoted = 60;
  return "\"" + std::string(at, static_cast<std::size_t>(std::min(wordEnd - at, kLongestQuoted))) +
         "\"";
}

const char* TextParser::FailExpected(const char* at, const char* expected) {
  return Fail(at, std::string("expected ") + expected + ", found " + Found(at));
}

const char* TextParser::Fail(const char* at, std::string message) {
  const char* line = begin_ + (HasByteOrderMark() ? kByteOrderMark.size() : 0);
  error_.line = 1;
  for (const char* byte = line; byte < at; ++byte) {
    if (*byte != '\n') continue;
    ++error_.line;
    line = byte + 1;
  }
  error_.column = 1;
  for (; line < at; ++line) error_.column += !IsContinuationByte(*line);
  error_.message = std::move(message);
  step_ = Step::kFailed;
  return nullptr;
}

}  // namespace kel
