#include <QHeaderView>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTreeView>

#include "tavhost/ui/models/tree_list_box_model.h"
#include "tests/qt/qt_fixture.h"

namespace {

using ui::TreeListBoxModel;

class QtTree : public QtTest {
 protected:
  static TreeListBoxModel::Options Multiple() {
    TreeListBoxModel::Options options;
    options.multiple = true;
    options.searchable = true;
    return options;
  }

  // 1 with 11 and 12 below, 2 with 21 below, 3.
  static void Fill(TreeListBoxModel& tree) {
    tree.Add(1, -1, "one", true);
    tree.Add(11, 1, "apple", false);
    tree.Add(12, 1, "banana", false);
    tree.Add(2, -1, "two", true);
    tree.Add(21, 2, "apple pie", false);
    tree.Add(3, -1, "three", false);
  }

  static QTreeView& View(QDialog& dialog) {
    return *dialog.findChild<QTreeView*>(QStringLiteral("tree"));
  }
  static QPushButton& Button(QDialog& dialog, const char* name) {
    return *dialog.findChild<QPushButton*>(QLatin1String(name));
  }
  static void Type(QDialog& dialog, const char* text) {
    dialog.findChild<QLineEdit*>(QStringLiteral("search"))->setText(QLatin1String(text));
  }
  // Whether the text stands in its field whole.
  static bool IsWhole(QTreeView& view, const QModelIndex& index) {
    const int padding = view.style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, &view);
    return view.visualRect(index).width() >=
           view.fontMetrics().horizontalAdvance(index.data().toString()) + 2 * padding;
  }
  static bool BecomesWhole(QTreeView& view, const QModelIndex& index) {
    return QTest::qWaitFor([&] { return IsWhole(view, index); }, kPatience);
  }
  static void Pull(QWidget& widget, QPoint from, QPoint to) {
    const auto send = [&widget](QEvent::Type type, QPoint at, Qt::MouseButton button,
                                Qt::MouseButtons held) {
      QMouseEvent event(type, at, widget.mapToGlobal(at), button, held, Qt::NoModifier);
      QApplication::sendEvent(&widget, &event);
    };
    send(QEvent::MouseButtonPress, from, Qt::LeftButton, Qt::LeftButton);
    send(QEvent::MouseMove, to, Qt::NoButton, Qt::LeftButton);
    send(QEvent::MouseButtonRelease, to, Qt::LeftButton, Qt::NoButton);
  }
  static std::vector<int> Selected(const TreeListBoxModel& tree) {
    std::vector<int> ids;
    for (const auto item : tree.Selected()) ids.push_back(tree.Id(item));
    return ids;
  }
};

TEST_F(QtTree, ArrowKeysAndEnterChooseAnItem) {
  TreeListBoxModel tree{TreeListBoxModel::Options()};
  Fill(tree);
  Run(tree, [](QDialog& dialog) {
    EXPECT_FALSE(Button(dialog, "ok").isEnabled());
    QTest::keyClick(&View(dialog), Qt::Key_Home);
    QTest::keyClick(&View(dialog), Qt::Key_Right);  // opens
    QTest::keyClick(&View(dialog), Qt::Key_Down);
    EXPECT_TRUE(Button(dialog, "ok").isEnabled());
    QTest::keyClick(&View(dialog), Qt::Key_Return);
  });
  EXPECT_EQ(tree.EndButton(), "ok");
  EXPECT_EQ(Selected(tree), (std::vector<int>{11}));
  EXPECT_TRUE(tree.IsExpanded(tree.Find(1)));
}

TEST_F(QtTree, CtrlASelectsAllWhereSeveralCanBe) {
  TreeListBoxModel tree{Multiple()};
  Fill(tree);
  tree.ExpandAll();
  Run(tree, [](QDialog& dialog) {
    QTest::keyClick(&View(dialog), Qt::Key_A, Qt::ControlModifier);
    Button(dialog, "ok").click();
  });
  EXPECT_EQ(Selected(tree), (std::vector<int>{1, 11, 12, 2, 21, 3}));
}

