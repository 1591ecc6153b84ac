#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QListView>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QTemporaryDir>
#include <chrono>
#include <thread>

#include "tavhost/ui/models/directory_dialog_model.h"
#include "tavhost/ui/models/edit_field_model.h"
#include "tavhost/ui/models/file_dialog_model.h"
#include "tavhost/ui/models/list_box_model.h"
#include "tavhost/ui/models/message_box_model.h"
#include "tavhost/ui/models/message_window_model.h"
#include "tavhost/ui/models/modal_model.h"
#include "tavhost/ui/models/text_box_model.h"
#include "tavhost/ui/models/tree_list_box_model.h"
#include "tests/qt/qt_fixture.h"
#include "tests/qt/sample_windows.h"

namespace {

using ui::MessageBoxModel;
using ui::MessageKind;

class QtWindows : public QtTest {};

std::string LongText() {
  std::string text;
  while (text.size() < 20000) text += "The quick brown fox jumps over the lazy dog. ";
  return text;
}

QPushButton* Button(QDialog& dialog, const char* name) {
  auto* const button = dialog.findChild<QPushButton*>(QLatin1String(name));
  EXPECT_TRUE(button) << name;
  return button;
}

TEST_F(QtWindows, EveryButtonOfEveryBoxEndsItWithItsResult) {
  for (const MessageKind kind :
       {MessageKind::kInfo, MessageKind::kQuery, MessageKind::kError, MessageKind::kWarning}) {
    for (const std::uint32_t style : {0x10u, 0x20u, 0x40u, 0x80u, 0x100u}) {
      MessageBoxModel model(kind, style, "text");
      for (const ui::ModalButton& button : model.Buttons()) {
        Run(
            model,
            [&](QDialog& dialog) {
              QTest::mouseClick(Button(dialog, button.name.c_str()), Qt::LeftButton);
            },
            0);
        EXPECT_EQ(model.EndButton(), button.name);
        EXPECT_EQ(model.Result(), button.result);
      }
    }
  }
}

TEST_F(QtWindows, EnterPressesTheDefaultButton) {
  for (const auto& [style, name] : {std::pair{0x80u | 0x2000u, "no"},
                                    {0x20u | 0x400u, "cancel"},
                                    {0x100u, "retry"},
                                    {0x20u | 0x1000u, "ok"}}) {
    MessageBoxModel model(MessageKind::kQuery, style, "text");
    Run(model, [](QDialog& dialog) { QTest::keyClick(&dialog, Qt::Key_Return); });
    EXPECT_EQ(model.EndButton(), name) << style;
  }
}

TEST_F(QtWindows, EscapeAndTheCloseBoxCancel) {
  for (const std::uint32_t style : {0x10u, 0x40u, 0x80u}) {
    MessageBoxModel model(MessageKind::kQuery, style, "text");
    Run(model, [](QDialog& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); });
    EXPECT_EQ(model.EndButton(), "cancel");
    Run(
        model, [](QDialog& dialog) { dialog.close(); }, 0);
    EXPECT_EQ(model.EndButton(), "cancel");
    EXPECT_EQ(model.Result(), 0);
  }
}

TEST_F(QtWindows, MnemonicsPressButtons) {
  MessageBoxModel model(MessageKind::kQuery, 0x80, "text");
  Run(model, [](QDialog& dialog) { QTest::keyClick(&dialog, Qt::Key_N, Qt::AltModifier); });
  EXPECT_EQ(model.EndButton(), "no");
}

TEST_F(QtWindows, KeysTypedTooEarlyAreNotTaken) {
  MessageBoxModel model(MessageKind::kQuery, 0x40, "text");
  QTimer::singleShot(kGuard,
                     [] { QTest::keyClick(QApplication::activeModalWidget(), Qt::Key_Escape); });
  Run(
      model, [](QDialog& dialog) { QTest::keyClick(&dialog, Qt::Key_Return); }, 20);
  EXPECT_EQ(model.EndButton(), "cancel") << "the early Enter has pressed Yes";
}

