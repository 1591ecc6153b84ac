#include <QAction>
#include <QDockWidget>
#include <QHelpEvent>
#include <QLabel>
#include <QMainWindow>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QScrollBar>
#include <QToolTip>
#include <random>
#include <tuple>

#include "tavhost/qt/output_view.h"
#include "tavhost/qt/percentage_window_view.h"
#include "tavhost/qt/tool_docks.h"
#include "tavhost/qt/work_window_view.h"
#include "tavhost/ui/models/drawing_model.h"
#include "tavhost/ui/models/percentage_window_model.h"
#include "tavhost/ui/models/text_model.h"
#include "tavhost/ui/models/work_window_model.h"
#include "tavhost/ui/models/workbench_model.h"
#include "tests/qt/events.h"
#include "tests/qt/qt_fixture.h"

namespace {

using ui::Tool;
using ui::ToolSide;

// A text control as scripts use it: the whole text is set each time.
class Text {
 public:
  void Add(const std::string& added, std::size_t dropped = 0) {
    // The old text stays where it is until the model has been told.
    auto now = std::make_unique<std::string>((*text_ + added).substr(dropped));
    model.Continue(*now, dropped, added);
    text_ = std::move(now);
    ShowEnd();
  }
  void Replace(const std::string& text) {
    *text_ = text;
    model.Replace(*text_);
    ShowEnd();
  }
  const std::string& Whole() const { return *text_; }

  ui::TextModel model;

 private:
  void ShowEnd() {
    const auto last = static_cast<long>(text_->size()) - 1;
    model.Select(last, last);
    model.ShowSelection();
  }

  std::unique_ptr<std::string> text_ = std::make_unique<std::string>();
};

class QtOutput : public QtTest {
 protected:
  void SetUp() override {
    QtTest::SetUp();
    Toolkit();
  }
  static void ExpectShown(const ui::OutputView& view, const char* text) {
    EXPECT_TRUE(
        QTest::qWaitFor([&] { return view.toPlainText() == QLatin1String(text); }, kPatience))
        << view.toPlainText().toStdString();
  }
};

TEST_F(QtOutput, OutputAppearsWithinAFrame) {
  Text text;
  ui::OutputView view(text.model);
  view.show();
  text.Add("one\n");
  EXPECT_EQ(view.toPlainText(), "");
  text.Add("two");
  ExpectShown(view, "one\ntwo");
  text.Replace("other");
  ExpectShown(view, "other");
  text.Replace("");
  ExpectShown(view, "");
}

TEST_F(QtOutput, OutputKeepsUpWithWhatComesAndGoes) {
  const auto seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  Text text;
  ui::OutputView view(text.model);
  view.show();
  for (int step = 0; step < 3000; ++step) {
    const std::string added =
        "line " + std::to_string(step) + std::string(random() % 3, '\n') + (step % 7 ? "" : "\r\n");
    std::size_t dropped = 0;
    const std::string whole = text.Whole() + added;
    for (std::size_t lines = random() % 4; lines > 0; --lines) {
      const std::size_t end = whole.find('\n', dropped);
      if (end == std::string::npos) break;
      dropped = end + 1;
    }
    if (random() % 200 == 0) {
      text.Replace(added);
    } else {
      text.Add(added, dropped);
    }
    if (random() % 10 == 0) {
      view.Flush();
      QString expected = QString::fromStdString(text.Whole());
      ASSERT_EQ(view.toPlainText(), expected.replace(QLatin1String("\r\n"), QLatin1String("\n")));
    }
  }
}

TEST_F(QtOutput, CharactersInPiecesAreShownWhole) {
  Text text;
  ui::OutputView view(text.model);
  for (const char* piece : {"\xC3", "\xA4 \xF0\x9F", "\x99\x82", " a\r",
                            "\nb\rc\xE2\x80\xA9"
                            "d"}) {
    text.Add(piece);
    view.Flush();
  }
  EXPECT_EQ(view.toPlainText(), QString::fromUtf8("ä 🙂 a\nb\nc\nd"));
  EXPECT_EQ(view.blockCount(), 2) << "a line feed alone ends a line that can be dropped";
}

TEST_F(QtOutput, TheEndIsInViewUnlessTheUserSelects) {
  Text text;
  ui::OutputView view(text.model);
  view.resize(300, 150);
  view.show();
  for (int i = 0; i < 500; ++i) text.Add("a line that is quite a bit wider than the window is\n");
  view.Flush();
  QScrollBar& bar = *view.verticalScrollBar();
  EXPECT_EQ(view.textCursor().blockNumber(), 499);
  EXPECT_TRUE(view.viewport()->rect().contains(view.cursorRect()));
  EXPECT_EQ(view.horizontalScrollBar()->value(), 0);
  bar.setValue(10);
  QTest::mouseDClick(view.viewport(), Qt::LeftButton, {}, QPoint(20, 20));
  ASSERT_TRUE(view.textCursor().hasSelection());
  const int place = bar.value();
  text.Add("more\n");
  view.Flush();
  EXPECT_EQ(bar.value(), place);
  EXPECT_TRUE(view.textCursor().hasSelection());
}

class QtDocks : public QtOutput {
 protected:
  Tool& Add(const char* id, ToolSide side, long index, long subIndex) {
    Tool& tool = bench.Add(id, nullptr, 0);
    bench.SetLocation(tool, {side, index, subIndex});
    return tool;
  }

