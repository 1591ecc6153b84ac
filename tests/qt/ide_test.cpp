#include <QAction>
#include <QCheckBox>
#include <QDialog>
#include <QDockWidget>
#include <QMenu>
#include <QMenuBar>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextEdit>
#include <QTreeWidget>

#include "host/dialog/app_work_window.h"
#include "host/dialog/workbench.h"
#include "tavhost/base/long_work.h"
#include "tavhost/script/runner.h"
#include "tests/qt/ide_fixture.h"

namespace {

using ui::ide_view::Theme;

TEST_F(IdeTest, WhatIsTypedRunsAndPrints) {
  Start();
  Type(QStringLiteral("for i from 1 to 3 { print \"n\", i }"));
  Run();
  EXPECT_TRUE(Console().contains(QStringLiteral("n 1\nn 2\nn 3\n"))) << Console().toStdString();
  EXPECT_TRUE(State().startsWith(QStringLiteral("Ended after"))) << State().toStdString();
  EXPECT_FALSE(script::IsScriptRunning());
}

TEST_F(IdeTest, CommandsOfThePluginRun) {
  Start();
  RunText(QStringLiteral("FWRITE file:\"%1\" text:\"x\"\nprint ecode, written\nexit 7")
              .arg(Path(QStringLiteral("out.txt"))));
  EXPECT_EQ(Read(QStringLiteral("out.txt")), "x");
  EXPECT_TRUE(Console().contains(QStringLiteral("0 1\n")));
  EXPECT_TRUE(State().startsWith(QStringLiteral("Ended with code 7")));
}

TEST_F(IdeTest, AnErrorIsMarkedAndOneClickGoesThere) {
  Start();
  RunText(QStringLiteral("print 1\nprint 2\nFWRITE file:3\n"));
  ASSERT_EQ(Editor().Marks().size(), 1u);
  EXPECT_EQ(Editor().Marks()[0].line, 3u);
  EXPECT_EQ(Editor().Line(), 3);
  auto& problems = *window_->findChild<QTreeWidget*>(QStringLiteral("problemList"));
  ASSERT_EQ(problems.topLevelItemCount(), 1);
  Editor().GoTo(1, 1);
  problems.itemClicked(problems.topLevelItem(0), 0);
  EXPECT_EQ(Editor().Line(), 3);
  // The same from the console: its text names the place.
  Editor().GoTo(1, 1);
  QPlainTextEdit& output = window_->GetConsole().Output();
  QTextCursor cursor = output.document()->find(QStringLiteral("untitled:3:"));
  ASSERT_FALSE(cursor.isNull());
  cursor.setPosition(cursor.selectionStart() + 2);
  output.setTextCursor(cursor);
  const QPoint place = output.cursorRect(cursor).center();
  QTest::mouseClick(output.viewport(), Qt::LeftButton, Qt::NoModifier, place);
  EXPECT_EQ(Editor().Line(), 3);
  // Typing takes the mark away.
  Type(QStringLiteral(" "));
  EXPECT_TRUE(Editor().Marks().empty());
}

TEST_F(IdeTest, AMistakeIsFoundWithoutRunning) {
  Start();
  Editor().SetText(QStringLiteral("print 1\nif {\n"));
  Key(Qt::Key_F7);
  ASSERT_FALSE(Editor().Marks().empty());
  EXPECT_EQ(Editor().Marks()[0].line, 2u);
  EXPECT_FALSE(Console().contains(QLatin1Char('1')));
  Run();
  EXPECT_EQ(State(), QStringLiteral("Not run: there is a mistake"));
}

// How long the script may go on after Shift+F5, in milliseconds; sanitizers slow all things down.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kStopTime = 10000;
#else
constexpr int kStopTime = 1000;
#endif

class IdeStopTest : public IdeTest, public testing::WithParamInterface<const char*> {};

TEST_P(IdeStopTest, StopTakesEffectWithinASecond) {
  Start();
  Editor().SetText(QString::fromLatin1(GetParam()));
  QElapsedTimer time;
  bool busy = false;
  QTimer::singleShot(600, qApp, [&] {
    busy = window_->findChild<QProgressBar*>()->isVisible() &&
           State().startsWith(QStringLiteral("Running 0."));
    time.start();
    QWidget* const target =
        QApplication::activeModalWidget() ? QApplication::activeModalWidget() : &Editor();
    QTest::keyClick(target, Qt::Key_F5, Qt::ShiftModifier);
  });
  Run();
  ASSERT_TRUE(time.isValid());
  EXPECT_LT(time.elapsed(), kStopTime);
  EXPECT_TRUE(busy);
  EXPECT_TRUE(State().startsWith(QStringLiteral("Stopped after"))) << State().toStdString();
  EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
  // The next script is not stopped by it.
  RunText(QStringLiteral("print 40 + 2"));
  EXPECT_TRUE(Console().contains(QStringLiteral("42\n")));
}

INSTANTIATE_TEST_SUITE_P(Everywhere, IdeStopTest,
                         testing::Values("while 1 { }", "SLEEP ms:60000", "INFOBOX \"x\"",
                                         "LISTBOX entries:\"a b\"",
                                         "while 1 { print \"filling the console\" }"));

// Milliseconds; a command that takes that long would make the test as long.
std::uint32_t longWorkTime = 0;

TEST_F(IdeTest, TheStatusBarTellsWhatALongOperationDoes) {
  Start();
  Editor().SetText(QStringLiteral("SLEEP ms:60000"));
  QString during;
  QString afterwards;
  QTimer::singleShot(200, qApp, [&] {
    const auto shows = [&](bool work) {
      return QTest::qWaitFor([&] { return State().contains(QStringLiteral("Copying")) == work; },
                             kPatience);
    };
    {
      base::LongWork work("Copying", "big.iso", base::LongWork::Unit::kBytes,
                          []() noexcept { return longWorkTime; });
      longWorkTime += 2000;
      work.At(1'000'000, 4'000'000);
      EXPECT_TRUE(shows(true));
      during = State();
    }
    EXPECT_TRUE(shows(false));
    afterwards = State();
    window_->Stop();
  });
  Run();
  EXPECT_TRUE(during.startsWith(QStringLiteral("Running "))) << during.toStdString();
  EXPECT_TRUE(
      during.endsWith(QStringLiteral(" - Copying big.iso: 1.0 MB of 4.0 MB, 25% - Shift+F5 stops")))
      << during.toStdString();
  EXPECT_TRUE(afterwards.endsWith(QStringLiteral(" - Shift+F5 stops"))) << afterwards.toStdString();
}

TEST_F(IdeTest, ClosingWhileAScriptRunsAsksAndStopsIt) {
  Start();
  Editor().SetText(QStringLiteral("while 1 { }"));
  Editor().document()->setModified(false);
  bool closed = false;
  window_->closed = [&closed] { closed = true; };
  bool stillThere = false;
  QTimer::singleShot(200, qApp, [&] {
    Answer(QStringLiteral("Cancel"));
    window_->close();
    stillThere = window_->isVisible() && window_->IsRunning();
    Answer(QStringLiteral("Stop and Quit"));
    window_->close();
  });
  Run();
  EXPECT_TRUE(QTest::qWaitFor([&] { return closed; }, kPatience));
  EXPECT_TRUE(stillThere);
  EXPECT_FALSE(window_->isVisible());
  EXPECT_FALSE(script::IsScriptRunning());
  EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

TEST_F(IdeTest, TheScriptSeesTheWorkbenchWhileItRuns) {
  Start();
  Editor().SetText(QStringLiteral("while 1 { }"));
  QTimer::singleShot(200, qApp, [&] {
    // It can be typed, resized and looked at; a second run does nothing.
    window_->resize(900, 600);
    window_->Tabs().New();
    QTest::keyClicks(&Editor(), QStringLiteral("print 1"));
    window_->Run();
    EXPECT_EQ(Editor().Text(), QStringLiteral("print 1"));
    window_->Stop();
  });
  Run();
  EXPECT_EQ(window_->size(), QSize(900, 600));
  EXPECT_FALSE(Console().contains(QStringLiteral("\n1\n")));
}

TEST_F(IdeTest, TheConsoleRunsEntriesOneBehindTheOther) {
  Start();
  Enter(QStringLiteral("total = 40"));
  Enter(QStringLiteral("total = total + 2"));
  Enter(QStringLiteral("total"));
  EXPECT_TRUE(Console().contains(QStringLiteral("tav> total\n42\n"))) << Console().toStdString();
  Enter(QStringLiteral("= total * 2"));
  EXPECT_TRUE(Console().contains(QStringLiteral("84\n")));
  Enter(QStringLiteral("FILE_EXISTS file:\"nowhere\""));
  EXPECT_TRUE(Console().contains(QStringLiteral("  exists: 0\n"))) << Console().toStdString();
  Enter(QStringLiteral("help FREAD"));
  EXPECT_TRUE(Console().contains(QStringLiteral("Reads a whole file")));
  Enter(QStringLiteral("FREAD"));
  EXPECT_TRUE(Console().contains(QStringLiteral("<console>:1:1: error: ")));
  Enter(QStringLiteral("if total == 42 {"));
  Enter(QStringLiteral("print \"several lines\" }"));
  EXPECT_TRUE(Console().contains(QStringLiteral("\nseveral lines\n"))) << Console().toStdString();
  // A script begins anew, and can run at any time.
  RunText(QStringLiteral("other = 5"));
  Enter(QStringLiteral("other"));
  EXPECT_TRUE(Console().endsWith(QStringLiteral("tav> other\n5\n"))) << Console().toStdString();
}

TEST_F(IdeTest, TheHistoryIsKeptBeforeAnEntryRunsAndForTheNextStart) {
  Start();
  QByteArray during;
  QTimer::singleShot(100, qApp, [&] {
    during = Read(QStringLiteral("history"));
    window_->Stop();
  });
  Enter(QStringLiteral("SLEEP ms:60000"));
  EXPECT_EQ(during, "SLEEP ms:60000\n");
  Enter(QStringLiteral("print \"a\\n\""));
  Leave();
  Start();
  QLineEdit& input = window_->GetConsole().Input();
  input.setFocus();
  QTest::keyClick(&input, Qt::Key_Up);
  EXPECT_EQ(input.text(), QStringLiteral("print \"a\\n\""));
  QTest::keyClick(&input, Qt::Key_Up);
  EXPECT_EQ(input.text(), QStringLiteral("SLEEP ms:60000"));
  QTest::keyClick(&input, Qt::Key_Down);
  QTest::keyClick(&input, Qt::Key_Down);
  EXPECT_EQ(input.text(), QString());
}

TEST_F(IdeTest, TheConsoleCompletes) {
  Start();
  QLineEdit& input = window_->GetConsole().Input();
  input.setFocus();
  QTest::keyClicks(&input, QStringLiteral("FWRI"));
  QTest::keyClick(&input, Qt::Key_Tab);
  EXPECT_EQ(input.text(), QStringLiteral("FWRITE"));
  QTest::keyClicks(&input, QStringLiteral(" te"));
  QTest::keyClick(&input, Qt::Key_Tab);
  EXPECT_EQ(input.text(), QStringLiteral("FWRITE text:"));
}

TEST_F(IdeTest, TheEditorCompletesCommandsParametersAndVariables) {
  Start();
  Type(QStringLiteral("FWRI"));
  QTest::keyClick(&Editor(), Qt::Key_Tab);
  EXPECT_EQ(Editor().Text(), QStringLiteral("FWRITE"));
  Type(QStringLiteral(" tex"));
  Key(Qt::Key_Space, Qt::ControlModifier);
  EXPECT_EQ(Editor().Text(), QStringLiteral("FWRITE text:"));
  Editor().SetText(QStringLiteral("longName = 1\nprint lo"));
  Editor().GoTo(2, 9);
  Key(Qt::Key_Space, Qt::ControlModifier);
  if (QWidget* const popup = QApplication::activePopupWidget()) {
    QTest::keyClick(popup, Qt::Key_Return);  // longName comes before lower
  }
  EXPECT_EQ(Editor().Text(), QStringLiteral("longName = 1\nprint longName"));
}

TEST_F(IdeTest, AnOfferNobodyAskedForLeavesTheEndOfALineAlone) {
  Start();
  Type(QStringLiteral("FR"));
  QTest::keyClick(&Editor(), Qt::Key_Return);
  EXPECT_EQ(Editor().Text(), QStringLiteral("FR\n"));
}

TEST_F(IdeTest, LinesAreIndentedAndBracketsPutBack) {
  Start();
  Type(QStringLiteral("if a {"));
  QTest::keyClick(&Editor(), Qt::Key_Return);
  Type(QStringLiteral("print 1"));
  QTest::keyClick(&Editor(), Qt::Key_Return);
  Type(QStringLiteral("}"));
  EXPECT_EQ(Editor().Text(), QStringLiteral("if a {\n    print 1\n}"));
  // The partner of the bracket at the cursor is shown: current line, and the two brackets.
  EXPECT_EQ(Editor().extraSelections().size(), 3);
}

TEST_F(IdeTest, LinesAreCommentedMovedAndDoubled) {
  Start();
  Editor().SetText(QStringLiteral("a\n  b\nc"));
  Editor().GoTo(2, 1);
  Key(Qt::Key_Slash, Qt::ControlModifier);
  EXPECT_EQ(Editor().Text(), QStringLiteral("a\n  # b\nc"));
  Key(Qt::Key_Slash, Qt::ControlModifier);
  EXPECT_EQ(Editor().Text(), QStringLiteral("a\n  b\nc"));
  Key(Qt::Key_Up, Qt::AltModifier);
  EXPECT_EQ(Editor().Text(), QStringLiteral("  b\na\nc"));
  Key(Qt::Key_Down, Qt::AltModifier);
  Key(Qt::Key_D, Qt::ControlModifier);
  EXPECT_EQ(Editor().Text(), QStringLiteral("a\n  b\n  b\nc"));
  Editor().selectAll();
  QTest::keyClick(&Editor(), Qt::Key_Tab);
  EXPECT_EQ(Editor().Text(), QStringLiteral("    a\n      b\n      b\n    c"));
  QTest::keyClick(&Editor(), Qt::Key_Backtab);
  EXPECT_EQ(Editor().Text(), QStringLiteral("a\n  b\n  b\nc"));
}

TEST_F(IdeTest, FindsAndReplaces) {
  Start();
  Editor().SetText(QStringLiteral("cat Cat category\ncat"));
  Key(Qt::Key_H, Qt::ControlModifier);
  auto& find = *window_->findChild<QLineEdit*>(QStringLiteral("find"));
  auto& replace = *window_->findChild<QLineEdit*>(QStringLiteral("replace"));
  ASSERT_TRUE(find.isVisible());
  QTest::keyClicks(&find, QStringLiteral("cat"));
  QTest::keyClick(&find, Qt::Key_Return);
  EXPECT_EQ(Editor().textCursor().selectionStart(), 0);
  QTest::keyClick(&find, Qt::Key_Return);
  EXPECT_EQ(Editor().textCursor().selectionStart(), 4);
  QTest::keyClick(&find, Qt::Key_Return, Qt::ShiftModifier);
  QTest::keyClick(&find, Qt::Key_Return, Qt::ShiftModifier);  // round the start
  EXPECT_EQ(Editor().textCursor().selectionStart(), 17);
  replace.setText(QStringLiteral("dog"));
  QTest::mouseClick(window_->findChild<QPushButton*>(QStringLiteral("replaceOne")), Qt::LeftButton);
  EXPECT_EQ(Editor().Text(), QStringLiteral("cat Cat category\ndog"));
  for (QCheckBox* const box : window_->Find().findChildren<QCheckBox*>()) {
    if (!box->text().contains(QStringLiteral("xpression"))) box->setChecked(true);
  }
  QTest::mouseClick(window_->findChild<QPushButton*>(QStringLiteral("replaceAll")), Qt::LeftButton);
  EXPECT_EQ(Editor().Text(), QStringLiteral("dog Cat category\ndog"));
  // All of it is undone at once.
  Editor().undo();
  EXPECT_EQ(Editor().Text(), QStringLiteral("cat Cat category\ndog"));
  for (QCheckBox* const box : window_->Find().findChildren<QCheckBox*>()) {
    box->setChecked(box->text().contains(QStringLiteral("xpression")));
  }
  find.setText(QStringLiteral("(c)(at)"));
  replace.setText(QStringLiteral("\\2\\1"));
  EXPECT_EQ(window_->Find().ReplaceAll(), 3);
  EXPECT_EQ(Editor().Text(), QStringLiteral("atc atC atcegory\ndog"));
  find.setText(QStringLiteral("("));
  EXPECT_FALSE(window_->Find().FindNext(false));
  QTest::keyClick(&find, Qt::Key_Escape);
  EXPECT_FALSE(find.isVisible());
}

TEST_F(IdeTest, AnEditFieldWithoutATitleHasThatOfTheMainWindow) {
  Start();
  for (const bool hasOther : {false, true}) {
    if (hasOther) window_->Tabs().New();
    QString title;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
      auto* const dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
      if (!dialog) return;
      title = dialog->windowTitle();
      timer.stop();
      dialog->reject();
    });
    timer.start(10);
    RunText(QStringLiteral("EDITFIELD caption:\"Name\""));
    QString main = window_->windowTitle();
    EXPECT_TRUE(main.contains(QStringLiteral("[*] - tavhost")));
    EXPECT_EQ(title, main.remove(QStringLiteral("[*]")));
  }
}