TEST_F(QtWindows, AStopEndsAWindowWithinASecond) {
  MessageBoxModel model(MessageKind::kQuery, 0x40, "text");
  std::chrono::steady_clock::time_point start;
  std::thread stopper;
  Run(
      model,
      [&](QDialog&) {
        start = std::chrono::steady_clock::now();
        stopper = std::thread([] { stop::Request(stop::Reason::kUser); });
      },
      20);
  ASSERT_TRUE(stopper.joinable());
  stopper.join();
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
  EXPECT_EQ(model.EndButton(), "cancel");
  EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

TEST_F(QtWindows, WindowsNest) {
  MessageBoxModel outer(MessageKind::kQuery, 0x40, "outer");
  MessageBoxModel inner(MessageKind::kQuery, 0x40, "inner");
  Run(
      outer,
      [&](QDialog& dialog) {
        Run(
            inner, [](QDialog& top) { QTest::mouseClick(Button(top, "no"), Qt::LeftButton); }, 0);
        EXPECT_FALSE(outer.HasEnded());
        QTest::mouseClick(Button(dialog, "yes"), Qt::LeftButton);
      },
      0);
  EXPECT_EQ(inner.EndButton(), "no");
  EXPECT_EQ(outer.EndButton(), "yes");
}

TEST_F(QtWindows, EditFieldTakesWhatIsTyped) {
  ui::EditFieldModel model("Name");
  model.text = "before";
  Run(model, [](QDialog& dialog) {
    auto* const field = dialog.findChild<QLineEdit*>(QStringLiteral("field"));
    ASSERT_TRUE(field);
    EXPECT_EQ(field->text(), QStringLiteral("before"));
    EXPECT_TRUE(field->hasFocus());
    QTest::keyClicks(field, QStringLiteral("after"));  // in place of the selected text
    QTest::keyClick(field, Qt::Key_Return);
  });
  EXPECT_EQ(model.EndButton(), "ok");
  EXPECT_EQ(model.text, "after");
}

// What is pasted counts as it is shown, in one line.
TEST_F(QtWindows, EditFieldTakesOneLine) {
  const struct {
    const char* before;
    const char* pasted;
    const char* text;
  } cases[] = {{"", "a\nb", "a b"},
               {"",
                "a\xE2\x80\xA8\xE2\x80\xA9"
                "b\r",
                "a  b "},
               {"x\ny", "", "x\ny"},
               {"x\ny", "z", "z"}};
  for (const auto& [before, pasted, text] : cases) {
    ui::EditFieldModel model("Name");
    model.text = before;
    QApplication::clipboard()->setText(QString::fromUtf8(pasted));
    Run(model, [pasted = pasted](QDialog& dialog) {
      auto* const field = dialog.findChild<QLineEdit*>(QStringLiteral("field"));
      ASSERT_TRUE(field);
      if (*pasted) QTest::keyClick(field, Qt::Key_V, Qt::ControlModifier);
      QTest::keyClick(field, Qt::Key_Return);
    });
    EXPECT_EQ(model.text, text);
  }
}

TEST_F(QtWindows, EditBoxKeepsTheBytesOfWhatIsCutAndPasted) {
  const std::string text =
      "a\xC2\xA0"
      "b\r\nc\rd\xE2\x80\xA9"
      "e\xE2\x80\xA8"
      "f\n\xFFg\xEF\xBB\xBF\r\r\n";
  ui::TextBoxModel model(true, false);
  model.text = text;
  Run(model, [](QDialog& dialog) {
    auto* const edit = dialog.findChild<QPlainTextEdit*>(QStringLiteral("text"));
    ASSERT_TRUE(edit);
    const auto press = [edit](Qt::Key key, Qt::KeyboardModifiers more = Qt::NoModifier) {
      QTest::keyClick(edit, key, Qt::ControlModifier | more);
    };
    press(Qt::Key_A);
    press(Qt::Key_X);
    EXPECT_EQ(edit->toPlainText(), QString());
    press(Qt::Key_V);
    press(Qt::Key_Z);
    press(Qt::Key_Z, Qt::ShiftModifier);
    QTest::keyClick(&dialog, Qt::Key_Escape);
  });
  EXPECT_EQ(model.text, text);

  // A part of it, in the middle of another line; and what comes from elsewhere is as ever.
  model.text = "1\r2\r\n3";
  Run(model, [](QDialog& dialog) {
    auto* const edit = dialog.findChild<QPlainTextEdit*>(QStringLiteral("text"));
    ASSERT_TRUE(edit);
    QTest::keyClick(edit, Qt::Key_Home, Qt::ControlModifier);
    QTest::keyClick(edit, Qt::Key_Down);
    QTest::keyClick(edit, Qt::Key_Down, Qt::ShiftModifier);  // "2\r\n"
    QTest::keyClick(edit, Qt::Key_C, Qt::ControlModifier);
    EXPECT_TRUE(QApplication::clipboard()->mimeData()->hasText());
    QTest::keyClick(edit, Qt::Key_Home, Qt::ControlModifier);
    QTest::keyClick(edit, Qt::Key_V, Qt::ControlModifier);
    QApplication::clipboard()->setText(QStringLiteral("x\ny"));
    QTest::keyClick(edit, Qt::Key_End, Qt::ControlModifier);
    QTest::keyClick(edit, Qt::Key_V, Qt::ControlModifier);
    QTest::keyClick(&dialog, Qt::Key_Escape);
  });
  EXPECT_EQ(model.text, "2\r\n1\r2\r\n3x\r\ny");
}

TEST_F(QtWindows, EditBoxGivesItsTextAlsoWhenCancelled) {
  ui::TextBoxModel model(true, true);
  model.text = "one\r\ntwo\xC2\xA0\xFF\r\n";
  Run(model, [](QDialog& dialog) {
    auto* const text = dialog.findChild<QPlainTextEdit*>(QStringLiteral("text"));
    ASSERT_TRUE(text);
    EXPECT_TRUE(text->hasFocus());
    text->moveCursor(QTextCursor::End);
    QTest::keyClicks(text, QStringLiteral("x"));
    QTest::keyClick(text, Qt::Key_Return);
    auto* const place = dialog.findChild<QLabel*>(QStringLiteral("place"));
    ASSERT_TRUE(place);
    EXPECT_EQ(place->text(), QStringLiteral("Line 4, column 1"));
    QTest::keyClick(&dialog, Qt::Key_Escape);
  });
  EXPECT_EQ(model.EndButton(), "cancel");
  EXPECT_EQ(model.text, "one\r\ntwo\xC2\xA0\xFF\r\nx\r\n");
}

// A text with every line end there is, and one more line behind them.
const char* const kMixedEnds =
    "a\nb\r\nc\rd\xE2\x80\xA9"
    "e\xEF\xB7\x90"
    "f\xEF\xB7\x91"
    "g\r\n\r\nend";

TEST_F(QtWindows, EditBoxKeepsTheLineEndsOfLinesThatNobodyTouched) {
  ui::TextBoxModel model(true, true);
  model.text = kMixedEnds;
  Run(model, [](QDialog& dialog) {
    auto* const text = dialog.findChild<QPlainTextEdit*>(QStringLiteral("text"));
    EXPECT_EQ(text->document()->blockCount(), 9);
    QTest::keyClick(text, Qt::Key_Down);
    QTest::keyClick(text, Qt::Key_X);
    QTest::keyClick(text, Qt::Key_Down);
    QTest::keyClick(text, Qt::Key_End);
    QTest::keyClick(text, Qt::Key_Return);
    QTest::keyClick(text, Qt::Key_Y);
    QTest::keyClick(&dialog, Qt::Key_Escape);
  });
  EXPECT_EQ(model.text,
            "a\nxb\r\nc\ry\rd\xE2\x80\xA9"
            "e\xEF\xB7\x90"
            "f\xEF\xB7\x91"
            "g\r\n\r\nend");
}

TEST_F(QtWindows, EditBoxKeepsTheLineEndsOfWhatIsTakenBack) {
  ui::TextBoxModel model(true, false);
  model.text = kMixedEnds;
  Run(model, [](QDialog& dialog) {
    auto* const text = dialog.findChild<QPlainTextEdit*>(QStringLiteral("text"));
    QTest::keyClick(text, Qt::Key_Z);
    QTest::keyClick(text, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(text, Qt::Key_Delete);
    EXPECT_TRUE(text->toPlainText().isEmpty());
    QTest::keyClick(text, Qt::Key_Return);
    // The line end may be taken back in more than one step.
    for (int i = 0; i < 4 && text->toPlainText().size() <= 1; ++i) {
      QTest::keyClick(text, Qt::Key_Z, Qt::ControlModifier);
    }
    QTest::keyClick(&dialog, Qt::Key_Escape);
  });
  EXPECT_EQ(model.text, std::string("z") + kMixedEnds);
}

TEST_F(QtWindows, EditBoxKeepsLineEndsWhenLinesAreJoinedAndPasted) {
  ui::TextBoxModel model(true, false);
  model.text = "a\rb\nc\r\nd";
  Run(model, [](QDialog& dialog) {
    auto* const text = dialog.findChild<QPlainTextEdit*>(QStringLiteral("text"));
    QTest::keyClick(text, Qt::Key_End);
    QTest::keyClick(text, Qt::Key_Delete);  // joins a and b
    QTest::keyClick(text, Qt::Key_End, Qt::ControlModifier);
    QTest::keyClick(text, Qt::Key_Home, Qt::ShiftModifier);
    QTest::keyClick(text, Qt::Key_X, Qt::ControlModifier);
    QTest::keyClick(text, Qt::Key_Home, Qt::ControlModifier);
    QTest::keyClick(text, Qt::Key_V, Qt::ControlModifier);
    QTest::keyClick(&dialog, Qt::Key_Escape);
  });
  EXPECT_EQ(model.text, "dab\nc\r\n");
}

TEST_F(QtWindows, EditBoxKeepsAByteOrderMark) {
  ui::TextBoxModel model(true, false);
  model.text =
      "\xEF\xBB\xBF"
      "a\r\n\xFF\xEF\xBB\xBF\xEF\xBB\xBF";
  Run(model, [](QDialog& dialog) {
    auto* const text = dialog.findChild<QPlainTextEdit*>(QStringLiteral("text"));
    QTest::keyClick(text, Qt::Key_End, Qt::ControlModifier);
    QTest::keyClick(text, Qt::Key_B);
    QTest::keyClick(&dialog, Qt::Key_Escape);
  });
  EXPECT_EQ(model.text,
            "\xEF\xBB\xBF"
            "a\r\n\xFF\xEF\xBB\xBF\xEF\xBB\xBF"
            "b");
}

// Where Tab is a character, Ctrl+Tab leaves the text.
TEST_F(QtWindows, TheButtonsOfAnEditBoxAreReachedByKeys) {
  for (const bool isFileEditor : {false, true}) {
    ui::TextBoxModel model(true, isFileEditor);
    model.text = "text";
    Run(model, [isFileEditor](QDialog& dialog) {
      auto* const text = dialog.findChild<QPlainTextEdit*>(QStringLiteral("text"));
      const auto out = isFileEditor ? Qt::ControlModifier : Qt::NoModifier;
      EXPECT_TRUE(text->hasFocus());
      QTest::keyClick(text, Qt::Key_Tab, out);
      EXPECT_FALSE(text->hasFocus());
      QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backtab, Qt::ShiftModifier);
      EXPECT_TRUE(text->hasFocus());
      QTest::keyClick(text, Qt::Key_Backtab, out | Qt::ShiftModifier);
      EXPECT_FALSE(text->hasFocus());
      QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
      if (isFileEditor) QTest::keyClick(text, Qt::Key_Tab);
      QTest::keyClick(text, Qt::Key_Tab, out);
      for (int i = 0; i < 3 && !Button(dialog, "ok")->hasFocus(); ++i) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
      }
      ASSERT_TRUE(Button(dialog, "ok")->hasFocus());
      QTest::keyClick(Button(dialog, "ok"), Qt::Key_Space);
    });
    EXPECT_EQ(model.EndButton(), "ok");
    EXPECT_EQ(model.text, isFileEditor ? "\ttext" : "text");
  }
}

