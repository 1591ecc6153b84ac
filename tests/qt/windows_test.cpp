#include <QCheckBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QListView>
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
#include "tests/qt/qt_fixture.h"
#include "tests/qt/sample_windows.h"

namespace {

using ui::MessageBoxModel;
using ui::MessageKind;

class QtWindows : public QtTest {};

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