TEST_F(IdeTest, AllCommandsAreListedSearchedAndInserted) {
  Start();
  EXPECT_EQ(window_->Commands().ShownCount(), 76);
  auto& search = *window_->findChild<QLineEdit*>(QStringLiteral("commandSearch"));
  search.setText(QStringLiteral("http"));
  EXPECT_GT(window_->Commands().ShownCount(), 0);
  EXPECT_LT(window_->Commands().ShownCount(), 20);
  search.setText(QStringLiteral("fwrite"));
  EXPECT_TRUE(window_->findChild<QTextEdit*>(QStringLiteral("commandPage"))
                  ->toPlainText()
                  .contains(QStringLiteral("Writes a text to a file")));
  QTest::keyClick(&search, Qt::Key_Return);
  EXPECT_TRUE(Editor().Text().startsWith(QStringLiteral("FWRITE")))
      << Editor().Text().toStdString();
  // Help for the word under the cursor.
  Editor().SetText(QStringLiteral("DB_FILE_LIST"));
  Editor().GoTo(1, 4);
  Key(Qt::Key_F1);
  EXPECT_TRUE(window_->findChild<QTextEdit*>(QStringLiteral("commandPage"))
                  ->toPlainText()
                  .startsWith(QStringLiteral("DB_FILE_LIST")));
}

