#include "tavhost/notation/xml_writer.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstring>
#include <stdexcept>

#include "tavhost/notation/byte_block.h"
#include "tavhost/notation/kel_text.h"
#include "tavhost/notation/scan.h"
#include "tavhost/notation/utf8_character.h"
#include "tavhost/notation/xml_name.h"

namespace kel {

namespace {

constexpr std::string_view kMainName = "value";  // of the attribute or child of a main value
constexpr std::string_view kMainAttribute = " value=\"";
constexpr std::string_view kItemName = "item";
constexpr std::string_view kDefaultRoot = "kel";
constexpr std::string_view kHeader = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

// The longest form of one character: `&quot;`.
constexpr std::size_t kLongestCharacter = 6;

bool IsPlain(const Operand& operand) {
  return operand.kind != TavKelList && operand.kind != TavKelRecord && operand.kind != TavKelBody;
}

// Whether a parameter has to be a child, because of what it is or because the main value has its
// name.
bool IsChild(const Element& element, const Attribute& attribute) {
  return !IsPlain(attribute.operand) ||
         (!element.main.IsNone() && attribute.nameLength == kMainName.size() &&
          std::memcmp(attribute.name, kMainName.data(), kMainName.size()) == 0);
}

}  // namespace

XmlWriter::XmlWriter(const Document& document)
    : document_(document), textEnd_(document.Text().GetStr() + document.Text().Len()) {}

SV::String XmlWriter::Write(bool withHeader, std::string_view rootTag) {
  Room(static_cast<std::size_t>(document_.Text().Len()) * 5 / 4 + 128);
  if (withHeader) Put(kHeader);
  std::string root;
  if (!rootTag.empty()) {
    root = XmlName(rootTag);
  } else if (document_.Count() != 1) {
    root = kDefaultRoot;
  }
  if (root.empty()) {
    BeginElement(document_.Elements()[0]);
  } else {
    BeginSequence(What::kElements, document_.Elements(), document_.Count(), root);
  }
  Finish();
  const auto length = static_cast<long>(at_ - out_.GetStr());
  out_.Erase(length, out_.Len() - length);
  at_ = limit_ = nullptr;
  return std::move(out_);
}

void XmlWriter::Finish() {
  while (open_.Count() > 0) {
    LookIfDue();
    Open& open = open_.Last();
    if (open.next == open.count) {
      if (open.tag) Tag({open.tag, open.tagLength}, "</", ">");
      open_.Cut(open_.Count() - 1);
      continue;
    }
    const std::uint32_t index = open.next++;
    const void* const first = open.first;
    switch (open.what) {
      case What::kElements:
        BeginElement(static_cast<const Element*>(first)[index]);
        break;
      case What::kChildren:
        WriteChild(*static_cast<const Element*>(first), index);
        break;
      case What::kItems:
        BeginValue(kItemName, static_cast<const Operand*>(first)[index], {});
        break;
      case What::kFields:
        WriteField(static_cast<const Attribute*>(first)[index]);
        break;
    }
  }
}

void XmlWriter::BeginElement(const Element& element) {
  Room(element.nameLength + ByteBlock::kWidth + 1);
  *at_++ = '<';
  PutNameOfText(element.Name());
  bool hasChildren = false;
  if (!element.main.IsNone()) {
    if (IsPlain(element.main)) {
      Put(kMainAttribute);
      PutValueAndQuote({}, element.main);
    } else {
      hasChildren = true;
    }
  }
  for (std::uint32_t i = 0; i < element.attributeCount; ++i) {
    LookIfDue();
    const Attribute& attribute = element.attributes[i];
    if (IsChild(element, attribute)) {
      hasChildren = true;
    } else {
      PutAttribute(attribute.Name(), attribute.operand);
    }
  }
  if (!hasChildren) {
    Room(2);
    std::memcpy(at_, "/>", 2);
    at_ += 2;
    return;
  }
  Put(">");
  // Child 0 is the main value, the attributes follow; those that are none are passed over.
  open_.Push() = {What::kChildren, &element,          element.attributeCount + 1, 0,
                  element.name,    element.nameLength};
}

void XmlWriter::WriteChild(const Element& element, std::uint32_t index) {
  if (index == 0) {
    if (!IsPlain(element.main)) BeginValue(kMainName, element.main, {});
    return;
  }
  const Attribute& attribute = element.attributes[index - 1];
  if (!IsChild(element, attribute)) return;
  BeginValue(attribute.Name(), attribute.operand, attribute.Name());
}

void XmlWriter::WriteField(const Attribute& field) {
  const std::string_view name = field.Name();
  if (IsName(name)) {
    BeginValue(name, field.operand, {});
    return;
  }
  // A key that is no XML name: its substitute has to live until its end tag is written.
  names_.push_front(XmlName(name));
  BeginValue(names_.front(), field.operand, {});
}

void XmlWriter::BeginValue(std::string_view tag, const Operand& value,
                           std::string_view modifierText) {
  switch (value.kind) {
    case TavKelList:
      BeginSequence(What::kItems, value.items, value.length, tag);
      break;
    case TavKelRecord:
      BeginSequence(What::kFields, value.fields, value.length, tag);
      break;
    case TavKelBody:
      BeginSequence(What::kElements, value.elements, value.length, tag);
      break;
    default:
      Tag(tag, "<", ">");
      Plain(value, modifierText, false);
      Tag(tag, "</", ">");
      break;
  }
}

void XmlWriter::BeginSequence(What what, const void* first, std::uint32_t count,
                              std::string_view tag) {
  if (count == 0) {
    Tag(tag, "<", "/>");
    return;
  }
  Tag(tag, "<", ">");
  open_.Push() = {what, first, count, 0, tag.data(), static_cast<std::uint32_t>(tag.size())};
}

void XmlWriter::PutAttribute(std::string_view name, const Operand& value) {
  Room(name.size() + ByteBlock::kWidth + 3);
  *at_++ = ' ';
  PutNameOfText(name);
  *at_++ = '=';
  *at_++ = '"';
  PutValueAndQuote(name, value);
}

void XmlWriter::PutValueAndQuote(std::string_view modifierText, const Operand& value) {
  Plain(value, modifierText, true);
  Room(1);
  *at_++ = '"';
}

// Writes a name that stands in the document's text. The caller has made room for it and a block
// more, since a whole block is copied where the text has one: its surplus bytes are overwritten by
// what follows.
void XmlWriter::PutNameOfText(std::string_view name) {
  if (name.size() <= ByteBlock::kWidth &&
      textEnd_ - name.data() >= static_cast<std::ptrdiff_t>(ByteBlock::kWidth)) {
    std::memcpy(at_, name.data(), ByteBlock::kWidth);  // of fixed size: no call
  } else {
    std::memcpy(at_, name.data(), name.size());
  }
  at_ += name.size();
}

void XmlWriter::Plain(const Operand& value, std::string_view modifierText, bool inAttribute) {
  switch (value.kind) {
    case Value::kNone:
      Room(modifierText.size() + ByteBlock::kWidth);
      PutNameOfText(modifierText);
      break;
    case TavKelInteger:
      Room(16);
      at_ = std::to_chars(at_, at_ + 16, value.integer).ptr;
      break;
    case TavKelReal:
      Room(kLongestReal);
      at_ = WriteReal(value.real, at_);
      break;
    default:
      // The unescaped text is a string of its own; reading may go up to its end instead.
      if (value.storage == Storage::kEscaped) {
        const SV::String plain = TextOf(value);
        const char* const documentEnd = textEnd_;
        textEnd_ = plain.GetStr() + plain.Len();
        Escaped(plain.View(), inAttribute);
        textEnd_ = documentEnd;
      } else {
        Escaped({value.text, value.length}, inAttribute);
      }
      break;
  }
}

// Copies a whole block at a time and keeps of it what stands before the first special character.
void XmlWriter::Escaped(std::string_view text, bool inAttribute) {
  const char* at = text.data();
  const char* const end = at + text.size();
  while (at != end) {
    LookIfDue();
    Room(ByteBlock::kWidth + kLongestCharacter);
    if (textEnd_ - at < static_cast<std::ptrdiff_t>(ByteBlock::kWidth)) {
      at = Special(at, end, inAttribute);
      continue;
    }
    const auto left = static_cast<std::size_t>(end - at);
    const auto inBlock = std::min<std::size_t>(left, ByteBlock::kWidth);
    const auto clean = std::min<std::size_t>(
        static_cast<std::size_t>(std::countr_zero(ByteBlock(at).XmlSpecial())), inBlock);
    std::memcpy(at_, at, ByteBlock::kWidth);
    at_ += clean;
    at += clean;
    if (clean < inBlock) at = Special(at, end, inAttribute);
  }
}

// Writes one character, for which the caller has made room; returns the place behind it.
const char* XmlWriter::Special(const char* at, const char* end, bool inAttribute) {
  const Utf8Character character = CharacterAt(at, end);
  switch (character.code) {
    case '&':
      PutUnchecked("&amp;");
      break;
    case '<':
      PutUnchecked("&lt;");
      break;
    case '>':
      PutUnchecked("&gt;");
      break;
    case '"':
      PutUnchecked(inAttribute ? "&quot;" : "\"");
      break;
    case '\t':
      PutUnchecked(inAttribute ? "&#9;" : "\t");
      break;
    case '\n':
      PutUnchecked(inAttribute ? "&#10;" : "\n");
      break;
    case '\r':
      PutUnchecked("&#13;");
      break;
    case kNotACharacter:
    case 0xFFFE:
    case 0xFFFF:
      PutUnchecked(kReplacement);
      break;
    default:
      if (character.code < 0x20) {
        PutUnchecked(kReplacement);
      } else {
        PutUnchecked({at, character.length});
      }
      break;
  }
  return at + character.length;
}

void XmlWriter::Tag(std::string_view name, const char* before, const char* behind) {
  Room(name.size() + 4);
  PutUnchecked(before);
  PutUnchecked(name);
  PutUnchecked(behind);
}

void XmlWriter::Put(std::string_view text) {
  Room(text.size());
  PutUnchecked(text);
}

void XmlWriter::PutUnchecked(std::string_view text) {
  std::memcpy(at_, text.data(), text.size());
  at_ += text.size();
}

void XmlWriter::Grow(std::size_t bytes) {
  const auto used = at_ ? static_cast<std::size_t>(at_ - out_.GetStr()) : 0;
  constexpr auto kMost = static_cast<std::size_t>(SV::String::kMaxLength);
  if (used + bytes > kMost) throw std::length_error("the XML is longer than 2147483647 bytes");
  const std::size_t wanted = std::min(std::max(used + bytes, used + used / 2), kMost);
  SV::String grown;
  char* const begin = grown.AllocBuffer(static_cast<long>(wanted));
  if (used > 0) std::memcpy(begin, out_.GetStr(), used);
  out_ = std::move(grown);
  at_ = begin + used;
  limit_ = begin + wanted;
}

}  // namespace kel
