#include "tavhost/qt/table_panel.h"

#include <QDir>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLocale>
#include <QMessageBox>
#include <QShortcut>
#include <QStyle>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>
#include <numeric>
#include <tl/expected.hpp>

#include "tavhost/base/whole_file.h"
#include "tavhost/qt/file_dialog_view.h"
#include "tavhost/qt/shown_text.h"
#include "tavhost/qt/table_print.h"
#include "tavhost/ui/table/table_write.h"

namespace ui {

namespace {

constexpr int kTitleColumns = 60;
constexpr int kTitleLines = 3;

TextBlock* MakeTitle(const char* name) {
  auto* const title =
      new TextBlock(kTitleColumns, kTitleLines, Qt::AlignLeading, TextBlock::Width::kOfWindow);
  title->Label().setObjectName(QLatin1String(name));
  return title;
}

QString Count(std::uint32_t number, const char* one, const char* many) {
  return QLocale().toString(number) + QLatin1Char(' ') + QLatin1String(number == 1 ? one : many);
}

}  // namespace

TablePanel::TablePanel(TableModel& table, bool editable)
    : items_(table, editable),
      editable_(editable),
      header_(MakeTitle("header")),
      subtitle_(MakeTitle("subtitle")),
      searchBar_(MakeSearchBar()),
      view_(new TableView(items_, editable)),
      status_(new QLabel) {
  QFont bold = header_->font();
  bold.setBold(true);
  bold.setPointSizeF(bold.pointSizeF() * 1.2);
  header_->setFont(bold);
  status_->setObjectName(QStringLiteral("status"));
  status_->setTextFormat(Qt::PlainText);
  status_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(header_);
  layout->addWidget(subtitle_);
  layout->addWidget(searchBar_);
  layout->addWidget(view_, 1);
  layout->addWidget(status_);
  ShowSearchBar(false);

  auto* const find = new QShortcut(QKeySequence::Find, this);
  find->setContext(Qt::WidgetWithChildrenShortcut);
  QObject::connect(find, &QShortcut::activated, this, [this] { ShowSearchBar(true); });
  auto* const next = new QShortcut(QKeySequence::FindNext, this);
  next->setContext(Qt::WidgetWithChildrenShortcut);
  QObject::connect(next, &QShortcut::activated, this, [this] { Search(false); });
  auto* const previous = new QShortcut(QKeySequence::FindPrevious, this);
  previous->setContext(Qt::WidgetWithChildrenShortcut);
  QObject::connect(previous, &QShortcut::activated, this, [this] { Search(true); });
  view_->linkFollowed = [this](const Reference& reference) {
    status_->setText(
        (reference.isModel ? QStringLiteral("Link to model ") : QStringLiteral("Link to object ")) +
        Shown(reference.name) +
        (reference.type.empty() ? QString() : QStringLiteral(", type ") + Shown(reference.type)) +
        (reference.version.empty() ? QString()
                                   : QStringLiteral(", version ") + Shown(reference.version)));
  };
  for (auto signal : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved}) {
    QObject::connect(&items_, signal, this, [this] { ShowStatus(); });
  }
  QObject::connect(&items_, &QAbstractItemModel::modelReset, this, [this] { ShowStatus(); });
  ShowTable();
}

// The grid asks for its items until it is gone.
TablePanel::~TablePanel() { delete view_; }

QWidget* TablePanel::MakeSearchBar() {
  auto* const bar = new QWidget;
  bar->setObjectName(QStringLiteral("search bar"));
  auto* const layout = new QHBoxLayout(bar);
  layout->setContentsMargins(0, 0, 0, 0);
  searchText_ = new QLineEdit;
  searchText_->setObjectName(QStringLiteral("search"));
  searchText_->setPlaceholderText(QStringLiteral("Search"));
  searchText_->setAccessibleName(QStringLiteral("Search"));
  searchText_->setClearButtonEnabled(true);
  const auto arrow = [](Qt::ArrowType type, const QString& name) {
    auto* const button = new QToolButton;
    button->setArrowType(type);
    button->setToolTip(name);
    button->setAccessibleName(name);
    button->setAutoRaise(true);
    return button;
  };
  auto* const previous = arrow(Qt::UpArrow, QStringLiteral("Previous match"));
  auto* const next = arrow(Qt::DownArrow, QStringLiteral("Next match"));
  matches_ = new QLabel;
  matches_->setObjectName(QStringLiteral("matches"));
  filters_ = new QCheckBox(QStringLiteral("Only &matching rows"));
  filters_->setObjectName(QStringLiteral("filter"));
  filters_->setVisible(!editable_);
  layout->addWidget(searchText_, 1);
  layout->addWidget(previous);
  layout->addWidget(next);
  layout->addWidget(matches_);
  if (!editable_) {
    layout->addWidget(filters_);
  } else {
    filters_->setParent(bar);
  }
  // Typing on a large table is to stay fluent.
  auto* const pause = new QTimer(bar);
  pause->setSingleShot(true);
  pause->setInterval(60);
  QObject::connect(pause, &QTimer::timeout, this, [this] { SearchTextChanged(); });
  QObject::connect(searchText_, &QLineEdit::textChanged, pause, [pause] { pause->start(); });
  QObject::connect(filters_, &QCheckBox::toggled, this, [this] { SearchTextChanged(); });
  QObject::connect(previous, &QToolButton::clicked, this, [this] { Search(true); });
  QObject::connect(next, &QToolButton::clicked, this, [this] { Search(false); });
  // Enter in the field looks further instead of pressing the dialog's default button.
  const auto shortcut = [this](const QKeySequence& keys, auto act) {
    auto* const made = new QShortcut(keys, searchText_);
    made->setContext(Qt::WidgetShortcut);
    QObject::connect(made, &QShortcut::activated, this, act);
  };
  shortcut(Qt::Key_Return, [this] { Search(false); });
  shortcut(Qt::Key_Enter, [this] { Search(false); });
  shortcut(QKeySequence(Qt::SHIFT | Qt::Key_Return), [this] { Search(true); });
  shortcut(Qt::Key_Escape, [this] {
    searchText_->clear();
    SearchTextChanged();
    ShowSearchBar(false);
    view_->setFocus();
  });
  return bar;
}