TEST_F(IdeTest, EverythingIsReachedByKeyboardAndNamed) {
  Start();
  for (const QAction* const menu : window_->menuBar()->actions()) {
    EXPECT_TRUE(menu->text().contains(QLatin1Char('&'))) << menu->text().toStdString();
    QStringList mnemonics;
    for (const QAction* const action : menu->menu()->actions()) {
      if (action->isSeparator()) continue;
      const qsizetype at = action->text().indexOf(QLatin1Char('&'));
      EXPECT_TRUE(at >= 0 || !action->shortcut().isEmpty()) << action->text().toStdString();
      if (at < 0) continue;
      const QString letter = action->text().mid(at + 1, 1).toLower();
      EXPECT_FALSE(mnemonics.contains(letter)) << action->text().toStdString();
      mnemonics << letter;
    }
  }
  QStringList shortcuts;
  for (const QAction* const action : window_->findChildren<QAction*>()) {
    for (const QKeySequence& keys : action->shortcuts()) {
      EXPECT_FALSE(shortcuts.contains(keys.toString())) << keys.toString().toStdString();
      shortcuts << keys.toString();
    }
  }
  for (const char* const name :
       {"editor", "consoleInput", "consoleOutput", "commandSearch", "commandList", "commandPage",
        "problemList", "variableList", "serviceLogText", "tabs", "find", "replace"}) {
    const auto* const widget = window_->findChild<QWidget*>(QLatin1String(name));
    ASSERT_NE(widget, nullptr) << name;
    EXPECT_FALSE(widget->accessibleName().isEmpty()) << name;
  }
  // From pane to pane.
  Editor().setFocus();
  Key(Qt::Key_F6);
  EXPECT_FALSE(Editor().hasFocus());
  for (int i = 0; i < 10 && !Editor().hasFocus(); ++i) {
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_F6);
  }
  EXPECT_TRUE(Editor().hasFocus());
}

