#include "tavhost/qt/ide/command_browser.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QSplitter>
#include <QTextBrowser>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <utility>

#include "tavhost/ide/script_text.h"
#include "tavhost/qt/ide/command_page.h"
#include "tavhost/qt/shown_text.h"

namespace ui::ide_view {

namespace {

// What a search looks through beside the name.
std::string SearchedText(const reference::Command& command, const reference::Family& family) {
  std::string text = command.summary + ' ' + family.title;
  for (const reference::Parameter& parameter : command.parameters) text += ' ' + parameter.name;
  for (const reference::Result& result : command.results) text += ' ' + result.name;
  return text;
}

}  // namespace

CommandBrowser::CommandBrowser(Help help, QWidget* parent)
    : QWidget(parent),
      help_(std::move(help)),
      search_(new QLineEdit),
      list_(new QTreeWidget),
      page_(new QTextBrowser),
      insert_(new QPushButton(QStringLiteral("In&sert into Script"))) {
  search_->setObjectName(QStringLiteral("commandSearch"));
  search_->setPlaceholderText(QStringLiteral("Search commands"));
  search_->setAccessibleName(QStringLiteral("Search commands"));
  search_->setClearButtonEnabled(true);
  search_->installEventFilter(this);
  list_->setObjectName(QStringLiteral("commandList"));
  list_->setAccessibleName(QStringLiteral("Commands"));
  list_->setHeaderHidden(true);
  list_->setUniformRowHeights(true);
  list_->setRootIsDecorated(true);
  page_->setObjectName(QStringLiteral("commandPage"));
  page_->setAccessibleName(QStringLiteral("Documentation of the command"));
  page_->setOpenLinks(false);
  page_->setFrameShape(QFrame::NoFrame);
  insert_->setObjectName(QStringLiteral("commandInsert"));
  insert_->setEnabled(false);

  auto* const splitter = new QSplitter(Qt::Vertical);
  splitter->addWidget(list_);
  splitter->addWidget(page_);
  splitter->setStretchFactor(0, 2);
  splitter->setStretchFactor(1, 3);
  splitter->setChildrenCollapsible(false);
  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(6, 6, 6, 6);
  layout->addWidget(search_);
  layout->addWidget(splitter, 1);
  layout->addWidget(insert_);
  setFocusProxy(search_);

  connect(search_, &QLineEdit::textChanged, this, [this](const QString& text) { Search(text); });
  connect(list_, &QTreeWidget::currentItemChanged, this, [this] { ShowPage(); });
  connect(list_, &QTreeWidget::itemActivated, this, [this] { Insert(); });
  connect(insert_, &QPushButton::clicked, this, [this] { Insert(); });
  connect(page_, &QTextBrowser::anchorClicked, this, [this](const QUrl& url) {
    if (url.scheme() == QLatin1String("command")) {
      ShowCommand(url.path());
    } else if (const reference::Command* const command = Current()) {
      help_.insert(ExampleText(*command) + QLatin1Char('\n'));
    }
  });
}

void CommandBrowser::Fill() {
  if (std::exchange(filled_, true)) return;
  for (const reference::Family& family : help_.reference().Families()) {
    auto* const heading = new QTreeWidgetItem(list_, {Shown(family.title)});
    heading->setFlags(Qt::ItemIsEnabled);
    QFont bold = heading->font(0);
    bold.setBold(true);
    heading->setFont(0, bold);
    for (const reference::Command& command : family.commands) {
      auto* const item = new QTreeWidgetItem(heading, {Shown(command.name)});
      item->setToolTip(0, Shown(command.summary));
    }
  }
  list_->expandAll();
  if (QTreeWidgetItem* const first = list_->topLevelItem(0)) {
    list_->setCurrentItem(first->child(0));
    list_->scrollToTop();
  }
}

int CommandBrowser::ShownCount() const {
  int count = 0;
  for (int i = 0; i < list_->topLevelItemCount(); ++i) {
    QTreeWidgetItem* const family = list_->topLevelItem(i);
    for (int k = 0; k < family->childCount(); ++k) count += family->child(k)->isHidden() ? 0 : 1;
  }
  return count;
}

const reference::Command* CommandBrowser::Current() const {
  const QTreeWidgetItem* const item = list_->currentItem();
  if (!item || !item->parent()) return nullptr;
  return help_.reference().Find(item->text(0).toStdString());
}

void CommandBrowser::ShowPage() {
  const reference::Command* const command = Current();
  insert_->setEnabled(command != nullptr);
  if (command) {
    page_->setHtml(CommandPage(*command, help_.usage(*command), palette()));
  } else {
    page_->clear();
  }
}

void CommandBrowser::Search(const QString& query) {
  Fill();
  QTreeWidgetItem* best = nullptr;
  int bestScore = 0;
  const std::string words = query.toStdString();
  const auto& families = help_.reference().Families();
  for (std::size_t i = 0; i < families.size(); ++i) {
    QTreeWidgetItem* const heading = list_->topLevelItem(static_cast<int>(i));
    bool any = false;
    for (std::size_t k = 0; k < families[i].commands.size(); ++k) {
      const reference::Command& command = families[i].commands[k];
      const int score = ide::SearchScore(words, command.name, SearchedText(command, families[i]));
      QTreeWidgetItem* const item = heading->child(static_cast<int>(k));
      item->setHidden(score == 0);
      any = any || score > 0;
      if (score <= bestScore) continue;
      bestScore = score;
      best = item;
    }
    heading->setHidden(!any);
  }
  if (best && !query.trimmed().isEmpty()) list_->setCurrentItem(best);
}

bool CommandBrowser::ShowCommand(const QString& name) {
  Fill();
  search_->clear();
  for (QTreeWidgetItem* const item :
       list_->findItems(name, Qt::MatchExactly | Qt::MatchRecursive, 0)) {
    if (!item->parent()) continue;
    list_->setCurrentItem(item);
    list_->scrollToItem(item, QAbstractItemView::PositionAtCenter);
    return true;
  }
  return false;
}

void CommandBrowser::FocusSearch() {
  search_->setFocus();
  search_->selectAll();
}

void CommandBrowser::Insert() {
  if (const reference::Command* const command = Current()) help_.insert(InsertedText(*command));
}

void CommandBrowser::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  Fill();
}

void CommandBrowser::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  if (event->type() == QEvent::PaletteChange && filled_) ShowPage();
}

// The list is walked and the command inserted without leaving the search line.
bool CommandBrowser::eventFilter(QObject* object, QEvent* event) {
  if (object != search_ || event->type() != QEvent::KeyPress) {
    return QWidget::eventFilter(object, event);
  }
  auto* const key = static_cast<QKeyEvent*>(event);
  switch (key->key()) {
    case Qt::Key_Up:
    case Qt::Key_Down: {
      QTreeWidgetItem* item = list_->currentItem();
      const bool up = key->key() == Qt::Key_Up;
      do {
        item = item ? (up ? list_->itemAbove(item) : list_->itemBelow(item)) : nullptr;
      } while (item && !item->parent());
      if (item) list_->setCurrentItem(item);
      return true;
    }
    case Qt::Key_Return:
    case Qt::Key_Enter:
      Insert();
      return true;
    default:
      return false;
  }
}

}  // namespace ui::ide_view
