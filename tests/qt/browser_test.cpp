#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QFile>
#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTableView>
#include <QTemporaryDir>
#include <QTimer>

#include "tavhost/qt/table_panel.h"
#include "tavhost/qt/table_print.h"
#include "tavhost/ui/models/browser_model.h"
#include "tavhost/ui/table/reference_format.h"
#include "tavhost/ui/table/table_arrangement.h"
#include "tavhost/ui/table/table_model.h"
#include "tests/qt/qt_fixture.h"

namespace {

using ui::BrowserModel;
using ui::EditBrowserModel;
using ui::TableModel;

class QtBrowser : public QtTest {
 protected:
  static std::unique_ptr<TableModel> Table(const std::string& text, bool handles = false) {
    auto table = std::make_unique<TableModel>(handles);
    const auto owner = std::make_shared<std::string>(text);
    EXPECT_TRUE(table->Read(*owner, owner, ';', '\n'));
    return table;
  }
  static ui::TableView& View(QWidget& window) {
    return *static_cast<ui::TableView*>(window.findChild<QTableView*>(QStringLiteral("table")));
  }
  static QPushButton& Button(QWidget& window, const char* name) {
    return *window.findChild<QPushButton*>(QLatin1String(name));
  }
  static std::string Status(QWidget& window) {
    return window.findChild<QLabel*>(QStringLiteral("status"))->text().toStdString();
  }
  static std::string Column(QTableView& view, int column) {
    std::string joined;
    for (int row = 0; row < view.model()->rowCount(); ++row) {
      joined += view.model()->index(row, column).data().toString().toStdString() + ' ';
    }
    return joined;
  }
  static void ClickHeader(QTableView& view, int section) {
    QHeaderView& header = *view.horizontalHeader();
    const QPoint place(header.sectionViewportPosition(section) + 10, header.height() / 2);
    QTest::mouseClick(header.viewport(), Qt::LeftButton, Qt::NoModifier, place);
  }
  static void Search(QWidget& window, const char* text) {
    auto& field = *window.findChild<QLineEdit*>(QStringLiteral("search"));
    field.setText(QLatin1String(text));
    const auto& pause =
        *field.parentWidget()->findChild<QTimer*>(QString(), Qt::FindDirectChildrenOnly);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !pause.isActive(); }, kPatience));
  }
};

TEST_F(QtBrowser, EscapeAndTheButtonCloseIt) {
  const auto table = Table("a\n1");
  BrowserModel model(*table, false);
  Run(model, [](QDialog& dialog) { QTest::keyClick(&View(dialog), Qt::Key_Escape); });
  EXPECT_EQ(model.EndButton(), "cancel");
  Run(model, [](QDialog& dialog) { Button(dialog, "close").click(); });
  EXPECT_EQ(model.EndButton(), "close");
  EXPECT_EQ(model.Result(), 1);
}

TEST_F(QtBrowser, AClickOnATitleSortsByItsNumbers) {
  const auto table = Table("n;v\na;10\nb;9\nc;x\nd;-1");
  BrowserModel model(*table, false);
  Run(model, [&](QDialog& dialog) {
    ui::TableView& view = View(dialog);
    ClickHeader(view, 1);
    EXPECT_EQ(Column(view, 1), "-1 9 10 x ");
    ClickHeader(view, 1);
    EXPECT_EQ(Column(view, 1), "x 10 9 -1 ");
    ClickHeader(view, 1);
    EXPECT_EQ(Column(view, 1), "10 9 x -1 ");
    dialog.reject();
  });
}