// Menus, the find bar and the panes beside the editor are there together.
TEST_F(IdeTest, NoLetterWithAltStandsForTwoThings) {
  Start();
  QMap<QString, QString> letters;
  const auto take = [&letters](const QString& text) {
    const QString letter = QKeySequence::mnemonic(text).toString();
    if (letter.isEmpty()) return;
    EXPECT_FALSE(letters.contains(letter))
        << letter.toStdString() << ": " << letters[letter].toStdString() << ", "
        << text.toStdString();
    letters[letter] = text;
  };
  for (const QAction* const menu : window_->menuBar()->actions()) take(menu->text());
  for (const QPushButton* const button : window_->findChildren<QPushButton*>()) {
    take(button->text());
  }
  for (const QCheckBox* const box : window_->findChildren<QCheckBox*>()) take(box->text());
  for (const QLabel* const label : window_->findChildren<QLabel*>()) {
    if (label->buddy()) take(label->text());
  }
}

TEST_F(IdeTest, ScriptsAreFromLeftToRightOnEveryDesktop) {
  Start();
  Editor().setPlainText(QStringLiteral("print 1  # שלום.\n# abc.\nנכון = 2\n"));
  HandleEvents();
  const QImage picture = Editor().grab().toImage();
  QGuiApplication::setLayoutDirection(Qt::RightToLeft);
  HandleEvents();
  const QImage turned = Editor().grab().toImage();
  QGuiApplication::setLayoutDirection(Qt::LeftToRight);
  EXPECT_EQ(turned.size(), picture.size());
  EXPECT_EQ(turned, picture);
}

