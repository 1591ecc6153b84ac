#include <QApplication>
#include <QDockWidget>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QStatusBar>
#include <utility>

#include "tavhost/qt/ide/command_browser.h"
#include "tavhost/qt/ide/console.h"
#include "tavhost/qt/ide/editor_tabs.h"
#include "tavhost/qt/ide/ide_window.h"
#include "tavhost/qt/ide/problems_pane.h"
#include "tavhost/qt/ide/variables_pane.h"
#include "tavhost/reference/reference.h"

// The panes around the editor, and the status bar.
namespace ui::ide_view {

namespace {

// At first, in pixels.
constexpr int kConsoleHeight = 190;
constexpr int kCommandsWidth = 330;

constexpr int kMostLogLines = 5000;

}  // namespace

void IdeWindow::MakeDocks() {
  setCorner(Qt::BottomRightCorner, Qt::RightDockWidgetArea);
  MakeConsole();
  problems_ = new ProblemsPane(*tabs_);
  problems_->chosen = [this](const QString& file, int line, int column) {
    GoTo(file, line, column);
  };
  problemsDock_ = AddDock(QStringLiteral("problems"), QStringLiteral("Problems"), problems_,
                          Qt::BottomDockWidgetArea);
  MakeServiceLog();
  tabifyDockWidget(consoleDock_, problemsDock_);
  tabifyDockWidget(problemsDock_, serviceDock_);
  serviceDock_->hide();
  consoleDock_->raise();

  CommandBrowser::Help commands;
  commands.reference = [this]() -> const reference::Catalogue& { return host_.Reference(); };
  commands.usage = [this](const reference::Command& command) { return host_.Usage(command); };
  commands.insert = [this](const QString& text) { Insert(text); };
  commands_ = new CommandBrowser(std::move(commands));
  commandsDock_ = AddDock(QStringLiteral("commands"), QStringLiteral("Commands"), commands_,
                          Qt::RightDockWidgetArea);
  variables_ = new VariablesPane(host_);
  variablesDock_ = AddDock(QStringLiteral("variables"), QStringLiteral("Variables"), variables_,
                           Qt::RightDockWidgetArea);
  connect(variablesDock_, &QDockWidget::visibilityChanged, this, [this](bool visible) {
    if (visible) variables_->Refresh();
  });
  tabifyDockWidget(commandsDock_, variablesDock_);
  commandsDock_->raise();
  ResizePanes();
}

void IdeWindow::MakeConsole() {
  Console::Help help;
  help.complete = [this](const QString& before) { return Complete(before); };
  help.goTo = [this](const QString& file, int line, int column) { GoTo(file, line, column); };
  help.enter = [this](const QString& entry) { return runs_->RunEntry(entry); };
  help.remember = [this](const std::string& line) {
    store_.AppendHistory(QByteArray::fromStdString(line));
  };
  console_ = new Console(std::move(help));
  consoleDock_ = AddDock(QStringLiteral("console"), QStringLiteral("Console"), console_,
                         Qt::BottomDockWidgetArea);
}

void IdeWindow::MakeServiceLog() {
  serviceLog_ = new QPlainTextEdit;
  serviceLog_->setObjectName(QStringLiteral("serviceLogText"));
  serviceLog_->setAccessibleName(QStringLiteral("Service log"));
  serviceLog_->setReadOnly(true);
  serviceLog_->setUndoRedoEnabled(false);
  serviceLog_->setMaximumBlockCount(kMostLogLines);
  serviceLog_->setFrameShape(QFrame::NoFrame);
  serviceDock_ = AddDock(QStringLiteral("serviceLog"), QStringLiteral("Service Log"), serviceLog_,
                         Qt::BottomDockWidgetArea);
}

void IdeWindow::MakeStatusBar() {
  busy_ = new QProgressBar;
  busy_->setRange(0, 0);
  busy_->setTextVisible(false);
  busy_->setFixedWidth(90);
  busy_->setFixedHeight(fontMetrics().height() - 4);
  busy_->setAccessibleName(QStringLiteral("A script is running"));
  busy_->hide();
  state_ = new QLabel(QStringLiteral("Ready"));
  state_->setObjectName(QStringLiteral("state"));
  state_->setContentsMargins(6, 0, 0, 0);
  position_ = new QLabel;
  position_->setObjectName(QStringLiteral("position"));
  statusBar()->addWidget(busy_);
  statusBar()->addWidget(state_, 1);
  statusBar()->addPermanentWidget(position_);
}

QDockWidget* IdeWindow::AddDock(const QString& name, const QString& title, QWidget* widget,
                                Qt::DockWidgetArea area) {
  auto* const dock = new QDockWidget(title, this);
  dock->setObjectName(name);
  dock->setWidget(widget);
  addDockWidget(area, dock);
  return dock;
}

void IdeWindow::Bring(QDockWidget& dock) {
  dock.show();
  dock.raise();
}

void IdeWindow::ResetLayout() {
  restoreState(firstLayout_);
  consoleDock_->raise();
  commandsDock_->raise();
  ResizePanes();
}

void IdeWindow::ResizePanes() {
  resizeDocks({consoleDock_}, {kConsoleHeight}, Qt::Vertical);
  resizeDocks({commandsDock_}, {kCommandsWidth}, Qt::Horizontal);
}

// From one to the next of the editor and whatever docks can be seen.
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

}  // namespace ui::ide_view
