#include "tavhost/qt/ide/ide_window.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QDockWidget>
#include <QFileInfo>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollBar>
#include <QStatusBar>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <map>
#include <tl/expected.hpp>
#include <utility>

#include "tavhost/ide/script_text.h"
#include "tavhost/ide/script_tokens.h"
#include "tavhost/qt/ide/command_browser.h"
#include "tavhost/qt/ide/command_page.h"
#include "tavhost/qt/ide/console.h"
#include "tavhost/qt/ide/editor_tabs.h"
#include "tavhost/qt/ide/find_bar.h"
#include "tavhost/qt/ide/utf16.h"
#include "tavhost/qt/shown_text.h"
#include "tavhost/qt/tool_docks.h"
#include "tavhost/reference/reference.h"

namespace ui::ide_view {

namespace {

constexpr int kTickMilliseconds = 100;
// Typing pauses this long before the script is checked and kept.
constexpr int kCheckMilliseconds = 600;
constexpr int kKeepMilliseconds = 2000;
// Larger scripts are checked when asked for.
constexpr int kMostChecked = 1'000'000;

constexpr int kLineRole = Qt::UserRole + 1;
constexpr int kColumnRole = Qt::UserRole + 2;

}  // namespace

IdeWindow::IdeWindow(ide::IdeHost& host, const ide::IdeOptions& options)
    : host_(host), store_(Editable(options.folder)) {
  setObjectName(QStringLiteral("workbench"));
  setWindowTitle(QStringLiteral("tavhost"));
  setDockOptions(AnimatedDocks | AllowNestedDocks | AllowTabbedDocks);
  setUnifiedTitleAndToolBarOnMac(true);
  resize(1180, 760);
  MakeEditors();
  MakeDocks();
  MakeActions();
  firstLayout_ = saveState();

  connect(&tick_, &QTimer::timeout, this, [this] {
    state_->setText(QStringLiteral("Running %1 - Shift+F5 stops")
                        .arg(QString::fromStdString(ide::ElapsedText(runTime_.elapsed()))));
  });
  tick_.setInterval(kTickMilliseconds);
  check_.setSingleShot(true);
  check_.setInterval(kCheckMilliseconds);
  connect(&check_, &QTimer::timeout, this, [this] { CheckPage(false); });
  keep_.setSingleShot(true);
  keep_.setInterval(kKeepMilliseconds);
  connect(&keep_, &QTimer::timeout, this, [this] { KeepUnsaved(); });
  host_.SetServiceLog([this](const std::string& line) {
    if (serviceLog_->document()->isEmpty()) serviceDock_->show();
    serviceLog_->appendPlainText(Shown(line).trimmed());
  });
  qApp->installEventFilter(this);
}

IdeWindow::~IdeWindow() {
  qApp->removeEventFilter(this);
  host_.SetServiceLog({});
}

void IdeWindow::MakeEditors() {
  EditorHelp help;
  help.isCommand = [this](QStringView word) {
    return host_.Reference().Find(word.toString().toStdString()) != nullptr;
  };
  help.complete = [this](const QString& before) { return Complete(before); };
  help.explain = [this](const QString& word) {
    const reference::Command* const command = host_.Reference().Find(word.toStdString());
    return command ? CommandTip(*command, host_.Usage(*command)) : QString();
  };
  auto* const centre = new QWidget;
  auto* const layout = new QVBoxLayout(centre);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  tabs_ = new EditorTabs(std::move(help));
  find_ = new FindBar(
      [this]() -> ScriptEditor* { return tabs_->Page() ? &tabs_->Page()->Editor() : nullptr; });
  layout->addWidget(tabs_, 1);
  layout->addWidget(find_);
  setCentralWidget(centre);

  tabs_->pageChanged = [this] {
    EditorPage* const page = tabs_->Page();
    if (!page) return;
    connect(&page->Editor(), &QPlainTextEdit::cursorPositionChanged, this, &IdeWindow::ShowPosition,
            Qt::UniqueConnection);
    find_->Refresh();
    ShowPosition();
    ShowTitle();
    if (page->Editor().Marks().empty()) check_.start();
  };
  tabs_->textChanged = [this](EditorPage& page) {
    // What was marked has moved or been mended.
    if (!page.Editor().Marks().empty()) page.Editor().SetMarks({});
    if (&page == tabs_->Page()) {
      find_->Refresh();
      check_.start();
    }
    keep_.start();
  };
  tabs_->stateChanged = [this] {
    ShowTitle();
    keep_.start();
  };
  tabs_->fileOpened = [this](const QString& path) { AddRecent(path); };
  tabs_->failed = [this](const QString& text) {
    QMessageBox::warning(this, QStringLiteral("tavhost"), text);
  };
}

QDockWidget* IdeWindow::AddDock(const QString& name, const QString& title, QWidget* widget,
                                Qt::DockWidgetArea area) {
  auto* const dock = new QDockWidget(title, this);
  dock->setObjectName(name);
  dock->setWidget(widget);
  addDockWidget(area, dock);
  return dock;
}

void IdeWindow::MakeDocks() {
  setCorner(Qt::BottomRightCorner, Qt::RightDockWidgetArea);
  Console::Help help;
  help.complete = [this](const QString& before) { return Complete(before); };
  help.goTo = [this](const QString& file, int line, int column) { GoTo(file, line, column); };
  help.enter = [this](const QString& entry) { return RunEntry(entry); };
  help.remember = [this](const std::string& line) {
    store_.AppendHistory(QByteArray::fromStdString(line));
  };
  console_ = new Console(std::move(help));
  consoleDock_ = AddDock(QStringLiteral("console"), QStringLiteral("Console"), console_,
                         Qt::BottomDockWidgetArea);

  problems_ = new QTreeWidget;
  problems_->setObjectName(QStringLiteral("problemList"));
  problems_->setAccessibleName(QStringLiteral("Problems"));
  problems_->setHeaderLabels(
      {QStringLiteral("Problem"), QStringLiteral("File"), QStringLiteral("Line")});
  problems_->setRootIsDecorated(false);
  problems_->setFrameShape(QFrame::NoFrame);
  problems_->header()->setStretchLastSection(false);
  problems_->header()->setSectionResizeMode(0, QHeaderView::Stretch);
  problems_->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
  problems_->header()->setSectionResizeMode(2, QHeaderView::ResizeToContents);
  const auto open = [this](QTreeWidgetItem* item) {
    GoTo(item->toolTip(1), item->data(0, kLineRole).toInt(), item->data(0, kColumnRole).toInt());
  };
  connect(problems_, &QTreeWidget::itemClicked, this, open);
  connect(problems_, &QTreeWidget::itemActivated, this, open);
  problemsDock_ = AddDock(QStringLiteral("problems"), QStringLiteral("Problems"), problems_,
                          Qt::BottomDockWidgetArea);

  serviceLog_ = new QPlainTextEdit;
  serviceLog_->setObjectName(QStringLiteral("serviceLogText"));
  serviceLog_->setAccessibleName(QStringLiteral("Service log"));
  serviceLog_->setReadOnly(true);
  serviceLog_->setUndoRedoEnabled(false);
  serviceLog_->setMaximumBlockCount(5000);
  serviceLog_->setFrameShape(QFrame::NoFrame);
  serviceDock_ = AddDock(QStringLiteral("serviceLog"), QStringLiteral("Service Log"), serviceLog_,
                         Qt::BottomDockWidgetArea);
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

  variables_ = new QTreeWidget;
  variables_->setObjectName(QStringLiteral("variableList"));
  variables_->setAccessibleName(QStringLiteral("Variables"));
  variables_->setHeaderLabels(
      {QStringLiteral("Variable"), QStringLiteral("Value"), QStringLiteral("Kind")});
  variables_->setRootIsDecorated(false);
  variables_->setAlternatingRowColors(true);
  variables_->setFrameShape(QFrame::NoFrame);
  variables_->header()->setStretchLastSection(false);
  variables_->header()->setSectionResizeMode(1, QHeaderView::Stretch);
  variables_->header()->setSectionResizeMode(2, QHeaderView::ResizeToContents);
  variablesDock_ = AddDock(QStringLiteral("variables"), QStringLiteral("Variables"), variables_,
                           Qt::RightDockWidgetArea);
  connect(variablesDock_, &QDockWidget::visibilityChanged, this, [this](bool visible) {
    if (visible) ShowVariables();
  });
  tabifyDockWidget(commandsDock_, variablesDock_);
  commandsDock_->raise();
  resizeDocks({consoleDock_}, {190}, Qt::Vertical);
  resizeDocks({commandsDock_}, {330}, Qt::Horizontal);

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

void IdeWindow::ShowTools(WorkbenchModel& workbench) {
  tools_ = std::make_unique<ToolDocks>(*this, workbench);
}

void IdeWindow::Start(const std::vector<std::string>& files) { RestoreSession(files); }

QStringList IdeWindow::Complete(const QString& before) {
  const QString whole = tabs_->Page() ? tabs_->Page()->Editor().Text() : QString();
  std::vector<std::string> names;
  // The word being typed would offer itself.
  qsizetype begin = before.size();
  while (begin > 0 &&
         (before[begin - 1].isLetterOrNumber() || before[begin - 1] == QLatin1Char('_'))) {
    --begin;
  }
  const QString typed = before.mid(begin);
  for (const std::u16string_view name : ide::NamesIn(Utf16(whole))) {
    const QString word = FromUtf16(name);
    if (word != typed) names.push_back(word.toStdString());
  }
  QStringList words;
  for (const std::string& word : host_.Complete(Bytes(before), names)) words << Shown(word);
  return words;
}

void IdeWindow::Insert(const QString& text) {
  EditorPage* const page = tabs_->Page();
  if (page && !page->Editor().isReadOnly()) page->Editor().InsertCommand(text);
}

void IdeWindow::ShowPosition() {
  EditorPage* const page = tabs_->Page();
  if (!page) return;
  const char* const ends = page->Form().lineEnds == ide::LineEnds::kWindows ? "CRLF" : "LF";
  position_->setText(QStringLiteral("Line %1, Column %2   %3")
                         .arg(page->Editor().Line())
                         .arg(page->Editor().Column())
                         .arg(QLatin1String(ends)));
}

void IdeWindow::ShowTitle() {
  EditorPage* const page = tabs_->Page();
  if (!page) return;
  setWindowTitle(QStringLiteral("%1[*] - tavhost").arg(ShownTitle(Bytes(page->Title()))));
  setWindowModified(page->IsModified());
}

void IdeWindow::ShowProblems(const std::vector<base::Diagnostic>& mistakes) {
  problems_->clear();
  for (EditorPage* const page : tabs_->Pages()) page->Editor().SetMarks({});
  std::map<EditorPage*, std::vector<base::Diagnostic>> marks;
  for (const base::Diagnostic& mistake : mistakes) {
    const QString file = Shown(mistake.file);
    const QString message = ShownMessage(mistake);
    auto* const item = new QTreeWidgetItem(
        problems_, {message, QFileInfo(file).fileName(), QString::number(mistake.line)});
    item->setToolTip(0, message);
    item->setToolTip(1, file);
    item->setData(0, kLineRole, mistake.line);
    item->setData(0, kColumnRole, mistake.column);
    if (EditorPage* const page = tabs_->PageOf(file)) marks[page].push_back(mistake);
  }
  for (auto& [page, found] : marks) page->Editor().SetMarks(std::move(found));
  problemsDock_->setWindowTitle(mistakes.empty()
                                    ? QStringLiteral("Problems")
                                    : QStringLiteral("Problems (%1)").arg(mistakes.size()));
}

void IdeWindow::ShowVariables() {
  if (!variablesDock_->isVisible()) return;
  variables_->clear();
  for (const ide::IdeHost::Variable& variable : host_.Variables()) {
    auto* const item = new QTreeWidgetItem(
        variables_, {Shown(variable.name), Shown(variable.value), Shown(variable.type)});
    if (variable.isLocal) {
      QFont font = item->font(0);
      font.setBold(true);
      item->setFont(0, font);
      item->setToolTip(0, QStringLiteral("of the function that runs"));
    }
    item->setToolTip(1, Shown(variable.value));
  }
}

void IdeWindow::GoTo(const QString& file, int line, int column) {
  EditorPage* page = tabs_->PageOf(file);
  if (!page) {
    page = QFileInfo(file).isFile() ? tabs_->Open(file).value_or(nullptr) : nullptr;
    if (!page) return statusBar()->showMessage(QStringLiteral("%1 is not open").arg(file), 4000);
  }
  tabs_->setCurrentWidget(page);
  page->Editor().GoTo(line, column);
  page->Editor().setFocus();
}

void IdeWindow::GoToProblem(int step) {
  const int count = problems_->topLevelItemCount();
  if (count == 0) return statusBar()->showMessage(QStringLiteral("There are no problems"), 3000);
  const int present = problems_->indexOfTopLevelItem(problems_->currentItem());
  const int next = present < 0 ? (step > 0 ? 0 : count - 1) : (present + step + count) % count;
  QTreeWidgetItem* const item = problems_->topLevelItem(next);
  problems_->setCurrentItem(item);
  GoTo(item->toolTip(1), item->data(0, kLineRole).toInt(), item->data(0, kColumnRole).toInt());
}

void IdeWindow::CheckPage(bool asked) {
  EditorPage* const page = tabs_->Page();
  if (!page || host_.IsRunning()) return;
  if (!asked && page->Editor().document()->characterCount() > kMostChecked) return;
  const auto mistakes = host_.Check(Bytes(page->Name()), Bytes(page->Editor().Text()));
  ShowProblems(mistakes);
  if (!asked) return;
  if (mistakes.empty()) {
    statusBar()->showMessage(QStringLiteral("No mistakes found"), 4000);
  } else {
    problemsDock_->show();
    problemsDock_->raise();
    GoToProblem(1);
  }
}

ide::IdeHost::Sinks IdeWindow::Sinks() {
  return {[this](std::string_view text) { console_->Print(text); },
          [this](std::string_view text) { console_->Error(text); },
          {}};
}

void IdeWindow::Run() {
  if (paused_) return Step(StepMode::kRun);
  EditorPage* const page = tabs_->Page();
  if (!page || host_.IsRunning()) return;
  stepMode_ = StepMode::kRun;
  RunText(page->Name(), page->Path(), page->Editor().Text(), page->Editor().HasBreakpoints());
}

void IdeWindow::Step(StepMode mode) {
  if (paused_) {
    stepMode_ = mode;
    goOn_ = true;
    return;
  }
  EditorPage* const page = tabs_->Page();
  if (!page || host_.IsRunning()) return;
  stepMode_ = StepMode::kInto;  // stands before the first statement
  RunText(page->Name(), page->Path(), page->Editor().Text(), true);
}

// Inside the running script.
void IdeWindow::BeforeStatement(int line, int depth) {
  const bool wanted = stepMode_ == StepMode::kInto ||
                      (stepMode_ == StepMode::kOver && depth <= stepDepth_) ||
                      (stepMode_ == StepMode::kOut && depth < stepDepth_);
  if (!runPage_ || (!wanted && !runPage_->Editor().HasBreakpoint(line))) return;
  tabs_->setCurrentWidget(runPage_);
  runPage_->Editor().GoTo(line, 1);
  runPage_->Editor().SetStepLine(line);
  stepDepth_ = depth;
  goOn_ = false;
  ShowPaused(true);
  state_->setText(
      QStringLiteral("Before line %1 - F10 steps, F5 goes on, Shift+F5 stops").arg(line));
  console_->Flush();
  ShowVariables();
  while (!goOn_ && !host_.IsStopAsked()) {
    QApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
  }
  ShowPaused(false);
  if (runPage_) runPage_->Editor().SetStepLine(0);
}

void IdeWindow::ShowPaused(bool paused) {
  paused_ = paused;
  busy_->setVisible(!paused);
  run_->setEnabled(paused);
  for (QAction* const action : std::as_const(steps_)) action->setEnabled(paused);
  if (paused) {
    tick_.stop();
  } else {
    tick_.start();
  }
}

void IdeWindow::RunText(const QString& name, const QString& path, const QString& text,
                        bool stepped) {
  if (host_.IsRunning()) return;
  check_.stop();
  ShowProblems({});
  consoleDock_->show();
  consoleDock_->raise();
  console_->Note(QStringLiteral("Running %1").arg(QFileInfo(name).fileName()));
  Began();
  ide::IdeHost::Sinks sinks = Sinks();
  runPage_ = tabs_->Page();
  if (stepped) sinks.step = [this](int line, int depth) { BeforeStatement(line, depth); };
  const ide::IdeHost::Outcome outcome =
      host_.RunScript(Bytes(path), Bytes(name), Bytes(text), sinks);
  Ended(outcome, name);
}

bool IdeWindow::RunEntry(const QString& entry) {
  if (host_.IsRunning()) return false;
  Began();
  const ide::IdeHost::Outcome outcome = host_.RunEntry(Bytes(entry), Sinks());
  Ended(outcome, {});
  return outcome.end == ide::IdeHost::End::kIncomplete;
}

void IdeWindow::Began() {
  KeepUnsaved();  // a script may end the program
  run_->setEnabled(false);
  for (QAction* const action : std::as_const(steps_)) action->setEnabled(false);
  stop_->setEnabled(true);
  console_->SetBusy(true);
  busy_->show();
  runTime_.start();
  tick_.start();
  state_->setText(QStringLiteral("Running"));
}

// `name` is empty for an entry at the console.
void IdeWindow::Ended(const ide::IdeHost::Outcome& outcome, const QString& name) {
  using End = ide::IdeHost::End;
  const QString time = QString::fromStdString(ide::ElapsedText(runTime_.elapsed()));
  tick_.stop();
  busy_->hide();
  run_->setEnabled(true);
  for (QAction* const action : std::as_const(steps_)) action->setEnabled(true);
  stop_->setEnabled(false);
  console_->SetBusy(false);
  QString state;
  switch (outcome.end) {
    case End::kEnded:
      state = QStringLiteral("Ended after %1").arg(time);
      break;
    case End::kExit:
      state = QStringLiteral("Ended with code %1 after %2").arg(outcome.code).arg(time);
      break;
    case End::kError:
    case End::kNotParsed:
      console_->Error(outcome.mistake.text);
      state = outcome.end == End::kError ? QStringLiteral("Error after %1").arg(time)
                                         : QStringLiteral("Not run: there is a mistake");
      break;
    case End::kIncomplete:
      state = QStringLiteral("The entry goes on");
      break;
    case End::kStopped:
    case End::kEndProgram:
      state = QStringLiteral("Stopped after %1").arg(time);
      break;
    case End::kNoAnswer:
      state = QStringLiteral("Stopped: a dialog had no answer");
      break;
  }
  state_->setText(state);
  if (!name.isEmpty() || outcome.end == End::kStopped) console_->Note(state);
  console_->Flush();
  ShowVariables();
  if (!name.isEmpty() && (outcome.end == End::kError || outcome.end == End::kNotParsed)) {
    ShowProblems({outcome.mistake});
    GoTo(Shown(outcome.mistake.file), static_cast<int>(outcome.mistake.line),
         static_cast<int>(outcome.mistake.column));
  }
  if (outcome.end == End::kEndProgram) return EndNow();
  if (std::exchange(closeWhenEnded_, false)) QTimer::singleShot(0, this, [this] { close(); });
}

void IdeWindow::Stop() {
  if (!host_.IsRunning()) return;
  state_->setText(QStringLiteral("Stopping"));
  host_.Stop();
}

void IdeWindow::KeepUnsaved() {
  keep_.stop();
  store_.KeepUnsaved(tabs_->Unsaved());
}

void IdeWindow::EndNow() {
  endNow_ = true;
  if (host_.IsRunning()) {
    closeWhenEnded_ = true;
    return Stop();
  }
  QTimer::singleShot(0, this, [this] { close(); });
}

bool IdeWindow::event(QEvent* event) {
  const bool taken = QMainWindow::event(event);
  if (event->type() == QEvent::Paint && !std::exchange(wasPainted_, true) && painted) {
    QTimer::singleShot(0, this, [this] { painted(); });
  }
  return taken;
}

void IdeWindow::changeEvent(QEvent* event) {
  QMainWindow::changeEvent(event);
  if (event->type() == QEvent::ActivationChange && isActiveWindow() && tabs_) tabs_->LookAtDisk();
}

void IdeWindow::closeEvent(QCloseEvent* event) {
  if (host_.IsRunning()) {
    event->ignore();
    if (closeWhenEnded_) return;
    QMessageBox box(QMessageBox::Question, QStringLiteral("Quit"),
                    QStringLiteral("A script is running. Stop it and quit?"), QMessageBox::Cancel,
                    this);
    auto* const stop = box.addButton(QStringLiteral("&Stop and Quit"), QMessageBox::AcceptRole);
    box.setDefaultButton(stop);
    box.exec();
    if (box.clickedButton() != stop) return;
    // It may have ended while the question stood.
    if (!host_.IsRunning()) {
      QTimer::singleShot(0, this, [this] { close(); });
      return;
    }
    closeWhenEnded_ = true;
    return Stop();
  }
  if (!endNow_ && !tabs_->MayClose()) return event->ignore();
  SaveSession();
  store_.KeepUnsaved(endNow_ ? tabs_->Unsaved() : QList<SessionStore::Unsaved>());
  keep_.stop();
  check_.stop();
  event->accept();
  if (closed) closed();
}

// A script's dialog takes all keys; the one that stops the script works there too.
bool IdeWindow::eventFilter(QObject* object, QEvent* event) {
  if (event->type() == QEvent::KeyPress && QApplication::activeModalWidget() && host_.IsRunning()) {
    const auto* const key = static_cast<QKeyEvent*>(event);
    if (key->key() == Qt::Key_F5 && key->modifiers() == Qt::ShiftModifier) {
      Stop();
      return true;
    }
  }
  return QMainWindow::eventFilter(object, event);
}

}  // namespace ui::ide_view
