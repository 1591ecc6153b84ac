#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "host/export.h"

namespace ui {

// A table as delimited text: lines of fields, the first of which holds the column titles. The text
// is kept as it is; of each field only the place where it ends is noted, so that a table costs
// four bytes a field beyond its text, and a field is read when it is asked for.
//
// Rules. A field that begins with `"` is quoted: it ends at the next `"` that is not doubled, `""`
// inside stands for one `"`, separators inside are text. A quote elsewhere is an ordinary
// character. Lines with fewer fields than the first are filled up with empty ones. An empty line at
// the very end does not count. Where lines end at line feeds, a CR before one is dropped. One
// character that separates both fields and rows separates rows. Where `"` is itself a separator
// nothing is quoted.
class TAV_HOST_API TableText {
 public:
  // False, and nothing changed, when a quoted field is not closed, text follows a closing quote, or
  // a line has more fields than the first. `owner` keeps the text in place; texts are shorter than
  // 2 GiB.
  bool Read(std::string_view text, std::shared_ptr<const void> owner, char fieldSeparator,
            char rowSeparator);

  std::uint32_t Columns() const { return columns_; }
  // The first is that of the titles; none in an empty text.
  std::uint32_t Lines() const { return lines_; }

  // Unquoted; lies in the text, or in `scratch` where quotes had to be taken out. Empty where the
  // line has no such field.
  std::string_view Field(std::uint32_t line, std::uint32_t column, std::string& scratch) const;

  // Whole lines as they stand in the text, for looking through it.
  std::string_view Text() const { return text_; }
  // Whether a piece of that text can only lie within one field and reads there as it stands.
  bool IsPlain(std::string_view piece) const;
  // The line in which that byte lies.
  std::uint32_t LineAt(std::size_t offset) const;
  std::size_t LineEnd(std::uint32_t line) const;

  std::size_t IndexBytes() const;

 private:
  // Numbers in memory that is not cleared first, and that grows without being copied where the
  // system can do that: there may be hundreds of millions.
  class Offsets {
   public:
    Offsets() = default;
    Offsets(const Offsets&) = delete;
    Offsets& operator=(const Offsets&) = delete;
    ~Offsets() { std::free(data_); }
    void Reserve(std::size_t capacity);
    void Fit(std::size_t count);
    void Swap(Offsets& other) {
      std::swap(data_, other.data_);
      std::swap(capacity_, other.capacity_);
    }
    std::uint32_t* Data() { return data_; }
    std::uint32_t operator[](std::size_t index) const { return data_[index]; }
    std::size_t Capacity() const { return capacity_; }

   private:
    std::uint32_t* data_ = nullptr;
    std::size_t capacity_ = 0;
  };
  class Reader;

  std::size_t FirstField(std::uint32_t line) const {
    return isRegular_ ? std::size_t{line} * columns_ : firstFields_[line];
  }

  std::string_view text_;
  std::shared_ptr<const void> owner_;
  char fieldSeparator_ = ';';
  char rowSeparator_ = '\n';
  std::uint32_t columns_ = 0;
  std::uint32_t lines_ = 0;
  Offsets ends_;  // of each field, where its separator stands
  // The number of each line's first field, and that behind the last; none while every line has
  // all columns.
  bool isRegular_ = true;
  Offsets firstFields_;
};

}  // namespace ui
