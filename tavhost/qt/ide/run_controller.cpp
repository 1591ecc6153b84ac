#include "tavhost/qt/ide/run_controller.h"

#include <QApplication>
#include <QFileInfo>

#include "tavhost/base/one_line.h"
#include "tavhost/ide/script_text.h"
#include "tavhost/qt/ide/console.h"
#include "tavhost/qt/ide/editor_tabs.h"
#include "tavhost/qt/shown_text.h"

namespace ui::ide_view {

namespace {

constexpr int kTickMilliseconds = 100;
constexpr std::size_t kColumns = 79;  // of what a long operation does; the window keeps its width

QString TimeText(const QElapsedTimer& time) {
  return QString::fromStdString(ide::ElapsedText(time.elapsed()));
}

}  // namespace

RunController::RunController(ide::IdeHost& host, EditorTabs& tabs, Console& console)
    : host_(host), tabs_(tabs), console_(console) {
  tick_.setInterval(kTickMilliseconds);
  QObject::connect(&tick_, &QTimer::timeout, &tick_, [this] {
    const QString work = longWork_.isEmpty() ? QString() : QStringLiteral(" - ") + longWork_;
    told(QStringLiteral("Running %1%2 - Shift+F5 stops").arg(TimeText(time_), work));
  });
}

void RunController::Run() {
  if (state_ == RunState::kPaused) return Step(StepMode::kRun);
  EditorPage* const page = tabs_.Page();
  if (!page || host_.IsRunning()) return;
  stepMode_ = StepMode::kRun;
  RunText(page->Name(), page->Path(), page->Editor().Text(), page->Editor().HasBreakpoints());
}

void RunController::RunSelection() {
  const QString text = tabs_.Page()->Editor().textCursor().selectedText().replace(
      QChar(QChar::ParagraphSeparator), QLatin1Char('\n'));
  if (text.trimmed().isEmpty()) return;
  RunText(QStringLiteral("<selection>"), tabs_.Page()->Path(), text, false);
}

void RunController::Step(StepMode mode) {
  if (state_ == RunState::kPaused) {
    stepMode_ = mode;
    goesOn_ = true;
    return;
  }
  EditorPage* const page = tabs_.Page();
  if (!page || host_.IsRunning()) return;
  stepMode_ = StepMode::kInto;  // stands before the first statement
  RunText(page->Name(), page->Path(), page->Editor().Text(), true);
}

void RunController::Stop() {
  if (!host_.IsRunning()) return;
  told(QStringLiteral("Stopping"));
  host_.Stop();
}

ide::IdeHost::Sinks RunController::Sinks() {
  return {[this](std::string_view text) { console_.Print(text); },
          [this](std::string_view text) { console_.Error(text); },
          {},
          [this](std::string_view line) { longWork_ = Shown(base::OneLine(line, kColumns)); }};
}

void RunController::RunText(const QString& name, const QString& path, const QString& text,
                            bool stepped) {
  if (host_.IsRunning()) return;
  Begin(true);
  console_.Note(QStringLiteral("Running %1").arg(QFileInfo(name).fileName()));
  ide::IdeHost::Sinks sinks = Sinks();
  page_ = tabs_.Page();
  // A script that nothing can pause is not slowed down by being asked before each statement.
  if (stepped) sinks.step = [this](int line, int depth) { BeforeStatement(line, depth); };
  End(host_.RunScript(Bytes(path), Bytes(name), Bytes(text), sinks), true);
}

bool RunController::RunEntry(const QString& entry) {
  if (host_.IsRunning()) return false;
  Begin(false);
  const ide::IdeHost::Outcome outcome = host_.RunEntry(Bytes(entry), Sinks());
  End(outcome, false);
  return outcome.end == ide::IdeHost::End::kIncomplete;
}

bool RunController::IsToPause(int line, int depth) const {
  if (!page_) return false;
  switch (stepMode_) {
    case StepMode::kInto:
      return true;
    case StepMode::kOver:
      if (depth <= stepDepth_) return true;
      break;
    case StepMode::kOut:
      if (depth < stepDepth_) return true;
      break;
    case StepMode::kRun:
      break;
  }
  return page_->Editor().HasBreakpoint(line);
}

// Called by the running script, which goes on when this returns.
void RunController::BeforeStatement(int line, int depth) {
  if (!IsToPause(line, depth)) return;
  tabs_.setCurrentWidget(page_);
  page_->Editor().GoTo(line, 1);
  page_->Editor().SetStepLine(line);
  stepDepth_ = depth;
  goesOn_ = false;
  SetState(RunState::kPaused);
  told(QStringLiteral("Before line %1 - F10 steps, F5 goes on, Shift+F5 stops").arg(line));
  console_.Flush();
  while (!goesOn_ && !host_.IsStopAsked()) {
    QApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
  }
  SetState(RunState::kRunning);
  if (page_) page_->Editor().SetStepLine(0);
}

void RunController::SetState(RunState state) {
  state_ = state;
  if (state == RunState::kRunning) {
    tick_.start();
  } else {
    tick_.stop();
  }
  stateChanged(state);
}

void RunController::Begin(bool isScript) {
  beginning(isScript);
  time_.start();
  SetState(RunState::kRunning);
  told(QStringLiteral("Running"));
}

void RunController::End(const ide::IdeHost::Outcome& outcome, bool isScript) {
  using End = ide::IdeHost::End;
  const QString text = TextOf(outcome);  // with the time until now
  SetState(RunState::kIdle);
  if (outcome.end == End::kError || outcome.end == End::kNotParsed) {
    console_.Error(outcome.mistake.text);
  }
  told(text);
  if (isScript || outcome.end == End::kStopped) console_.Note(text);
  console_.Flush();
  ended(outcome, isScript);
}

QString RunController::TextOf(const ide::IdeHost::Outcome& outcome) const {
  using End = ide::IdeHost::End;
  const QString time = TimeText(time_);
  switch (outcome.end) {
    case End::kEnded:
      break;
    case End::kExit:
      return QStringLiteral("Ended with code %1 after %2").arg(outcome.code).arg(time);
    case End::kError:
      return QStringLiteral("Error after %1").arg(time);
    case End::kNotParsed:
      return QStringLiteral("Not run: there is a mistake");
    case End::kIncomplete:
      return QStringLiteral("The entry goes on");
    case End::kStopped:
    case End::kEndProgram:
      return QStringLiteral("Stopped after %1").arg(time);
    case End::kNoAnswer:
      return QStringLiteral("Stopped: a dialog had no answer");
  }
  return QStringLiteral("Ended after %1").arg(time);
}

}  // namespace ui::ide_view