TEST_F(QtWindows, FindCountsAndMarksAndGoesOnByKeys) {
  for (const bool isEditable : {false, true}) {
    ui::TextBoxModel model(isEditable, false);
    model.text = "alpha beta\nAlpha gamma\nalphabet";
    Run(model, [isEditable](QDialog& dialog) {
      auto* const text = dialog.findChild<QPlainTextEdit*>(QStringLiteral("text"));
      QTest::keyClick(text, Qt::Key_F3);  // nothing is looked for yet
      auto* const field = dialog.findChild<QLineEdit*>(QStringLiteral("find"));
      auto* const count = dialog.findChild<QLabel*>(QStringLiteral("findCount"));
      ASSERT_TRUE(field->isVisible());
      QTest::keyClicks(field, QStringLiteral("alpha"));
      EXPECT_EQ(count->text(), QStringLiteral("1 of 3"));
      EXPECT_EQ(text->extraSelections().size(), 3);
      QTest::keyClick(field, Qt::Key_F3);
      EXPECT_EQ(count->text(), QStringLiteral("2 of 3"));
      QTest::keyClick(field, Qt::Key_Escape);
      EXPECT_FALSE(field->isVisible());
      EXPECT_TRUE(text->hasFocus());
      EXPECT_TRUE(text->extraSelections().isEmpty());
      QTest::keyClick(text, Qt::Key_F3);
      EXPECT_EQ(text->textCursor().selectionStart(), 23);
      QTest::keyClick(text, Qt::Key_F3);  // round the end
      EXPECT_EQ(text->textCursor().selectionStart(), 0);
      QTest::keyClick(text, Qt::Key_F3, Qt::ShiftModifier);
      EXPECT_EQ(text->textCursor().selectionStart(), 23);
      QTest::keyClick(text, Qt::Key_F, Qt::ControlModifier);
      QTest::keyClicks(field, QStringLiteral("nowhere"));
      EXPECT_EQ(count->text(), QStringLiteral("not found"));
      EXPECT_EQ(text->textCursor().selectionStart(), 23);
      field->selectAll();
      QTest::keyClicks(field, QStringLiteral("gamma"));
      // Buttons that are pressed by their letters are down for a moment.
      auto* const matchCase = dialog.findChild<QCheckBox*>(QStringLiteral("matchCase"));
      QTest::keyClick(field, Qt::Key_M, Qt::AltModifier);
      EXPECT_TRUE(QTest::qWaitFor([&] { return matchCase->isChecked(); }, kPatience));
      QTest::keyClick(field, Qt::Key_L, Qt::AltModifier);
      EXPECT_TRUE(QTest::qWaitFor([&] { return !field->isVisible(); }, kPatience));
      EXPECT_EQ(text->textCursor().selectedText(), QStringLiteral("gamma"));
      if (isEditable) {
        QTest::keyClick(text, Qt::Key_F, Qt::ControlModifier);
        text->moveCursor(QTextCursor::End);
        QTest::keyClicks(text, QStringLiteral(" gamma"));
        EXPECT_EQ(count->text(), QStringLiteral("2 found"));
      }
      QTest::keyClick(Button(dialog, "ok"), Qt::Key_Space);
    });
    EXPECT_EQ(model.EndButton(), "ok");
  }
}

