#pragma once

#include <cstddef>
#include <cstdint>
#include <forward_list>
#include <string>
#include <string_view>

#include "host/base/string.h"
#include "tavhost/base/long_work.h"
#include "tavhost/notation/document.h"
#include "tavhost/notation/table.h"

namespace kel {

// Writes a document as XML 1.0 in UTF-8, well-formed whatever the document holds. What is open
// lies on a stack of its own.
class XmlWriter {
 public:
  explicit XmlWriter(const Document& document);

  // Throws stop::Stopped when a stop is asked for, and std::length_error when the XML would be
  // longer than a string can be.
  SV::String Write(bool withHeader, std::string_view rootTag);

 private:
  // What a sequence consists of: elements, the parts of an element that become its children, items
  // of a list, fields of a record.
  enum class What : std::uint8_t { kElements, kChildren, kItems, kFields };

  // A sequence that is being written, and the tag that ends it.
  struct Open {
    What what;
    const void* first;
    std::uint32_t count;
    std::uint32_t next;
    const char* tag;  // null when nothing is to be closed
    std::uint32_t tagLength;
  };

  // Writes until nothing is open any more.
  void Finish();
  void BeginElement(const Element& element);
  void WriteChild(const Element& element, std::uint32_t index);
  void WriteField(const Attribute& field);
  // `<tag>` and all that the value holds; what is nested in it is left on the stack.
  void BeginValue(std::string_view tag, const Operand& value, std::string_view modifierText);
  void BeginSequence(What what, const void* first, std::uint32_t count, std::string_view tag);

  // Names and modifier texts given here stand in the document's text.
  void PutAttribute(std::string_view name, const Operand& value);
  void PutValueAndQuote(std::string_view modifierText, const Operand& value);
  void PutNameOfText(std::string_view name);
  // A value that is no list, record or body. `modifierText` stands for a bare modifier.
  void Plain(const Operand& value, std::string_view modifierText, bool inAttribute);
  void Escaped(std::string_view text, bool inAttribute);
  const char* Special(const char* at, const char* end, bool inAttribute);
  void Tag(std::string_view name, const char* before, const char* behind);
  void Put(std::string_view text);
  void PutUnchecked(std::string_view text);
  // Makes sure that so many bytes can be written.
  void Room(std::size_t bytes) {
    if (bytes > static_cast<std::size_t>(limit_ - at_)) Grow(bytes);
  }
  void Grow(std::size_t bytes);
  // To be called in each round of a loop over what the document holds.
  void LookIfDue() {
    constexpr std::uint32_t kEvery = 4096;  // rounds
    if (++rounds_ % kEvery == 0) work_.At(0);
  }

  const Document& document_;
  base::LongWork work_{"Converting"};
  std::uint32_t rounds_ = 0;
  const char* textEnd_;  // bytes up to here may be read, whatever string they belong to
  SV::String out_;
  char* at_ = nullptr;
  char* limit_ = nullptr;
  Table<Open> open_;
  std::forward_list<std::string> names_;  // made here, for the tags of keys that are no names
};

}  // namespace kel