TEST_F(QtTree, CtrlALeavesWhatLiesInClosedParentsAsItIs) {
  for (const bool checkBoxes : {false, true}) {
    auto options = Multiple();
    options.checkBoxes = checkBoxes;
    TreeListBoxModel tree{options};
    Fill(tree);
    tree.Expand(tree.Find(1), true);
    Run(tree, [](QDialog& dialog) {
      QTest::keyClick(&View(dialog), Qt::Key_A, Qt::ControlModifier);
      Button(dialog, "ok").click();
    });
    EXPECT_EQ(Selected(tree), (std::vector<int>{1, 11, 12, 2, 3}));
  }
}

TEST_F(QtTree, AFilterShowsMatchesAndWhatLiesAboveThem) {
  TreeListBoxModel tree{Multiple()};
  Fill(tree);
  Run(tree, [](QDialog& dialog) {
    Type(dialog, "APPLE");
    const QAbstractItemModel& items = *View(dialog).model();
    ASSERT_EQ(items.rowCount(), 2);
    EXPECT_EQ(items.rowCount(items.index(0, 0)), 1);
    EXPECT_EQ(items.index(0, 0, items.index(1, 0)).data().toString(), QStringLiteral("apple pie"));
    Type(dialog, "");
    EXPECT_EQ(items.rowCount(), 3);
    EXPECT_FALSE(View(dialog).isExpanded(items.index(0, 0)));
    Button(dialog, "cancel").click();
  });
}

TEST_F(QtTree, WhatAFilterHidesIsKeptButNotReturned) {
  for (const bool cleared : {true, false}) {
    TreeListBoxModel tree{Multiple()};
    Fill(tree);
    tree.Select(tree.Find(12), true);
    tree.Select(tree.Find(21), true);
    Run(
        tree,
        [cleared](QDialog& dialog) {
          Type(dialog, "pie");
          if (cleared) Type(dialog, "");
          Button(dialog, "ok").click();
        },
        0);
    EXPECT_EQ(Selected(tree), cleared ? (std::vector<int>{12, 21}) : (std::vector<int>{21}));
  }
}

TEST_F(QtTree, SpaceChecksWhereThereAreCheckBoxes) {
  auto options = Multiple();
  options.checkBoxes = true;
  options.parentsSelectable = false;
  TreeListBoxModel tree(options);
  Fill(tree);
  tree.ExpandAll();
  Run(tree, [](QDialog& dialog) {
    QTest::keyClick(&View(dialog), Qt::Key_Home);
    QTest::keyClick(&View(dialog), Qt::Key_Space);  // a parent: it has no box
    QTest::keyClick(&View(dialog), Qt::Key_Down);
    QTest::keyClick(&View(dialog), Qt::Key_Space);
    EXPECT_TRUE(Button(dialog, "ok").isEnabled());
    Button(dialog, "ok").click();
  });
  EXPECT_EQ(Selected(tree), (std::vector<int>{11}));
}

TEST_F(QtTree, WithSingleSelectionOneCheckReplacesTheOther) {
  TreeListBoxModel::Options options;
  options.checkBoxes = true;
  TreeListBoxModel tree(options);
  Fill(tree);
  tree.Select(tree.Find(3), true);
  Run(tree, [](QDialog& dialog) {
    QTest::keyClick(&View(dialog), Qt::Key_Home);
    QTest::keyClick(&View(dialog), Qt::Key_Space);
    Button(dialog, "ok").click();
  });
  EXPECT_EQ(Selected(tree), (std::vector<int>{1}));
}

TEST_F(QtTree, AddedButtonsStandInPlaceAndWaitForASelection) {
  TreeListBoxModel tree{Multiple()};
  Fill(tree);
  tree.AddButton({"More", "more", 1, true});
  Run(
      tree,
      [&tree](QDialog& dialog) {
        EXPECT_LT(Button(dialog, "more").x(), Button(dialog, "ok").x());
        EXPECT_FALSE(Button(dialog, "more").isEnabled());
        View(dialog).setCurrentIndex(View(dialog).model()->index(2, 0));
        EXPECT_EQ(Selected(tree), (std::vector<int>{3}));
        EXPECT_TRUE(Button(dialog, "more").isEnabled());
        Button(dialog, "more").click();
      },
      0);
  EXPECT_EQ(tree.EndButton(), "more");
  EXPECT_EQ(tree.Result(), 1);
}