TEST_F(QtWindows, FindLooksForTextAndStartsAgain) {
  ui::TextBoxModel model(false, false);
  model.text = "alpha beta alpha";
  Run(model, [](QDialog& dialog) {
    auto* const text = dialog.findChild<QPlainTextEdit*>(QStringLiteral("text"));
    QTest::keyClick(text, Qt::Key_F, Qt::ControlModifier);
    auto* const field = dialog.findChild<QLineEdit*>(QStringLiteral("find"));
    ASSERT_TRUE(field->isVisible());
    QTest::keyClicks(field, QStringLiteral("alpha"));
    EXPECT_EQ(text->textCursor().selectionStart(), 0);
    QTest::keyClick(field, Qt::Key_Return);
    EXPECT_EQ(text->textCursor().selectionStart(), 11);
    QTest::keyClick(field, Qt::Key_Return);
    EXPECT_EQ(text->textCursor().selectionStart(), 0);
    QTest::keyClick(field, Qt::Key_Escape);
    EXPECT_FALSE(field->isVisible()) << "Escape closes the search, not the window";
    QTest::keyClick(text, Qt::Key_Escape);
  });
  EXPECT_EQ(model.EndButton(), "cancel");
}

TEST_F(QtWindows, ListBoxTakesSelectionAndCheckBoxes) {
  ui::ListBoxModel model(true);
  for (const char* entry : {"a", "b", "c"}) model.Insert(entry);
  model.AddCheckBox("x & y", false);
  model.SetSelected(0, true);
  Run(model, [](QDialog& dialog) {
    auto* const view = dialog.findChild<QListView*>(QStringLiteral("list"));
    ASSERT_TRUE(view);
    const QRect row = view->visualRect(view->model()->index(2, 0));
    QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::NoModifier, row.center());
    auto* const box = dialog.findChild<QCheckBox*>();
    EXPECT_EQ(box->text(), QStringLiteral("&x && y"));
    box->click();
    QTest::mouseClick(Button(dialog, "cancel"), Qt::LeftButton);
  });
  EXPECT_EQ(model.EndButton(), "cancel");
  EXPECT_EQ(model.Selected(), (std::vector<std::uint32_t>{0, 2}));
  EXPECT_TRUE(model.IsChecked("x & y"));
}

