#include "tavhost/qt/list_box_view.h"

#include <QItemSelection>
#include <QScrollArea>
#include <algorithm>

#include "tavhost/qt/on_screen.h"
#include "tavhost/qt/search_field.h"
#include "tavhost/qt/shown_text.h"
#include "tavhost/qt/text_block.h"

namespace ui {

namespace {

constexpr int kColumns = 48;
constexpr int kLines = 14;
constexpr int kCaptionLines = 6;
constexpr int kCheckBoxColumns = 42;
constexpr int kBesideCheckBox = 10;
constexpr int kNameColumns = 200;  // what a screen reader says of the list
constexpr std::size_t kMostShownCheckBoxes = 6;
// A row of more bytes than any screen shows is cut there, so that drawing it stays fast.
constexpr std::size_t kMostShownBytes = 4000;

bool HasLineFeed(const ListBoxModel& list) {
  for (std::uint32_t i = 0; i < list.Count(); ++i) {
    if (list.Entry(i).find('\n') != std::string_view::npos) return true;
  }
  return false;
}

}  // namespace

int ListBoxView::Entries::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : rows_.Count(list_.Count());
}

QVariant ListBoxView::Entries::data(const QModelIndex& index, int role) const {
  if (role != Qt::DisplayRole) return QVariant();
  return Shown(list_.Entry(rows_.EntryAt(index.row())).substr(0, kMostShownBytes));
}

void ListBoxView::Entries::Search(const QString& text) {
  beginResetModel();
  rows_.Search(text, list_.Count(),
               [this](std::uint32_t entry) { return Shown(list_.Entry(entry)); });
  endResetModel();
}

ListBoxView::ListBoxView(ListBoxModel& model, QWidget* parent)
    : ModalView(model, std::make_unique<QDialog>(parent)),
      list_(model),
      entries_(model),
      view_(new QListView) {
  view_->setObjectName(QStringLiteral("list"));
  view_->setModel(&entries_);
  view_->setUniformItemSizes(!HasLineFeed(model));
  view_->setSelectionMode(model.IsMultiple() ? QAbstractItemView::MultiSelection
                                             : QAbstractItemView::SingleSelection);
  view_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  view_->setAccessibleName(ElidedText(
      *view_, Shown(model.boxText.empty() ? model.Title() : model.boxText), kNameColumns));
  if (!model.IsMultiple()) {
    QObject::connect(view_, &QListView::doubleClicked, this, [this] { End("ok"); });
  }

  auto* const layout = new QVBoxLayout(&Dialog());
  if (!model.boxText.empty()) {
    auto* const text =
        new TextBlock(kColumns, kCaptionLines, Qt::AlignLeading, TextBlock::Width::kOfWindow);
    text->SetText(Shown(model.boxText));
    layout->addWidget(text);
  }
  if (model.Count() > kMostUnsearched) {
    auto* const search = new SearchField(*view_);
    QObject::connect(search, &QLineEdit::textChanged, this,
                     [this](const QString& wanted) { Search(wanted); });
    layout->addWidget(search);
  }
  layout->addWidget(view_, 1);
  if (!model.CheckBoxes().empty()) layout->addWidget(MakeCheckBoxes());
  layout->addWidget(MakeButtons());
  Dialog().setSizeGripEnabled(true);
  const QFontMetrics metrics(Dialog().font());
  view_->setMinimumHeight(metrics.lineSpacing() * 3);
  if (!model.size) {
    const long boxes = static_cast<long>(std::min(model.CheckBoxes().size(), kMostShownCheckBoxes));
    model.size = SV::Size(long{metrics.averageCharWidth()} * kColumns,
                          metrics.lineSpacing() * (kLines + 3 + boxes * 3 / 2));
  }
  ShowModel();
  view_->setFocus();
}

QWidget* ListBoxView::MakeCheckBoxes() {
  auto* const boxes = new QWidget;
  auto* const layout = new QVBoxLayout(boxes);
  layout->setContentsMargins(0, 0, 0, 0);
  for (const ListBoxModel::CheckBox& box : list_.CheckBoxes()) {
    auto* const widget = new QCheckBox;
    ShowLabel(*widget, Shown(box.text), std::max(kCheckBoxColumns, LabelColumns(kBesideCheckBox)));
    layout->addWidget(widget);
    checkBoxes_.push_back(widget);
  }
  if (checkBoxes_.size() <= kMostShownCheckBoxes) return boxes;
  auto* const area = new QScrollArea;
  area->setWidget(boxes);
  area->setWidgetResizable(true);
  area->setFrameShape(QFrame::NoFrame);
  const int height = checkBoxes_.front()->sizeHint().height() + layout->spacing();
  area->setFixedHeight(height * static_cast<int>(kMostShownCheckBoxes));
  return area;
}

void ListBoxView::ShowModel() {
  ShowSelection();
  for (std::size_t i = 0; i < checkBoxes_.size(); ++i) {
    checkBoxes_[i]->setChecked(list_.CheckBoxes()[i].checked);
  }
}

void ListBoxView::ShowSelection() {
  QItemSelection selection;
  std::vector<int> selected;
  for (const std::uint32_t entry : list_.Selected()) {
    if (const auto row = entries_.Rows().RowOf(entry)) selected.push_back(*row);
  }
  // Neighbours become one range: selecting all of a long list is one range then.
  for (std::size_t begin = 0; begin < selected.size();) {
    std::size_t end = begin + 1;
    while (end < selected.size() && selected[end] == selected[end - 1] + 1) ++end;
    selection.append(
        QItemSelectionRange(entries_.index(selected[begin]), entries_.index(selected[end - 1])));
    begin = end;
  }
  view_->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
  if (selected.empty()) return;
  const QModelIndex first = entries_.index(selected.front());
  view_->selectionModel()->setCurrentIndex(first, QItemSelectionModel::NoUpdate);
  view_->scrollTo(first);
}

void ListBoxView::Search(const QString& text) {
  TakeSelection();
  entries_.Search(text);
  ShowSelection();
}

void ListBoxView::TakeSelection() {
  const ShownRows& rows = entries_.Rows();
  for (const std::uint32_t entry : list_.Selected()) {
    if (rows.RowOf(entry)) list_.SetSelected(entry, false);
  }
  for (const QItemSelectionRange& range : view_->selectionModel()->selection()) {
    for (int row = range.top(); row <= range.bottom(); ++row) {
      list_.SetSelected(rows.EntryAt(row), true);
    }
  }
}

bool ListBoxView::eventFilter(QObject* object, QEvent* event) {
  if (ModalView::eventFilter(object, event)) return true;
  if (object != view_ || event->type() != QEvent::KeyPress) return false;
  const auto& key = static_cast<const QKeyEvent&>(*event);
  BeginTyping(*view_, key);
  return ChoosesCurrent(*view_, key);
}

// What the search hides the user does not see selected, so it is not returned.
void ListBoxView::ReadModel() {
  TakeSelection();
  for (const std::uint32_t entry : list_.Selected()) {
    if (!entries_.Rows().RowOf(entry)) list_.SetSelected(entry, false);
  }
  for (std::size_t i = 0; i < checkBoxes_.size(); ++i) {
    list_.CheckBoxes()[i].checked = checkBoxes_[i]->isChecked();
  }
}

}  // namespace ui
