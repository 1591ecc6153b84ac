#include "tavhost/ui/table/table_text.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>
#include <utility>

#include "tavhost/ui/table/table_scan.h"

namespace ui {

namespace {

constexpr char kQuote = '"';
constexpr std::size_t kBlocksAtOnce = 64;  // what stays in the processor's nearest memory

}  // namespace

void TableText::Offsets::Reserve(std::size_t capacity) {
  if (capacity <= capacity_) return;
  void* const grown = std::realloc(data_, capacity * sizeof(std::uint32_t));
  if (!grown) throw std::bad_alloc();
  data_ = static_cast<std::uint32_t*>(grown);
  capacity_ = capacity;
}

void TableText::Offsets::Fit(std::size_t count) {
  if (count == capacity_ || count == 0) return;
  void* const fitted = std::realloc(data_, count * sizeof(std::uint32_t));
  if (!fitted) return;  // it stays as large as it is
  data_ = static_cast<std::uint32_t*>(fitted);
  capacity_ = count;
}

// Goes over the separators and quotes of a text, which are found many at a time.
class TableText::Reader {
 public:
  Reader(TableText& table, std::string_view text) : table_(table), text_(text) {}

  bool Read() {
    const table_scan::Scan scan = table_scan::Best();
    const bool quotes = Quotes();
    const char wanted[3] = {table_.fieldSeparator_, table_.rowSeparator_,
                            quotes ? kQuote : table_.rowSeparator_};
    std::uint64_t marks[kBlocksAtOnce];
    table_.ends_.Reserve(text_.size() / 8 + 2 * table_scan::kBlock);
    std::size_t base = 0;
    while (text_.size() - base >= table_scan::kBlock) {
      const std::size_t blocks =
          std::min((text_.size() - base) / table_scan::kBlock, kBlocksAtOnce);
      scan(text_.data() + base, blocks, wanted, marks);
      for (std::size_t i = 0; i < blocks; ++i, base += table_scan::kBlock) {
        if (!TakeMarks(base, marks[i])) return false;
      }
    }
    if (base < text_.size()) {
      char rest[table_scan::kBlock] = {};
      std::memcpy(rest, text_.data() + base, text_.size() - base);
      scan(rest, 1, wanted, marks);
      const std::uint64_t inside = (std::uint64_t{1} << (text_.size() - base)) - 1;
      if (!TakeMarks(base, marks[0] & inside)) return false;
    }
    return Finish();
  }

 private:
  bool Quotes() const { return table_.fieldSeparator_ != kQuote && table_.rowSeparator_ != kQuote; }

  bool TakeMarks(std::size_t base, std::uint64_t marks) {
    if (count_ + table_scan::kBlock + 1 > table_.ends_.Capacity()) {
      table_.ends_.Reserve(count_ + count_ / 2 + 2 * table_scan::kBlock);
    }
    std::uint32_t* const ends = table_.ends_.Data();
    for (; marks != 0; marks &= marks - 1) {
      const std::size_t at = base + static_cast<std::size_t>(std::countr_zero(marks));
      const char byte = text_[at];
      if (isQuoted_) {
        if (byte == kQuote && !TakeQuote(at)) return false;
        continue;
      }
      if (byte == table_.rowSeparator_) {
        ends[count_++] = static_cast<std::uint32_t>(at);
        if (!EndLine()) return false;
      } else if (byte == table_.fieldSeparator_) {
        ends[count_++] = static_cast<std::uint32_t>(at);
      } else {  // a quote, which counts only where a field begins
        if (at == FieldStart()) isQuoted_ = true;
        continue;
      }
    }
    return true;
  }

  std::size_t FieldStart() const {
    return count_ == 0 ? 0 : std::size_t{table_.ends_[count_ - 1]} + 1;
  }

  // Inside a quoted field.
  bool TakeQuote(std::size_t at) {
    if (isSecondOfPair_) {
      isSecondOfPair_ = false;
      return true;
    }
    const std::size_t next = at + 1;
    if (next < text_.size() && text_[next] == kQuote) {
      isSecondOfPair_ = true;
      return true;
    }
    isQuoted_ = false;
    if (next == text_.size()) return true;
    if (text_[next] == table_.fieldSeparator_ || text_[next] == table_.rowSeparator_) return true;
    return table_.rowSeparator_ == '\n' && text_[next] == '\r' && next + 1 < text_.size() &&
           text_[next + 1] == '\n';
  }