TEST_F(QtWindows, DoubleClickTakesAnEntryOfASingleList) {
  ui::ListBoxModel model(false);
  for (const char* entry : {"a", "b", "c"}) model.Insert(entry);
  Run(
      model,
      [](QDialog& dialog) {
        auto* const view = dialog.findChild<QListView*>(QStringLiteral("list"));
        const QPoint place = view->visualRect(view->model()->index(1, 0)).center();
        QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::NoModifier, place);
        QTest::mouseDClick(view->viewport(), Qt::LeftButton, Qt::NoModifier, place);
      },
      0);
  EXPECT_EQ(model.EndButton(), "ok");
  EXPECT_EQ(model.Selected(), std::vector<std::uint32_t>{1});
}

TEST_F(QtWindows, ASizeGivenByTheScriptIsTheDialogs) {
  ui::ListBoxModel model(false);
  model.size = SV::Size(420, 510);
  Run(
      model,
      [](QDialog& dialog) {
        EXPECT_EQ(dialog.size(), QSize(420, 510));
        dialog.reject();
      },
      0);
  EXPECT_EQ(model.size, SV::Size(420, 510));
}

class QtFiles : public QtWindows {
 protected:
  void SetUp() override {
    QtWindows::SetUp();
    for (const char* name : {"a.txt", "b.txt", "c.md"}) {
      QFile file(folder_.filePath(QLatin1String(name)));
      ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    QDir(folder_.path()).mkdir(QStringLiteral("sub"));
    before_ = QDir::currentPath();
  }
  void TearDown() override {
    EXPECT_EQ(QDir::currentPath(), before_) << "the current directory has changed";
    QtWindows::TearDown();
  }
  std::string Path(const char* name) const {
    return folder_.filePath(QLatin1String(name)).toStdString();
  }

  QTemporaryDir folder_;
  QString before_;
};

TEST_F(QtFiles, OpenGivesTheWholePathOfOneFile) {
  ui::FileDialogModel model(0x1020);
  model.startPath = folder_.path().toStdString();
  Run(model, [](QDialog& dialog) {
    auto* const name = dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
    ASSERT_TRUE(name);
    QTest::keyClicks(name, QStringLiteral("a.txt"));
    QTest::keyClick(name, Qt::Key_Return);
  });
  EXPECT_EQ(model.EndButton(), "ok");
  EXPECT_EQ(model.chosen, std::vector<std::string>{Path("a.txt")});
}

TEST_F(QtFiles, OpenGivesSeveralFiles) {
  ui::FileDialogModel model(0x1020);
  model.multiple = true;
  model.startPath = folder_.path().toStdString();
  model.filters = {{"Notes", "*.md"}, {"Texts", "*.txt"}};
  model.currentFilter = 1;
  Run(model, [](QDialog& dialog) {
    EXPECT_EQ(static_cast<QFileDialog&>(dialog).selectedNameFilter(),
              QStringLiteral("Texts (*.txt)"));
    auto* const name = dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
    QTest::keyClicks(name, QStringLiteral("\"a.txt\" \"b.txt\""));
    QTest::keyClick(name, Qt::Key_Return);
  });
  EXPECT_EQ(model.chosen, (std::vector<std::string>{Path("a.txt"), Path("b.txt")}));
}

// Names are matched without case, letters outside ASCII included.
TEST_F(QtFiles, FiltersHaveAnyLetters) {
  for (const char* name : {"\xC3\x9C"
                           "bung.txt",
                           "\xC3\xBC"
                           "ben.TXT",
                           "\xD0\x96.txt"}) {
    QFile file(folder_.filePath(QString::fromUtf8(name)));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  }
  const std::pair<const char*, QStringList> kRows[] = {
      {"\xC3\x9C*.txt",
       {QString::fromUtf8("\xC3\x9C"
                          "bung.txt"),
        QString::fromUtf8("\xC3\xBC"
                          "ben.TXT")}},
      {"\xD0\xB6*;c.*", {QStringLiteral("c.md"), QString::fromUtf8("\xD0\x96.txt")}},
      {"*.md", {QStringLiteral("c.md")}},
      {"(*", {}},
  };
  for (const std::uint32_t style : {0x1020u, 0x2020u}) {
    for (const auto& [pattern, names] : kRows) {
      SCOPED_TRACE(pattern);
      ui::FileDialogModel model(style);
      model.startPath = folder_.path().toStdString();
      model.filters = {{"All", "*.*"}, {"\xC3\x9C  (x)", pattern}};
      model.currentFilter = 1;
      Run(model, [&names = names](QDialog& dialog) {
        auto* const view = dialog.findChild<QListView*>(QStringLiteral("listView"));
        auto* const types = dialog.findChild<QComboBox*>(QStringLiteral("fileTypeCombo"));
        ASSERT_TRUE(view && types);
        const auto shown = [view] {
          QStringList found;
          const QModelIndex root = view->rootIndex();
          for (int row = 0; row < view->model()->rowCount(root); ++row) {
            const QString name = view->model()->index(row, 0, root).data().toString();
            if (name != QLatin1String("sub")) found << name;
          }
          found.sort();
          return found;
        };
        EXPECT_EQ(types->currentIndex(), 1);
        QStringList sorted = names;
        sorted.sort();
        EXPECT_TRUE(QTest::qWaitFor([&] { return shown() == sorted; }, kPatience))
            << shown().join(' ').toStdString();
        // The person goes to the other filter and back.
        types->setFocus();
        QTest::keyClick(types, Qt::Key_Up);
        EXPECT_TRUE(QTest::qWaitFor([&] { return shown().size() == 6; }, kPatience));
        QTest::keyClick(types, Qt::Key_Down);
        EXPECT_TRUE(QTest::qWaitFor([&] { return shown() == sorted; }, kPatience));
        QTest::keyClick(&dialog, Qt::Key_Escape);
      });
    }
  }
}

TEST_F(QtFiles, SaveAddsTheDefaultExtension) {
  ui::FileDialogModel model(0x2020);
  model.startPath = folder_.path().toStdString();
  model.defaultExtension = "txt";
  Run(model, [](QDialog& dialog) {
    auto* const name = dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
    QTest::keyClicks(name, QStringLiteral("new"));
    QTest::keyClick(name, Qt::Key_Return);
  });
  EXPECT_EQ(model.chosen, std::vector<std::string>{Path("new.txt")});
}

TEST_F(QtFiles, CancellingChoosesNothing) {
  ui::FileDialogModel model(0x1020);
  model.startPath = folder_.path().toStdString();
  Run(model, [](QDialog& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); });
  EXPECT_EQ(model.EndButton(), "cancel");
  EXPECT_TRUE(model.chosen.empty());
}

