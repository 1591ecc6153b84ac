#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "host/base/string.h"
#include "tavhost/base/arena.h"
#include "tavhost/base/memory_budget.h"
#include "tavhost/base/result.h"
#include "tavhost/base/work_meter.h"
#include "tavhost/notation/element.h"
#include "tavhost/notation/table.h"

namespace kel {

// A parsed KEL text: its elements' tables and the text that they point into.
class Document {
 public:
  // Fails when the text is no KEL or there is no memory for its tables. The error has a line and a
  // column, and says what was expected there and what was found. Nothing is thrown, but for the
  // stop that a meter tells of.
  static base::Result<std::shared_ptr<const Document>> Parse(const SV::String& text,
                                                             std::size_t tableBytes = kTableBytes,
                                                             base::WorkMeter* meter = nullptr);

  // The message of the error that there is no memory.
  static constexpr std::string_view kNoMemory = "the text is too large for the memory there is";
  // Whether an error is that one; with no memory for words it has none.
  static bool IsWantOfMemory(const base::Error& error) {
    return error.message.empty() || error.message == kNoMemory;
  }

  // What the tables of one text may take: twice what 1 GiB of records needs.
  static constexpr std::size_t kTableBytes = std::size_t{4} << 30;

  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;

  const Element* Elements() const noexcept { return elements_.Data(); }
  std::uint32_t Count() const noexcept { return static_cast<std::uint32_t>(elements_.Count()); }
  const SV::String& Text() const noexcept { return text_; }

 private:
  friend class TextParser;
  struct Key {};  // only Parse has one: the constructor is public for std::make_shared alone

 public:
  Document(Key, const SV::String& text, std::size_t tableBytes)
      : text_(text), budget_(tableBytes), elements_(&budget_), arena_(&budget_) {}

 private:
  SV::String text_;
  base::MemoryBudget budget_;
  Table<Element> elements_;  // those of the text itself
  base::Arena arena_;        // all other tables
};

}  // namespace kel
