// Any bytes as a table's text, with any separators: it is refused, or what it is written as reads
// back to the same table, through changes and undo as well; searching it as a whole and field by
// field finds the same rows.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "tavhost/ui/table/table_arrangement.h"
#include "tavhost/ui/table/table_model.h"
#include "tavhost/ui/table/table_search.h"
#include "tavhost/ui/table/table_sort.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

void CheckWritten(const ui::TableModel& table) {
  const std::string text = table.Write(';');
  ui::TableModel again(table.HasHandles());
  Require(again.Read(text, nullptr, ';', '\n'));
  Require(again.Columns() == table.Columns() && again.Rows() == table.Rows());
  for (std::uint32_t row = 0; row < table.Rows(); ++row) {
    for (std::uint32_t column = 0; column < table.Columns(); ++column) {
      Require(again.Text(row, column) == table.Text(row, column));
    }
  }
  Require(again.Write(';') == text);
}

void CheckSearch(const ui::TableModel& table, std::string_view piece) {
  const std::vector<bool> found = ui::table_search::MatchingRows(table, piece);
  std::string scratch;
  for (std::uint32_t row = 0; row < table.Rows(); ++row) {
    bool holds = false;
    for (std::uint32_t column = 0; column < table.Columns(); ++column) {
      holds |= ui::table_search::Contains(table.Cell(row, column, scratch), piece);
    }
    Require(found[row] == holds);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 4) return 0;
  const auto byte = [data](std::size_t index) { return static_cast<char>(data[index]); };
  const char field = byte(0) ? byte(0) : ';';
  const char row = byte(1) ? byte(1) : '\n';
  const bool handles = data[2] & 1;
  const std::string_view text(reinterpret_cast<const char*>(data) + 4, size - 4);
  ui::TableModel table(handles);
  if (!table.Read(text, nullptr, field, row)) return 0;
  if (static_cast<std::uint64_t>(table.Rows()) * table.Columns() > 100000) return 0;
  CheckWritten(table);
  CheckSearch(table, text.substr(0, data[3] % 4));
  const std::string before = table.Write(';');
  const std::uint32_t last = table.FirstColumn() + data[3] % 3;
  table.SetCell(data[3] % 5, last, text.substr(0, 20));
  table.InsertRow(data[3] % 7);
  table.SortRows(last, data[2] & 2);
  table.DeleteRow(data[3] % 4);
  CheckWritten(table);
  while (table.Undo()) {
  }
  Require(table.Write(';') == before);
  ui::TableArrangement seen(table);
  seen.SortBy(0, false);
  Require(seen.Rows() == table.Rows());
  return 0;
}