TEST_F(QtFiles, DirectoryStartsAndEndsWhereItIsToldTo) {
  ui::DirectoryDialogModel model(folder_.path().toStdString());
  Run(model, [](QDialog& dialog) {
    auto* const name = dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
    name->clear();
    QTest::keyClicks(name, QStringLiteral("sub"));
    QTest::keyClick(name, Qt::Key_Return);
  });
  EXPECT_EQ(model.EndButton(), "ok");
  EXPECT_EQ(model.path, Path("sub"));
  Run(model, [](QDialog& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); });
  EXPECT_EQ(model.path, Path("sub"));
}

TEST_F(QtWindows, AMessageWindowShowsItsText) {
  ui::MessageWindowModel model("<b>loading</b> & more");
  Toolkit().Show(model);
  QWidget* window = nullptr;
  for (QWidget* widget : QApplication::topLevelWidgets()) {
    if (widget->isVisible()) window = widget;
  }
  ASSERT_TRUE(window);
  auto* const label = window->findChild<QLabel*>(QStringLiteral("message"));
  EXPECT_EQ(label->text(), QStringLiteral("<b>loading</b> & more"));
  model.text = "done";
  Toolkit().Update(model);
  EXPECT_EQ(label->text(), QStringLiteral("done"));
  Toolkit().Close(model);
  Toolkit().Close(model);
  for (QWidget* widget : QApplication::topLevelWidgets()) EXPECT_FALSE(widget->isVisible());
}

QWidget* VisibleWindow() {
  for (QWidget* widget : QApplication::topLevelWidgets()) {
    if (widget->isVisible()) return widget;
  }
  return nullptr;
}

TEST_F(QtWindows, AMessageWindowDoesNotGrowWithAShorterText) {
  ui::MessageWindowModel model("A text that is so long that its line makes the window a wide one");
  Toolkit().Show(model);
  QWidget* const window = VisibleWindow();
  ASSERT_TRUE(window);
  const QSize size = window->size();
  for (const char* const text : {"a shorter text of two or three words", "short"}) {
    model.text = text;
    Toolkit().Update(model);
    QApplication::processEvents();
    EXPECT_EQ(window->size(), size) << text;
  }
  Toolkit().Close(model);
}

TEST_F(QtWindows, AMessageWindowThatItsUserClosedComesBackWithTheNextText) {
  ui::MessageWindowModel model("one");
  Toolkit().Show(model);
  QWidget* const window = VisibleWindow();
  ASSERT_TRUE(window);
  window->close();
  EXPECT_FALSE(window->isVisible());
  model.text = "two";
  Toolkit().Update(model);
  EXPECT_TRUE(window->isVisible());
  EXPECT_EQ(window->findChild<QLabel*>(QStringLiteral("message"))->text(), QStringLiteral("two"));
  Toolkit().Close(model);
  EXPECT_FALSE(VisibleWindow());
}

