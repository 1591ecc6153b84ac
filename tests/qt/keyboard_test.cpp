#include <QAbstractButton>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <QVBoxLayout>
#include <map>
#include <set>

#include "tavhost/qt/accelerators.h"
#include "tavhost/ui/models/directory_dialog_model.h"
#include "tavhost/ui/models/file_dialog_model.h"
#include "tavhost/ui/models/list_box_model.h"
#include "tests/qt/qt_fixture.h"
#include "tests/qt/sample_windows.h"

namespace {

// Every dialog without a mouse.
class QtKeyboard : public QtTest {
 protected:
  // The letter that each label in the window has with Alt, hidden ones included.
  static std::multimap<std::string, std::string> Letters(const QWidget& window) {
    std::multimap<std::string, std::string> letters;
    for (const QWidget* const widget : window.findChildren<QWidget*>()) {
      QString text;
      if (const auto* const button = qobject_cast<const QAbstractButton*>(widget)) {
        text = button->text();
      } else if (const auto* const label = qobject_cast<const QLabel*>(widget)) {
        if (label->buddy()) text = label->text();
      }
      const QKeySequence keys = QKeySequence::mnemonic(text);
      if (!keys.isEmpty()) letters.emplace(keys.toString().toStdString(), text.toStdString());
    }
    return letters;
  }

  static std::vector<std::string> Given(const std::vector<const char*>& texts) {
    Toolkit();
    QWidget window;
    auto* const layout = new QVBoxLayout(&window);
    std::vector<QPushButton*> buttons;
    for (const char* const text : texts) {
      buttons.push_back(new QPushButton(QString::fromUtf8(text)));
      layout->addWidget(buttons.back());
    }
    ui::GiveAccelerators(window);
    std::vector<std::string> given;
    for (const QPushButton* const button : buttons) given.push_back(button->text().toStdString());
    return given;
  }
};

using Texts = std::vector<std::string>;

TEST_F(QtKeyboard, LettersAreTheFirstOfAWordThatIsLeft) {
  EXPECT_EQ(Given({"Save", "Save all", "S", "Sa"}), (Texts{"&Save", "Save &all", "S", "Sa"}));
  EXPECT_EQ(Given({"Own", "&OK"}), (Texts{"O&wn", "&OK"})) << "those that are there come first";
  EXPECT_EQ(Given({"&OK", "&Own"}), (Texts{"&OK", "O&wn"}));
  EXPECT_EQ(Given({"a && b", "&&", "", "…"}), (Texts{"&a && b", "&&", "", "…"}));
  EXPECT_EQ(Given({"Über", "Да"}), (Texts{"Ü&ber", "&Да"}));
  EXPECT_EQ(Given({"確定", "取り消し", "確定 A"}),
            (Texts{"確定(&A)", "取り消し(&B)", "確定 A(&C)"}));
}

TEST_F(QtKeyboard, GivingThemAgainChangesNothing) {
  const Texts once = Given({"Save", "a && b", "確定", "Save all"});
  std::vector<const char*> texts;
  for (const std::string& text : once) texts.push_back(text.c_str());
  EXPECT_EQ(Given(texts), once);
}

TEST_F(QtKeyboard, NoTwoLettersClashInAnyDialogAndEveryButtonHasOne) {
  const QTemporaryDir folder;
  Toolkit();
  for (auto& sample :
       sample_windows::All(folder.path().toStdString(), folder.path().toStdString())) {
    SCOPED_TRACE(sample.name);
    Run(
        *sample.model,
        [](QDialog& dialog) {
          const auto letters = Letters(dialog);
          for (auto it = letters.begin(); it != letters.end(); ++it) {
            EXPECT_EQ(letters.count(it->first), 1u) << it->first << ": " << it->second;
          }
          for (const QPushButton* const button : dialog.findChildren<QPushButton*>()) {
            EXPECT_FALSE(button->shortcut().isEmpty()) << button->text().toStdString();
          }
          for (const QLabel* const label : dialog.findChildren<QLabel*>()) {
            if (!label->buddy()) continue;
            EXPECT_FALSE(QKeySequence::mnemonic(label->text()).isEmpty())
                << label->text().toStdString();
          }
          dialog.reject();
        },
        0);
  }
}

// Lists, trees, images and tables: from the widget that has the focus at first, Tab comes round and
// has been on every button that can be pressed.
TEST_F(QtKeyboard, TabComesToEveryButtonAndBack) {
  const QTemporaryDir folder;
  Toolkit();
  const std::set<ui::ModalKind> kinds = {ui::ModalKind::kListBox, ui::ModalKind::kTreeListBox,
                                         ui::ModalKind::kImageDialog, ui::ModalKind::kBrowser,
                                         ui::ModalKind::kEditBrowser};
  for (auto& sample :
       sample_windows::All(folder.path().toStdString(), folder.path().toStdString())) {
    if (!kinds.contains(sample.model->Kind())) continue;
    SCOPED_TRACE(sample.name);
    Run(*sample.model, [](QDialog& dialog) {
      const QWidget* const first = QApplication::focusWidget();
      ASSERT_TRUE(first);
      std::set<const QWidget*> reached;
      constexpr int kMost = 100;
      for (int i = 0; i < kMost && reached.insert(QApplication::focusWidget()).second; ++i) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
      }
      EXPECT_EQ(QApplication::focusWidget(), first);
      for (const QPushButton* const button : dialog.findChildren<QPushButton*>()) {
        if (!button->isVisible() || !button->isEnabled()) continue;
        EXPECT_TRUE(reached.contains(button)) << button->objectName().toStdString();
      }
      dialog.reject();
    });
  }
}