TEST_F(QtBrowser, ATitleOfManyLinesLeavesRoomForRows) {
  Toolkit();
  std::string title;
  for (int i = 1; i <= 120; ++i) title += "line " + std::to_string(i) + '\n';
  const auto table = Table('"' + title + "\";b\n1;2\n3;4");
  ui::TablePanel panel(*table, false);
  panel.resize(600, 300);
  panel.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&panel));
  ui::TableView& view = View(panel);
  EXPECT_LT(view.horizontalHeader()->height(), 6 * view.fontMetrics().lineSpacing());
  EXPECT_TRUE(view.viewport()->rect().contains(view.visualRect(view.model()->index(1, 1))));
  const auto told = [&view](int column, int role) {
    return view.model()->headerData(column, Qt::Horizontal, role).toString();
  };
  EXPECT_TRUE(told(0, Qt::ToolTipRole).contains(QStringLiteral("line 120")));
  EXPECT_TRUE(told(0, Qt::AccessibleTextRole).contains(QStringLiteral("line 120")));
  EXPECT_EQ(told(1, Qt::ToolTipRole), QString());
}

TEST_F(QtBrowser, FilteringShowsMatchingRows) {
  const auto table = Table("n;v\nalpha;1\nbeta;2\nALPHABET;3");
  BrowserModel model(*table, false);
  Run(model, [&](QDialog& dialog) {
    QTest::keyClick(&View(dialog), Qt::Key_F, Qt::ControlModifier);
    dialog.findChild<QCheckBox*>(QStringLiteral("filter"))->setChecked(true);
    Search(dialog, "alpha");
    EXPECT_EQ(Column(View(dialog), 1), "1 3 ");
    EXPECT_EQ(Status(dialog), "2 of 3 rows");
    Search(dialog, "");
    EXPECT_EQ(Column(View(dialog), 1), "1 2 3 ");
    EXPECT_EQ(Status(dialog), "3 rows");
    dialog.reject();
  });
}

TEST_F(QtBrowser, SearchGoesToTheNextMatch) {
  const auto table = Table("n;v\nx;1\nfoo;2\nx;foo");
  BrowserModel model(*table, false);
  Run(model, [&](QDialog& dialog) {
    QTest::keyClick(&View(dialog), Qt::Key_F, Qt::ControlModifier);
    Search(dialog, "foo");
    EXPECT_EQ(View(dialog).currentIndex(), View(dialog).model()->index(1, 0));
    auto* const field = dialog.findChild<QLineEdit*>(QStringLiteral("search"));
    EXPECT_TRUE(field->hasFocus());
    QTest::keyClick(field, Qt::Key_Return);
    EXPECT_EQ(View(dialog).currentIndex(), View(dialog).model()->index(2, 1));
    EXPECT_EQ(dialog.findChild<QLabel*>(QStringLiteral("matches"))->text().toStdString(),
              "2 matching rows");
    dialog.reject();
  });
  EXPECT_EQ(model.EndButton(), "cancel");
}

TEST_F(QtBrowser, CopiesTheSelectionWithTabs) {
  const auto table = Table("n;v\na;1\nb;\"2\n3\"");
  BrowserModel model(*table, false);
  Run(model, [&](QDialog& dialog) {
    View(dialog).selectAll();
    QTest::keyClick(&View(dialog), Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text().toStdString(), "a\t1\nb\t\"2\n3\"");
    View(dialog).clearSelection();
    EXPECT_EQ(View(dialog).SelectionText(','), "n,v\na,1\nb,\"2\n3\"");
    dialog.reject();
  });
}

TEST_F(QtBrowser, HandlesStandInTheHeaderAtTheLeft) {
  const auto table = Table("Id;n\nh1;a\nh2;b", true);
  BrowserModel model(*table, false);
  Run(model, [&](QDialog& dialog) {
    const QAbstractItemModel& items = *View(dialog).model();
    EXPECT_EQ(items.columnCount(), 1);
    EXPECT_EQ(items.headerData(0, Qt::Vertical).toString().toStdString(), "h1");
    EXPECT_EQ(items.headerData(0, Qt::Horizontal).toString().toStdString(), "n");
    dialog.reject();
  });
}