  QMainWindow window;
  ui::WorkbenchModel bench;
};

TEST_F(QtDocks, AToolIsADockAtItsSide) {
  Text text;
  ui::ToolDocks docks(window, bench);
  window.resize(800, 600);
  window.show();
  Tool& log = bench.Add("log", &text.model, 0);
  bench.SetLocation(log, {ToolSide::kBottom, 1, 0});
  bench.SetTitle(log, "Log & more");
  bench.SetSubtitle(log, "second run");
  EXPECT_FALSE(docks.Dock("log")->isVisible());
  bench.SetVisible(log, true);
  QDockWidget& dock = *docks.Dock("log");
  EXPECT_TRUE(dock.isVisible());
  EXPECT_EQ(dock.windowTitle(), QString::fromUtf8("Log & more – second run"));
  EXPECT_EQ(window.dockWidgetArea(&dock), Qt::BottomDockWidgetArea);
  text.Add("hello");
  docks.Flush();
  EXPECT_EQ(dynamic_cast<QPlainTextEdit&>(*dock.widget()).toPlainText(), "hello");
  bench.SetVisible(log, false);
  EXPECT_FALSE(dock.isVisible());
}

TEST_F(QtDocks, WhatTheUserClosesIsHiddenInTheModel) {
  ui::ToolDocks docks(window, bench);
  window.show();
  Tool& tool = Add("log", ToolSide::kLeft, 0, 0);
  bench.SetVisible(tool, true);
  docks.Dock("log")->close();
  EXPECT_FALSE(tool.visible);
  EXPECT_FALSE(docks.Dock("log")->isVisible());
  docks.Actions().front()->trigger();
  EXPECT_TRUE(tool.visible);
  EXPECT_TRUE(docks.Dock("log")->isVisible());
}

TEST_F(QtDocks, ToolsOfOnePlaceAreTabsOthersStandBeside) {
  window.resize(900, 700);
  window.show();
  ui::ToolDocks docks(window, bench);
  for (Tool* const tool : {&Add("c", ToolSide::kBottom, 1, 0), &Add("a", ToolSide::kBottom, 0, 0),
                           &Add("b", ToolSide::kBottom, 1, 0), &Add("d", ToolSide::kRight, 0, 0)}) {
    bench.SetVisible(*tool, true);
  }
  QApplication::processEvents();
  EXPECT_EQ(window.tabifiedDockWidgets(docks.Dock("c")), (QList<QDockWidget*>{docks.Dock("b")}));
  EXPECT_TRUE(window.tabifiedDockWidgets(docks.Dock("a")).isEmpty());
  EXPECT_LT(docks.Dock("a")->x(), docks.Dock("b")->x());
  EXPECT_EQ(window.dockWidgetArea(docks.Dock("d")), Qt::RightDockWidgetArea);
}

TEST_F(QtDocks, FlagsBindTheUser) {
  ui::ToolDocks docks(window, bench);
  bench.Add("fixed", nullptr, 28 | 32);
  bench.Add("free", nullptr, 0);
  EXPECT_EQ(docks.Dock("fixed")->features(), QDockWidget::NoDockWidgetFeatures);
  EXPECT_EQ(docks.Dock("free")->features(), QDockWidget::DockWidgetClosable |
                                                QDockWidget::DockWidgetMovable |
                                                QDockWidget::DockWidgetFloatable);
  EXPECT_EQ(docks.Actions().size(), 1u);
}

TEST_F(QtDocks, SizesAreThoseOfTheSide) {
  ui::ToolDocks docks(window, bench);
  window.setCentralWidget(new QLabel);
  window.resize(1000, 800);
  window.show();
  Tool& left = bench.Add("left", nullptr, 64);
  bench.SetSize(left, &Tool::verticalSize, {320, 250});
  bench.SetSize(left, &Tool::leastVerticalSize, {280, 100});
  bench.SetVisible(left, true);
  QApplication::processEvents();
  EXPECT_NEAR(docks.Dock("left")->width(), 320, 4);
  EXPECT_EQ(docks.Dock("left")->widget()->minimumWidth(), 280);
  EXPECT_LT(docks.Dock("left")->widget()->minimumHeight(), 100);
}

QStringList warnings;
void KeepWarning(QtMsgType, const QMessageLogContext&, const QString& text) {
  // Not what the screen that nobody sees says of itself.
  if (!text.contains(QLatin1String("plugin does not support"))) warnings << text;
}

TEST_F(QtDocks, NoSizeIsAskedForByNought) {
  ui::ToolDocks docks(window, bench);
  window.resize(800, 600);
  window.show();
  warnings.clear();
  const QtMessageHandler before = qInstallMessageHandler(&KeepWarning);
  for (const SV::Size& size : {SV::Size(0, 0), SV::Size(0, 200), SV::Size(-5, 0)}) {
    Tool& tool = Add("tool", ToolSide::kRight, 0, 0);
    bench.SetSize(tool, &Tool::verticalSize, size);
    bench.SetSize(tool, &Tool::leastVerticalSize, size);
    bench.SetVisible(tool, true);
    HandleEvents();
    EXPECT_GT(docks.Dock("tool")->width(), 0);
  }
  qInstallMessageHandler(before);
  EXPECT_EQ(warnings.join('|').toStdString(), "");
}

// Where nothing else is, a tool of a side stands there in the size that the script gave it.
TEST_F(QtDocks, AnOnlyToolStandsAtItsSide) {
  for (const ToolSide side :
       {ToolSide::kLeft, ToolSide::kTop, ToolSide::kRight, ToolSide::kBottom}) {
    SCOPED_TRACE(static_cast<int>(side));
    ui::WorkWindowModel model;
    ui::WorkWindowView view(model);
    Tool& tool = model.workbench.Add("tool", nullptr, 0);
    model.workbench.SetLocation(tool, {side, 0, 0});
    model.workbench.SetSize(tool, &Tool::verticalSize, SV::Size(300, 200));
    model.workbench.SetSize(tool, &Tool::horizontalSize, SV::Size(300, 200));
    model.workbench.SetVisible(tool, true);
    view.resize(760, 460);
    view.show();
    HandleEvents();
    const QRect dock = view.Docks().Dock("tool")->geometry();
    const bool isVertical = tool.IsVertical();
    EXPECT_EQ(isVertical ? dock.width() : dock.height(), isVertical ? 300 : 200);
    EXPECT_EQ(isVertical ? dock.height() : dock.width(), isVertical ? view.height() : view.width());
    if (side == ToolSide::kRight) {
      EXPECT_EQ(dock.right(), view.rect().right());
    } else if (side == ToolSide::kBottom) {
      EXPECT_EQ(dock.bottom(), view.rect().bottom());
    } else {
      EXPECT_EQ(dock.topLeft(), QPoint(0, 0));
    }
  }
}

// No width is none of the script's choice: one that shows its content.
TEST_F(QtDocks, AToolWithoutAWidthIsAsWideAsItsContent) {
  for (const auto& [natural, least, most] :
       {std::tuple(50.0, 300, 300), std::tuple(2000.0, 380, 380), std::tuple(270.0, 340, 380)}) {
    ui::WorkWindowModel model;
    ui::DrawingModel content;
    ui::Drawing drawing;
    drawing.shapes.resize(1);
    drawing.shapes[0].kind = ui::DrawingShape::Kind::kRectangle;
    drawing.shapes[0].points = {{0, 0}, {natural, 40}};
    content.Show(drawing);
    ui::WorkWindowView view(model);
    view.resize(760, 460);
    view.show();
    Tool& tool = model.workbench.Add("tool", &content, ui::tool_flags::kMinimumWidth);
    model.workbench.SetLocation(tool, {ToolSide::kRight, 0, 0});
    for (const auto size : {&Tool::verticalSize, &Tool::leastVerticalSize}) {
      model.workbench.SetSize(tool, size, SV::Size(0, 200));
    }
    model.workbench.SetVisible(tool, true);
    HandleEvents();
    const QRect dock = view.Docks().Dock("tool")->geometry();
    EXPECT_GE(dock.width(), least) << natural;
    EXPECT_LE(dock.width(), most) << natural;
    EXPECT_EQ(dock.right(), view.rect().right());
  }
}

TEST_F(QtDocks, AReplacedToolIsAnotherDock) {
  Text one;
  Text other;
  ui::ToolDocks docks(window, bench);
  int closed = 0;
  docks.closing = [&closed](QDockWidget&) { ++closed; };
  bench.SetVisible(bench.Add("log", &one.model, 0), true);
  one.Add("one");
  bench.SetVisible(bench.Add("log", &other.model, 0), true);
  other.Add("other");
  docks.Flush();
  EXPECT_EQ(closed, 1);
  EXPECT_EQ(dynamic_cast<QPlainTextEdit&>(*docks.Dock("log")->widget()).toPlainText(), "other");
}

TEST_F(QtDocks, ATitleThatItsBarCutsIsWholeInItsTip) {
  window.resize(900, 700);
  window.show();
  ui::ToolDocks docks(window, bench);
  Tool& tool = Add("one", ToolSide::kLeft, 0, 0);
  bench.SetVisible(tool, true);
  QApplication::processEvents();
  QDockWidget& dock = *docks.Dock("one");
  const std::string word(300, 'W');
  for (const auto& [title, tip] : {std::pair<std::string, std::string>("short", ""),
                                   {word, word},
                                   {"a\n" + word, "a " + word}}) {
    bench.SetTitle(tool, title);
    EXPECT_FALSE(dock.windowTitle().contains(QLatin1Char('\n')));
    const QPoint inBar(10, dock.widget()->y() / 2);
    QHelpEvent event(QEvent::ToolTip, inBar, dock.mapToGlobal(inBar));
    QApplication::sendEvent(&dock, &event);
    EXPECT_EQ(QToolTip::isVisible(), !tip.empty());
    if (!tip.empty()) {
      EXPECT_TRUE(QToolTip::text().contains(QString::fromStdString(tip)));
    }
    QToolTip::hideText();
  }
}

TEST_F(QtDocks, FocusBringsATabToTheFront) {
  window.show();
  ui::ToolDocks docks(window, bench);
  Tool& a = Add("a", ToolSide::kBottom, 1, 0);
  bench.SetVisible(a, true);
  bench.SetVisible(Add("b", ToolSide::kBottom, 1, 0), true);
  QApplication::processEvents();
  EXPECT_TRUE(docks.Dock("a")->visibleRegion().isEmpty());
  bench.WantFocus(a);
  QApplication::processEvents();
  EXPECT_FALSE(docks.Dock("a")->visibleRegion().isEmpty());
}

class QtProgress : public QtOutput {};

TEST_F(QtProgress, ShowsBarsAndMessages) {
  ui::PercentageWindowModel model("Copying", true, true);
  ui::PercentageWindowView view(model, nullptr);
  view.show();
  model.SetPercentage(42.5);
  model.SetPercentage2(75);
  model.message = "one\ntwo";
  model.message2 = "three";
  view.ShowNow();
  EXPECT_EQ(view.windowTitle(), "Copying");
  EXPECT_EQ(view.findChild<QProgressBar*>("percentage")->value(), 425);
  EXPECT_EQ(view.findChild<QProgressBar*>("percentage2")->value(), 750);
  EXPECT_EQ(view.findChild<QLabel*>("message")->text(), "one two");
  EXPECT_EQ(view.findChild<QLabel*>("message2")->text(), "three");
  EXPECT_TRUE(view.findChild<QLabel*>("times")->text().startsWith("0:0"));
}

TEST_F(QtProgress, WithoutTheirFlagsThereIsNoSecondBarAndNoButton) {
  ui::PercentageWindowModel model("t", false, false);
  ui::PercentageWindowView view(model, nullptr);
  view.show();
  EXPECT_FALSE(view.findChild<QProgressBar*>("percentage2"));
  EXPECT_FALSE(view.findChild<QPushButton*>("cancel"));
  EXPECT_FALSE(view.findChild<QLabel*>("message2")->isVisible());
  view.close();
  QTest::keyClick(&view, Qt::Key_Escape);
  EXPECT_TRUE(view.isVisible()) << "it goes when the script says";
  EXPECT_FALSE(model.Poll());
}

TEST_F(QtProgress, ButtonEscapeAndCloseBoxCancel) {
  const std::function<void(ui::PercentageWindowView&)> ways[] = {
      [](auto& view) { view.template findChild<QPushButton*>("cancel")->click(); },
      [](auto& view) { QTest::keyClick(&view, Qt::Key_Escape); },
      [](auto& view) { view.close(); },
  };
  for (const auto& way : ways) {
    ui::PercentageWindowModel model("t", true, false);
    ui::PercentageWindowView view(model, nullptr);
    view.show();
    EXPECT_FALSE(model.Poll());
    way(view);
    EXPECT_TRUE(model.Poll());
    EXPECT_TRUE(view.isVisible());
    EXPECT_FALSE(view.findChild<QPushButton*>("cancel")->isEnabled());
  }
}

TEST_F(QtProgress, LongMessagesAndManyChangesAreNoBurden) {
  ui::PercentageWindowModel model("t", true, false);
  ui::PercentageWindowView view(model, nullptr);
  view.show();
  const int width = view.width();
  int painted = 0;
  for (int i = 0; i < 100000; ++i) {
    model.SetPercentage(i / 1000.0);
    model.message.assign(5000, 'x');
    painted += view.ShowModel() ? 1 : 0;
  }
  EXPECT_LT(painted, 1000);
  view.ShowNow();
  EXPECT_EQ(view.width(), width);
  EXPECT_LT(view.findChild<QLabel*>("message")->text().size(), 1000);
}

TEST_F(QtProgress, AWindowThatCanBeCancelledTakesTheKeyboard) {
  for (const auto& [key, modifiers] : {std::pair{Qt::Key_Escape, Qt::KeyboardModifiers()},
                                       {Qt::Key_C, Qt::KeyboardModifiers(Qt::AltModifier)}}) {
    QWidget other;
    other.show();
    other.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
    ui::PercentageWindowModel model("Sorting", true, false);
    Toolkit().Show(model);
    QWidget* const window = QApplication::activeWindow();
    ASSERT_TRUE(window && window != &other);
    EXPECT_EQ(window->windowTitle(), "Sorting");
    // What was meant for the other window presses no button.
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    EXPECT_FALSE(model.IsCancelled());
    QTest::keyClick(QApplication::focusWidget(), key, modifiers);
    // A button that is pressed by its letter is down for a moment.
    EXPECT_TRUE(QTest::qWaitFor([&model] { return model.IsCancelled(); }, kPatience));
    Toolkit().Close(model);
  }
}

TEST_F(QtProgress, AWindowWithoutAButtonLeavesTheKeyboard) {
  // Offscreen every window that is shown becomes the active one: what asks for that is looked at.
  for (const bool canCancel : {false, true}) {
    ui::PercentageWindowModel model("Sorting", canCancel, false);
    ui::PercentageWindowView view(model, nullptr);
    EXPECT_EQ(view.testAttribute(Qt::WA_ShowWithoutActivating), !canCancel);
    view.Open();
    HandleEvents();
    EXPECT_EQ(view.hasFocus(), canCancel);
  }
}

TEST_F(QtProgress, BarsAreCalledWhatTheirMessagesSay) {
  ui::PercentageWindowModel model("t", true, true);
  ui::PercentageWindowView view(model, nullptr);
  view.ShowNow();
  auto& first = *view.findChild<QProgressBar*>("percentage");
  auto& second = *view.findChild<QProgressBar*>("percentage2");
  EXPECT_EQ(first.accessibleName(), "Progress");
  EXPECT_NE(first.accessibleName(), second.accessibleName());
  model.message = "Copying";
  model.message2 = "a.txt";
  view.ShowNow();
  EXPECT_EQ(first.accessibleName(), "Copying");
  EXPECT_EQ(second.accessibleName(), "a.txt");
}

// Through the toolkit, as a script has it: shown, brought up to date, closed.
TEST_F(QtProgress, ThroughTheToolkit) {
  ui::PercentageWindowModel model("Sorting", true, false);
  Toolkit().Show(model);
  model.SetPercentage(50);
  Toolkit().Update(model);
  int found = 0;
  for (QWidget* const widget : QApplication::topLevelWidgets()) {
    if (widget->windowTitle() == "Sorting" && widget->isVisible()) ++found;
  }
  EXPECT_EQ(found, 1);
  Toolkit().Close(model);
  for (QWidget* const widget : QApplication::topLevelWidgets()) {
    EXPECT_NE(widget->windowTitle(), "Sorting");
  }
}

TEST_F(QtOutput, TheWorkWindowOpensWithItsToolsAndCanBeClosed) {
  ui::WorkWindowModel work;
  Text text;
  Toolkit().SetWorkWindow(&work);
  work.workbench.SetVisible(work.workbench.Add("log", &text.model, 0), true);
  work.visible = true;
  Toolkit().Show(work);
  QMainWindow* window = nullptr;
  for (QWidget* const widget : QApplication::topLevelWidgets()) {
    if (auto* const main = qobject_cast<QMainWindow*>(widget)) window = main;
  }
  ASSERT_TRUE(window);
  EXPECT_TRUE(window->isVisible());
  window->close();
  EXPECT_FALSE(work.visible);
  EXPECT_TRUE(work.workbench.Find("log")->visible);
  Toolkit().Show(work);
  EXPECT_TRUE(window->isVisible());
  Toolkit().SetWorkWindow(nullptr);
}

}  // namespace
