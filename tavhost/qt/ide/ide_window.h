#pragma once

#include <QMainWindow>
#include <QTimer>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tavhost/base/diagnostic.h"
#include "tavhost/ide/ide_host.h"
#include "tavhost/qt/ide/run_controller.h"
#include "tavhost/qt/ide/session_store.h"
#include "tavhost/qt/ide/theme.h"

class QAction;
class QActionGroup;
class QDockWidget;
class QLabel;
class QMenu;
class QPlainTextEdit;
class QProgressBar;

namespace ui {
class FindBar;
class ToolDocks;
class WorkbenchModel;
}  // namespace ui

namespace ui::ide_view {

class CommandBrowser;
class Console;
class EditorTabs;
class ProblemsPane;
class VariablesPane;

// The program's window: scripts, their console and what belongs to them. It puts the parts together
// and does what concerns several of them; what a part does alone is in its own class. All of it is
// for the user-interface thread.
//
// A script runs inside a call from here and lets events through, so that any function may be called
// while one runs.
class IdeWindow final : public QMainWindow {
 public:
  // The host outlives the window.
  IdeWindow(ide::IdeHost& host, const ide::IdeOptions& options);
  ~IdeWindow() override;

  EditorTabs& Tabs() { return *tabs_; }
  Console& GetConsole() { return *console_; }
  CommandBrowser& Commands() { return *commands_; }
  FindBar& Find() { return *find_; }

  // Scripts' tools are docks of this window from now on; the model outlives it.
  void ShowTools(WorkbenchModel& tools);
  // Opens what was open, then the files given.
  void Start(const std::vector<std::string>& files);
  void Run() { runs_->Run(); }
  void Stop() { runs_->Stop(); }
  bool IsRunning() const { return host_.IsRunning(); }  // a script or an entry, paused or not
  bool IsPaused() const { return runs_->State() == RunState::kPaused; }
  // Brings the place to the front, its file opened if need be; counted from 1.
  void GoTo(const QString& file, int line, int column);
  void SetTheme(Theme theme);
  // The program is asked to end: what is modified is kept for the next start, and nothing is asked.
  void EndNow();

  std::function<void()> painted;  // for the first time
  std::function<void()> closed;

 protected:
  bool event(QEvent* event) override;
  void changeEvent(QEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  bool eventFilter(QObject* object, QEvent* event) override;

 private:
  // ide_window.cpp
  void MakeEditors();
  void MakeRuns();
  void MakeTimers();
  void ShowPosition();
  void ShowTitle();
  void ShowProblems(const std::vector<base::Diagnostic>& mistakes);
  void GoToProblem(int step);
  void CheckPage(bool asked);
  void ShowRunState(RunState state);
  void Ended(const ide::IdeHost::Outcome& outcome, bool isScript);
  QStringList Complete(const QString& before);
  void Insert(const QString& text);
  void KeepUnsaved();

  // ide_docks.cpp
  void MakeDocks();
  void MakeConsole();
  void MakeServiceLog();
  void MakeStatusBar();
  QDockWidget* AddDock(const QString& name, const QString& title, QWidget* widget,
                       Qt::DockWidgetArea area);
  void Bring(QDockWidget& dock);  // to be seen, in front of those that share its place
  void ResetLayout();
  void ResizePanes();
  void NextPane(bool backwards);

  // ide_actions.cpp
  void MakeActions();
  void MakeFileMenu();
  void MakeEditMenu();
  void MakeRunMenu();
  QMenu& MakeViewMenu();
  void AddPanes(QMenu& view);
  void AddTools(QMenu& view);
  void AddWays(QMenu& view);
  void AddLook(QMenu& view);
  void MakeHelpMenu();
  void MakeToolBar(QMenu& view);
  QAction* Add(QMenu& menu, const QString& text, const QList<QKeySequence>& keys,
               std::function<void()> run);
  void ShowRecent();
  void AddRecent(const QString& path);
  void ChooseFont();
  void Zoom(int steps);
  void SetFont(const QFont& font);
  void GoToLine();
  void HelpOnWord();

  // ide_session.cpp
  void RestoreSession(const std::vector<std::string>& files);
  QString RestoreFiles();
  void SaveSession();
  // The open files, for the next start. Nothing to do when they are the ones noted last.
  void NoteFiles();
  void WriteFiles();
  void TellNotKept(const base::Error& error);

  ide::IdeHost& host_;
  SessionStore store_;
  std::unique_ptr<ToolDocks> tools_;  // null where scripts show no tools here
  std::unique_ptr<RunController> runs_;

  // Parts of the window, its children.
  EditorTabs* tabs_ = nullptr;
  FindBar* find_ = nullptr;
  Console* console_ = nullptr;
  CommandBrowser* commands_ = nullptr;
  ProblemsPane* problems_ = nullptr;
  VariablesPane* variables_ = nullptr;
  QPlainTextEdit* serviceLog_ = nullptr;
  QDockWidget* consoleDock_ = nullptr;
  QDockWidget* problemsDock_ = nullptr;
  QDockWidget* commandsDock_ = nullptr;
  QDockWidget* variablesDock_ = nullptr;
  QDockWidget* serviceDock_ = nullptr;
  QLabel* position_ = nullptr;
  QLabel* state_ = nullptr;
  QProgressBar* busy_ = nullptr;

  // Actions that are looked for later, its children too.
  QMenu* recentMenu_ = nullptr;
  QAction* new_ = nullptr;
  QAction* open_ = nullptr;
  QAction* save_ = nullptr;
  QAction* run_ = nullptr;
  QAction* stop_ = nullptr;
  QList<QAction*> steps_;
  QActionGroup* themes_ = nullptr;

  QByteArray firstLayout_;
  bool isRestored_ = false;  // what was open last is open again: from then on files are noted
  QStringList noted_;        // the files noted last
  bool canKeep_ = true;      // texts that are not saved
  QTimer check_;             // since something was typed
  QTimer keep_;              // … until it is kept for the next start
  bool closeWhenEnded_ = false;
  bool endNow_ = false;
  bool wasPainted_ = false;
  bool keepsFiles_ = true;  // for the next start; not those of a start that was cut short
};

}  // namespace ui::ide_view