TEST_F(IdeTest, LightAndDarkAreToldApart) {
  Start();
  window_->SetTheme(Theme::kDark);
  HandleEvents();
  EXPECT_LT(Editor().palette().color(QPalette::Base).lightness(), 60);
  window_->SetTheme(Theme::kLight);
  HandleEvents();
  EXPECT_GT(Editor().palette().color(QPalette::Base).lightness(), 200);
  window_->SetTheme(Theme::kSystem);
}

TEST_F(IdeTest, TheVariablesOfTheLastRunAreShown) {
  Start();
  window_->findChild<QDockWidget*>(QStringLiteral("variables"))->raise();
  HandleEvents();
  RunText(QStringLiteral("total = 42\nname = \"x\""));
  auto& list = *window_->findChild<QTreeWidget*>(QStringLiteral("variableList"));
  const auto found = list.findItems(QStringLiteral("total"), Qt::MatchExactly);
  ASSERT_EQ(found.size(), 1);
  EXPECT_EQ(found[0]->text(1), QStringLiteral("42"));
  EXPECT_EQ(found[0]->text(2), QStringLiteral("integer"));
}

constexpr char kSteps[] =
    "func twice(n) {\n"  // 1
    "    m = n * 2\n"    // 2
    "    return m\n"     // 3
    "}\n"                // 4
    "a = twice(3)\n"     // 5
    "b = twice(a)\n"     // 6
    "print a, b\n";      // 7

