#include "tavhost/qt/ide/problems_pane.h"

#include <QFileInfo>
#include <QHeaderView>
#include <map>
#include <utility>

#include "tavhost/qt/ide/editor_tabs.h"
#include "tavhost/qt/shown_text.h"

namespace ui::ide_view {

namespace {

// An item's place: its file is the tool tip of the second column.
constexpr int kLineRole = Qt::UserRole + 1;
constexpr int kColumnRole = Qt::UserRole + 2;

}  // namespace

ProblemsPane::ProblemsPane(EditorTabs& tabs) : tabs_(tabs) {
  setObjectName(QStringLiteral("problemList"));
  setAccessibleName(QStringLiteral("Problems"));
  setHeaderLabels({QStringLiteral("Problem"), QStringLiteral("File"), QStringLiteral("Line")});
  setRootIsDecorated(false);
  setFrameShape(QFrame::NoFrame);
  header()->setStretchLastSection(false);
  header()->setSectionResizeMode(0, QHeaderView::Stretch);
  header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
  header()->setSectionResizeMode(2, QHeaderView::ResizeToContents);
  const auto open = [this](QTreeWidgetItem* item) { Open(*item); };
  connect(this, &QTreeWidget::itemClicked, this, open);
  connect(this, &QTreeWidget::itemActivated, this, open);
}

void ProblemsPane::Show(const std::vector<base::Diagnostic>& mistakes) {
  clear();
  for (EditorPage* const page : tabs_.Pages()) page->Editor().SetMarks({});
  std::map<EditorPage*, std::vector<base::Diagnostic>> marks;
  for (const base::Diagnostic& mistake : mistakes) {
    const QString file = Shown(mistake.file);
    const QString message = ShownMessage(mistake);
    auto* const item = new QTreeWidgetItem(
        this, {message, QFileInfo(file).fileName(), QString::number(mistake.line)});
    item->setToolTip(0, message);
    item->setToolTip(1, file);
    item->setData(0, kLineRole, mistake.line);
    item->setData(0, kColumnRole, mistake.column);
    if (EditorPage* const page = tabs_.PageOf(file)) marks[page].push_back(mistake);
  }
  for (auto& [page, found] : marks) page->Editor().SetMarks(std::move(found));
}

bool ProblemsPane::Choose(int step) {
  const int count = topLevelItemCount();
  if (count == 0) return false;
  const int present = indexOfTopLevelItem(currentItem());
  const int next = present < 0 ? (step > 0 ? 0 : count - 1) : (present + step + count) % count;
  QTreeWidgetItem* const item = topLevelItem(next);
  setCurrentItem(item);
  Open(*item);
  return true;
}

void ProblemsPane::Open(const QTreeWidgetItem& item) const {
  chosen(item.toolTip(1), item.data(0, kLineRole).toInt(), item.data(0, kColumnRole).toInt());
}

}  // namespace ui::ide_view
