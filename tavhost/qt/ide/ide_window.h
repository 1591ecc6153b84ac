#pragma once

#include <QElapsedTimer>
#include <QMainWindow>
#include <QPointer>
#include <QTimer>
#include <functional>
#include <memory>

#include "tavhost/base/diagnostic.h"
#include "tavhost/ide/ide_host.h"
#include "tavhost/qt/ide/session_store.h"
#include "tavhost/qt/ide/theme.h"

class QAction;
class QActionGroup;
class QDockWidget;
class QLabel;
class QMenu;
class QPlainTextEdit;
class QProgressBar;
class QTreeWidget;
class QTreeWidgetItem;

namespace ui {
class ToolDocks;
class WorkbenchModel;
}  // namespace ui

namespace ui::ide_view {

class CommandBrowser;
class Console;
class EditorPage;
class EditorTabs;
class FindBar;

// The workbench: scripts, their console and what belongs to them.
class IdeWindow final : public QMainWindow {
 public:
  IdeWindow(ide::IdeHost& host, const ide::IdeOptions& options);
  ~IdeWindow() override;

  EditorTabs& Tabs() { return *tabs_; }
  Console& GetConsole() { return *console_; }
  CommandBrowser& Commands() { return *commands_; }
  FindBar& Find() { return *find_; }

  // Scripts' tools are docks of this window from now on; the workbench outlives it.
  void ShowTools(WorkbenchModel& workbench);
  // Opens what was open, then the files given.
  void Start(const std::vector<std::string>& files);
  void Run();  // or goes on, when it stands before a statement
  enum class StepMode { kRun, kInto, kOver, kOut };
  // Goes on to the next statement so; starts the script when none runs.
  void Step(StepMode mode);
  bool IsPaused() const { return paused_; }
  void Stop();
  bool IsRunning() const { return host_.IsRunning(); }
  void GoTo(const QString& file, int line, int column);
  void SetTheme(Theme theme);
  // The program is asked to end: what is modified is kept for the next start.
  void EndNow();

  std::function<void()> painted;  // once
  std::function<void()> closed;

 protected:
  bool event(QEvent* event) override;
  void changeEvent(QEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  bool eventFilter(QObject* object, QEvent* event) override;

 private:
  // workbench_window.cpp
  void MakeEditors();
  void MakeDocks();
  QDockWidget* AddDock(const QString& name, const QString& title, QWidget* widget,
                       Qt::DockWidgetArea area);
  void ShowPosition();
  void ShowTitle();
  void ShowProblems(const std::vector<base::Diagnostic>& mistakes);
  void ShowVariables();
  void GoToProblem(int step);
  void CheckPage(bool asked);
  void RunText(const QString& name, const QString& path, const QString& text, bool stepped);
  void BeforeStatement(int line, int depth);
  void ShowPaused(bool paused);
  bool RunEntry(const QString& entry);
  void Began();
  void Ended(const ide::IdeHost::Outcome& outcome, const QString& name);
  ide::IdeHost::Sinks Sinks();
  QStringList Complete(const QString& before);
  void Insert(const QString& text);
  void KeepUnsaved();

  // workbench_actions.cpp
  void MakeActions();
  QAction* Add(QMenu& menu, const QString& text, const QList<QKeySequence>& keys,
               std::function<void()> run);
  void ShowRecent();
  void AddRecent(const QString& path);
  void ChooseFont();
  void Zoom(int steps);
  void SetFont(const QFont& font);
  void NextPane(bool backwards);
  void GoToLine();
  void HelpOnWord();
  void ShowShortcuts();
  void ResetLayout();

  // workbench_session.cpp
  void RestoreSession(const std::vector<std::string>& files);
  void SaveSession();

  ide::IdeHost& host_;
  SessionStore store_;
  std::unique_ptr<ToolDocks> tools_;
  EditorTabs* tabs_ = nullptr;
  FindBar* find_ = nullptr;
  Console* console_ = nullptr;
  CommandBrowser* commands_ = nullptr;
  QTreeWidget* problems_ = nullptr;
  QTreeWidget* variables_ = nullptr;
  QPlainTextEdit* serviceLog_ = nullptr;
  QDockWidget* consoleDock_ = nullptr;
  QDockWidget* problemsDock_ = nullptr;
  QDockWidget* commandsDock_ = nullptr;
  QDockWidget* variablesDock_ = nullptr;
  QDockWidget* serviceDock_ = nullptr;
  QMenu* recentMenu_ = nullptr;
  QMenu* viewMenu_ = nullptr;
  QAction* run_ = nullptr;
  QAction* stop_ = nullptr;
  QList<QAction*> steps_;
  QActionGroup* themes_ = nullptr;
  QLabel* position_ = nullptr;
  QLabel* state_ = nullptr;
  QProgressBar* busy_ = nullptr;
  QByteArray firstLayout_;
  QElapsedTimer runTime_;
  QTimer tick_;
  QTimer check_;
  QTimer keep_;
  QPointer<EditorPage> runPage_;  // that of the script that is stepped through
  StepMode stepMode_ = StepMode::kRun;
  int stepDepth_ = 0;
  bool paused_ = false;
  bool goOn_ = false;
  bool closeWhenEnded_ = false;
  bool endNow_ = false;
  bool wasPainted_ = false;
};

}  // namespace ui::ide_view