TEST_F(QtWindows, AMessageWindowStandsAboveTheMainWindow) {
  ui::MessageWindowModel model("one");
  Toolkit();
  auto main = std::make_unique<QWidget>();
  main->resize(500, 400);
  main->show();
  Toolkit().SetMainWindow(main.get());
  Toolkit().Show(model);
  QWidget* window = nullptr;
  for (QWidget* child : main->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
    if (child->isWindow()) window = child;
  }
  ASSERT_TRUE(window);
  EXPECT_TRUE(window->isVisible());
  const QPoint off = window->frameGeometry().center() - main->frameGeometry().center();
  EXPECT_LE(off.manhattanLength(), 40);
  Toolkit().SetMainWindow(nullptr);
  main.reset();
  EXPECT_EQ(VisibleWindow(), window) << "it does not go with the main window";
  Toolkit().Close(model);
}

// As high as what it says, and not remembered.
TEST_F(QtWindows, MessageBoxesAreAsLargeAsTheirTexts) {
  const auto sizeOf = [](const std::string& text, const char* title) {
    MessageBoxModel model(MessageKind::kInfo, 0x10, text);
    if (title) model.SetTitle(title);
    QSize size;
    Run(
        model,
        [&size](QDialog& dialog) {
          size = dialog.size();
          dialog.resize(700, 600);
          dialog.close();
        },
        0);
    return size;
  };
  const QSize small = sizeOf("text", nullptr);
  EXPECT_EQ(sizeOf("text", nullptr), small) << "the size that the last one was pulled to";
  const QSize path = sizeOf("/" + std::string(120, 'p') + "/file.txt", nullptr);
  EXPECT_LT(path.height(), small.height() + 60);
  const char* const title = "A title of some more words than the text";
  EXPECT_GT(sizeOf("text", title).width(), small.width());
  MessageBoxModel model(MessageKind::kInfo, 0x10, "text");
  model.SetTitle(title);
  Run(
      model,
      [title](QDialog& dialog) {
        EXPECT_GT(dialog.width(),
                  dialog.fontMetrics().horizontalAdvance(QString::fromLatin1(title)));
        dialog.close();
      },
      0);
}

TEST_F(QtWindows, CtrlCCopiesTheTextOfAMessageBox) {
  for (const std::string& text : {std::string("short & <b>plain</b>\nof two lines"), LongText()}) {
    MessageBoxModel model(MessageKind::kError, 0x20, text);
    QApplication::clipboard()->clear();
    Run(model, [](QDialog& dialog) {
      QTest::keyClick(Button(dialog, "ok"), Qt::Key_C, Qt::ControlModifier);
      QTest::keyClick(&dialog, Qt::Key_Escape);
    });
    EXPECT_EQ(QApplication::clipboard()->text().toStdString(), text);
  }
}

// Whatever texts and sizes scripts give, windows are on the screen and nothing in them is cut.
TEST_F(QtWindows, NothingIsPushedOffTheScreen) {
  std::string lines;
  for (int i = 1; i <= 100; ++i) lines += "line " + std::to_string(i) + "\n";
  for (const std::string& text : {std::string(), std::string("short"), lines,
                                  std::string(2000, 'w'), std::string(20000, 'w'), LongText()}) {
    SCOPED_TRACE(text.substr(0, 20) + std::to_string(text.size()));
    std::vector<std::unique_ptr<ui::ModalModel>> models;
    models.push_back(std::make_unique<MessageBoxModel>(MessageKind::kWarning, 0x80, text));
    models.back()->SetTitle(text);
    models.push_back(std::make_unique<ui::EditFieldModel>(text));
    models.push_back(std::make_unique<ui::TextBoxModel>(false, false));
    static_cast<ui::TextBoxModel&>(*models.back()).text = text;
    models.push_back(std::make_unique<ui::TextBoxModel>(true, true));
    static_cast<ui::TextBoxModel&>(*models.back()).okText = text;
    models.push_back(std::make_unique<ui::TextBoxModel>(true, false));
    models.back()->size = SV::Size(100000, 100000);
    models.back()->position = SV::Point(5000, -300);
    for (const auto& model : models) {
      SCOPED_TRACE(static_cast<int>(model->Kind()));
      Run(
          *model,
          [](QDialog& dialog) {
            EXPECT_TRUE(dialog.screen()->availableGeometry().contains(dialog.frameGeometry()))
                << dialog.x() << ' ' << dialog.y() << ' ' << dialog.width() << ' '
                << dialog.height();
            for (const QPushButton* button : dialog.findChildren<QPushButton*>()) {
              if (!button->isVisible()) continue;
              EXPECT_TRUE(
                  dialog.rect().contains(QRect(button->mapTo(&dialog, QPoint()), button->size())));
              EXPECT_GE(button->width(), button->minimumSizeHint().width());
            }
            for (const QLabel* label : dialog.findChildren<QLabel*>()) {
              if (!label->isVisible()) continue;
              EXPECT_GE(label->height(), label->heightForWidth(label->width()));
            }
            dialog.close();
          },
          0);
    }
    ui::MessageWindowModel message(text);
    Toolkit().Show(message);
    QWidget* const window = VisibleWindow();
    ASSERT_TRUE(window);
    EXPECT_TRUE(window->screen()->availableGeometry().contains(window->frameGeometry()));
    message.text += "\n" + lines;
    Toolkit().Update(message);
    EXPECT_TRUE(window->screen()->availableGeometry().contains(window->frameGeometry()));
    Toolkit().Close(message);
  }
}

