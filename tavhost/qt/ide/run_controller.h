#pragma once

#include <QElapsedTimer>
#include <QPointer>
#include <QString>
#include <QTimer>
#include <cstdint>
#include <functional>

#include "tavhost/ide/ide_host.h"

namespace ui::ide_view {

class Console;
class EditorPage;
class EditorTabs;

enum class RunState : std::uint8_t {
  kIdle,
  kRunning,
  kPaused,  // a script stands before a statement
};

// How far a paused script goes on.
enum class StepMode : std::uint8_t {
  kRun,   // to the next breakpoint, or its end
  kInto,  // to the next statement, also in a function that is called
  kOver,  // to the next statement that is not deeper
  kOut,   // to the first statement behind the function that runs
};

// Runs the script in front and what is entered at the console, one at a time; stops it, or steps
// through it. What is printed goes to the console.
//
// Run, RunSelection, Step and RunEntry return when what they have started has ended. They handle
// events meanwhile, so that any of these functions may be called again from inside; a second start
// does nothing. The host, tabs and console outlive it.
class RunController final {
 public:
  RunController(ide::IdeHost& host, EditorTabs& tabs, Console& console);

  // Goes on instead when a script is paused.
  void Run();
  void RunSelection();
  // When nothing runs, starts the script, which then stands before its first statement.
  void Step(StepMode mode);
  // True when the entry is not whole yet and goes on in a next line.
  bool RunEntry(const QString& entry);
  // Asks what runs to stop; it ends a little later.
  void Stop();

  RunState State() const { return state_; }

  // All of them are to be set before anything runs.
  std::function<void(bool isScript)> beginning;  // before anything of it is done
  std::function<void(RunState)> stateChanged;
  std::function<void(const QString&)> told;  // a line that says what is going on
  std::function<void(const ide::IdeHost::Outcome&, bool isScript)> ended;

 private:
  void RunText(const QString& name, const QString& path, const QString& text, bool stepped);
  void BeforeStatement(int line, int depth);
  bool IsToPause(int line, int depth) const;
  void Begin(bool isScript);
  void End(const ide::IdeHost::Outcome& outcome, bool isScript);
  QString TextOf(const ide::IdeHost::Outcome& outcome) const;
  void SetState(RunState state);
  ide::IdeHost::Sinks Sinks();

  ide::IdeHost& host_;
  EditorTabs& tabs_;
  Console& console_;
  RunState state_ = RunState::kIdle;
  QElapsedTimer time_;  // since the start
  QTimer tick_;
  QString longWork_;           // what a long operation does; empty: none goes on
  QPointer<EditorPage> page_;  // of the script; its user may close it meanwhile
  StepMode stepMode_ = StepMode::kRun;
  int stepDepth_ = 0;  // where it was paused last
  bool goesOn_ = false;
};

}  // namespace ui::ide_view
