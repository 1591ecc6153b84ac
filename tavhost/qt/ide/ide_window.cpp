#include "tavhost/qt/ide/ide_window.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QDockWidget>
#include <QFileInfo>
#include <QKeyEvent>
#include <QLabel>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QStatusBar>
#include <QVBoxLayout>
#include <map>
#include <tl/expected.hpp>
#include <utility>

#include "tavhost/ide/script_text.h"
#include "tavhost/ide/script_tokens.h"
#include "tavhost/qt/find_bar.h"
#include "tavhost/qt/ide/command_page.h"
#include "tavhost/qt/ide/console.h"
#include "tavhost/qt/ide/editor_tabs.h"
#include "tavhost/qt/ide/line_edits.h"
#include "tavhost/qt/ide/problems_pane.h"
#include "tavhost/qt/ide/utf16.h"
#include "tavhost/qt/ide/variables_pane.h"
#include "tavhost/qt/on_screen.h"
#include "tavhost/qt/shown_text.h"
#include "tavhost/qt/tool_docks.h"
#include "tavhost/reference/reference.h"

namespace ui::ide_view {

namespace {

// Typing pauses this long before the script is checked and kept.
constexpr int kCheckMilliseconds = 600;
constexpr int kKeepMilliseconds = 2000;
// Larger scripts, in characters, are checked when asked for.
constexpr int kMostChecked = 1'000'000;

}  // namespace

IdeWindow::IdeWindow(ide::IdeHost& host, const ide::IdeOptions& options)
    : host_(host), store_(Editable(options.folder)) {
  setObjectName(QStringLiteral("workbench"));
  setWindowTitle(QStringLiteral("tavhost"));
  setDockOptions(AnimatedDocks | AllowNestedDocks | AllowTabbedDocks);
  setUnifiedTitleAndToolBarOnMac(true);
  ResizeOnScreen(*this, QSize(1180, 760));
  MakeEditors();
  MakeDocks();
  MakeStatusBar();
  MakeRuns();
  MakeActions();
  MakeTimers();
  firstLayout_ = saveState();
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
      [this]() -> QPlainTextEdit* { return tabs_->Page() ? &tabs_->Page()->Editor() : nullptr; },
      [](QPlainTextEdit& editor, const QList<QTextCursor>& found) {
        static_cast<ScriptEditor&>(editor).SetFound(found);
      });
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
  tabs_->fileOpened = [this](const QString& path) {
    AddRecent(path);
    NoteFiles();
  };
  tabs_->failed = [this](const QString& text) {
    QMessageBox::warning(this, QStringLiteral("tavhost"), text);
  };
}

void IdeWindow::MakeRuns() {
  runs_ = std::make_unique<RunController>(host_, *tabs_, *console_);
  runs_->beginning = [this](bool isScript) {
    if (isScript) {
      check_.stop();
      ShowProblems({});
      Bring(*consoleDock_);
    }
    KeepUnsaved();  // what runs may end the program
  };
  runs_->stateChanged = [this](RunState state) { ShowRunState(state); };
  runs_->told = [this](const QString& text) { state_->setText(text); };
  runs_->ended = [this](const ide::IdeHost::Outcome& outcome, bool isScript) {
    Ended(outcome, isScript);
  };
}

void IdeWindow::MakeTimers() {
  check_.setSingleShot(true);
  check_.setInterval(kCheckMilliseconds);
  connect(&check_, &QTimer::timeout, this, [this] { CheckPage(false); });
  keep_.setSingleShot(true);
  keep_.setInterval(kKeepMilliseconds);
  connect(&keep_, &QTimer::timeout, this, [this] { KeepUnsaved(); });
}

void IdeWindow::ShowTools(WorkbenchModel& tools) {
  tools_ = std::make_unique<ToolDocks>(*this, tools);
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
  if (page && !page->Editor().isReadOnly()) InsertCommand(page->Editor(), text);
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
  const std::string title = Bytes(page->Title());
  setWindowTitle(QStringLiteral("%1[*] - tavhost").arg(ShownTitle(title)));
  host_.SetTitle(title + " - tavhost");
  setWindowModified(page->IsModified());
}

void IdeWindow::ShowProblems(const std::vector<base::Diagnostic>& mistakes) {
  problems_->Show(mistakes);
  problemsDock_->setWindowTitle(mistakes.empty()
                                    ? QStringLiteral("Problems")
                                    : QStringLiteral("Problems (%1)").arg(mistakes.size()));
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
  if (problems_->Choose(step)) return;
  statusBar()->showMessage(QStringLiteral("There are no problems"), 3000);
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
    Bring(*problemsDock_);
    GoToProblem(1);
  }
}

void IdeWindow::ShowRunState(RunState state) {
  const bool canGoOn = state != RunState::kRunning;
  run_->setEnabled(canGoOn);
  for (QAction* const action : std::as_const(steps_)) action->setEnabled(canGoOn);
  stop_->setEnabled(state != RunState::kIdle);
  busy_->setVisible(state == RunState::kRunning);
  console_->SetBusy(state != RunState::kIdle);
  if (canGoOn) variables_->Refresh();
}

void IdeWindow::Ended(const ide::IdeHost::Outcome& outcome, bool isScript) {
  using End = ide::IdeHost::End;
  if (isScript && (outcome.end == End::kError || outcome.end == End::kNotParsed)) {
    ShowProblems({outcome.mistake});
    GoTo(Shown(outcome.mistake.file), static_cast<int>(outcome.mistake.line),
         static_cast<int>(outcome.mistake.column));
  }
  if (outcome.end == End::kEndProgram) return EndNow();
  if (std::exchange(closeWhenEnded_, false)) QTimer::singleShot(0, this, [this] { close(); });
}

void IdeWindow::KeepUnsaved() {
  keep_.stop();
  NoteFiles();
  const base::Result<void> kept = store_.KeepUnsaved(tabs_->Unsaved());
  if (!kept && canKeep_) TellNotKept(kept.error());  // once until it goes well again
  canKeep_ = kept.has_value();
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
  const auto kept = store_.KeepUnsaved(endNow_ ? tabs_->Unsaved() : QList<SessionStore::Unsaved>());
  if (!kept) TellNotKept(kept.error());
  keep_.stop();
  check_.stop();
  event->accept();
  if (closed) closed();
}

// A script's window, a dialog on top of it or a menu takes all keys; the one that stops the script
// works there too.
bool IdeWindow::eventFilter(QObject* object, QEvent* event) {
  if (event->type() == QEvent::KeyPress && host_.IsRunning()) {
    const auto* const key = static_cast<QKeyEvent*>(event);
    if (key->key() == Qt::Key_F5 && key->modifiers() == Qt::ShiftModifier) {
      Stop();
      return true;
    }
  }
  return QMainWindow::eventFilter(object, event);
}

}  // namespace ui::ide_view
