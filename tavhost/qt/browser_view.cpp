#include "tavhost/qt/browser_view.h"

#include <QApplication>
#include <QClipboard>
#include <QHeaderView>
#include <QPushButton>
#include <QScreen>
#include <QShortcut>
#include <algorithm>

#include "tavhost/qt/shown_text.h"
#include "tavhost/qt/wrapping_row.h"

namespace ui {

namespace {

constexpr long kSmallColumns = 96;  // characters
constexpr long kSmallLines = 30;
constexpr double kLargePart = 0.85;  // of the screen

SV::Size SmallSize(const QWidget& dialog) {
  const QFontMetrics metrics(dialog.font());
  return SV::Size(metrics.averageCharWidth() * kSmallColumns, metrics.lineSpacing() * kSmallLines);
}

QPushButton* MakeButton(const QString& label, const char* name) {
  auto* const button = new QPushButton(label);
  button->setObjectName(QLatin1String(name));
  button->setAutoDefault(false);
  return button;
}

}  // namespace

BrowserView::BrowserView(BrowserModel& model, QWidget* parent)
    : ModalView(model, std::make_unique<QDialog>(parent)),
      panel_(new TablePanel(model.Table(), false)) {
  // Assistive tools read them in the order in which they come into the window.
  auto* const layout = new QVBoxLayout(&Dialog());
  layout->addWidget(panel_, 1);
  auto* const buttons = new WrappingRow(WrappingRow::Wraps::kOnScreen, &Dialog());
  const QString title = Shown(model.Title());
  QPushButton* const search = MakeButton(QStringLiteral("Sea&rch"), "show search");
  QPushButton* const save = MakeButton(QStringLiteral("&Save…"), "save");
  QPushButton* const print = MakeButton(QStringLiteral("&Print…"), "print");
  QObject::connect(search, &QPushButton::clicked, this,
                   [this] { panel_->ShowSearchBar(!panel_->IsSearchBarShown()); });
  QObject::connect(save, &QPushButton::clicked, this, [this, title] { panel_->Save(title); });
  QObject::connect(print, &QPushButton::clicked, this, [this, title] { panel_->Print(title); });
  for (QPushButton* const button : {search, save, print}) buttons->AddLeading(button);
  buttons->Add(MakeButtons());
  layout->addWidget(buttons);
  Dialog().setSizeGripEnabled(true);
  Dialog().setWindowFlag(Qt::WindowMaximizeButtonHint, true);
  if (!model.size) {
    const QSize screen = Dialog().screen()->availableGeometry().size() * kLargePart;
    model.size = model.IsLarge() ? SV::Size(screen.width(), screen.height()) : SmallSize(Dialog());
  }
  panel_->View().setFocus();
}

void BrowserView::ShowModel() { panel_->ShowTable(); }

EditBrowserView::EditBrowserView(EditBrowserModel& model, QWidget* parent)
    : ModalView(model, std::make_unique<QDialog>(parent)), browser_(model) {
  panel_ = new TablePanel(model.Table(), true);
  auto* const layout = new QVBoxLayout(&Dialog());
  layout->addWidget(panel_, 1);
  layout->addWidget(MakeButtonRow());
  Dialog().setSizeGripEnabled(true);
  Dialog().setWindowFlag(Qt::WindowMaximizeButtonHint, true);
  if (model.maximized) {
    Dialog().setWindowState(Qt::WindowMaximized);
    const QSize screen = Dialog().screen()->availableGeometry().size();
    model.size = SV::Size(screen.width(), screen.height());
  }
  if (!model.size) model.size = SmallSize(Dialog());
  AddShortcuts();
  if (!model.showsSpecial[EditBrowserModel::kSortRows]) panel_->View().ForbidSorting();
  panel_->View().viewport()->setFocusProxy(&panel_->View());
  if (panel_->Items().rowCount() > 0 && panel_->Items().columnCount() > 0) {
    panel_->View().setCurrentIndex(panel_->Items().index(0, 0));
  }
  QObject::connect(panel_->View().selectionModel(), &QItemSelectionModel::selectionChanged, this,
                   [this] { UpdateButtons(); });
  QObject::connect(&panel_->Items(), &QAbstractItemModel::modelReset, this,
                   [this] { UpdateButtons(); });
  UpdateButtons();
  panel_->View().setFocus();
}

QWidget* EditBrowserView::MakeButtonRow() {
  auto* const row = new WrappingRow(WrappingRow::Wraps::kOnScreen, &Dialog());
  special_[EditBrowserModel::kInsertRow] = MakeButton(QStringLiteral("&Insert row"), "insert row");
  special_[EditBrowserModel::kDeleteRow] = MakeButton(QStringLiteral("&Delete row"), "delete row");
  special_[EditBrowserModel::kSortRows] = MakeButton(QStringLiteral("&Sort"), "sort rows");
  for (int i = 0; i < EditBrowserModel::kSpecialCount; ++i) {
    row->AddLeading(special_[i]);
    special_[i]->setVisible(browser_.showsSpecial[i]);
  }
  const auto connect = [this](EditBrowserModel::Special which, void (EditBrowserView::*act)()) {
    QObject::connect(special_[which], &QPushButton::clicked, this, [this, act] {
      (this->*act)();
      panel_->View().setFocus();
    });
  };
  connect(EditBrowserModel::kInsertRow, &EditBrowserView::InsertRow);
  connect(EditBrowserModel::kDeleteRow, &EditBrowserView::DeleteRows);
  connect(EditBrowserModel::kSortRows, &EditBrowserView::SortRows);
  row->Add(MakeButtons());
  return row;
}

void EditBrowserView::AddShortcuts() {
  const auto add = [this](const QKeySequence& keys, auto act) {
    auto* const shortcut = new QShortcut(keys, &panel_->View());
    shortcut->setContext(Qt::WidgetShortcut);
    QObject::connect(shortcut, &QShortcut::activated, this, act);
  };
  add(QKeySequence::Undo, [this] { Undo(false); });
  add(QKeySequence::Redo, [this] { Undo(true); });
  if (QKeySequence(QKeySequence::Redo) != QKeySequence(Qt::CTRL | Qt::Key_Y)) {
    add(QKeySequence(Qt::CTRL | Qt::Key_Y), [this] { Undo(true); });
  }
  add(QKeySequence::Paste, [this] { Paste(); });
  add(QKeySequence::Cut, [this] {
    panel_->View().CopySelection();
    ClearCells();
  });
  add(QKeySequence(Qt::Key_Delete), [this] { ClearCells(); });
  // Rows come and go by the keyboard only where the buttons for it are.
  if (browser_.showsSpecial[EditBrowserModel::kInsertRow]) {
    add(QKeySequence(Qt::Key_Insert), [this] { InsertRow(); });
  }
  if (browser_.showsSpecial[EditBrowserModel::kDeleteRow]) {
    add(QKeySequence(Qt::CTRL | Qt::Key_Delete), [this] { DeleteRows(); });
  }
}

// In front of the current row; the first of an empty table.
void EditBrowserView::InsertRow() {
  const QModelIndex current = panel_->View().currentIndex();
  const int row = current.isValid() ? current.row() : panel_->Items().rowCount();
  panel_->Items().InsertRow(row);
  panel_->View().GoTo(panel_->Items().index(row, std::max(current.column(), 0)));
  UpdateButtons();
}

void EditBrowserView::DeleteRows() {
  std::vector<int> rows;
  for (const QItemSelectionRange& range : panel_->View().selectionModel()->selection()) {
    for (int row = range.top(); row <= range.bottom(); ++row) rows.push_back(row);
  }
  if (rows.empty() && panel_->View().currentIndex().isValid()) {
    rows.push_back(panel_->View().currentIndex().row());
  }
  if (rows.empty()) return;
  std::sort(rows.begin(), rows.end());
  rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
  const int column = std::max(panel_->View().currentIndex().column(), 0);
  const TableModel::Step step(browser_.Table());
  for (std::size_t end = rows.size(); end > 0;) {
    std::size_t begin = end - 1;
    while (begin > 0 && rows[begin - 1] == rows[begin] - 1) --begin;
    panel_->Items().DeleteRows(rows[begin], rows[end - 1]);
    end = begin;
  }
  const int last = panel_->Items().rowCount() - 1;
  if (last >= 0) panel_->View().GoTo(panel_->Items().index(std::min(rows[0], last), column));
  UpdateButtons();
}

void EditBrowserView::SortRows() {
  const QModelIndex current = panel_->View().currentIndex();
  if (current.isValid()) panel_->View().SortByHeader(current.column());
}

void EditBrowserView::ClearCells() {
  const TableModel::Step step(browser_.Table());
  for (const QModelIndex& index : panel_->View().selectionModel()->selectedIndexes()) {
    panel_->Items().setData(index, QString());
  }
}

// From the current field on, rows being added where the table ends; what is too wide is left out.
void EditBrowserView::Paste() {
  const QModelIndex start = panel_->View().currentIndex();
  const std::string text = Bytes(QApplication::clipboard()->text());
  TableText pasted;
  if (!start.isValid() || !pasted.Read(text, nullptr, '\t', '\n')) return;
  const TableModel::Step step(browser_.Table());
  TableItems& items = panel_->Items();
  std::string scratch;
  for (std::uint32_t line = 0; line < pasted.Lines(); ++line) {
    const int row = start.row() + static_cast<int>(line);
    if (row >= items.rowCount()) {
      if (!browser_.showsSpecial[EditBrowserModel::kInsertRow]) break;
      items.InsertRow(row);
    }
    for (std::uint32_t column = 0; column < pasted.Columns(); ++column) {
      const QModelIndex at = items.index(row, start.column() + static_cast<int>(column));
      if (at.isValid()) items.setData(at, Editable(pasted.Field(line, column, scratch)));
    }
  }
}

void EditBrowserView::Undo(bool again) { panel_->View().GoTo(panel_->Items().Undo(again)); }

void EditBrowserView::UpdateButtons() {
  const bool hasCurrent = panel_->View().currentIndex().isValid();
  special_[EditBrowserModel::kInsertRow]->setEnabled(panel_->Items().columnCount() > 0);
  special_[EditBrowserModel::kDeleteRow]->setEnabled(hasCurrent);
  special_[EditBrowserModel::kSortRows]->setEnabled(hasCurrent);
}

void EditBrowserView::ShowModel() {
  panel_->Items().Reset();
  panel_->ShowTable();
}

// A field that is being edited takes what was typed so far.
void EditBrowserView::ReadModel() {
  QWidget* const focus = QApplication::focusWidget();
  if (focus && panel_->View().isAncestorOf(focus) && focus != panel_->View().viewport()) {
    panel_->View().setFocus();
  }
}

}  // namespace ui
