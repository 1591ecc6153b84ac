#include <QLineEdit>
#include <QListView>
#include <QPushButton>

#include "tavhost/ui/models/image_dialog_model.h"
#include "tavhost/ui/models/list_box_model.h"
#include "tavhost/ui/models/tree_list_box_model.h"
#include "tests/qt/qt_fixture.h"

namespace {

using Indices = std::vector<std::uint32_t>;

// Lists by the keyboard: the first key, and the search of long ones.
class QtLists : public QtTest {
 protected:
  static QListView& View(QDialog& dialog) { return *dialog.findChild<QListView*>(); }
  static QLineEdit* Field(QDialog& dialog) {
    return dialog.findChild<QLineEdit*>(QStringLiteral("search"));
  }
  static void Fill(ui::ListBoxModel& list, int entries) {
    for (int i = 0; i < entries; ++i) list.Insert("Entry " + std::to_string(i));
  }
  static void Fill(ui::ImageDialogModel& images, int entries) {
    for (int i = 0; i < entries; ++i) {
      const std::string name = "image " + std::to_string(i) + ".png";
      images.entries.push_back({name, "no such folder/" + name});
    }
  }
};

TEST_F(QtLists, TheFirstKeyThatMovesTakesTheFirstEntry) {
  for (const Qt::Key key :
       {Qt::Key_Down, Qt::Key_Right, Qt::Key_Up, Qt::Key_Left, Qt::Key_Home, Qt::Key_PageUp}) {
    ui::ListBoxModel list(false);
    Fill(list, 3);
    Run(list, [key](QDialog& dialog) {
      QTest::keyClick(&View(dialog), key);
      QTest::keyClick(&View(dialog), Qt::Key_Return);
    });
    EXPECT_EQ(list.Selected(), Indices{0}) << key;
    EXPECT_EQ(list.EndButton(), "ok");
    ui::ImageDialogModel images;
    Fill(images, 3);
    Run(images, [key](QDialog& dialog) {
      QTest::keyClick(&View(dialog), key);
      QTest::keyClick(&View(dialog), Qt::Key_Return);
    });
    EXPECT_EQ(images.selected, "image 0.png") << key;
  }
}

TEST_F(QtLists, TheFirstLetterFindsTheFirstEntryToo) {
  for (const auto& [typed, chosen] :
       {std::pair("a", 0u), std::pair("ap", 0u), std::pair("apr", 1u), std::pair("b", 2u)}) {
    ui::ListBoxModel list(false);
    for (const char* const entry : {"apple", "apricot", "banana"}) list.Insert(entry);
    Run(list, [typed = typed](QDialog& dialog) {
      QTest::keyClicks(dialog.focusWidget(), QLatin1String(typed));
      QTest::keyClick(&dialog, Qt::Key_Return);
    });
    EXPECT_EQ(list.Selected(), std::vector<std::uint32_t>{chosen}) << typed;
    ui::TreeListBoxModel tree{ui::TreeListBoxModel::Options()};
    int id = 0;
    for (const char* const entry : {"apple", "apricot", "banana"}) {
      tree.Add(id++, ui::TreeListBoxModel::kNoParent, entry, false);
    }
    Run(tree, [typed = typed](QDialog& dialog) {
      QTest::keyClicks(dialog.focusWidget(), QLatin1String(typed));
      QTest::keyClick(&dialog, Qt::Key_Return);
    });
    ASSERT_EQ(tree.Selected().size(), 1u) << typed;
    EXPECT_EQ(tree.Selected().front(), tree.Find(static_cast<int>(chosen))) << typed;
  }
}

TEST_F(QtLists, TheSecondArrowTakesTheSecondEntry) {
  ui::ListBoxModel list(false);
  Fill(list, 3);
  Run(list, [](QDialog& dialog) {
    QTest::keyClick(&View(dialog), Qt::Key_Down);
    QTest::keyClick(&View(dialog), Qt::Key_Down);
    QTest::keyClick(&View(dialog), Qt::Key_Return);
  });
  EXPECT_EQ(list.Selected(), Indices{1});
}

TEST_F(QtLists, WhatTheScriptHasChosenIsWhereArrowsBegin) {
  ui::ListBoxModel list(false);
  Fill(list, 3);
  list.SetSelected(1, true);
  Run(list, [](QDialog& dialog) {
    QTest::keyClick(&View(dialog), Qt::Key_Down);
    QTest::keyClick(&View(dialog), Qt::Key_Return);
  });
  EXPECT_EQ(list.Selected(), Indices{2});
}

TEST_F(QtLists, OkWithoutAChoiceChoosesNothing) {
  ui::ListBoxModel list(false);
  Fill(list, 3);
  Run(list, [](QDialog& dialog) { QTest::keyClick(&View(dialog), Qt::Key_Return); });
  EXPECT_EQ(list.EndButton(), "ok");
  EXPECT_EQ(list.Selected(), Indices{});
  ui::ImageDialogModel images;
  Fill(images, 3);
  Run(images, [](QDialog& dialog) { QTest::keyClick(&View(dialog), Qt::Key_Return); });
  EXPECT_EQ(images.EndButton(), "ok");
  EXPECT_EQ(images.selected, "");
}

TEST_F(QtLists, MoreThanTwentyEntriesCanBeSearched) {
  for (const int entries : {20, 21}) {
    for (const bool multiple : {false, true}) {
      ui::ListBoxModel list(multiple);
      Fill(list, entries);
      Run(
          list,
          [entries](QDialog& dialog) {
            EXPECT_EQ(Field(dialog) != nullptr, entries > 20);
            dialog.reject();
          },
          0);
    }
    ui::ImageDialogModel images;
    Fill(images, entries);
    Run(
        images,
        [entries](QDialog& dialog) {
          EXPECT_EQ(Field(dialog) != nullptr, entries > 20);
          dialog.reject();
        },
        0);
  }
}

TEST_F(QtLists, DownGoesFromTheSearchToTheFirstThatItHasFound) {
  ui::ListBoxModel list(false);
  Fill(list, 30);
  Run(list, [](QDialog& dialog) {
    EXPECT_TRUE(View(dialog).hasFocus());
    QTest::keyClick(&View(dialog), Qt::Key_F, Qt::ControlModifier);
    ASSERT_TRUE(Field(dialog)->hasFocus());
    QTest::keyClicks(Field(dialog), QStringLiteral("ENTRY 2"));
    EXPECT_EQ(View(dialog).model()->rowCount(), 11);  // 2 and 20 to 29
    QTest::keyClick(Field(dialog), Qt::Key_Down);
    EXPECT_TRUE(View(dialog).hasFocus());
    QTest::keyClick(&View(dialog), Qt::Key_Down);
    QTest::keyClick(&View(dialog), Qt::Key_Return);
  });
  EXPECT_EQ(list.Selected(), Indices{20});
  ui::ImageDialogModel images;
  Fill(images, 30);
  Run(images, [](QDialog& dialog) {
    QTest::keyClick(&View(dialog), Qt::Key_F, Qt::ControlModifier);
    QTest::keyClicks(Field(dialog), QStringLiteral("25"));
    QTest::keyClick(Field(dialog), Qt::Key_Down);
    QTest::keyClick(&View(dialog), Qt::Key_Return);
  });
  EXPECT_EQ(images.selected, "image 25.png");
}

TEST_F(QtLists, WhatASearchHidesIsKeptButNotReturned) {
  for (const bool cleared : {true, false}) {
    ui::ListBoxModel list(true);
    Fill(list, 30);
    list.SetSelected(3, true);
    list.SetSelected(25, true);
    Run(list, [cleared](QDialog& dialog) {
      QTest::keyClicks(Field(dialog), QStringLiteral("25"));
      EXPECT_EQ(View(dialog).selectionModel()->selectedIndexes().size(), 1);
      if (cleared) QTest::keyClick(Field(dialog), Qt::Key_A, Qt::ControlModifier);
      if (cleared) QTest::keyClick(Field(dialog), Qt::Key_Backspace);
      QTest::keyClick(Field(dialog), Qt::Key_Return);
    });
    EXPECT_EQ(list.Selected(), cleared ? (Indices{3, 25}) : (Indices{25}));
  }
}

TEST_F(QtLists, ASingleChoiceTakesThePlaceOfOneThatIsHidden) {
  ui::ListBoxModel list(false);
  Fill(list, 30);
  list.SetSelected(3, true);
  Run(list, [](QDialog& dialog) {
    QTest::keyClicks(Field(dialog), QStringLiteral("25"));
    QTest::keyClick(Field(dialog), Qt::Key_Down);
    Field(dialog)->clear();
    EXPECT_EQ(View(dialog).selectionModel()->selectedIndexes().size(), 1);
    QTest::keyClick(Field(dialog), Qt::Key_Return);
  });
  EXPECT_EQ(list.Selected(), Indices{25});
}

}  // namespace
