#include "tavhost/qt/tree_list_box_view.h"

#include <QHeaderView>
#include <QItemSelection>
#include <QKeyEvent>
#include <QWhatsThis>
#include <algorithm>
#include <utility>

#include "tavhost/qt/on_screen.h"
#include "tavhost/qt/search_field.h"
#include "tavhost/qt/shown_text.h"
#include "tavhost/qt/text_block.h"
#include "tavhost/qt/wrapping_row.h"

namespace ui {

namespace {

using Handle = TreeListBoxModel::Handle;

constexpr int kColumns = 56;
constexpr int kHeadlineLines = 6;
constexpr int kNameColumns = 200;  // what a screen reader says of the tree
constexpr int kMargins = 40;       // what stands beside a button in the window
constexpr long kLines = 20;

constexpr char kHelp[] =
    "Arrow keys move, and open and close parents; typing goes to the next item that begins so. "
    "Space marks an item, Ctrl+A all of them where several can be chosen. Enter confirms, Escape "
    "cancels.";

}  // namespace

TreeListBoxView::TreeListBoxView(TreeListBoxModel& model, QWidget* parent)
    : ModalView(model, std::make_unique<QDialog>(parent)),
      tree_(model),
      items_(model),
      view_(new FittingTreeView) {
  auto* const layout = new QVBoxLayout(&Dialog());
  if (!model.headline.empty()) {
    auto* const headline =
        new TextBlock(kColumns, kHeadlineLines, Qt::AlignLeading, TextBlock::Width::kOfWindow);
    headline->SetText(Shown(model.headline));
    layout->addWidget(headline);
  }
  if (model.Rules().searchable) {
    auto* const search = new SearchField(*view_);
    QObject::connect(search, &QLineEdit::textChanged, this,
                     [this](const QString& text) { Filter(text); });
    layout->addWidget(search);
  }
  SetUpTree();
  layout->addWidget(view_, 1);
  layout->addWidget(MakeButtonRow());
  Dialog().setSizeGripEnabled(model.Rules().sizeable);
  const QFontMetrics metrics(Dialog().font());
  if (!model.size) {
    model.size =
        SV::Size(metrics.averageCharWidth() * long{kColumns}, metrics.lineSpacing() * kLines);
  }
  LimitSize();
  ShowModel();
  view_->setFocus();
}

// The view asks for its items until it has none, and tells of what becomes of them.
TreeListBoxView::~TreeListBoxView() {
  showing_ = true;
  view_->setModel(nullptr);
}

void TreeListBoxView::SetUpTree() {
  const TreeListBoxModel::Options& rules = tree_.Rules();
  view_->setObjectName(QStringLiteral("tree"));
  view_->setUniformRowHeights(true);
  // Room for two images side by side.
  const int side = view_->style()->pixelMetric(QStyle::PM_SmallIconSize);
  view_->setIconSize(QSize(side * 2 + 2, side));
  view_->setModel(&items_);
  view_->setAllColumnsShowFocus(true);
  view_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  view_->setSelectionMode(rules.multiple && !rules.checkBoxes ? QAbstractItemView::ExtendedSelection
                                                              : QAbstractItemView::SingleSelection);
  view_->setAccessibleName(ElidedText(
      *view_, Shown(tree_.headline.empty() ? tree_.Title() : tree_.headline), kNameColumns));
  view_->setRootIsDecorated(!rules.flat);
  view_->setItemsExpandable(!rules.flat);
  if (rules.flat) view_->setIndentation(0);
  view_->setExpandsOnDoubleClick(!rules.endsOnDoubleClick);
  view_->SetUpColumns();

  QObject::connect(view_->selectionModel(), &QItemSelectionModel::selectionChanged, this,
                   [this](const QItemSelection& selected, const QItemSelection& deselected) {
                     TakeSelection(selected, deselected);
                   });
  QObject::connect(&items_, &QAbstractItemModel::dataChanged, this, [this] { UpdateButtons(); });
  QObject::connect(view_, &QTreeView::expanded, this, [this](const QModelIndex& index) {
    if (!showing_ && !items_.IsFiltered()) tree_.Expand(TreeListBoxItems::ItemOf(index), true);
  });
  QObject::connect(view_, &QTreeView::collapsed, this, [this](const QModelIndex& index) {
    if (!showing_ && !items_.IsFiltered()) tree_.Expand(TreeListBoxItems::ItemOf(index), false);
  });
  QObject::connect(view_, &QTreeView::doubleClicked, this, [this](const QModelIndex& index) {
    if (!tree_.Rules().endsOnDoubleClick) return;
    if (!tree_.IsSelectable(TreeListBoxItems::ItemOf(index))) return;
    if (tree_.Rules().checkBoxes) tree_.Select(TreeListBoxItems::ItemOf(index), true);
    if (tree_.IsButtonEnabled("ok")) End("ok");
  });
}

// As the script wants it, as far as the screen goes.
int TreeListBoxView::ButtonWidth() {
  const int most = MostOnScreen(Dialog()).width() - kMargins;
  return static_cast<int>(std::min<long>(tree_.buttonWidth, std::max(most, kMargins)));
}

// What buttons of the width that the script gives hold beside their frames.
int TreeListBoxView::ButtonColumns() {
  if (tree_.buttonWidth <= 0) return kMostLabelColumns;
  const long column = Dialog().fontMetrics().averageCharWidth();
  const long columns = ButtonWidth() / column - 3;
  return static_cast<int>(std::max(columns, 1L));
}

// In the order of the model, which is the script's; not in that of the desktop.
QWidget* TreeListBoxView::MakeButtonRow() {
  auto* const row = new WrappingRow(WrappingRow::Wraps::kOnScreen, &Dialog());
  if (tree_.Rules().hasHelp) {
    auto* const help = new QPushButton(QStringLiteral("&Help"));
    help->setObjectName(QStringLiteral("help"));
    help->setAutoDefault(false);
    QObject::connect(help, &QPushButton::clicked, this, [help] {
      QWhatsThis::showText(help->mapToGlobal(QPoint(0, 0)), QString::fromLatin1(kHelp), help);
    });
    row->AddLeading(help);
  }
  for (const ModalButton& button : tree_.Buttons()) {
    auto* const widget = new QPushButton;
    ShowLabel(*widget, Shown(button.label), ButtonColumns());
    widget->setObjectName(QString::fromStdString(button.name));
    row->Add(widget);
    // The dialog hears of its default button only from one that stands in it.
    widget->setDefault(button.name == tree_.DefaultButton());
    if (tree_.buttonWidth > 0) {
      widget->setFixedWidth(ButtonWidth());
    }
    QObject::connect(widget, &QPushButton::clicked, this,
                     [this, name = button.name] { End(name); });
    buttons_.emplace_back(widget, button.name);
  }
  return row;
}

void TreeListBoxView::LimitSize() {
  const auto sizeOf = [](const SV::Size& size) {
    return QSize(static_cast<int>(std::clamp(size.Width(), 0L, 16000L)),
                 static_cast<int>(std::clamp(size.Height(), 0L, 16000L)));
  };
  const QSize most = MostOnScreen(Dialog());
  if (tree_.minimum) Dialog().setMinimumSize(sizeOf(*tree_.minimum).boundedTo(most));
  const auto fitting = [this, &sizeOf](const SV::Size& size) {
    return LeastSizeFor(Dialog(), sizeOf(size).expandedTo(Dialog().minimumSize()));
  };
  if (tree_.maximum) Dialog().setMaximumSize(fitting(*tree_.maximum));
  if (!tree_.Rules().sizeable) Dialog().setFixedSize(fitting(*tree_.size).boundedTo(most));
}

void TreeListBoxView::ShowModel() {
  showing_ = true;
  ShowExpansion();
  ShowSelection();
  view_->FitColumns();
  showing_ = false;
  UpdateButtons();
}

void TreeListBoxView::ShowExpansion() {
  if (tree_.Rules().flat || items_.IsFiltered()) {
    view_->expandAll();
    return;
  }
  bool all = true;
  std::vector<Handle> expanded;
  for (Handle item = tree_.Next(TreeListBoxModel::kRoot); item != TreeListBoxModel::kNone;
       item = tree_.Next(item)) {
    if (!tree_.IsParent(item)) continue;
    if (tree_.IsExpanded(item)) {
      expanded.push_back(item);
    } else {
      all = false;
    }
  }
  // One call lays the tree out once, however many parents there are.
  if (all) {
    view_->expandAll();
    return;
  }
  for (const Handle item : expanded) view_->setExpanded(items_.IndexOf(item), true);
}

void TreeListBoxView::ShowSelection() {
  const std::vector<Handle> selected = tree_.Selected();
  Handle first = TreeListBoxModel::kNone;
  QItemSelection selection;
  for (std::size_t begin = 0; begin < selected.size();) {
    if (!items_.IsShown(selected[begin])) {
      ++begin;
      continue;
    }
    if (first == TreeListBoxModel::kNone) first = selected[begin];
    // Neighbours under one parent are one range.
    const QModelIndex top = items_.IndexOf(selected[begin]);
    QModelIndex bottom = top;
    std::size_t end = begin + 1;
    for (; end < selected.size() && items_.IsShown(selected[end]); ++end) {
      const QModelIndex next = items_.IndexOf(selected[end]);
      if (tree_.Parent(selected[end]) != tree_.Parent(selected[begin]) ||
          next.row() != bottom.row() + 1) {
        break;
      }
      bottom = next;
    }
    selection.append(
        QItemSelectionRange(top, bottom.siblingAtColumn(items_.columnCount(QModelIndex()) - 1)));
    begin = end;
  }
  if (!tree_.Rules().checkBoxes) {
    view_->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
  }
  if (first != TreeListBoxModel::kNone) {
    view_->selectionModel()->setCurrentIndex(items_.IndexOf(first), QItemSelectionModel::NoUpdate);
    if (!view_->isExpanded(items_.IndexOf(tree_.Parent(first))) &&
        tree_.Parent(first) != TreeListBoxModel::kRoot) {
      return;  // it lies in a closed parent, which stays closed
    }
    view_->scrollTo(items_.IndexOf(first));
  }
}

void TreeListBoxView::TakeSelection(const QItemSelection& selected,
                                    const QItemSelection& deselected) {
  if (showing_ || tree_.Rules().checkBoxes) return;
  const auto take = [this](const QItemSelection& selection, bool select) {
    for (const QItemSelectionRange& range : selection) {
      for (int row = range.top(); row <= range.bottom(); ++row) {
        tree_.Select(TreeListBoxItems::ItemOf(items_.index(row, 0, range.parent())), select);
      }
    }
  };
  take(deselected, false);
  take(selected, true);
  UpdateButtons();
}

void TreeListBoxView::Filter(const QString& text) {
  showing_ = true;
  items_.SetFilter(text);
  ShowExpansion();
  ShowSelection();
  showing_ = false;
  view_->FitColumnsSoon();
  UpdateButtons();
}

void TreeListBoxView::UpdateButtons() {
  for (const auto& [button, name] : buttons_) button->setEnabled(tree_.IsButtonEnabled(name));
}

// All that the user can see or scroll to: what a filter hides and what lies in closed parents stays
// as it is. Given to the view in one piece; the view's own way compares every range with every
// other.
void TreeListBoxView::SelectAllShown() {
  for (Handle item = tree_.Next(TreeListBoxModel::kRoot); item != TreeListBoxModel::kNone;) {
    if (items_.IsShown(item)) tree_.Select(item, true);
    const bool isOpen = !tree_.IsParent(item) || view_->isExpanded(items_.IndexOf(item));
    item = isOpen ? tree_.Next(item) : tree_.NextBeside(item);
  }
  showing_ = true;
  ShowSelection();
  showing_ = false;
  view_->viewport()->update();  // the check boxes too
  UpdateButtons();
}

bool TreeListBoxView::eventFilter(QObject* object, QEvent* event) {
  if (ModalView::eventFilter(object, event)) return true;
  if (object != view_ || event->type() != QEvent::KeyPress) return false;
  auto* const key = static_cast<QKeyEvent*>(event);
  BeginTyping(*view_, *key);
  // With check boxes the marks are the choice, not where the user is.
  if (!tree_.Rules().checkBoxes && ChoosesCurrent(*view_, *key)) return true;
  if (key->matches(QKeySequence::SelectAll) && tree_.Rules().multiple) {
    SelectAllShown();
    return true;
  }
  return false;
}

// What the filter hides the user does not see selected, so it is not returned.
void TreeListBoxView::ReadModel() {
  if (!items_.IsFiltered()) return;
  for (const Handle item : tree_.Selected()) {
    if (!items_.IsShown(item)) tree_.Select(item, false);
  }
}

}  // namespace ui
