#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QDir>
#include <QDockWidget>
#include <QFileInfo>
#include <QFontDatabase>
#include <QFontDialog>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPainter>
#include <QPlainTextEdit>
#include <QScreen>
#include <QStatusBar>
#include <QStyle>
#include <QTextBrowser>
#include <QToolBar>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <tl/expected.hpp>
#include <tuple>
#include <utility>

#include "tavhost/qt/ide/command_browser.h"
#include "tavhost/qt/ide/console.h"
#include "tavhost/qt/ide/editor_tabs.h"
#include "tavhost/qt/ide/find_bar.h"
#include "tavhost/qt/ide/ide_window.h"
#include "tavhost/qt/tool_docks.h"

// The menus and what their entries do.
namespace ui::ide_view {

namespace {

constexpr int kMostRecent = 12;
constexpr int kSmallestFont = 6;
constexpr int kLargestFont = 40;

// Painted here: the style's own are black, on dark windows too.
QIcon Painted(int side, const QColor& colour, const std::function<void(QPainter&, qreal)>& paint) {
  QIcon icon;
  for (const QIcon::Mode mode : {QIcon::Normal, QIcon::Disabled}) {
    for (const int scale : {1, 2}) {
      QPixmap picture(side * scale, side * scale);
      picture.setDevicePixelRatio(scale);
      picture.fill(Qt::transparent);
      QPainter painter(&picture);
      painter.setRenderHint(QPainter::Antialiasing);
      painter.setPen(Qt::NoPen);
      painter.setBrush(mode == QIcon::Disabled ? QColor(0x8a, 0x90, 0x99, 0x90) : colour);
      paint(painter, side);
      painter.end();
      icon.addPixmap(picture, mode);
    }
  }
  return icon;
}

QIcon RunIcon(int side) {
  return Painted(side, QColor(0x2e, 0x9e, 0x4f), [](QPainter& painter, qreal size) {
    painter.drawPolygon(QPolygonF(
        {{size * 0.22, size * 0.12}, {size * 0.88, size * 0.5}, {size * 0.22, size * 0.88}}));
  });
}

QIcon StopIcon(int side) {
  return Painted(side, QColor(0xd1, 0x45, 0x45), [](QPainter& painter, qreal size) {
    painter.drawRoundedRect(QRectF(size * 0.18, size * 0.18, size * 0.64, size * 0.64), 2, 2);
  });
}

}  // namespace

QAction* IdeWindow::Add(QMenu& menu, const QString& text, const QList<QKeySequence>& keys,
                        std::function<void()> run) {
  QAction* const action = menu.addAction(text);
  action->setShortcuts(keys);
  connect(action, &QAction::triggered, this, [run = std::move(run)] { run(); });
  return action;
}

void IdeWindow::MakeActions() {
  const auto editor = [this]() -> ScriptEditor& { return tabs_->Page()->Editor(); };
  const auto icon = [this](QStyle::StandardPixmap kind) { return style()->standardIcon(kind); };

  QMenu& file = *menuBar()->addMenu(QStringLiteral("&File"));
  QAction* const newScript =
      Add(file, QStringLiteral("&New"), {QKeySequence::New}, [this] { tabs_->New(); });
  QAction* const open = Add(file, QStringLiteral("&Open..."), {QKeySequence::Open},
                            [this] { tabs_->OpenWithDialog(); });
  recentMenu_ = file.addMenu(QStringLiteral("Open &Recent"));
  file.addSeparator();
  QAction* const save = Add(file, QStringLiteral("&Save"), {QKeySequence::Save},
                            [this] { tabs_->Save(*tabs_->Page()); });
  Add(file, QStringLiteral("Save &As..."), {QKeySequence(QStringLiteral("Ctrl+Shift+S"))},
      [this] { tabs_->SaveAs(*tabs_->Page()); });
  Add(file, QStringLiteral("Save A&ll"), {QKeySequence(QStringLiteral("Ctrl+Alt+S"))},
      [this] { tabs_->SaveAll(); });
  file.addSeparator();
  Add(file, QStringLiteral("&Close"), {QKeySequence(QStringLiteral("Ctrl+W"))},
      [this] { tabs_->ClosePage(tabs_->currentIndex()); });
  Add(file, QStringLiteral("&Quit"), {QKeySequence(QStringLiteral("Ctrl+Q"))}, [this] { close(); });

  QMenu& edit = *menuBar()->addMenu(QStringLiteral("&Edit"));
  // What the focused text does itself has no shortcut here: it would take the key away from others.
  const auto add = [&edit, this](const char* text, const char* keys, std::function<void()> run) {
    return Add(edit, QLatin1String(text), {QKeySequence(QLatin1String(keys))}, std::move(run));
  };
  Add(edit, QStringLiteral("&Undo\tCtrl+Z"), {}, [editor] { editor().undo(); });
  Add(edit, QStringLiteral("&Redo\tCtrl+Shift+Z"), {}, [editor] { editor().redo(); });
  edit.addSeparator();
  Add(edit, QStringLiteral("Cu&t\tCtrl+X"), {}, [editor] { editor().cut(); });
  Add(edit, QStringLiteral("&Copy\tCtrl+C"), {}, [editor] { editor().copy(); });
  Add(edit, QStringLiteral("&Paste\tCtrl+V"), {}, [editor] { editor().paste(); });
  edit.addSeparator();
  add("&Find...", "Ctrl+F", [this] { find_->Open(false); });
  add("R&eplace...", "Ctrl+H", [this] { find_->Open(true); });
  add("Find &Next", "F3", [this] { find_->FindNext(false); });
  add("Find Pre&vious", "Shift+F3", [this] { find_->FindNext(true); });
  add("&Go to Line...", "Ctrl+G", [this] { GoToLine(); });
  edit.addSeparator();
  add("Co&mplete", "Ctrl+Space", [this, editor] {
    if (console_->Input().hasFocus()) {
      console_->Complete();
    } else {
      editor().Complete();
    }
  });
  add("Comment &Out or In", "Ctrl+/", [editor] { editor().ToggleComment(); });
  add("&Duplicate Lines", "Ctrl+D", [editor] { editor().DuplicateLines(); });
  add("Move &Lines Up", "Alt+Up", [editor] { editor().MoveLines(true); });
  add("Move Lines Do&wn", "Alt+Down", [editor] { editor().MoveLines(false); });
  add("&Indent", "Ctrl+]", [editor] { editor().ChangeIndent(true); });
  add("Indent &Back", "Ctrl+[", [editor] { editor().ChangeIndent(false); });

  QMenu& run = *menuBar()->addMenu(QStringLiteral("&Run"));
  // Started from the event loop, not from inside a menu or a key.
  run_ = Add(run, QStringLiteral("&Run Script"), {QKeySequence(QStringLiteral("F5"))},
             [this] { QTimer::singleShot(0, this, [this] { Run(); }); });
  Add(run, QStringLiteral("Run S&election"), {QKeySequence(QStringLiteral("Ctrl+F5"))}, [this] {
    QTimer::singleShot(0, this, [this] {
      const QString text = tabs_->Page()->Editor().textCursor().selectedText().replace(
          QChar(QChar::ParagraphSeparator), QLatin1Char('\n'));
      if (!text.trimmed().isEmpty()) {
        RunText(QStringLiteral("<selection>"), tabs_->Page()->Path(), text, false);
      }
    });
  });
  stop_ = Add(run, QStringLiteral("&Stop"), {QKeySequence(QStringLiteral("Shift+F5"))},
              [this] { Stop(); });
  stop_->setEnabled(false);
  run.addSeparator();
  const std::tuple<const char*, const char*, StepMode> steps[] = {
      {"Step &Over", "F10", StepMode::kOver},
      {"Step &Into", "F11", StepMode::kInto},
      {"Step O&ut", "Shift+F11", StepMode::kOut}};
  for (const auto& [text, keys, mode] : steps) {
    steps_.append(
        Add(run, QLatin1String(text), {QKeySequence(QLatin1String(keys))},
            [this, mode = mode] { QTimer::singleShot(0, this, [this, mode] { Step(mode); }); }));
  }
  Add(run, QStringLiteral("Set or Remove a &Breakpoint"), {QKeySequence(QStringLiteral("F9"))},
      [editor] { editor().ToggleBreakpoint(editor().Line()); });
  run.addSeparator();
  Add(run, QStringLiteral("&Check Script"), {QKeySequence(QStringLiteral("F7"))},
      [this] { CheckPage(true); });
  Add(run, QStringLiteral("&Next Problem"), {QKeySequence(QStringLiteral("F4"))},
      [this] { GoToProblem(1); });
  Add(run, QStringLiteral("&Previous Problem"), {QKeySequence(QStringLiteral("Shift+F4"))},
      [this] { GoToProblem(-1); });
  run.addSeparator();
  Add(run, QStringLiteral("C&lear Console"), {QKeySequence(QStringLiteral("Ctrl+L"))},
      [this] { console_->Clear(); });

  QMenu& view = *menuBar()->addMenu(QStringLiteral("&View"));
  viewMenu_ = &view;
  const std::pair<QDockWidget*, const char*> docks[] = {{consoleDock_, "Ctrl+Shift+C"},
                                                        {problemsDock_, "Ctrl+Shift+M"},
                                                        {commandsDock_, "Ctrl+Shift+R"},
                                                        {variablesDock_, "Ctrl+Shift+V"},
                                                        {serviceDock_, "Ctrl+Shift+L"}};
  for (const auto& [dock, keys] : docks) {
    QAction* const toggle = dock->toggleViewAction();
    toggle->setShortcut(QKeySequence(QLatin1String(keys)));
    view.addAction(toggle);
  }
  QMenu& tools = *view.addMenu(QStringLiteral("&Windows of Scripts"));
  connect(&tools, &QMenu::aboutToShow, this, [this, &tools] {
    tools.clear();
    if (tools_) {
      for (QAction* const action : tools_->Actions()) tools.addAction(action);
    }
    if (tools.isEmpty()) tools.addAction(QStringLiteral("None"))->setEnabled(false);
  });
  view.addSeparator();
  Add(view, QStringLiteral("To the &Editor"), {QKeySequence(QStringLiteral("Ctrl+E"))},
      [this] { tabs_->Page()->Editor().setFocus(); });
  Add(view, QStringLiteral("To the Co&nsole"), {QKeySequence(QStringLiteral("Ctrl+J"))}, [this] {
    consoleDock_->show();
    consoleDock_->raise();
    console_->Input().setFocus();
  });
  Add(view, QStringLiteral("Next &Pane"), {QKeySequence(QStringLiteral("F6"))},
      [this] { NextPane(false); });
  Add(view, QStringLiteral("Pre&vious Pane"), {QKeySequence(QStringLiteral("Shift+F6"))},
      [this] { NextPane(true); });
  Add(view, QStringLiteral("Next &Tab"),
      {QKeySequence(QStringLiteral("Ctrl+Tab")), QKeySequence(QStringLiteral("Ctrl+PgDown"))},
      [this] { tabs_->setCurrentIndex((tabs_->currentIndex() + 1) % tabs_->count()); });
  Add(view, QStringLiteral("Previo&us Tab"),
      {QKeySequence(QStringLiteral("Ctrl+Shift+Tab")), QKeySequence(QStringLiteral("Ctrl+PgUp"))},
      [this] {
        tabs_->setCurrentIndex((tabs_->currentIndex() + tabs_->count() - 1) % tabs_->count());
      });
  view.addSeparator();
  Add(view, QStringLiteral("Larger Te&xt"),
      {QKeySequence(QStringLiteral("Ctrl++")), QKeySequence(QStringLiteral("Ctrl+="))},
      [this] { Zoom(1); });
  Add(view, QStringLiteral("S&maller Text"), {QKeySequence(QStringLiteral("Ctrl+-"))},
      [this] { Zoom(-1); });
  Add(view, QStringLiteral("&Font..."), {}, [this] { ChooseFont(); });
  QMenu& look = *view.addMenu(QStringLiteral("L&ook"));
  themes_ = new QActionGroup(this);
  const std::pair<Theme, const char*> looks[] = {
      {Theme::kSystem, "As the &System"}, {Theme::kLight, "&Light"}, {Theme::kDark, "&Dark"}};
  for (const auto& [theme, text] : looks) {
    QAction* const action = look.addAction(QLatin1String(text));
    action->setCheckable(true);
    action->setData(static_cast<int>(theme));
    themes_->addAction(action);
    connect(action, &QAction::triggered, this, [this, theme = theme] { SetTheme(theme); });
  }
  view.addSeparator();
  Add(view, QStringLiteral("&Restore the Layout"), {}, [this] { ResetLayout(); });

  QMenu& help = *menuBar()->addMenu(QStringLiteral("&Help"));
  Add(help, QStringLiteral("&Command under the Cursor"), {QKeySequence(QStringLiteral("F1"))},
      [this] { HelpOnWord(); });
  Add(help, QStringLiteral("&Search Commands"), {QKeySequence(QStringLiteral("Ctrl+Shift+F"))},
      [this] {
        commandsDock_->show();
        commandsDock_->raise();
        commands_->FocusSearch();
      });
  Add(help, QStringLiteral("&Keyboard Shortcuts"), {}, [this] { ShowShortcuts(); });

  QToolBar& bar = *addToolBar(QStringLiteral("Toolbar"));
  bar.setObjectName(QStringLiteral("toolbar"));
  bar.setMovable(false);
  bar.setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
  const int side = style()->pixelMetric(QStyle::PM_SmallIconSize);
  bar.setIconSize({side, side});
  newScript->setIcon(icon(QStyle::SP_FileIcon));
  open->setIcon(icon(QStyle::SP_DialogOpenButton));
  save->setIcon(icon(QStyle::SP_DialogSaveButton));
  run_->setIcon(RunIcon(side));
  stop_->setIcon(StopIcon(side));
  run_->setIconText(QStringLiteral("Run"));
  stop_->setIconText(QStringLiteral("Stop"));
  for (QAction* const action : {newScript, open, save}) bar.addAction(action);
  bar.addSeparator();
  for (QAction* const action : {run_, stop_}) bar.addAction(action);
  bar.toggleViewAction()->setText(QStringLiteral("Tool&bar"));
  view.addAction(bar.toggleViewAction());
}

void IdeWindow::ShowRecent() {
  recentMenu_->clear();
  const QStringList recent = store_.Settings().value(QStringLiteral("recent")).toStringList();
  for (qsizetype i = 0; i < recent.size(); ++i) {
    QString text = QDir::toNativeSeparators(recent[i]);
    text.replace(QLatin1Char('&'), QLatin1String("&&"));
    const QString key = i < 9 ? QStringLiteral("&%1  ").arg(i + 1) : QStringLiteral("    ");
    QAction* const action = recentMenu_->addAction(key + text);
    connect(action, &QAction::triggered, this, [this, path = recent[i]] {
      if (const auto opened = tabs_->Open(path); !opened) tabs_->failed(opened.error());
    });
  }
  recentMenu_->setEnabled(!recent.isEmpty());
}

void IdeWindow::AddRecent(const QString& path) {
  QStringList recent = store_.Settings().value(QStringLiteral("recent")).toStringList();
  recent.removeAll(path);
  recent.prepend(path);
  while (recent.size() > kMostRecent) recent.removeLast();
  store_.Settings().setValue(QStringLiteral("recent"), recent);
  ShowRecent();
}

void IdeWindow::SetTheme(Theme theme) {
  Apply(theme);
  store_.Settings().setValue(QStringLiteral("theme"), NameOf(theme));
  for (QAction* const action : themes_->actions()) {
    action->setChecked(action->data().toInt() == static_cast<int>(theme));
  }
}

void IdeWindow::SetFont(const QFont& font) {
  tabs_->SetEditorFont(font);
  console_->Output().setFont(font);
  console_->Input().setFont(font);
  serviceLog_->setFont(font);
  store_.Settings().setValue(QStringLiteral("font"), font.toString());
}

void IdeWindow::ChooseFont() {
  bool chosen = false;
  const QFont font =
      QFontDialog::getFont(&chosen, tabs_->Page()->Editor().font(), this,
                           QStringLiteral("Font of Scripts"), QFontDialog::MonospacedFonts);
  if (chosen) SetFont(font);
}

void IdeWindow::Zoom(int steps) {
  QFont font = tabs_->Page()->Editor().font();
  font.setPointSize(std::clamp(font.pointSize() + steps, kSmallestFont, kLargestFont));
  SetFont(font);
}

// Editor, console, problems, commands, variables, output windows: whatever can be seen.
void IdeWindow::NextPane(bool backwards) {
  std::vector<QWidget*> panes = {tabs_->Page()};
  for (QDockWidget* const dock : findChildren<QDockWidget*>()) {
    if (dock->isVisible() && !dock->visibleRegion().isEmpty()) panes.push_back(dock);
  }
  QWidget* const focused = QApplication::focusWidget();
  std::size_t present = 0;
  for (std::size_t i = 0; i < panes.size(); ++i) {
    if (focused && (panes[i] == focused || panes[i]->isAncestorOf(focused))) present = i;
  }
  const std::size_t next = (present + (backwards ? panes.size() - 1 : 1)) % panes.size();
  auto* const dock = qobject_cast<QDockWidget*>(panes[next]);
  (dock ? dock->widget() : panes[next])->setFocus(Qt::ShortcutFocusReason);
}

void IdeWindow::GoToLine() {
  ScriptEditor& editor = tabs_->Page()->Editor();
  bool accepted = false;
  const int line =
      QInputDialog::getInt(this, QStringLiteral("Go to Line"), QStringLiteral("&Line:"),
                           editor.Line(), 1, editor.blockCount(), 1, &accepted);
  if (accepted) editor.GoTo(line, 1);
  editor.setFocus();
}

void IdeWindow::HelpOnWord() {
  commandsDock_->show();
  commandsDock_->raise();
  const QString word = tabs_->Page()->Editor().WordAtCursor();
  if (commands_->ShowCommand(word)) return;
  commands_->FocusSearch();
}

void IdeWindow::ShowShortcuts() {
  QString rows;
  for (QAction* const menu : menuBar()->actions()) {
    rows += QStringLiteral("<tr><td colspan='2'><h4 style='margin:8px 0 2px 0'>%1</h4></td></tr>")
                .arg(menu->text().remove(QLatin1Char('&')));
    for (const QAction* const action : menu->menu()->actions()) {
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
  }
  QDialog dialog(this);
  dialog.setWindowTitle(QStringLiteral("Keyboard Shortcuts"));
  auto* const page = new QTextBrowser;
  page->setAccessibleName(QStringLiteral("Keyboard shortcuts"));
  page->setHtml(QStringLiteral("<table>%1</table>").arg(rows));
  auto* const layout = new QVBoxLayout(&dialog);
  layout->addWidget(page);
  dialog.resize(460, 560);
  dialog.exec();
}

void IdeWindow::ResetLayout() {
  restoreState(firstLayout_);
  consoleDock_->raise();
  commandsDock_->raise();
  resizeDocks({consoleDock_}, {190}, Qt::Vertical);
  resizeDocks({commandsDock_}, {330}, Qt::Horizontal);
}

}  // namespace ui::ide_view
