#pragma once

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QWidget>

#include "tavhost/qt/table_view.h"
#include "tavhost/qt/text_block.h"

namespace ui {

// A table with all that belongs to it: heading and subtitle above, a bar to search and filter in,
// the grid, and a line that says what is seen.
class TablePanel final : public QWidget {
 public:
  TablePanel(TableModel& table, bool editable);
  ~TablePanel() override;

  TableItems& Items() { return items_; }
  TableView& View() { return *view_; }

  void SetTable(TableModel& table);
  void ShowTable();

  void ShowSearchBar(bool shown);
  bool IsSearchBarShown() const;

  // Asks for a file, then writes what is seen into it: CSV, TSV, HTML or PDF by its name.
  void Save(const QString& title);
  // False when the file cannot be written.
  bool SaveTo(const QString& file, const QString& title) const;
  void Print(const QString& title);

 protected:
  void focusInEvent(QFocusEvent* event) override;  // the table takes it
  void keyPressEvent(QKeyEvent* event) override;

 private:
  QWidget* MakeSearchBar();
  void SearchTextChanged();
  void Search(bool backwards);
  void ShowStatus();

  TableItems items_;
  bool editable_;
  TextBlock* header_;
  TextBlock* subtitle_;
  QLineEdit* searchText_ = nullptr;
  QCheckBox* filters_ = nullptr;
  QLabel* matches_ = nullptr;
  QWidget* searchBar_;  // made last: making it sets the three
  TableView* view_;
  QLabel* status_;
};

}  // namespace ui