TEST_F(QtWindows, ALabelThatNoButtonHoldsIsInItsTip) {
  ui::TextBoxModel model(true, false);
  model.okText = "Take <all> of it & more of that, with everything that belongs to it";
  Run(
      model,
      [](QDialog& dialog) {
        QPushButton* const ok = Button(dialog, "ok");
        EXPECT_TRUE(ok->text().endsWith(QChar(0x2026)));
        EXPECT_TRUE(ok->toolTip().contains(QStringLiteral("belongs to it")));
        EXPECT_TRUE(ok->toolTip().contains(QStringLiteral("&lt;all&gt;")));
        EXPECT_TRUE(Button(dialog, "cancel")->toolTip().isEmpty());
        dialog.close();
      },
      0);
  ui::ListBoxModel list(true);
  list.AddCheckBox(model.okText, true);
  list.AddCheckBox("Short & so on", true);
  Run(
      list,
      [](QDialog& dialog) {
        const auto boxes = dialog.findChildren<QCheckBox*>();
        ASSERT_EQ(boxes.size(), 2);
        EXPECT_TRUE(boxes[0]->toolTip().contains(QStringLiteral("belongs to it")));
        EXPECT_TRUE(boxes[0]->accessibleName().endsWith(QStringLiteral("belongs to it")));
        EXPECT_TRUE(boxes[1]->toolTip().isEmpty());
        dialog.close();
      },
      0);
  ui::TreeListBoxModel tree({});
  tree.okText = model.okText;
  tree.buttonWidth = 90;
  Run(
      tree,
      [](QDialog& dialog) {
        QPushButton* const ok = Button(dialog, "ok");
        EXPECT_EQ(ok->width(), 90);
        EXPECT_LT(ok->minimumSizeHint().width(), 100);
        EXPECT_TRUE(ok->toolTip().contains(QStringLiteral("belongs to it")));
        dialog.close();
      },
      0);
}

// Windows, screens and what scripts are told of them have one unit; a run with scale 2 shows it.
TEST_F(QtWindows, TheScreenIsMeasuredInThePixelsOfWindows) {
  Toolkit();
  const bool isSet = qEnvironmentVariableIsSet("DISPLAY");
  const QByteArray before = qgetenv("DISPLAY");
  qputenv("DISPLAY", ":0");  // as if the screen was one to look at
  const SV::Size told = Toolkit().ScreenSizePixel();
  if (isSet) {
    qputenv("DISPLAY", before);
  } else {
    qunsetenv("DISPLAY");
  }
  QWidget window;
  window.setGeometry(QGuiApplication::primaryScreen()->geometry());
  EXPECT_EQ(told, SV::Size(window.width(), window.height()));
}

// No visible widget is cut off by its parent or smaller than it needs to be, and the dialog fits
// the screen.
TEST_F(QtWindows, NothingIsClippedInAnyDialog) {
  QTemporaryDir images;
  QImage picture(300, 200, QImage::Format_RGB32);
  picture.fill(Qt::darkCyan);
  ASSERT_TRUE(picture.save(images.filePath(QStringLiteral("a.png"))));
  Toolkit();
  for (auto& sample :
       sample_windows::All(images.path().toStdString(), images.path().toStdString())) {
    SCOPED_TRACE(sample.name);
    Run(
        *sample.model,
        [](QDialog& dialog) {
          EXPECT_TRUE(
              dialog.screen()->availableGeometry().contains(QRect(QPoint(), dialog.size())));
          const bool isQtOwn = qobject_cast<QFileDialog*>(&dialog) != nullptr;
          for (const QWidget* widget : dialog.findChildren<QWidget*>()) {
            if (!widget->isVisible() || isQtOwn) continue;
            if (qobject_cast<const QPushButton*>(widget) || qobject_cast<const QLabel*>(widget)) {
              EXPECT_GE(widget->width(), widget->minimumSizeHint().width())
                  << widget->objectName().toStdString();
              EXPECT_GE(widget->height(), widget->minimumSizeHint().height())
                  << widget->objectName().toStdString();
            }
            const QRect place(widget->mapTo(&dialog, QPoint()), widget->size());
            bool isInScrollArea = false;
            for (const QWidget* outer = widget->parentWidget(); outer;
                 outer = outer->parentWidget()) {
              isInScrollArea |= outer->objectName() == QLatin1String("qt_scrollarea_viewport");
            }
            EXPECT_TRUE(isInScrollArea || dialog.rect().contains(place))
                << widget->metaObject()->className() << ' ' << widget->objectName().toStdString();
          }
          dialog.reject();
        },
        0);
  }
}

}  // namespace