TEST_F(QtBrowser, ShowsAlignmentsWidthsAndHeadings) {
  const auto table = Table("a;b;c\n1;2;3");
  table->header = "Parts";
  table->SetAlignment(1, ui::TableAlignment::kRight);
  table->SetWidth(0, 123);
  table->SetWidth(2, 0);
  BrowserModel model(*table, false);
  Run(model, [&](QDialog& dialog) {
    EXPECT_EQ(View(dialog).columnWidth(0), 123);
    EXPECT_TRUE(View(dialog).isColumnHidden(2));
    const int alignment = View(dialog).model()->index(0, 1).data(Qt::TextAlignmentRole).toInt();
    EXPECT_TRUE(alignment & Qt::AlignRight);
    const auto* const header = dialog.findChild<QLabel*>(QStringLiteral("header"));
    EXPECT_TRUE(header->isVisible());
    EXPECT_EQ(header->text().toStdString(), "Parts");
    EXPECT_FALSE(dialog.findChild<QLabel*>(QStringLiteral("subtitle"))->isVisible());
    dialog.reject();
  });
}

TEST_F(QtBrowser, RowsExpandAndShrink) {
  const auto table = Table("a\n\"x\ny\nz\"\nw");
  BrowserModel model(*table, false);
  Run(model, [&](QDialog& dialog) {
    ui::TableView& view = View(dialog);
    const int usual = view.rowHeight(1);
    EXPECT_EQ(view.rowHeight(0), usual);
    EXPECT_EQ(view.model()->index(0, 0).data().toString(), QStringLiteral("x …"));
    view.setCurrentIndex(view.model()->index(0, 0));
    QTest::keyClick(&view, Qt::Key_Plus);
    EXPECT_GT(view.rowHeight(0), usual);
    EXPECT_EQ(view.model()->index(0, 0).data().toString(), QStringLiteral("x\ny\nz"));
    QTest::keyClick(&view, Qt::Key_Minus);
    EXPECT_EQ(view.rowHeight(0), usual);
    dialog.reject();
  });
}

TEST_F(QtBrowser, AdjustedRowsFollowTheirRowsWhenSorted) {
  const auto table = Table("a;b\n\"x\ny\nz\";2\nw;1");
  table->ExpandAll(true);
  BrowserModel model(*table, false);
  Run(model, [&](QDialog& dialog) {
    ui::TableView& view = View(dialog);
    EXPECT_GT(view.rowHeight(0), view.rowHeight(1));
    ClickHeader(view, 1);
    EXPECT_LT(view.rowHeight(0), view.rowHeight(1));
    dialog.reject();
  });
}

TEST_F(QtBrowser, ActivatingALinkIsReported) {
  const auto table = Table("a\nmodel Engine v3\nplain");
  table->modelFormat = "model %n v%v";
  table->showsLinks = true;
  std::string reported;
  table->linkActivated = [&](const ui::Reference& reference) {
    reported += (reference.isModel ? "model:" : "object:") + reference.name + ' ';
  };
  BrowserModel model(*table, false);
  Run(model, [&](QDialog& dialog) {
    ui::TableView& view = View(dialog);
    view.setCurrentIndex(view.model()->index(1, 0));
    QTest::mouseClick(view.viewport(), Qt::LeftButton, Qt::NoModifier,
                      view.visualRect(view.model()->index(1, 0)).center());
    EXPECT_EQ(reported, "");
    QTest::mouseClick(view.viewport(), Qt::LeftButton, Qt::NoModifier,
                      view.visualRect(view.model()->index(0, 0)).center());
    EXPECT_EQ(reported, "model:Engine ");
    QTest::keyClick(&view, Qt::Key_Return);
    EXPECT_EQ(reported, "model:Engine model:Engine ");
    EXPECT_EQ(Status(dialog), "Link to model Engine, version 3");
    dialog.reject();
  });
}

