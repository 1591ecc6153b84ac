#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "host/export.h"
#include "tavhost/ui/table/reference_format.h"
#include "tavhost/ui/table/table_text.h"

namespace ui {

enum class TableAlignment { kLeft, kCentre, kRight };

// A change of a table, at places as they were when it was made; rows and columns count from 0.
struct TableChange {
  enum class Kind { kCell, kInsertRow, kDeleteRow, kSort };
  Kind kind = Kind::kCell;
  std::uint32_t row = 0;     // of a cell; of the row inserted or deleted
  std::uint32_t column = 0;  // of a cell; that of the sort
  bool descending = false;   // of a sort
  std::string text;          // what the cell was set to
};

// A table: titles, rows, how its columns look, and changes with undo. The text that it is read from
// stays as it is; what a user changes is kept beside it. Columns count from 0 as they stand in the
// text, whether or not the first holds the rows' handles.
class TAV_HOST_API TableModel {
 public:
  explicit TableModel(bool withHandleColumn) : hasHandles_(withHandleColumn) {}
  TableModel(const TableModel&) = delete;
  TableModel& operator=(const TableModel&) = delete;

  // See TableText. False, and the table as it was, when the text cannot be read.
  bool Read(std::string_view text, std::shared_ptr<const void> owner, char fieldSeparator,
            char rowSeparator);
  // Titles and rows with their changes; rows are joined by line feeds, fields that hold a
  // separator, a quote or a line end are quoted. Reading it gives the same table.
  std::string Write(char fieldSeparator) const;

  std::uint32_t Columns() const { return text_.Columns(); }
  std::uint32_t Rows() const;
  bool HasHandles() const { return hasHandles_; }
  // The first column that is not the handle's.
  std::uint32_t FirstColumn() const { return hasHandles_ && Columns() > 0 ? 1 : 0; }
  // Columns as scripts number them: from 0 with a handle column, which is that one, else from 1.
  // Empty when there is no such column.
  std::optional<std::uint32_t> ColumnOfNumber(std::uint64_t number) const;

  std::string_view Title(std::uint32_t column, std::string& scratch) const;
  // Lies in the table, until the next change, or in `scratch`.
  std::string_view Cell(std::uint32_t row, std::uint32_t column, std::string& scratch) const;
  std::string Text(std::uint32_t row, std::uint32_t column) const;
  // The most lines that a cell of the row has.
  std::uint32_t LineCount(std::uint32_t row) const;

  // Rows of several lines show one until they are expanded.
  bool IsExpanded(std::uint32_t row) const;
  void Expand(std::uint32_t row, bool expanded);
  void ExpandAll(bool expanded);

  // Changes. All return false, and change nothing, outside the table; a handle cannot be changed.
  bool SetCell(std::uint32_t row, std::uint32_t column, std::string_view text);
  bool InsertRow(std::uint32_t row);  // in front of that row; behind the last at Rows()
  bool DeleteRow(std::uint32_t row);
  // Stays with a row wherever it is moved to.
  using RowId = std::uint32_t;
  RowId IdOf(std::uint32_t row) const { return isMoved_ ? rows_[row] : row; }
  bool SortRows(std::uint32_t column, bool descending);
  // Puts the rows back as they were before the sorts that nothing else has followed. False when
  // the last change is no sort.
  bool UnsortRows();
  // The sort in whose order the rows are; null when something has been changed since.
  const TableChange* LastSort() const;
  // Changes made while one lives are undone in one step.
  class Step {
   public:
    explicit Step(TableModel& table) : table_(table) {
      if (table_.stepDepth_++ == 0) table_.isFirstOfStep_ = true;
    }
    Step(const Step&) = delete;
    Step& operator=(const Step&) = delete;
    ~Step() { --table_.stepDepth_; }

   private:
    TableModel& table_;
  };
  std::size_t ChangeCount() const { return done_.size(); }
  bool CanUndo() const { return !done_.empty(); }
  bool CanRedo() const { return !undone_.empty(); }
  // The first change of the step that was undone or done again; null when there is none.
  const TableChange* Undo();
  const TableChange* Redo();
  // What has been changed since it was read, oldest first: done again in this order it gives the
  // same table. Later changes of a cell stand for earlier ones where nothing moved between them.
  std::vector<TableChange> Changes() const;

  // How it looks.
  std::optional<long> Width(std::uint32_t column) const;  // pixels; none: as its texts need
  void SetWidth(std::uint32_t column, long width);
  TableAlignment Alignment(std::uint32_t column) const;
  void SetAlignment(std::uint32_t column, TableAlignment alignment);

  // Told when columns look otherwise or all rows are expanded or shrunk.
  std::function<void()> lookChanged;

  std::string header;
  std::string printHeader;
  std::string subtitle;
  std::string modelFormat;  // see MatchReference
  std::string objectFormat;
  bool showsLinks = false;

  // What the field refers to; empty when it is no link or links are not shown.
  std::optional<Reference> LinkAt(std::uint32_t row, std::uint32_t column) const;
  // Told when a user activates a link.
  std::function<void(const Reference& reference)> linkActivated;

  // Where the rows stand as they were read, for looking through the whole text; null once a row
  // has been moved or changed.
  const TableText* Unchanged() const { return isMoved_ || !cells_.empty() ? nullptr : &text_; }
  std::size_t IndexBytes() const;

 private:
  struct Done {
    TableChange change;
    std::string before;        // what the cell held
    RowId id = 0;              // of a row inserted or deleted
    std::vector<RowId> order;  // before a sort while done, behind it while undone
    bool isFirst = true;       // of its step
    bool unsorts = false;      // a sort that puts the rows back as they were before others
  };
  struct ColumnLook {
    std::optional<long> width;
    TableAlignment alignment = TableAlignment::kLeft;
  };

  static std::uint64_t Key(RowId id, std::uint32_t column) {
    return (std::uint64_t{id} << 32) | column;
  }
  std::uint32_t ReadRows() const { return text_.Lines() > 0 ? text_.Lines() - 1 : 0; }
  void ListRows();
  void Record(Done done);
  // Does the change again, or takes it back.
  void Apply(Done& done, bool again);
  void PutCell(RowId id, std::uint32_t column, std::string_view text);
  std::string_view CellOf(RowId id, std::uint32_t column, std::string& scratch) const;

  bool hasHandles_;
  TableText text_;
  std::vector<ColumnLook> looks_;
  // The rows in their order once one has been moved: those of the text by their number, new ones
  // by higher numbers.
  bool isMoved_ = false;
  std::vector<RowId> rows_;
  RowId nextId_ = 0;
  std::unordered_map<std::uint64_t, std::string> cells_;  // changed ones and those of new rows
  bool allExpanded_ = false;
  std::unordered_set<RowId> otherwise_;  // rows that are not as allExpanded_ says
  std::vector<Done> done_;
  std::vector<Done> undone_;
  int stepDepth_ = 0;
  bool isFirstOfStep_ = true;
};

}  // namespace ui