void TablePanel::SetTable(TableModel& table) {
  view_->ForgetWidths();
  items_.SetTable(table);
  if (filters_->isChecked()) items_.SetFilter(Bytes(searchText_->text()));
  ShowTable();
}

void TablePanel::ShowTable() {
  const TableModel& table = items_.Table();
  header_->SetText(Shown(table.header));
  header_->setVisible(!table.header.empty());
  subtitle_->SetText(Shown(table.subtitle));
  subtitle_->setVisible(!table.subtitle.empty());
  view_->setAccessibleName(table.header.empty() ? QStringLiteral("Table") : Shown(table.header));
  view_->ShowTable();
  ShowStatus();
}

void TablePanel::ShowStatus() {
  const std::uint32_t all = items_.Table().Rows();
  const std::uint32_t seen = items_.Seen().Rows();
  const QString total = Count(all, "row", "rows");
  status_->setText(seen == all ? total
                               : QStringLiteral("%1 of %2").arg(QLocale().toString(seen), total));
}

bool TablePanel::IsSearchBarShown() const { return !searchBar_->isHidden(); }

void TablePanel::ShowSearchBar(bool shown) {
  searchBar_->setVisible(shown);
  if (!shown) return;
  searchText_->setFocus();
  searchText_->selectAll();
}

// Goes to the first match behind where the user is, that place included.
void TablePanel::SearchTextChanged() {
  const std::string text = Bytes(searchText_->text());
  items_.SetFilter(filters_->isChecked() ? text : std::string());
  matches_->setText(text.empty()
                        ? QString()
                        : Count(items_.Seen().CountMatches(text), "matching row", "matching rows"));
  if (text.empty()) return;
  const QModelIndex current = view_->currentIndex();
  if (current.isValid() && items_.data(current, Qt::EditRole)
                               .toString()
                               .contains(searchText_->text(), Qt::CaseInsensitive)) {
    return;
  }
  Search(false);
}

void TablePanel::Search(bool backwards) {
  const std::string text = Bytes(searchText_->text());
  if (text.empty()) {
    ShowSearchBar(true);
    return;
  }
  std::optional<TableArrangement::Place> from;
  const QModelIndex current = view_->currentIndex();
  if (current.isValid()) {
    from = {static_cast<std::uint32_t>(current.row()), items_.ColumnOf(current)};
  }
  if (const auto place = items_.Seen().Find(text, from, backwards)) {
    view_->GoTo(items_.IndexOf(*place));
  }
}

// No focus proxy: Tab takes such a widget for the one it stands for, and would go round before it
// has been everywhere.
void TablePanel::focusInEvent(QFocusEvent* event) { view_->setFocus(event->reason()); }

void TablePanel::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape && IsSearchBarShown()) {
    ShowSearchBar(false);
    view_->setFocus();
    return;
  }
  QWidget::keyPressEvent(event);
}

void TablePanel::Save(const QString& title) {
  FileDialogModel asked(FileDialogModel::kSaveAs);
  asked.SetTitle("Save table");
  asked.filters = {
      {"CSV", "*.csv"}, {"Tab-separated", "*.tsv"}, {"HTML", "*.html"}, {"PDF", "*.pdf"}};
  asked.defaultExtension = "csv";
  asked.extensionFollowsFilter = true;
  const std::vector<std::string> chosen = AskForFiles(asked, *this);
  if (chosen.empty()) return;
  const QString file = Editable(chosen.front());
  if (SaveTo(file, title)) {
    status_->setText(QStringLiteral("Saved as ") + QDir::toNativeSeparators(file));
    return;
  }
  QMessageBox::warning(
      this, QStringLiteral("Save table"),
      QStringLiteral("The file %1 could not be written.").arg(QDir::toNativeSeparators(file)));
}

bool TablePanel::SaveTo(const QString& file, const QString& title) const {
  const QString kind = QFileInfo(file).suffix().toLower();
  if (kind == QLatin1String("pdf")) return WriteTablePdf(items_.Seen(), title, file);
  const TableModel& table = items_.Seen().Table();
  std::vector<std::uint32_t> columns(table.Columns());
  std::iota(columns.begin(), columns.end(), 0);
  const std::vector<std::uint32_t> rows = items_.Seen().AllRows();
  std::string text;
  if (kind == QLatin1String("html") || kind == QLatin1String("htm")) {
    text = table_write::Html(table, rows, columns, Bytes(title));
  } else {
    const char separator = kind == QLatin1String("tsv") ? '\t' : ',';
    text = table_write::Delimited(table, rows, columns, true, separator) + '\n';
  }
  return base::WriteWholeFile(Bytes(file), text, {}).has_value();
}

void TablePanel::Print(const QString& title) { PrintTableWithDialog(items_.Seen(), title, this); }

}  // namespace ui