TEST_F(QtTree, DoubleClickEndsWhenAskedTo) {
  auto options = TreeListBoxModel::Options();
  options.endsOnDoubleClick = true;
  TreeListBoxModel tree(options);
  Fill(tree);
  Run(tree, [](QDialog& dialog) {
    QTreeView& view = View(dialog);
    const QPoint place = view.visualRect(view.model()->index(2, 0)).center();
    QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, place);
    QTest::mouseDClick(view.viewport(), Qt::LeftButton, {}, place);
  });
  EXPECT_EQ(tree.EndButton(), "ok");
  EXPECT_EQ(Selected(tree), (std::vector<int>{3}));
}

TEST_F(QtTree, EscapeCancels) {
  TreeListBoxModel tree{Multiple()};
  Fill(tree);
  Run(tree, [](QDialog& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); });
  EXPECT_EQ(tree.EndButton(), "cancel");
}

TEST_F(QtTree, SizesAreKept) {
  TreeListBoxModel tree{Multiple()};
  Fill(tree);
  tree.size = SV::Size(700, 420);
  tree.minimum = SV::Size(500, 300);
  tree.maximum = SV::Size(400, 900);  // its width is below the minimum and gives way
  tree.buttonWidth = 150;
  Run(
      tree,
      [](QDialog& dialog) {
        EXPECT_EQ(dialog.minimumSize(), QSize(500, 300));
        EXPECT_GE(dialog.maximumWidth(), 500);
        EXPECT_EQ(dialog.maximumHeight(), 900);
        EXPECT_EQ(Button(dialog, "ok").width(), 150);
        Button(dialog, "cancel").click();
      },
      0);
}

TEST_F(QtTree, SortsWithoutCaseAndKeepsTheOrderOfEquals) {
  TreeListBoxModel::Options options;
  options.sorted = true;
  TreeListBoxModel tree(options);
  for (const auto& [id, text] : {std::pair{1, "pear"}, {2, "Apple"}, {3, "apple"}, {4, "PEACH"}}) {
    tree.Add(id, -1, text, false);
  }
  Run(
      tree,
      [](QDialog& dialog) {
        const QAbstractItemModel& items = *View(dialog).model();
        QStringList shown;
        for (int row = 0; row < items.rowCount(); ++row) {
          shown << items.index(row, 0).data().toString();
        }
        EXPECT_EQ(shown.join(' '), QStringLiteral("Apple apple PEACH pear"));
        Button(dialog, "cancel").click();
      },
      0);
}

TEST_F(QtTree, TypingGoesToTheNextItemThatBeginsSo) {
  TreeListBoxModel tree{TreeListBoxModel::Options()};
  Fill(tree);
  Run(tree, [](QDialog& dialog) {
    QTest::keyClicks(&View(dialog), "th");
    QTest::keyClick(&View(dialog), Qt::Key_Return);
  });
  EXPECT_EQ(Selected(tree), (std::vector<int>{3}));
}

TEST_F(QtTree, TabsDivideTextsIntoColumns) {
  TreeListBoxModel::Options options;
  options.columns = 3;
  TreeListBoxModel tree(options);
  tree.Add(1, -1, "a\tb\tc\td", false);
  tree.Add(2, -1, "only", false);
  Run(
      tree,
      [](QDialog& dialog) {
        const QAbstractItemModel& items = *View(dialog).model();
        EXPECT_EQ(items.columnCount(), 3);
        EXPECT_EQ(items.index(0, 1).data().toString(), QStringLiteral("b"));
        EXPECT_EQ(items.index(0, 2).data().toString(), QStringLiteral("c"));
        EXPECT_EQ(items.index(1, 0).data().toString(), QStringLiteral("only"));
        EXPECT_EQ(items.index(1, 2).data().toString(), QString());
        Button(dialog, "cancel").click();
      },
      0);
}

TEST_F(QtTree, EnterPressesOkWhereverAddedButtonsStand) {
  for (const int index : {-1, 1, 2}) {
    auto options = TreeListBoxModel::Options();
    options.okStartsEnabled = true;
    TreeListBoxModel tree(options);
    Fill(tree);
    tree.AddButton({"More", "more", index, false});
    Run(tree, [](QDialog& dialog) {
      EXPECT_TRUE(Button(dialog, "ok").isDefault());
      EXPECT_FALSE(Button(dialog, "more").isDefault());
      QTest::keyClick(&View(dialog), Qt::Key_Return);
    });
    EXPECT_EQ(tree.EndButton(), "ok") << index;
  }
}

