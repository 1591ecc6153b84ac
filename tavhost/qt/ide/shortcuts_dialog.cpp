#include "tavhost/qt/ide/shortcuts_dialog.h"

#include <QAction>
#include <QDialog>
#include <QKeySequence>
#include <QMenu>
#include <QMenuBar>
#include <QTextBrowser>
#include <QVBoxLayout>

namespace ui::ide_view {

namespace {

// Entries without a key are left out. Where a text does the key itself, it stands behind a tab in
// the entry's name.
QString RowsOf(const QMenu& menu) {
  QString rows;
  for (const QAction* const action : menu.actions()) {
    QString text = action->text();
    QString keys = QKeySequence::listToString(action->shortcuts());
    if (const qsizetype tab = text.indexOf(QLatin1Char('\t')); tab >= 0) {
      keys = text.mid(tab + 1);
      text.truncate(tab);
    }
    if (keys.isEmpty()) continue;
    rows += QStringLiteral("<tr><td style='padding-right:24px'>%1</td><td>%2</td></tr>")
                .arg(text.remove(QLatin1Char('&')).remove(QStringLiteral("...")).toHtmlEscaped(),
                     keys.toHtmlEscaped());
  }
  return rows;
}

}  // namespace

void ShowShortcuts(const QMenuBar& menus, QWidget& parent) {
  QString rows;
  for (const QAction* const menu : menus.actions()) {
    rows += QStringLiteral("<tr><td colspan='2'><h4 style='margin:8px 0 2px 0'>%1</h4></td></tr>")
                .arg(menu->text().remove(QLatin1Char('&')));
    rows += RowsOf(*menu->menu());
  }
  QDialog dialog(&parent);
  dialog.setWindowTitle(QStringLiteral("Keyboard Shortcuts"));
  auto* const page = new QTextBrowser;
  page->setAccessibleName(QStringLiteral("Keyboard shortcuts"));
  page->setHtml(QStringLiteral("<table>%1</table>").arg(rows));
  auto* const layout = new QVBoxLayout(&dialog);
  layout->addWidget(page);
  dialog.resize(460, 560);
  dialog.exec();
}

}  // namespace ui::ide_view
