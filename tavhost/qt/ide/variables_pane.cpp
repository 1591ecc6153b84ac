#include "tavhost/qt/ide/variables_pane.h"

#include <QHeaderView>

#include "tavhost/ide/ide_host.h"
#include "tavhost/qt/shown_text.h"

namespace ui::ide_view {

VariablesPane::VariablesPane(ide::IdeHost& host) : host_(host) {
  setObjectName(QStringLiteral("variableList"));
  setAccessibleName(QStringLiteral("Variables"));
  setHeaderLabels({QStringLiteral("Variable"), QStringLiteral("Value"), QStringLiteral("Kind")});
  setRootIsDecorated(false);
  setAlternatingRowColors(true);
  setFrameShape(QFrame::NoFrame);
  header()->setStretchLastSection(false);
  header()->setSectionResizeMode(1, QHeaderView::Stretch);
  header()->setSectionResizeMode(2, QHeaderView::ResizeToContents);
}

void VariablesPane::Refresh() {
  if (!isVisible()) return;
  clear();
  for (const ide::IdeHost::Variable& variable : host_.Variables()) {
    auto* const item = new QTreeWidgetItem(
        this, {Shown(variable.name), Shown(variable.value), Shown(variable.type)});
    if (variable.isLocal) {
      QFont font = item->font(0);
      font.setBold(true);
      item->setFont(0, font);
      item->setToolTip(0, QStringLiteral("of the function that runs"));
    }
    item->setToolTip(1, Shown(variable.value));
  }
}

}  // namespace ui::ide_view
