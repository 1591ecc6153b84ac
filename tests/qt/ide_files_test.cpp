#include <QDockWidget>
#include <QFileInfo>
#include <QFrame>
#include <QPushButton>
#include <tl/expected.hpp>

#include "tests/qt/ide_fixture.h"

namespace {

using ui::ide_view::Theme;

std::vector<std::string> Paths(const QStringList& paths) {
  std::vector<std::string> bytes;
  for (const QString& path : paths) bytes.push_back(ui::Bytes(path));
  return bytes;
}

TEST_F(IdeTest, FilesAreSavedAsTheyWereWritten) {
  const QByteArray bytes(
      "\xEF\xBB\xBF"
      "a\xC2\xA0"
      "b\xFF\r\n\ttail\r\n");
  Start(Paths({Write(QStringLiteral("a.tav"), bytes)}));
  EXPECT_FALSE(Front().IsModified());
  EXPECT_EQ(Front().Bytes(), bytes);
  Type(QStringLiteral("x"));
  EXPECT_TRUE(Front().IsModified());
  EXPECT_TRUE(window_->Tabs().tabText(0).endsWith(QStringLiteral("*")));
  Key(Qt::Key_S, Qt::ControlModifier);
  EXPECT_FALSE(Front().IsModified());
  EXPECT_EQ(Read(QStringLiteral("a.tav")), QByteArray("\xEF\xBB\xBF"
                                                      "xa\xC2\xA0"
                                                      "b\xFF\r\n\ttail\r\n"));
}

TEST_F(IdeTest, WhatTheEditorCannotKeepItDoesNotSpoil) {
  const QByteArray bytes("a\r\nb\nc\r");
  Start(Paths({Write(QStringLiteral("a.tav"), bytes)}));
  EXPECT_TRUE(Editor().isReadOnly());
  EXPECT_TRUE(Front().findChild<QFrame*>(QStringLiteral("notice"))->isVisible());
  Key(Qt::Key_S, Qt::ControlModifier);
  EXPECT_EQ(Read(QStringLiteral("a.tav")), bytes);
}

TEST_F(IdeTest, ClosingAModifiedTabAsks) {
  Start(Paths({Write(QStringLiteral("a.tav"), "a"), Write(QStringLiteral("b.tav"), "b")}));
  ASSERT_EQ(window_->Tabs().count(), 2);
  Type(QStringLiteral("x"));
  Answer(QStringLiteral("Cancel"));
  Key(Qt::Key_W, Qt::ControlModifier);
  EXPECT_EQ(window_->Tabs().count(), 2);
  EXPECT_EQ(question_, QStringLiteral("Save the changes to b.tav?"));
  Answer(QStringLiteral("Save"));
  Key(Qt::Key_W, Qt::ControlModifier);
  EXPECT_EQ(window_->Tabs().count(), 1);
  EXPECT_EQ(Read(QStringLiteral("b.tav")), "xb");
  Type(QStringLiteral("y"));
  // "Discard" has another name on some systems.
  QTimer::singleShot(50, qApp, [] {
    auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    ASSERT_NE(box, nullptr);
    box->button(QMessageBox::Discard)->click();
  });
  Key(Qt::Key_W, Qt::ControlModifier);
  EXPECT_EQ(Read(QStringLiteral("a.tav")), "a");
  // There is always a tab to type into.
  ASSERT_EQ(window_->Tabs().count(), 1);
  EXPECT_TRUE(Front().IsUntouched());
}

TEST_F(IdeTest, StartsWithDamagedSettings) {
  Write(QStringLiteral("a.tav"), "a");
  const QByteArray path = Path(QStringLiteral("a.tav")).toUtf8();
  const QByteArray geometry(
      "geometry=@ByteArray(\\x1\\xd9\\xd0\\xcb\\0\\x3\\0\\0\\x7f\\xff\\xff\\xff"
      "\\x7f\\xff\\xff\\xff\\x7f\\xff\\xff\\xff\\x7f\\xff\\xff\\xff)\n");
  const QByteArray layout(
      "layout=@ByteArray(\\0\\0\\0\\xff\\0\\0\\0\\x1\\xfd\\x7f\\xff\\xff\\xff\\0\\0)\n");
  for (const QByteArray& damaged :
       {QByteArray("[files]\n1\\path=" + path +
                   "\n1\\line=999999999\n1\\column=-5\nsize=999999999\n"),
        QByteArray("[files]\n1\\path=" + path + "\nsize=-1\n"),
        QByteArray("[General]\nfont=\"Mono,999999999,-1,5,50,0,0,0,0,0\"\n"),
        QByteArray("[General]\nfont=\"Mono,-1,999999999,5,50,0,0,0,0,0\"\n"),
        QByteArray("[General]\n" + geometry), QByteArray("[General]\n" + layout),
        QByteArray("[General]\nrecent=" + QByteArray(200'000, ',') + "\n"),
        QByteArray(8'000'000, 'x'), QByteArray("\0\xFF[\n=[[\n%", 9)}) {
    Leave();
    Write(QStringLiteral("workbench.ini"), damaged);
    QElapsedTimer time;
    time.start();
    Start();
    EXPECT_LT(time.elapsed(), 5000) << damaged.left(80).toStdString();
    EXPECT_LE(window_->width(), 4096);
    EXPECT_LE(Editor().font().pointSize(), 200);
    EXPECT_LE(window_->Tabs().count(), 1);
  }
}

TEST_F(IdeTest, StartsWithADamagedHistory) {
  QByteArray history;
  while (history.size() < 70'000'000) history += QByteArray(100'000, 'x') + "\n";
  Write(QStringLiteral("history"), history + "print 1\n");
  QElapsedTimer time;
  time.start();
  Start();
  EXPECT_LT(time.elapsed(), 5000);
  EXPECT_LT(Read(QStringLiteral("history")).size(), 70'000'000);
}

TEST_F(IdeTest, QuittingAsksForEachModifiedTab) {
  Start(Paths({Write(QStringLiteral("a.tav"), "a")}));
  Type(QStringLiteral("x"));
  Answer(QStringLiteral("Cancel"));
  EXPECT_FALSE(window_->close());
  EXPECT_TRUE(window_->isVisible());
  Answer(QStringLiteral("Save"));
  EXPECT_TRUE(window_->close());
  EXPECT_EQ(Read(QStringLiteral("a.tav")), "xa");
}

TEST_F(IdeTest, AFileChangedByAnotherProgramIsNoticed) {
  const QString path = Write(QStringLiteral("a.tav"), "one");
  Start(Paths({path}));
  Write(QStringLiteral("a.tav"), "two");
  ASSERT_TRUE(QTest::qWaitFor([&] { return Editor().Text() == QStringLiteral("two"); }, 3000));
  Type(QStringLiteral("x"));
  Write(QStringLiteral("a.tav"), "three");
  auto& notice = *Front().findChild<QFrame*>(QStringLiteral("notice"));
  ASSERT_TRUE(QTest::qWaitFor([&] { return notice.isVisible(); }, 3000));
  EXPECT_EQ(Editor().Text(), QStringLiteral("xtwo"));
  Answer(QStringLiteral("Cancel"));
  Key(Qt::Key_S, Qt::ControlModifier);
  EXPECT_EQ(Read(QStringLiteral("a.tav")), "three");
  EXPECT_TRUE(Front().IsModified());
  Answer(QStringLiteral("Save Anyway"));
  Key(Qt::Key_S, Qt::ControlModifier);
  EXPECT_EQ(Read(QStringLiteral("a.tav")), "xtwo");
  EXPECT_FALSE(notice.isVisible());
  // A file that is gone is not lost: its text is here, and modified.
  QFile::remove(path);
  ASSERT_TRUE(QTest::qWaitFor([&] { return notice.isVisible(); }, 3000));
  EXPECT_TRUE(Front().IsModified());
  Key(Qt::Key_S, Qt::ControlModifier);
  EXPECT_EQ(Read(QStringLiteral("a.tav")), "xtwo");
}

TEST_F(IdeTest, TheSessionIsRestored) {
  const QString a = Write(QStringLiteral("a.tav"), "a\nb\nc\n");
  const QString b = Write(QStringLiteral("b.tav"), "b");
  Start(Paths({a, b}));
  window_->Tabs().setCurrentIndex(0);
  Editor().GoTo(3, 1);
  window_->resize(1000, 640);
  window_->SetTheme(Theme::kDark);
  Key(Qt::Key_Plus, Qt::ControlModifier);
  const int points = Editor().font().pointSize();
  window_->findChild<QDockWidget*>(QStringLiteral("commands"))->hide();
  ASSERT_TRUE(window_->close());
  Leave();

  Start();
  ASSERT_EQ(window_->Tabs().count(), 2);
  EXPECT_EQ(Front().Path(), QFileInfo(a).absoluteFilePath());
  EXPECT_EQ(Editor().Line(), 3);
  EXPECT_EQ(Editor().font().pointSize(), points);
  EXPECT_EQ(window_->size(), QSize(1000, 640));
  EXPECT_TRUE(window_->findChild<QDockWidget*>(QStringLiteral("commands"))->isHidden());
  EXPECT_LT(Editor().palette().color(QPalette::Base).lightness(), 60);
  window_->SetTheme(Theme::kSystem);
  // A file that is gone is left out.
  ASSERT_TRUE(window_->close());
  QFile::remove(b);
  Start();
  EXPECT_EQ(window_->Tabs().count(), 1);
}

TEST_F(IdeTest, WhatWasNotSavedComesBackAfterACrash) {
  const QString a = Write(QStringLiteral("a.tav"), "saved");
  Start(Paths({a}));
  Type(QStringLiteral("not yet "));
  window_->Tabs().New();
  Type(QStringLiteral("print 1"));
  Run();  // before a script runs all is kept, as it may end the program
  Leave();

  Start();
  EXPECT_EQ(Read(QStringLiteral("a.tav")), "saved");
  Page* const page = window_->Tabs().PageOf(a);
  ASSERT_NE(page, nullptr);
  EXPECT_EQ(page->Editor().Text(), QStringLiteral("not yet saved"));
  EXPECT_TRUE(page->IsModified());
  bool untitled = false;
  for (Page* const one : window_->Tabs().Pages()) {
    untitled = untitled || (one->Path().isEmpty() && one->Editor().Text() == "print 1");
  }
  EXPECT_TRUE(untitled);
  // Once decided, it does not come back.
  for (Page* const one : window_->Tabs().Pages()) one->Editor().document()->setModified(false);
  ASSERT_TRUE(window_->close());
  Start();
  EXPECT_FALSE(window_->Tabs().PageOf(a) && window_->Tabs().PageOf(a)->IsModified());
}

TEST_F(IdeTest, OpenFilesAreNotedWhenTheyAreOpened) {
  Start(Paths({Write(QStringLiteral("a.tav"), "a")}));
  const auto opened = window_->Tabs().Open(Write(QStringLiteral("b.tav"), "b"));
  ASSERT_TRUE(opened);
  Start();  // the one before did not come to its end
  EXPECT_EQ(window_->Tabs().Files(),
            QStringList({Path(QStringLiteral("a.tav")), Path(QStringLiteral("b.tav"))}));
}

TEST_F(IdeTest, AFolderThatCannotBeWrittenIsToldAtTheStart) {
  Write(QStringLiteral("file"), "");
  ide::IdeOptions options;
  options.folder = ui::Bytes(Path(QStringLiteral("file/folder")));
  services_ = std::make_unique<app::IdeServices>();
  window_ = std::make_unique<Window>(*services_, options);
  TakeMainWindow(*window_);
  window_->Start({});
  EXPECT_TRUE(Console().contains(QStringLiteral("Nothing can be kept"))) << Console().toStdString();
}

TEST_F(IdeTest, ASecondWorkbenchLeavesTheSessionOfTheFirst) {
  const QString a = Write(QStringLiteral("a.tav"), "a");
  Start(Paths({a}));
  app::IdeServices services;
  ide::IdeOptions options;
  options.folder = ui::Bytes(folder_.path());
  {
    Window second(services, options);
    second.Start({});
    second.show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&second));
    EXPECT_EQ(second.Tabs().Files(), QStringList());
    EXPECT_TRUE(second.close());
  }
  ASSERT_TRUE(window_->close());
  Start();
  EXPECT_EQ(window_->Tabs().Files(), QStringList{QFileInfo(a).absoluteFilePath()});
}

TEST_F(IdeTest, AMissingFileIsToldNotOpened) {
  Start({"/nowhere/a.tav"});
  EXPECT_TRUE(Console().contains(QStringLiteral("There is no file /nowhere/a.tav")));
  EXPECT_EQ(window_->Tabs().count(), 1);
}

}  // namespace