TEST_F(QtTree, TheFirstDownTakesTheFirstItem) {
  TreeListBoxModel tree{TreeListBoxModel::Options()};
  Fill(tree);
  Run(tree, [&tree](QDialog& dialog) {
    QTest::keyClick(&View(dialog), Qt::Key_Down);
    EXPECT_EQ(Selected(tree), (std::vector<int>{1}));
    QTest::keyClick(&View(dialog), Qt::Key_Down);
    EXPECT_EQ(Selected(tree), (std::vector<int>{2}));
    dialog.reject();
  });
}

TEST_F(QtTree, RightAtFirstTakesTheFirstItemAndOpensIt) {
  for (const Qt::Key key : {Qt::Key_Right, Qt::Key_Home}) {
    TreeListBoxModel tree{TreeListBoxModel::Options()};
    Fill(tree);
    Run(tree, [&tree, key](QDialog& dialog) {
      QTest::keyClick(&View(dialog), key);
      EXPECT_EQ(Selected(tree), (std::vector<int>{1}));
      EXPECT_EQ(tree.IsExpanded(tree.Find(1)), key == Qt::Key_Right);
      QTest::keyClick(&View(dialog), Qt::Key_Down);
      EXPECT_EQ(Selected(tree), (std::vector<int>{key == Qt::Key_Right ? 11 : 2}));
      dialog.reject();
    });
  }
}

TEST_F(QtTree, DownGoesFromTheSearchToWhatItHasFound) {
  TreeListBoxModel tree{Multiple()};
  Fill(tree);
  Run(tree, [](QDialog& dialog) {
    QTest::keyClick(&View(dialog), Qt::Key_F, Qt::ControlModifier);
    auto* const search = dialog.findChild<QLineEdit*>(QStringLiteral("search"));
    ASSERT_TRUE(search->hasFocus());
    QTest::keyClicks(search, QStringLiteral("thr"));
    QTest::keyClick(search, Qt::Key_Down);
    EXPECT_TRUE(View(dialog).hasFocus());
    QTest::keyClick(&View(dialog), Qt::Key_Return);
  });
  EXPECT_EQ(tree.EndButton(), "ok");
  EXPECT_EQ(Selected(tree), (std::vector<int>{3}));
}

// A parent with short texts, and below it longer ones.
TreeListBoxModel::Options Columns(long columns) {
  TreeListBoxModel::Options options;
  options.columns = columns;
  options.searchable = true;
  return options;
}

TEST_F(QtTree, ColumnsFollowWhatIsOpenedAndFound) {
  TreeListBoxModel tree(Columns(3));
  tree.Add(1, -1, "a\tb\tc", true);
  tree.Add(2, 1, "Bearing of the front axle, left\tsteel, hardened\t12 kg", false);
  tree.Add(3, -1, "z", true);
  tree.Add(4, 3, "Housing of the bearing of the rear axle\tcast iron, grey\t1 t", false);
  tree.size = SV::Size(900, 400);
  Run(tree, [](QDialog& dialog) {
    QTreeView& view = View(dialog);
    const QAbstractItemModel& items = *view.model();
    const int closed = view.columnWidth(0);
    EXPECT_FALSE(view.isHeaderHidden());
    view.setFocus();
    QTest::keyClick(&view, Qt::Key_Right);
    const QModelIndex bearing = items.index(0, 0, items.index(0, 0));
    EXPECT_TRUE(BecomesWhole(view, bearing));
    EXPECT_TRUE(IsWhole(view, bearing.siblingAtColumn(1)));
    EXPECT_TRUE(IsWhole(view, bearing.siblingAtColumn(2)));
    QTest::keyClick(&view, Qt::Key_Left);
    EXPECT_TRUE(QTest::qWaitFor([&] { return view.columnWidth(0) == closed; }, kPatience));
    Type(dialog, "housing");
    EXPECT_TRUE(BecomesWhole(view, items.index(0, 0, items.index(0, 0))));
    EXPECT_TRUE(IsWhole(view, items.index(0, 1, items.index(0, 0))));
    EXPECT_EQ(view.header()->length(), view.viewport()->width()) << "the last takes what is left";
    dialog.reject();
  });
}