TEST_F(IdeTest, AScriptIsSteppedThroughAndItsVariablesAreSeen) {
  Start();
  Editor().SetText(QString::fromLatin1(kSteps));
  auto& dock = *window_->findChild<QDockWidget*>(QStringLiteral("variables"));
  dock.raise();
  HandleEvents();
  auto& list = *window_->findChild<QTreeWidget*>(QStringLiteral("variableList"));
  const auto value = [&list](const char* name) {
    const auto found = list.findItems(QLatin1String(name), Qt::MatchExactly);
    return found.isEmpty() ? QString() : found[0]->text(1);
  };
  QList<int> lines;
  // Into the first call and out of it, over the second, on to the end.
  QTimer watch;
  watch.setInterval(10);
  QObject::connect(&watch, &QTimer::timeout, qApp, [&] {
    if (!window_->IsPaused()) return;
    lines << Editor().Line();
    if (Editor().Line() == 3) {
      EXPECT_EQ(value("m"), QStringLiteral("6"));
      EXPECT_EQ(value("n"), QStringLiteral("3"));
      EXPECT_EQ(value("a"), QString());
    }
    const qsizetype step = lines.size() - 1;
    watch.stop();  // keys let events through
    if (step == 2) {
      Key(Qt::Key_F11, Qt::ShiftModifier);
    } else {
      Key(step < 2 ? Qt::Key_F11 : step == 3 ? Qt::Key_F10 : Qt::Key_F5);
    }
    HandleEvents();  // carried out from the event loop
    watch.start();
  });
  watch.start();
  Key(Qt::Key_F10);
  HandleEvents();
  ASSERT_TRUE(QTest::qWaitFor([&] { return !window_->IsRunning(); }, 5000));
  EXPECT_EQ(lines, (QList<int>{5, 2, 3, 6, 7}));
  EXPECT_TRUE(Console().contains(QStringLiteral("6 12\n"))) << Console().toStdString();
}

