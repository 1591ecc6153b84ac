#include <QAction>
#include <QActionGroup>
#include <QDir>
#include <QDockWidget>
#include <QFontDialog>
#include <QInputDialog>
#include <QLineEdit>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QStyle>
#include <QToolBar>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <algorithm>
#include <tl/expected.hpp>
#include <tuple>
#include <utility>

#include "tavhost/qt/find_bar.h"
#include "tavhost/qt/ide/command_browser.h"
#include "tavhost/qt/ide/console.h"
#include "tavhost/qt/ide/editor_tabs.h"
#include "tavhost/qt/ide/ide_window.h"
#include "tavhost/qt/ide/line_edits.h"
#include "tavhost/qt/ide/run_icons.h"
#include "tavhost/qt/ide/shortcuts_dialog.h"
#include "tavhost/qt/tool_docks.h"

// The menus and what their entries do.
namespace ui::ide_view {

namespace {

constexpr int kMostRecent = 12;
constexpr int kSmallestFont = 6;
constexpr int kLargestFont = 40;

}  // namespace

QAction* IdeWindow::Add(QMenu& menu, const QString& text, const QList<QKeySequence>& keys,
                        std::function<void()> run) {
  QAction* const action = menu.addAction(text);
  action->setShortcuts(keys);
  connect(action, &QAction::triggered, this, [run = std::move(run)] { run(); });
  return action;
}

void IdeWindow::MakeActions() {
  MakeFileMenu();
  MakeEditMenu();
  MakeRunMenu();
  QMenu& view = MakeViewMenu();
  MakeHelpMenu();
  MakeToolBar(view);
}

void IdeWindow::MakeFileMenu() {
  QMenu& file = *menuBar()->addMenu(QStringLiteral("&File"));
  new_ = Add(file, QStringLiteral("&New"), {QKeySequence::New}, [this] { tabs_->New(); });
  open_ = Add(file, QStringLiteral("&Open..."), {QKeySequence::Open},
              [this] { tabs_->OpenWithDialog(); });
  recentMenu_ = file.addMenu(QStringLiteral("Open &Recent"));
  file.addSeparator();
  save_ = Add(file, QStringLiteral("&Save"), {QKeySequence::Save},
              [this] { tabs_->Save(*tabs_->Page()); });
  Add(file, QStringLiteral("Save &As..."), {QKeySequence(QStringLiteral("Ctrl+Shift+S"))},
      [this] { tabs_->SaveAs(*tabs_->Page()); });
  Add(file, QStringLiteral("Save A&ll"), {QKeySequence(QStringLiteral("Ctrl+Alt+S"))},
      [this] { tabs_->SaveAll(); });
  file.addSeparator();
  Add(file, QStringLiteral("&Close"), {QKeySequence(QStringLiteral("Ctrl+W"))},
      [this] { tabs_->ClosePage(tabs_->currentIndex()); });
  Add(file, QStringLiteral("&Quit"), {QKeySequence(QStringLiteral("Ctrl+Q"))}, [this] { close(); });
}

void IdeWindow::MakeEditMenu() {
  const auto editor = [this]() -> ScriptEditor& { return tabs_->Page()->Editor(); };
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
  add("Comment &Out or In", "Ctrl+/", [editor] { ToggleComment(editor()); });
  add("&Duplicate Lines", "Ctrl+D", [editor] { DuplicateLines(editor()); });
  add("Move &Lines Up", "Alt+Up", [editor] { MoveLines(editor(), true); });
  add("Move Lines Do&wn", "Alt+Down", [editor] { MoveLines(editor(), false); });
  add("&Indent", "Ctrl+]", [editor] { ChangeIndent(editor(), true); });
  add("Indent &Back", "Ctrl+[", [editor] { ChangeIndent(editor(), false); });
}

void IdeWindow::MakeRunMenu() {
  const auto editor = [this]() -> ScriptEditor& { return tabs_->Page()->Editor(); };
  QMenu& run = *menuBar()->addMenu(QStringLiteral("&Run"));
  // Started from the event loop, not from inside a menu or a key.
  run_ = Add(run, QStringLiteral("&Run Script"), {QKeySequence(QStringLiteral("F5"))},
             [this] { QTimer::singleShot(0, this, [this] { Run(); }); });
  Add(run, QStringLiteral("Run S&election"), {QKeySequence(QStringLiteral("Ctrl+F5"))},
      [this] { QTimer::singleShot(0, this, [this] { runs_->RunSelection(); }); });
  stop_ = Add(run, QStringLiteral("&Stop"), {QKeySequence(QStringLiteral("Shift+F5"))},
              [this] { Stop(); });
  stop_->setEnabled(false);
  run.addSeparator();
  const std::tuple<const char*, const char*, StepMode> steps[] = {
      {"Step &Over", "F10", StepMode::kOver},
      {"Step &Into", "F11", StepMode::kInto},
      {"Step O&ut", "Shift+F11", StepMode::kOut}};
  for (const auto& [text, keys, mode] : steps) {
    const auto step = [this, mode = mode] {
      QTimer::singleShot(0, this, [this, mode] { runs_->Step(mode); });
    };
    steps_.append(Add(run, QLatin1String(text), {QKeySequence(QLatin1String(keys))}, step));
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
}

QMenu& IdeWindow::MakeViewMenu() {
  QMenu& view = *menuBar()->addMenu(QStringLiteral("&View"));
  AddPanes(view);
  AddTools(view);
  view.addSeparator();
  AddWays(view);
  view.addSeparator();
  AddLook(view);
  view.addSeparator();
  Add(view, QStringLiteral("&Restore the Layout"), {}, [this] { ResetLayout(); });
  return view;
}

// Shows or hides each pane.
void IdeWindow::AddPanes(QMenu& view) {
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
}

// The windows of scripts come and go with them: they are listed when the menu opens.
void IdeWindow::AddTools(QMenu& view) {
  QMenu& tools = *view.addMenu(QStringLiteral("&Windows of Scripts"));
  // The window's, as the menu deletes what it owns when it is cleared.
  auto* const usual = new QAction(QStringLiteral("Usual &Layout"), this);
  connect(usual, &QAction::triggered, this, [this] { tools_->ShowDefaults(); });
  connect(&tools, &QMenu::aboutToShow, this, [this, &tools, usual] {
    tools.clear();
    if (tools_) {
      for (QAction* const action : tools_->Actions()) tools.addAction(action);
    }
    if (tools.isEmpty()) {
      tools.addAction(QStringLiteral("None"))->setEnabled(false);
      return;
    }
    tools.addSeparator();
    tools.addAction(usual);
  });
}

// Where the keyboard goes.
void IdeWindow::AddWays(QMenu& view) {
  Add(view, QStringLiteral("To the &Editor"), {QKeySequence(QStringLiteral("Ctrl+E"))},
      [this] { tabs_->Page()->Editor().setFocus(); });
  Add(view, QStringLiteral("To the Co&nsole"), {QKeySequence(QStringLiteral("Ctrl+J"))}, [this] {
    Bring(*consoleDock_);
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
}

void IdeWindow::AddLook(QMenu& view) {
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
}

void IdeWindow::MakeHelpMenu() {
  QMenu& help = *menuBar()->addMenu(QStringLiteral("&Help"));
  Add(help, QStringLiteral("&Command under the Cursor"), {QKeySequence(QStringLiteral("F1"))},
      [this] { HelpOnWord(); });
  Add(help, QStringLiteral("&Search Commands"), {QKeySequence(QStringLiteral("Ctrl+Shift+F"))},
      [this] {
        Bring(*commandsDock_);
        commands_->FocusSearch();
      });
  Add(help, QStringLiteral("&Keyboard Shortcuts"), {},
      [this] { ShowShortcuts(*menuBar(), *this); });
}

void IdeWindow::MakeToolBar(QMenu& view) {
  const auto icon = [this](QStyle::StandardPixmap kind) { return style()->standardIcon(kind); };
  QToolBar& bar = *addToolBar(QStringLiteral("Toolbar"));
  bar.setObjectName(QStringLiteral("toolbar"));
  bar.setMovable(false);
  bar.setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
  const int side = style()->pixelMetric(QStyle::PM_SmallIconSize);
  bar.setIconSize({side, side});
  new_->setIcon(icon(QStyle::SP_FileIcon));
  open_->setIcon(icon(QStyle::SP_DialogOpenButton));
  save_->setIcon(icon(QStyle::SP_DialogSaveButton));
  run_->setIcon(RunIcon(side));
  stop_->setIcon(StopIcon(side));
  run_->setIconText(QStringLiteral("Run"));
  stop_->setIconText(QStringLiteral("Stop"));
  for (QAction* const action : {new_, open_, save_}) bar.addAction(action);
  bar.addSeparator();
  for (QAction* const action : {run_, stop_}) bar.addAction(action);
  bar.toggleViewAction()->setText(QStringLiteral("Tool&bar"));
  view.addAction(bar.toggleViewAction());
}

void IdeWindow::ShowRecent() {
  recentMenu_->clear();
  const QStringList recent =
      store_.Settings().value(QStringLiteral("recent")).toStringList().mid(0, kMostRecent);
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
  Bring(*commandsDock_);
  const QString word = tabs_->Page()->Editor().WordAtCursor();
  if (commands_->ShowCommand(word)) return;
  commands_->FocusSearch();
}

}  // namespace ui::ide_view