TEST_F(QtKeyboard, LettersPressTheButtonsOfFileDialogs) {
  const QTemporaryDir folder;
  const std::string start = folder.path().toStdString();
  for (const std::uint32_t style : {ui::FileDialogModel::kOpen, ui::FileDialogModel::kSaveAs}) {
    ui::FileDialogModel files(style);
    files.startPath = start;
    files.filters = {{"Texts", "*.txt"}, {"All files", "*.*"}};
    Run(files, [](QDialog& dialog) {
      QTest::keyClick(&dialog, Qt::Key_T, Qt::AltModifier);
      EXPECT_EQ(dialog.focusWidget()->objectName(), "fileTypeCombo");
      QTest::keyClick(&dialog, Qt::Key_I, Qt::AltModifier);
      EXPECT_EQ(dialog.focusWidget()->objectName(), "lookInCombo");
      QTest::keyClick(&dialog, Qt::Key_N, Qt::AltModifier);
      EXPECT_EQ(dialog.focusWidget()->objectName(), "fileNameEdit");
      QTest::keyClick(&dialog, Qt::Key_C, Qt::AltModifier);
    });
    EXPECT_EQ(files.EndButton(), "cancel");
  }
  for (const auto& [key, button] : {std::pair(Qt::Key_A, "cancel"), std::pair(Qt::Key_C, "ok")}) {
    ui::DirectoryDialogModel directory(start);
    Run(directory,
        [key = key](QDialog& dialog) { QTest::keyClick(&dialog, key, Qt::AltModifier); });
    EXPECT_EQ(directory.EndButton(), button);
  }
}

// The box that a file dialog shows by itself.
TEST_F(QtKeyboard, TheBoxOfAFileThatIsNotThereHasALetter) {
  const QTemporaryDir folder;
  ui::FileDialogModel files(ui::FileDialogModel::kOpen);
  files.startPath = folder.path().toStdString();
  Run(files, [](QDialog& dialog) {
    bool found = false;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, [&] {
      auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
      if (!box) return;
      look.stop();
      found = true;
      for (const QAbstractButton* const button : box->buttons()) {
        EXPECT_FALSE(button->shortcut().isEmpty()) << button->text().toStdString();
      }
      QTest::keyClick(box, Qt::Key_O, Qt::AltModifier);
      if (box->isVisible()) box->reject();
    });
    look.start(5);
    auto* const name = dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
    name->setText(QStringLiteral("no such file"));
    QTest::keyClick(name, Qt::Key_Return);
    EXPECT_TRUE(found);
    dialog.reject();
  });
}

TEST_F(QtKeyboard, ALetterOfAnOwnTextPressesItsButton) {
  ui::ListBoxModel list(false);
  list.Insert("a");
  list.okText = "Create";  // the C is that of Cancel
  Run(list, [](QDialog& dialog) { QTest::keyClick(&dialog, Qt::Key_R, Qt::AltModifier); });
  EXPECT_EQ(list.EndButton(), "ok");
}

}  // namespace
