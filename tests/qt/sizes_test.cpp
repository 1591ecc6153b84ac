#include <QSettings>

#include "tavhost/ui/models/list_box_model.h"
#include "tavhost/ui/models/modal_model.h"
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
