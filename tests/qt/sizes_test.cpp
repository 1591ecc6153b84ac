#include <QCheckBox>
#include <QSettings>

#include "tavhost/ui/models/list_box_model.h"
#include "tavhost/ui/models/modal_model.h"
#include "tavhost/ui/models/text_box_model.h"
#include "tavhost/ui/models/tree_list_box_model.h"
#include "tests/qt/qt_fixture.h"

namespace {

// What a user pulls a dialog to.
class QtSizes : public QtTest {
 protected:
  void SetUp() override {
    QtTest::SetUp();
    QSettings(QSettings::IniFormat, QSettings::UserScope, "tavhost", "windows").clear();
  }

  static QSize Opened(ui::ModalModel& model, std::optional<QSize> pulledTo = std::nullopt) {
    QSize opened;
    Run(model, [&](QDialog& dialog) {
      opened = dialog.size();
      if (pulledTo) dialog.resize(*pulledTo);
      QTest::keyClick(&dialog, Qt::Key_Escape);
    });
    return opened;
  }
};

TEST_F(QtSizes, AreFoundAgainForTheSameKindOfWindow) {
  ui::ListBoxModel list(false);
  const QSize before = Opened(list, QSize(777, 555));
  EXPECT_NE(before, QSize(777, 555));
  ui::ListBoxModel next(false);
  EXPECT_EQ(Opened(next), QSize(777, 555));
  ui::TreeListBoxModel tree{ui::TreeListBoxModel::Options()};
  EXPECT_NE(Opened(tree), QSize(777, 555));
}

TEST_F(QtSizes, ThatNoScreenHasAreNotTaken) {
  ui::ListBoxModel list(false);
  const QSize usual = Opened(list);
  for (const QSize& damaged : {QSize(999999999, 999999999), QSize(-5, 100), QSize(600, 2000000)}) {
    QSettings(QSettings::IniFormat, QSettings::UserScope, "tavhost", "windows")
        .setValue("sizes/list-box", damaged);
    ui::ListBoxModel next(false);
    EXPECT_EQ(Opened(next), usual);
  }
}

TEST_F(QtSizes, GiveWayToTheScripts) {
  ui::ListBoxModel list(false);
  Opened(list, QSize(777, 555));
  ui::ListBoxModel given(false);
  given.size = SV::Size(600, 400);
  EXPECT_EQ(Opened(given, QSize(650, 450)), QSize(600, 400));
  EXPECT_EQ(given.size->Width(), 600);
  ui::ListBoxModel next(false);
  EXPECT_EQ(Opened(next), QSize(777, 555));
}

TEST_F(QtSizes, AreNotChangedByTheBarThatFinds) {
  const auto shown = [](std::optional<QSize> pulledTo) {
    ui::TextBoxModel box(false, false);
    box.text = "one\ntwo\nthree";
    QSize opened;
    QSize found;
    Run(box, [&](QDialog& dialog) {
      opened = dialog.size();
      if (pulledTo) dialog.resize(*pulledTo);
      QTest::keyClick(&dialog, Qt::Key_F, Qt::ControlModifier);
      QApplication::processEvents();
      found = dialog.size();
      QTest::keyClick(dialog.focusWidget(), Qt::Key_Escape);
      QTest::keyClick(&dialog, Qt::Key_Escape);
    });
    EXPECT_EQ(found, pulledTo.value_or(opened)) << "the bar has room";
    return opened;
  };
  const QSize opened = shown(std::nullopt);
  EXPECT_TRUE(QSettings(QSettings::IniFormat, QSettings::UserScope, "tavhost", "windows")
                  .allKeys()
                  .isEmpty());
  EXPECT_EQ(shown(QSize(opened.width() + 20, opened.height() + 20)), opened);
  EXPECT_EQ(shown(std::nullopt), QSize(opened.width() + 20, opened.height() + 20));
}

// A window that grows by itself, as what stands in it needs the room, was not pulled to that.
TEST_F(QtSizes, ThatAWindowGrewToAreNotKept) {
  ui::ListBoxModel list(false);
  Run(list, [](QDialog& dialog) {
    dialog.setMinimumWidth(dialog.width() + 100);
    QApplication::processEvents();
    QTest::keyClick(&dialog, Qt::Key_Escape);
  });
  EXPECT_TRUE(QSettings(QSettings::IniFormat, QSettings::UserScope, "tavhost", "windows")
                  .allKeys()
                  .isEmpty());
}

TEST_F(QtSizes, ALargeListHasRoomForTheTextsBesideIt) {
  const std::string text(90, 'n');
  ui::ListBoxModel list(true);
  list.size = SV::Size(1000, 500);
  list.okText = text.substr(0, 45);
  list.AddCheckBox(text, false);
  Run(list, [&](QDialog& dialog) {
    EXPECT_EQ(dialog.findChild<QCheckBox*>()->text().remove(QLatin1Char('&')).toStdString(), text);
    EXPECT_EQ(dialog.findChild<QPushButton*>(QStringLiteral("ok"))
                  ->text()
                  .remove(QLatin1Char('&'))
                  .toStdString(),
              list.okText);
    dialog.reject();
  });
}

TEST_F(QtSizes, OfADialogThatWasNotPulledAreNotKept) {
  ui::ListBoxModel list(false);
  const QSize opened = Opened(list);
  ui::ListBoxModel next(false);
  EXPECT_EQ(Opened(next), opened);
  EXPECT_TRUE(QSettings(QSettings::IniFormat, QSettings::UserScope, "tavhost", "windows")
                  .allKeys()
                  .isEmpty());
}

}  // namespace
