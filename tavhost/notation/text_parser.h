#pragma once

#include <cstdint>
#include <string>

#include "tavhost/notation/document.h"
#include "tavhost/notation/element.h"
#include "tavhost/notation/scan.h"
#include "tavhost/notation/table.h"

namespace kel {

// Makes a document's tables from its text. Containers that are still open lie on stacks of their
// own, never on the C++ stack; a table is copied into the document when it is complete.
class TextParser {
 public:
  // Works under the meter, if there is one.
  TextParser(Document& document, base::WorkMeter* meter);
  TextParser(const TextParser&) = delete;
  TextParser& operator=(const TextParser&) = delete;

  // Fails when the text is no KEL. Throws std::bad_alloc, and what the meter throws.
  base::Result<void> Run();

 private:
  // kUndecided: a parenthesis of which nothing has been read yet.
  enum class Kind : std::uint8_t { kBody, kUndecided, kList, kRecord };
  // Where the value of a container goes when it is complete.
  enum class Target : std::uint8_t { kMain, kAttribute, kItem };
  // Why reading a container was left off: another one opened in it, it closed, the text ended, or
  // there is an error.
  enum class Step : std::uint8_t { kOpened, kClosed, kEnd, kFailed };

  // A body or parenthesis that is open.
  struct Frame {
    Kind kind;
    Target target;
    std::size_t base;  // where its elements, items or fields begin on their stack
    Element outer;     // the element that it stands in
    std::size_t outerAttributes;
  };

  // Each goes on with the innermost container until another opens or it closes. `inside` tells
  // that a value in it has just been completed.
  Step ContinueBody(bool inside);
  Step ContinueParentheses(bool inside);

  // The place behind a plain value, which is put into `slot`. Null when a container was opened
  // instead, whose value is to go to `target`, or after an error: `step_` then tells which.
  const char* ReadValue(const char* at, Operand& slot, Target target);
  const char* ReadString(const char* at, Operand& slot);  // null after an error
  bool BeginElement(const char* at, const char* nameEnd);
  bool FinishElement();
  const char* ReadMain(const char* at);
  const char* ReadField(const char* at, const Operand& key, bool isKey);
  Step EndBody(const char* at);
  // A container begins at `at`; its value is to go to `target` of what is being read now.
  void Open(const char* at, Kind kind, Target target);
  void CloseBody();
  bool CloseParentheses();
  // Puts the value of a container where Open was told.
  void Deliver(const Operand& value, Target target);

  // The names from `base` on, on the stack of attributes, differ from each other.
  bool NamesDiffer(std::size_t base, const char* what);
  // One whose name stands before it already; null when there is none.
  const Attribute* FindRepeated(std::size_t base);
  const Attribute* FindRepeatedOfMany(const Attribute* first, std::size_t count);
  void Foresee();
  void Worked() {
    if (meter_) [[unlikely]]
      meter_->Did(1);
  }

  const char* SkipBlanks(const char* at) const {  // what may stand between the words of an element
    if (*at == ' ') ++at;
    return IsBlankLike(*at) ? SkipMoreBlanks(at) : at;
  }
  const char* SkipMoreBlanks(const char* at) const;
  const char* SkipSpace(const char* at) const;       // also line feeds
  const char* SkipSeparators(const char* at) const;  // also `;`
  const char* AfterLineBreak(const char* at) const;

  // Each takes note of the error and returns null.
  const char* Fail(const char* at, std::string message);
  const char* FailExpected(const char* at, const char* expected);
  std::string Found(const char* at) const;  // what stands at the place, for error texts
  bool HasByteOrderMark() const;

  Document& document_;
  base::WorkMeter* const meter_;  // not owned
  base::Error error_;
  const char* const begin_;
  const char* const end_;  // a NUL stands here, so that reading one byte ahead is always possible
  const char* at_;         // where the next Continue... goes on
  Step step_ = Step::kEnd;

  Element element_;                    // the one being read
  std::size_t elementAttributes_ = 0;  // where its attributes begin on their stack

  Table<Frame> frames_;
  Table<Attribute> attributes_;     // of open elements and records
  Table<Operand> items_;            // of open lists
  Table<Element> elements_;         // of open bodies
  Table<std::uint32_t> nameSlots_;  // of FindRepeatedOfMany, kept for the next time
};

}  // namespace kel