// At the first sight of it already, with a scroll bar for the rows beside it.
TEST_F(QtTree, WhatFitsNeedsNoScrollBarBelow) {
  for (const long columns : {1, 3}) {
    TreeListBoxModel tree(Columns(columns));
    for (int id = 1; id <= 100; ++id) tree.Add(id, -1, "Part\tsteel\t7 kg", false);
    tree.size = SV::Size(300, 250);
    Run(
        tree,
        [](QDialog& dialog) {
          QTreeView& view = View(dialog);
          EXPECT_TRUE(view.verticalScrollBar()->isVisible());
          EXPECT_FALSE(view.horizontalScrollBar()->isVisible());
          EXPECT_EQ(view.header()->length(), view.viewport()->width());
          dialog.reject();
        },
        0);
  }
}

TEST_F(QtTree, AColumnThatIsPulledStaysSoUntilADoubleClick) {
  TreeListBoxModel tree(Columns(2));
  tree.Add(1, -1, "a\tb", true);
  tree.Add(2, 1, "Bearing of the front axle, left\tsteel", false);
  tree.size = SV::Size(900, 400);
  Run(tree, [](QDialog& dialog) {
    QTreeView& view = View(dialog);
    QHeaderView& header = *view.header();
    const int fitting = view.columnWidth(0);
    const auto edge = [&header] {
      return QPoint(header.sectionViewportPosition(0) + header.sectionSize(0) - 1,
                    header.height() / 2);
    };
    Pull(*header.viewport(), edge(), edge() + QPoint(60, 0));
    EXPECT_EQ(view.columnWidth(0), fitting + 60);
    view.setFocus();
    QTest::keyClick(&view, Qt::Key_Right);
    EXPECT_TRUE(
        QTest::qWaitFor([&] { return header.length() == view.viewport()->width(); }, kPatience));
    EXPECT_EQ(view.columnWidth(0), fitting + 60);
    QTest::mouseDClick(header.viewport(), Qt::LeftButton, Qt::NoModifier, edge());
    const QAbstractItemModel& items = *view.model();
    EXPECT_TRUE(BecomesWhole(view, items.index(0, 0, items.index(0, 0))));
    dialog.reject();
  });
}

TEST_F(QtTree, WithoutColumnsThereIsNoHeaderAndALongItemCanBeScrolledTo) {
  TreeListBoxModel tree{TreeListBoxModel::Options()};
  tree.Add(1, -1, "a", true);
  tree.Add(2, 1, std::string(300, 'x'), false);
  tree.size = SV::Size(400, 300);
  Run(tree, [](QDialog& dialog) {
    QTreeView& view = View(dialog);
    EXPECT_TRUE(view.isHeaderHidden());
    EXPECT_EQ(view.columnWidth(0), view.viewport()->width());
    QTest::keyClick(&view, Qt::Key_Right);
    EXPECT_TRUE(BecomesWhole(view, view.model()->index(0, 0, view.model()->index(0, 0))));
    dialog.reject();
  });
}

// Deeper than any stack would hold a frame a level for.
TEST_F(QtTree, TwentyThousandLevelsOpenFilterAndClose) {
  static constexpr int kLevels = 20000;
  TreeListBoxModel tree{Multiple()};
  for (int level = 0; level < kLevels; ++level) {
    tree.Add(level, level - 1, "level " + std::to_string(level), true);
  }
  tree.ExpandAll();
  Run(
      tree,
      [](QDialog& dialog) {
        QTreeView& view = View(dialog);
        view.scrollToBottom();
        dialog.repaint();
        QModelIndex index = view.indexAt(QPoint(2, view.viewport()->height() / 2));
        EXPECT_TRUE(index.isValid());
        Type(dialog, "19999");
        QModelIndex deepest = view.model()->index(0, 0);
        int shown = 1;
        for (; view.model()->rowCount(deepest) > 0; ++shown) {
          deepest = view.model()->index(0, 0, deepest);
        }
        EXPECT_EQ(shown, kLevels);
        view.setCurrentIndex(deepest);
        Type(dialog, "");
        Button(dialog, "ok").click();
      },
      0);
  EXPECT_EQ(Selected(tree), (std::vector<int>{kLevels - 1}));
}

}  // namespace
