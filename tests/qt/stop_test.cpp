// A stop ends a script's window whatever of Qt's own stands on top of it.
#include <QComboBox>
#include <QContextMenuEvent>
#include <QDialogButtonBox>
#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPrintDialog>
#include <QPushButton>
#include <QTableView>
#include <QTemporaryDir>
#include <chrono>
#include <thread>

#include "tavhost/qt/shown_text.h"
#include "tavhost/ui/models/browser_model.h"
#include "tavhost/ui/models/edit_field_model.h"
#include "tavhost/ui/models/file_dialog_model.h"
#include "tavhost/ui/table/table_model.h"
#include "tests/qt/qt_fixture.h"

namespace {

using Clock = std::chrono::steady_clock;

class QtStop : public QtTest {
 protected:
  // Runs the window, opens something on top of it, and asks for a stop, from another thread, once
  // `isOnTop` holds. Nothing may be open behind that.
  void StopOnTop(ui::ModalModel& model, const std::function<void(QDialog&)>& open,
                 const std::function<bool()>& isOnTop) {
    Toolkit();  // before there are timers
    Clock::time_point asked;
    std::thread stopper;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, [&] {
      if (!isOnTop()) return;
      look.stop();
      asked = Clock::now();
      stopper = std::thread([] { stop::Request(stop::Reason::kUser); });
    });
    look.start(5);
    Run(model, open);
    const auto ended = Clock::now();
    ASSERT_TRUE(stopper.joinable()) << "nothing came on top";
    stopper.join();
    EXPECT_LT(ended - asked, std::chrono::seconds(1));
    EXPECT_EQ(model.EndButton(), "cancel");
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
  }

  template <typename Dialog>
  static bool IsModal() {
    return qobject_cast<Dialog*>(QApplication::activeModalWidget()) != nullptr;
  }
  static bool IsMenuOpen() {
    return qobject_cast<QMenu*>(QApplication::activePopupWidget()) != nullptr;
  }

  static void PressEnter(QDialog& dialog) {
    auto* const name = dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
    ASSERT_TRUE(name);
    QTest::keyClick(name, Qt::Key_Return);
  }
  static void AskForMenu(QWidget& widget) {
    QContextMenuEvent event(QContextMenuEvent::Keyboard, widget.rect().center(),
                            widget.mapToGlobal(widget.rect().center()));
    QApplication::sendEvent(&widget, &event);
  }

  std::unique_ptr<ui::TableModel> Table() {
    auto table = std::make_unique<ui::TableModel>(false);
    const auto text = std::make_shared<std::string>("a;b\n1;2");
    EXPECT_TRUE(table->Read(*text, text, ';', '\n'));
    return table;
  }

  QTemporaryDir folder_;
};

TEST_F(QtStop, WithTheQuestionWhetherToReplaceAFile) {
  QFile file(folder_.filePath(QStringLiteral("there.txt")));
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  file.close();
  ui::FileDialogModel model(ui::FileDialogModel::kSaveAs);
  model.startPath = ui::Bytes(folder_.path());
  model.fileName = "there.txt";
  StopOnTop(model, PressEnter, IsModal<QMessageBox>);
  EXPECT_TRUE(model.chosen.empty());
}

TEST_F(QtStop, WithTheMessageThatAFileIsNotThere) {
  ui::FileDialogModel model(ui::FileDialogModel::kOpen);
  model.startPath = ui::Bytes(folder_.path());
  StopOnTop(
      model,
      [](QDialog& dialog) {
        auto* const name = dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
        QTest::keyClicks(name, QStringLiteral("absent.txt"));
        // The names that fit what is typed are a window of their own, which takes the first Enter.
        if (QWidget* const names = QApplication::activePopupWidget()) names->close();
        QTest::keyClick(name, Qt::Key_Return);
      },
      IsModal<QMessageBox>);
}

TEST_F(QtStop, WithADialogThatSavesATable) {
  const auto table = Table();
  ui::BrowserModel model(*table, false);
  StopOnTop(
      model,
      [](QDialog& dialog) {
        QTest::mouseClick(dialog.findChild<QPushButton*>(QStringLiteral("save")), Qt::LeftButton);
      },
      IsModal<QFileDialog>);
}

TEST_F(QtStop, WithAQuestionOnADialogThatSavesATable) {
  QFile file(folder_.filePath(QStringLiteral("there.csv")));
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  file.write("kept");
  file.close();
  const auto table = Table();
  ui::BrowserModel model(*table, false);
  QTimer wait;
  QObject::connect(&wait, &QTimer::timeout, [&] {
    auto* const dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
    if (!dialog) return;
    wait.stop();
    dialog->selectFile(folder_.filePath(QStringLiteral("there.csv")));
    PressEnter(*dialog);
  });
  Toolkit();  // before there are timers
  wait.start(5);
  StopOnTop(
      model,
      [](QDialog& dialog) {
        QTest::mouseClick(dialog.findChild<QPushButton*>(QStringLiteral("save")), Qt::LeftButton);
      },
      IsModal<QMessageBox>);
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  EXPECT_EQ(file.readAll(), "kept");
}

TEST_F(QtStop, WithADialogThatPrintsATable) {
  const auto table = Table();
  ui::BrowserModel model(*table, false);
  StopOnTop(
      model,
      [](QDialog& dialog) {
        QTest::mouseClick(dialog.findChild<QPushButton*>(QStringLiteral("print")), Qt::LeftButton);
      },
      IsModal<QPrintDialog>);
}

TEST_F(QtStop, WithATablesMenu) {
  const auto table = Table();
  ui::BrowserModel model(*table, false);
  StopOnTop(
      model,
      [](QDialog& dialog) {
        AskForMenu(*dialog.findChild<QTableView*>(QStringLiteral("table"))->viewport());
      },
      IsMenuOpen);
}

TEST_F(QtStop, WithAFieldsMenu) {
  ui::EditFieldModel model("Name");
  StopOnTop(
      model,
      [](QDialog& dialog) { AskForMenu(*dialog.findChild<QLineEdit*>(QStringLiteral("field"))); },
      IsMenuOpen);
}

TEST_F(QtStop, WithAnOpenList) {
  ui::FileDialogModel model(ui::FileDialogModel::kOpen);
  model.startPath = ui::Bytes(folder_.path());
  model.filters = {{"Texts", "*.txt"}, {"All", "*"}};
  StopOnTop(
      model,
      [](QDialog& dialog) {
        dialog.findChild<QComboBox*>(QStringLiteral("fileTypeCombo"))->showPopup();
      },
      [] { return QApplication::activePopupWidget() != nullptr; });
}

}  // namespace