TEST_F(QtBrowser, SavesWhatIsSeen) {
  const auto table = Table("n;v\na,b;10\nc;9");
  ui::TablePanel panel(*table, false);
  panel.Items().SortBy(1, false);
  QTemporaryDir folder;
  const auto saved = [&](const char* name) {
    const QString file = folder.filePath(QLatin1String(name));
    EXPECT_TRUE(panel.SaveTo(file, QStringLiteral("T")));
    QFile in(file);
    EXPECT_TRUE(in.open(QIODevice::ReadOnly));
    return in.readAll().toStdString();
  };
  EXPECT_EQ(saved("t.csv"), "n,v\nc,9\n\"a,b\",10\n");
  EXPECT_EQ(saved("t.tsv"), "n\tv\nc\t9\na,b\t10\n");
  EXPECT_NE(saved("t.html").find("<td>a,b</td>"), std::string::npos);
  EXPECT_EQ(saved("t.pdf").substr(0, 5), "%PDF-");
  EXPECT_FALSE(panel.SaveTo(folder.filePath(QStringLiteral("no/such/t.csv")), QString()));
}

// Asked for like every other file to be saved; the ending is that of the kind that is chosen.
TEST_F(QtBrowser, SaveAsksForAFileAndItsKind) {
  const auto table = Table("n;v\na;10");
  QTemporaryDir folder;
  for (const auto& [kind, ending] : {std::pair(0, "csv"), std::pair(2, "html")}) {
    ui::TablePanel panel(*table, false);
    panel.show();
    bool asked = false;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, [&, kind = kind] {
      auto* const dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
      if (!dialog) return;
      look.stop();
      asked = true;
      dialog->setDirectory(folder.path());
      auto* const types = dialog->findChild<QComboBox*>(QStringLiteral("fileTypeCombo"));
      for (int i = 0; i < kind; ++i) QTest::keyClick(types, Qt::Key_Down);
      auto* const name = dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
      name->clear();
      QTest::keyClicks(name, QStringLiteral("saved"));
      QTest::keyClick(name, Qt::Key_Return);
    });
    look.start(5);
    panel.Save(QStringLiteral("T"));
    EXPECT_TRUE(asked);
    EXPECT_TRUE(QFile::exists(folder.filePath(QStringLiteral("saved.") + QLatin1String(ending))));
  }
}

int CountOf(const std::string& text, const std::string& piece) {
  int count = 0;
  for (std::size_t at = text.find(piece); at != std::string::npos; at = text.find(piece, at + 1)) {
    ++count;
  }
  return count;
}

TEST_F(QtBrowser, PdfPagesHoldTextAndNoPicture) {
  std::string text = "Name;Mass";
  for (int row = 0; row < 200; ++row) text += "\npart " + std::to_string(row) + ";1";
  const auto table = Table(text);
  table->printHeader = "Parts of the engine";
  QTemporaryDir folder;
  const QString file = folder.filePath(QStringLiteral("t.pdf"));
  const ui::TableArrangement seen(*table);
  ASSERT_TRUE(ui::WriteTablePdf(seen, QStringLiteral("T"), file));
  QFile in(file);
  ASSERT_TRUE(in.open(QIODevice::ReadOnly));
  const std::string pdf = in.readAll().toStdString();
  EXPECT_GE(CountOf(pdf, "/Type /Page\n"), 3);
  EXPECT_LE(CountOf(pdf, "/Type /Page\n"), 6);
  EXPECT_GT(CountOf(pdf, "/Type /Font"), 0);
  EXPECT_EQ(CountOf(pdf, "/Subtype /Image"), 0);
}