TEST_F(IdeTest, ABreakpointStopsAndMovesWithTheText) {
  Start();
  Editor().SetText(QString::fromLatin1(kSteps));
  Editor().GoTo(2, 1);
  Key(Qt::Key_F9);
  Editor().GoTo(1, 1);
  QTest::keyClick(&Editor(), Qt::Key_Return);  // a line above
  ASSERT_TRUE(Editor().HasBreakpoint(3));
  QList<int> lines;
  QTimer watch;
  watch.setInterval(10);
  QObject::connect(&watch, &QTimer::timeout, qApp, [&] {
    if (!window_->IsPaused()) return;
    lines << Editor().Line();
    if (lines.size() == 2) return window_->Stop();  // a script that stands still is stopped too
    watch.stop();
    Key(Qt::Key_F5);
    HandleEvents();
    watch.start();
  });
  watch.start();
  Run();
  EXPECT_EQ(lines, (QList<int>{3, 3}));
  EXPECT_TRUE(State().startsWith(QStringLiteral("Stopped"))) << State().toStdString();
  Editor().ToggleBreakpoint(3);
  EXPECT_FALSE(Editor().HasBreakpoints());
  Run();
  EXPECT_TRUE(Console().contains(QStringLiteral("6 12\n")));
}

TEST_F(IdeTest, OutputWindowsAreDockedAndFoundAgain) {
  Start();
  RunText(
      QStringLiteral("CREATE_OUTPUT_WIN winid:\"log\" title:\"Log\"\n"
                     "OUT winid:\"log\" text:\"one\\n\""));
  auto* const dock = window_->findChild<QDockWidget*>(QStringLiteral("tool:log"));
  ASSERT_NE(dock, nullptr) << Console().toStdString();
  EXPECT_TRUE(dock->isVisible());
  EXPECT_EQ(dock->windowTitle(), QStringLiteral("Log"));
  // Another script finds it by its id.
  RunText(QStringLiteral("OUT winid:\"log\" text:\"two\\n\""));
  auto* const text = dock->findChild<QPlainTextEdit*>();
  ASSERT_NE(text, nullptr);
  EXPECT_TRUE(
      QTest::qWaitFor([&] { return text->toPlainText() == QStringLiteral("one\ntwo\n"); }, 2000))
      << text->toPlainText().toStdString();
}

TEST_F(IdeTest, APercentageWindowStandsAboveTheWorkbenchAndGoesWithTheScript) {
  Start();
  Editor().SetText(
      QStringLiteral("PERCWIN_CREATE title:\"Working\" with-cancel-button:1\n"
                     "while 1 { PERCWIN_SET percentage:50 }"));
  bool shown = false;
  QTimer::singleShot(300, qApp, [&] {
    for (const QWidget* const widget : QApplication::topLevelWidgets()) {
      shown = shown || (widget->isVisible() && widget->windowTitle() == QStringLiteral("Working"));
    }
    window_->Stop();
  });
  Run();
  EXPECT_TRUE(shown) << Console().toStdString();
  for (const QWidget* const widget : QApplication::topLevelWidgets()) {
    EXPECT_FALSE(widget->isVisible() && widget->windowTitle() == QStringLiteral("Working"));
  }
  // One that the console has left open goes with the workbench.
  Enter(QStringLiteral("PERCWIN_CREATE title:\"Left\""));
  Leave();
  for (const QWidget* const widget : QApplication::topLevelWidgets()) {
    EXPECT_FALSE(widget->isVisible());
  }
}

TEST_F(IdeTest, TheUsualLayoutShowsWhatIsVisibleByDefault) {
  Start();
  RunText(
      QStringLiteral("CREATE_OUTPUT_WIN winid:\"usual\" title:\"Usual\"\n"
                     "CREATE_OUTPUT_WIN winid:\"other\" title:\"Other\""));
  TavAppWorkWindow::GetGlobal()->GetWorkbench()->SetToolDefaultVisible("usual", true);
  auto& usual = *window_->findChild<QDockWidget*>(QStringLiteral("tool:usual"));
  auto& other = *window_->findChild<QDockWidget*>(QStringLiteral("tool:other"));
  usual.close();
  ASSERT_FALSE(usual.isVisible());
  ASSERT_TRUE(other.isVisible());
  Choose(QStringLiteral("&Windows of Scripts"), QStringLiteral("Usual &Layout"));
  EXPECT_TRUE(usual.isVisible());
  EXPECT_FALSE(other.isVisible());
  // Nothing changes where all is as usual.
  Choose(QStringLiteral("&Windows of Scripts"), QStringLiteral("Usual &Layout"));
  EXPECT_TRUE(usual.isVisible());
  EXPECT_FALSE(other.isVisible());
}

}  // namespace