  bool EndLine() {
    const std::size_t fields = count_ - lineFirst_;
    if (table_.lines_ == 0) {
      table_.columns_ = static_cast<std::uint32_t>(fields);
    } else if (fields != table_.columns_) {
      if (fields > table_.columns_) return false;
      if (table_.isRegular_) NoteLinesSoFar();
    }
    ++table_.lines_;
    lineFirst_ = count_;
    if (!table_.isRegular_) NoteLine();
    return true;
  }

  void NoteLinesSoFar() {
    table_.isRegular_ = false;
    table_.firstFields_.Reserve(std::size_t{table_.lines_} + 2);
    for (std::uint32_t line = 0; line <= table_.lines_; ++line) {
      table_.firstFields_.Data()[line] = line * table_.columns_;
    }
  }

  // Where the next line begins.
  void NoteLine() {
    Offsets& first = table_.firstFields_;
    const std::size_t needed = std::size_t{table_.lines_} + 1;
    if (needed > first.Capacity()) first.Reserve(needed + needed / 2);
    first.Data()[table_.lines_] = static_cast<std::uint32_t>(count_);
  }

  bool Finish() {
    if (isQuoted_) return false;
    const bool isEmptyLastLine = count_ == lineFirst_ && FieldStart() >= text_.size();
    if (!isEmptyLastLine) {
      table_.ends_.Data()[count_++] = static_cast<std::uint32_t>(text_.size());
      if (!EndLine()) return false;
    }
    table_.ends_.Fit(count_);
    if (!table_.isRegular_) table_.firstFields_.Fit(std::size_t{table_.lines_} + 1);
    return true;
  }

  TableText& table_;
  std::string_view text_;
  std::size_t count_ = 0;      // of the fields so far
  std::size_t lineFirst_ = 0;  // the number of the line's first field
  bool isQuoted_ = false;
  bool isSecondOfPair_ = false;  // the next quote belongs to the one before it
};

bool TableText::Read(std::string_view text, std::shared_ptr<const void> owner, char fieldSeparator,
                     char rowSeparator) {
  TableText table;
  table.fieldSeparator_ = fieldSeparator;
  table.rowSeparator_ = rowSeparator;
  if (!Reader(table, text).Read()) return false;
  text_ = text;
  owner_ = std::move(owner);
  fieldSeparator_ = fieldSeparator;
  rowSeparator_ = rowSeparator;
  columns_ = table.columns_;
  lines_ = table.lines_;
  isRegular_ = table.isRegular_;
  ends_.Swap(table.ends_);
  firstFields_.Swap(table.firstFields_);
  return true;
}

std::string_view TableText::Field(std::uint32_t line, std::uint32_t column,
                                  std::string& scratch) const {
  const std::size_t first = FirstField(line);
  const std::size_t behind = FirstField(line + 1);
  const std::size_t field = first + column;
  if (field >= behind) return {};
  const std::size_t start = field == 0 ? 0 : std::size_t{ends_[field - 1]} + 1;
  std::size_t end = ends_[field];
  if (rowSeparator_ == '\n' && end < text_.size() && end > start && text_[end] == '\n' &&
      text_[end - 1] == '\r') {
    --end;
  }
  const std::string_view raw = text_.substr(start, end - start);
  if (raw.empty() || raw.front() != kQuote || fieldSeparator_ == kQuote ||
      rowSeparator_ == kQuote) {
    return raw;
  }
  const std::string_view inside = raw.substr(1, raw.size() - 2);
  std::size_t quote = inside.find(kQuote);
  if (quote == std::string_view::npos) return inside;
  scratch.clear();
  std::size_t from = 0;
  for (; quote != std::string_view::npos; quote = inside.find(kQuote, from)) {
    scratch.append(inside, from, quote + 1 - from);
    from = quote + 2;
  }
  if (from < inside.size()) scratch.append(inside, from);
  return scratch;
}

bool TableText::IsPlain(std::string_view piece) const {
  const char special[] = {fieldSeparator_, rowSeparator_, kQuote, '\r'};
  return !piece.empty() &&
         piece.find_first_of(std::string_view(special, sizeof special)) == std::string_view::npos;
}

std::size_t TableText::LineEnd(std::uint32_t line) const { return ends_[FirstField(line + 1) - 1]; }

std::uint32_t TableText::LineAt(std::size_t offset) const {
  std::uint32_t low = 0;
  std::uint32_t high = lines_;
  while (low < high) {
    const std::uint32_t middle = low + (high - low) / 2;
    if (LineEnd(middle) < offset) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return low;
}

std::size_t TableText::IndexBytes() const {
  return (ends_.Capacity() + firstFields_.Capacity()) * sizeof(std::uint32_t);
}

}  // namespace ui