TEST_F(QtBrowser, EditsWithTheKeyboardAndUndoes) {
  const auto table = Table("n;v\na;1\nb;2");
  EditBrowserModel model(*table);
  Run(model, [&](QDialog& dialog) {
    ui::TableView& view = View(dialog);
    EXPECT_TRUE(view.hasFocus());
    QTest::keyClick(&view, Qt::Key_Down);
    QTest::keyClick(&view, Qt::Key_Return);
    auto* const editor = view.findChild<QLineEdit*>(QString(), Qt::FindChildrenRecursively);
    ASSERT_TRUE(editor);
    editor->setText(QStringLiteral("x;y"));
    QTest::keyClick(editor, Qt::Key_Return);
    QCoreApplication::processEvents();
    EXPECT_EQ(table->Write(';'), "n;v\na;1\n\"x;y\";2");
    QTest::keyClick(&view, Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(table->Write(';'), "n;v\na;1\nb;2");
    QTest::keyClick(&view, Qt::Key_Y, Qt::ControlModifier);
    Button(dialog, "ok").click();
  });
  EXPECT_EQ(model.EndButton(), "ok");
  EXPECT_EQ(table->Write(';'), "n;v\na;1\n\"x;y\";2");
}

TEST_F(QtBrowser, OkTakesWhatIsBeingTyped) {
  const auto table = Table("n\na");
  EditBrowserModel model(*table);
  Run(model, [&](QDialog& dialog) {
    QTest::keyClick(&View(dialog), Qt::Key_F2);
    auto* const editor = View(dialog).findChild<QLineEdit*>();
    ASSERT_TRUE(editor);
    editor->setText(QStringLiteral("typed"));
    Button(dialog, "ok").click();
  });
  EXPECT_EQ(table->Write(';'), "n\ntyped");
}

TEST_F(QtBrowser, TheSpecialButtonsInsertDeleteAndSort) {
  const auto table = Table("n;v\na;10\nb;9");
  EditBrowserModel model(*table);
  Run(model, [&](QDialog& dialog) {
    Button(dialog, "insert row").click();
    EXPECT_EQ(table->Write(';'), "n;v\n;\na;10\nb;9");
    Button(dialog, "delete row").click();
    EXPECT_EQ(table->Write(';'), "n;v\na;10\nb;9");
    View(dialog).setCurrentIndex(View(dialog).model()->index(0, 1));
    Button(dialog, "sort rows").click();
    EXPECT_EQ(table->Write(';'), "n;v\nb;9\na;10");
    Button(dialog, "sort rows").click();
    EXPECT_EQ(table->Write(';'), "n;v\na;10\nb;9");
    dialog.reject();
  });
}

TEST_F(QtBrowser, ClicksOnATitleOfAnEditedTableSortUpDownAndAsItWas) {
  for (const bool handles : {false, true}) {
    const auto table = Table(handles ? "h;n\nx;2\ny;1\nz;3" : "n\n2\n1\n3", handles);
    EditBrowserModel model(*table);
    Run(model, [](QDialog& dialog) {
      ui::TableView& view = View(dialog);
      const QHeaderView& header = *view.horizontalHeader();
      for (int round = 0; round < 2; ++round) {
        ClickHeader(view, 0);
        EXPECT_EQ(Column(view, 0), "1 2 3 ");
        EXPECT_EQ(header.sortIndicatorSection(), 0);
        EXPECT_EQ(header.sortIndicatorOrder(), Qt::AscendingOrder);
        ClickHeader(view, 0);
        EXPECT_EQ(Column(view, 0), "3 2 1 ");
        EXPECT_EQ(header.sortIndicatorOrder(), Qt::DescendingOrder);
        ClickHeader(view, 0);
        EXPECT_EQ(Column(view, 0), "2 1 3 ");
        EXPECT_EQ(header.sortIndicatorSection(), -1);
      }
      QTest::keyClick(&view, Qt::Key_Z, Qt::ControlModifier);
      EXPECT_EQ(Column(view, 0), "3 2 1 ");
      EXPECT_EQ(header.sortIndicatorSection(), 0);
      EXPECT_EQ(header.sortIndicatorOrder(), Qt::DescendingOrder);
      dialog.reject();
    });
    EXPECT_EQ(table->Write(';'), handles ? "h;n\nz;3\nx;2\ny;1" : "n\n3\n2\n1");
  }
}

TEST_F(QtBrowser, SortingAnEditedTableStaysOnItsRow) {
  const auto table = Table("n\n2\n1\n3");
  EditBrowserModel model(*table);
  Run(model, [](QDialog& dialog) {
    ui::TableView& view = View(dialog);
    for (const char* const order : {"1 2 3 ", "3 2 1 ", "2 1 3 "}) {
      ClickHeader(view, 0);
      EXPECT_EQ(Column(view, 0), order);
      EXPECT_EQ(view.currentIndex().data().toString(), "2") << order;
      ASSERT_EQ(view.selectionModel()->selectedIndexes().size(), 1);
      EXPECT_EQ(view.selectionModel()->selectedIndexes().front(), view.currentIndex());
    }
    dialog.reject();
  });
}

TEST_F(QtBrowser, AChangeEndsTheOrderThatTheTitleShows) {
  const auto table = Table("n;v\na;2\nb;1");
  EditBrowserModel model(*table);
  Run(model, [](QDialog& dialog) {
    ui::TableView& view = View(dialog);
    ClickHeader(view, 1);
    QTest::keyClick(&view, Qt::Key_F2);
    auto* const editor = view.findChild<QLineEdit*>();
    ASSERT_TRUE(editor);
    QTest::keyClicks(editor, QStringLiteral("0"));
    QTest::keyClick(editor, Qt::Key_Return);
    EXPECT_TRUE(
        QTest::qWaitFor([&] { return view.horizontalHeader()->sortIndicatorSection() == -1; }));
    EXPECT_EQ(Column(view, 1), "1 0 ") << "the row that was current is edited, wherever it is";
    ClickHeader(view, 1);
    EXPECT_EQ(Column(view, 1), "0 1 ");
    dialog.reject();
  });
}

TEST_F(QtBrowser, TabLeavesTheTableAndArrowsGoThroughIt) {
  const auto table = Table("n;v\na;1\nb;2");
  EditBrowserModel model(*table);
  Run(model, [&](QDialog& dialog) {
    ui::TableView& view = View(dialog);
    ASSERT_TRUE(view.hasFocus());
    QTest::keyClick(&view, Qt::Key_Right);
    EXPECT_EQ(view.currentIndex(), view.model()->index(0, 1));
    QTest::keyClick(&view, Qt::Key_Tab);
    EXPECT_TRUE(Button(dialog, "insert row").hasFocus());
    EXPECT_EQ(view.currentIndex(), view.model()->index(0, 1));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_TRUE(view.hasFocus());
    dialog.reject();
  });
}

TEST_F(QtBrowser, TabInAFieldTakesItsTextAndGoesToTheNextUnedited) {
  const auto table = Table("n;v\na;1");
  EditBrowserModel model(*table);
  Run(model, [&](QDialog& dialog) {
    ui::TableView& view = View(dialog);
    for (const char* const text : {"x", "y"}) {
      QTest::keyClicks(&view, QLatin1String(text));  // typing edits the field
      auto* const editor = qobject_cast<QLineEdit*>(QApplication::focusWidget());
      ASSERT_TRUE(editor);
      QTest::keyClick(editor, Qt::Key_Tab);
      EXPECT_TRUE(QTest::qWaitFor([&] { return view.hasFocus(); }));
      EXPECT_EQ(view.currentIndex(), view.model()->index(0, 1)) << "no field comes behind the last";
    }
    EXPECT_EQ(table->Write(';'), "n;v\nx;y");
    QTest::keyClick(&view, Qt::Key_Tab);
    EXPECT_FALSE(view.hasFocus());
    dialog.reject();
  });
}

TEST_F(QtBrowser, AnOwnOkTextHasALetterThatPressesIt) {
  const auto table = Table("n\na");
  EditBrowserModel model(*table);
  model.okText = "Delete";  // D and S and I are those of the buttons for rows
  Run(model, [](QDialog& dialog) {
    EXPECT_EQ(Button(dialog, "ok").text().toStdString(), "D&elete");
    QTest::keyClick(&View(dialog), Qt::Key_E, Qt::AltModifier);
  });
  EXPECT_EQ(model.EndButton(), "ok");
}

TEST_F(QtBrowser, HiddenSpecialButtonsAreGoneWithTheirKeys) {
  const auto table = Table("n\nb\na");
  EditBrowserModel model(*table);
  for (bool& shows : model.showsSpecial) shows = false;
  model.okText = "&Take";
  Run(model, [&](QDialog& dialog) {
    EXPECT_FALSE(Button(dialog, "insert row").isVisible());
    EXPECT_FALSE(Button(dialog, "delete row").isVisible());
    EXPECT_FALSE(Button(dialog, "sort rows").isVisible());
    EXPECT_EQ(Button(dialog, "ok").text().toStdString(), "&&&Take");
    QTest::keyClick(&View(dialog), Qt::Key_Insert);
    ClickHeader(View(dialog), 0);
    EXPECT_FALSE(View(dialog).horizontalHeader()->isSortIndicatorShown());
    dialog.reject();
  });
  EXPECT_EQ(table->Write(';'), "n\nb\na");
  EXPECT_TRUE(table->Changes().empty());
}

TEST_F(QtBrowser, DeletesTheSelectedRowsAndPastesFields) {
  const auto table = Table("n;v\na;1\nb;2\nc;3\nd;4");
  EditBrowserModel model(*table);
  Run(model, [&](QDialog& dialog) {
    ui::TableView& view = View(dialog);
    view.selectionModel()->select(view.model()->index(0, 0), QItemSelectionModel::Select);
    view.selectionModel()->select(view.model()->index(2, 1), QItemSelectionModel::Select);
    QTest::keyClick(&view, Qt::Key_Delete, Qt::ControlModifier);
    EXPECT_EQ(table->Write(';'), "n;v\nb;2\nd;4");
    QTest::keyClick(&view, Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(table->Write(';'), "n;v\na;1\nb;2\nc;3\nd;4");
    QGuiApplication::clipboard()->setText(QStringLiteral("x\ty\tz\nu\tv"));
    view.setCurrentIndex(view.model()->index(3, 0));
    QTest::keyClick(&view, Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(table->Write(';'), "n;v\na;1\nb;2\nc;3\nx;y\nu;v");
    QTest::keyClick(&view, Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(table->Rows(), 4u);
    dialog.reject();
  });
}

TEST_F(QtBrowser, BytesThatAreNoTextStayAsTheyAre) {
  const auto table = Table("n;v\n\xFF\xFE;1");
  EditBrowserModel model(*table);
  Run(model, [&](QDialog& dialog) {
    QTest::keyClick(&View(dialog), Qt::Key_F2);
    QTest::keyClick(View(dialog).findChild<QLineEdit*>(), Qt::Key_Return);
    dialog.reject();
  });
  EXPECT_EQ(table->Write(';'), "n;v\n\xFF\xFE;1");
}

TEST_F(QtBrowser, AnEmptyTableCanBeShownAndEdited) {
  const auto table = Table("");
  BrowserModel model(*table, true);
  Run(model, [](QDialog& dialog) { dialog.reject(); });
  EditBrowserModel edit(*table);
  Run(edit, [](QDialog& dialog) {
    EXPECT_FALSE(Button(dialog, "insert row").isEnabled());
    dialog.reject();
  });
}

TEST_F(QtBrowser, AMillionRowsComeUpAtOnce) {
  std::string text = "a;b;c;d;e\n";
  for (int row = 0; row < 1000000; ++row) text += "1;2;3;4;5\n";
  const auto table = Table(text);
  BrowserModel model(*table, false);
  QElapsedTimer timer;
  timer.start();
  ui::TablePanel panel(*table, false);
  panel.resize(800, 600);
  panel.show();
  panel.grab();
  EXPECT_LT(timer.elapsed(), 2000);  // on any machine; bench/ has the real figure
  panel.View().GoTo(panel.Items().index(999999, 4));
  EXPECT_TRUE(panel.View().visualRect(panel.Items().index(999999, 4)).isValid());
}

}  // namespace
