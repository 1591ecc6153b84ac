#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFile>
#include <QFileDialog>
#include <QHeaderView>
#include <QLineEdit>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QSettings>
#include <QTemporaryDir>
#include <QTreeView>
#include <QUrl>
#include <algorithm>

#include "tavhost/qt/places.h"
#include "tavhost/qt/view_factory.h"
#include "tavhost/ui/models/directory_dialog_model.h"
#include "tavhost/ui/models/edit_field_model.h"
#include "tavhost/ui/models/file_dialog_model.h"
#include "tavhost/ui/models/text_box_model.h"
#include "tests/qt/qt_fixture.h"

namespace {

using ui::DirectoryDialogModel;
using ui::FileDialogModel;

constexpr std::uint32_t kOpen = 0x1020;
constexpr std::uint32_t kSave = 0x2020;

// What a user does with the folders of file dialogs.
class QtFolders : public QtTest {
 protected:
  void SetUp() override {
    QtTest::SetUp();
    Settings().clear();
    for (const char* name : {"a.txt", "b.txt", "c.md", "sub/inner.txt"}) {
      QDir(folder_.path()).mkpath(QStringLiteral("sub"));
      QFile file(folder_.filePath(QLatin1String(name)));
      ASSERT_TRUE(file.open(QIODevice::WriteOnly));
      file.write(QByteArray(name).repeated(name[0] == 'b' ? 2000 : 1));
    }
  }

  static QSettings Settings() {
    return QSettings(QSettings::IniFormat, QSettings::UserScope, "tavhost", "windows");
  }
  QString Path(const char* name) const { return folder_.filePath(QLatin1String(name)); }

  static QLineEdit* Name(QDialog& dialog) {
    return dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
  }
  static QTreeView* Files(QDialog& dialog) {
    return dialog.findChild<QTreeView*>(QStringLiteral("treeView"));
  }
  // The names of the folder that is shown, in their order, as soon as they are so many.
  static QStringList Names(QDialog& dialog, int count) {
    QTreeView& files = *Files(dialog);
    const auto rows = [&files] { return files.model()->rowCount(files.rootIndex()); };
    EXPECT_TRUE(QTest::qWaitFor([&] { return rows() == count; }, kPatience)) << rows();
    QStringList names;
    for (int row = 0; row < rows(); ++row) {
      names << files.model()->index(row, 0, files.rootIndex()).data().toString();
    }
    return names;
  }

  // As a desktop does it: the drag comes to the widget, and to those it stands in, until one takes
  // it. False when none does.
  static bool Drop(QWidget& onto, const QMimeData& data) {
    for (QWidget* widget = &onto; widget; widget = widget->parentWidget()) {
      if (!widget->acceptDrops()) continue;
      QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton,
                            Qt::NoModifier);
      enter.ignore();
      QApplication::sendEvent(widget, &enter);
      if (!enter.isAccepted()) continue;
      QDropEvent drop(QPointF(5, 5), Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton,
                      Qt::NoModifier);
      QApplication::sendEvent(widget, &drop);
      EXPECT_EQ(drop.dropAction(), Qt::CopyAction) << "the desktop would delete the files";
      return drop.isAccepted();
    }
    return false;
  }
  static bool DropFiles(QWidget& onto, const QStringList& paths) {
    QMimeData data;
    QList<QUrl> urls;
    for (const QString& path : paths) urls << QUrl::fromLocalFile(path);
    data.setUrls(urls);
    return Drop(onto, data);
  }

  QTemporaryDir folder_;
};

TEST_F(QtFolders, DialogsBeginWhereTheirUserChoseLast) {
  FileDialogModel first(kOpen);
  first.startPath = folder_.path().toStdString();
  Run(first, [](QDialog& dialog) {
    QTest::keyClicks(Name(dialog), QStringLiteral("sub/inner.txt"));
    QTest::keyClick(Name(dialog), Qt::Key_Return);
  });
  EXPECT_EQ(first.EndButton(), "ok");
  const auto folderOf = [](ui::ModalModel& model) {
    QString folder;
    Run(model, [&folder](QDialog& dialog) {
      folder = static_cast<QFileDialog&>(dialog).directory().absolutePath();
      QTest::keyClick(&dialog, Qt::Key_Escape);
    });
    return folder;
  };
  FileDialogModel next(kOpen);
  EXPECT_EQ(folderOf(next), Path("sub"));
  FileDialogModel given(kOpen);
  given.startPath = folder_.path().toStdString();
  EXPECT_EQ(folderOf(given), folder_.path()) << "the script's folder comes first";
  FileDialogModel save(kSave);
  EXPECT_EQ(folderOf(save), QDir::currentPath()) << "what one saves lies elsewhere";
  DirectoryDialogModel directory("");
  EXPECT_EQ(folderOf(directory), QDir::currentPath());

  Run(directory, [this](QDialog& dialog) {
    Name(dialog)->clear();
    QTest::keyClicks(Name(dialog), folder_.path());
    QTest::keyClick(Name(dialog), Qt::Key_Return);
  });
  EXPECT_EQ(directory.EndButton(), "ok");
  DirectoryDialogModel nextDirectory("");
  EXPECT_EQ(folderOf(nextDirectory), folder_.path());

  // Cancelled choices are none, and folders that have gone are no place to begin.
  EXPECT_EQ(folderOf(next), Path("sub"));
  QFile::remove(Path("sub/inner.txt"));
  QDir(folder_.path()).rmdir(QStringLiteral("sub"));
  EXPECT_EQ(folderOf(next), QDir::currentPath());
}

// Runs whose windows somebody else answers, or that are pictured, are the same for every user.
TEST_F(QtFolders, WhereNoUserAnswersDialogsBeginInTheCurrentFolder) {
  Toolkit();
  Settings().setValue("folders/open", folder_.path());
  FileDialogModel model(kOpen);
  for (const bool isForUser : {false, true}) {
    model.Begin();
    const std::unique_ptr<ui::ModalView> view = ui::MakeModalView(model, nullptr, isForUser);
    EXPECT_EQ(static_cast<QFileDialog&>(view->Dialog()).directory().absolutePath(),
              isForUser ? folder_.path() : QDir::currentPath());
  }
}

TEST_F(QtFolders, TypingGoesToANameAndEnterTakesIt) {
  FileDialogModel model(kOpen);
  model.startPath = folder_.path().toStdString();
  Run(model, [](QDialog& dialog) {
    QTreeView& files = *Files(dialog);
    Names(dialog, 4);
    files.setFocus();
    QTest::keyClicks(&files, QStringLiteral("c."));
    EXPECT_EQ(files.currentIndex().data().toString(), QStringLiteral("c.md"));
    QTest::keyClick(&files, Qt::Key_Return);
  });
  EXPECT_EQ(model.EndButton(), "ok");
  EXPECT_EQ(model.chosen, std::vector<std::string>{Path("c.md").toStdString()});
}

// The same as the answer that is proposed for the dialog (headless/offered_path.h).
TEST_F(QtFolders, EnterTakesTheNameThatIsOffered) {
  const struct {
    std::uint32_t style;
    const char* path;
    const char* name;
    const char* extension;
    const char* chosen;
  } cases[] = {{kOpen, "sub", "inner.txt", "", "sub/inner.txt"},
               {kSave, "sub/.", "report", "txt", "sub/report.txt"},
               {kSave, "a/../sub/", "report", ".txt", "sub/report.txt"},
               {kSave, "", "a.b", "txt", "a.b"},
               {kOpen, "", "c", "md", "c.md"}};
  for (const auto& [style, path, name, extension, chosen] : cases) {
    FileDialogModel model(style);
    model.startPath = Path(path).toStdString();
    model.fileName = name;
    model.defaultExtension = extension;
    Run(model, [](QDialog& dialog) {
      QTest::keyClick(Name(dialog), Qt::Key_Return);
      if (dialog.isVisible()) QTest::keyClick(&dialog, Qt::Key_Escape);
    });
    EXPECT_EQ(model.chosen, std::vector<std::string>{Path(chosen).toStdString()});
  }
}

// Quotes part the names of several files where they are written; they can be part of a name too.
TEST_F(QtFolders, MarkedFilesWithQuotesInTheirNamesAreChosen) {
  const QDir folder(folder_.path());
  ASSERT_TRUE(folder.mkpath(QStringLiteral("quotes")));
  for (const char* name : {"a\"b.txt", "c.txt", "\"d\""}) {
    QFile file(Path("quotes/") + QLatin1String(name));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  }
  const std::string start = Path("quotes").toStdString();
  const auto choose = [&](bool all, const char* typed) {
    FileDialogModel model(kOpen);
    model.multiple = true;
    model.startPath = start;
    Run(model, [all, typed](QDialog& dialog) {
      QTreeView& files = *Files(dialog);
      Names(dialog, 3);
      files.setFocus();
      if (all) {
        QTest::keyClick(&files, Qt::Key_A, Qt::ControlModifier);
      } else {
        QTest::keyClicks(&files, QStringLiteral("a"));
      }
      if (*typed) {
        Name(dialog)->setFocus();
        Name(dialog)->selectAll();
        QTest::keyClicks(Name(dialog), QLatin1String(typed));
      }
      QTest::keyClick(&dialog, Qt::Key_O, Qt::AltModifier);
      // Buttons that are pressed by their letters are down for a moment.
      if (!QTest::qWaitFor([&dialog] { return !dialog.isVisible(); }, kPatience)) {
        QTest::keyClick(&dialog, Qt::Key_Escape);
      }
    });
    std::vector<std::string> chosen = model.chosen;
    std::sort(chosen.begin(), chosen.end());
    return chosen;
  };
  using Paths = std::vector<std::string>;
  EXPECT_EQ(choose(true, ""), (Paths{start + "/\"d\"", start + "/a\"b.txt", start + "/c.txt"}));
  EXPECT_EQ(choose(false, ""), Paths{start + "/a\"b.txt"});
  EXPECT_EQ(choose(true, "c.txt"), Paths{start + "/c.txt"}) << "what is written counts";
}

TEST_F(QtFolders, ColumnsAreSeenAndSortByClicks) {
  FileDialogModel model(kOpen);
  model.startPath = folder_.path().toStdString();
  Run(model, [](QDialog& dialog) {
    QTreeView& files = *Files(dialog);
    Names(dialog, 4);
    QHeaderView& header = *files.header();
    const auto fits = [&](int column) {
      for (int row = 0; row < 4; ++row) {
        const QString text = files.model()->index(row, column, files.rootIndex()).data().toString();
        if (header.sectionSize(column) <= files.fontMetrics().horizontalAdvance(text)) return false;
      }
      return true;
    };
    EXPECT_TRUE(QTest::qWaitFor([&] { return fits(1) && fits(2) && fits(3); }, kPatience));
    EXPECT_LE(header.length(), header.viewport()->width()) << "nothing to scroll to";
    EXPECT_GT(header.sectionSize(0), 100);
    const auto click = [&](int column) {
      QTest::mouseClick(header.viewport(), Qt::LeftButton, Qt::NoModifier,
                        QPoint(header.sectionViewportPosition(column) + 10, header.height() / 2));
    };
    click(1);
    const QStringList bySize = Names(dialog, 4);
    click(1);
    const QStringList back = Names(dialog, 4);
    EXPECT_NE(bySize, back);
    EXPECT_EQ(std::min(bySize.indexOf("b.txt"), back.indexOf("b.txt")), 0) << "the largest";
    QTest::keyClick(&dialog, Qt::Key_Escape);
  });
}

TEST_F(QtFolders, FilesThatAreDroppedOnADialogAreChosen) {
  const struct {
    std::uint32_t style;
    bool multiple;
    QStringList dropped;
    std::vector<std::string> chosen;
  } kRows[] = {
      {kOpen, false, {Path("sub/inner.txt")}, {Path("sub/inner.txt").toStdString()}},
      {kOpen,
       true,
       {Path("a.txt"), Path("c.md")},
       {Path("a.txt").toStdString(), Path("c.md").toStdString()}},
      {kOpen,
       true,
       {Path("a.txt"), Path("sub/inner.txt")},
       {Path("a.txt").toStdString(), Path("sub/inner.txt").toStdString()}},
      {kOpen, false, {Path("a.txt"), Path("c.md")}, {Path("a.txt").toStdString()}},
      {kSave, false, {Path("sub/new.txt")}, {Path("sub/new.txt").toStdString()}},
  };
  const char* const kOnto[] = {"treeView", "fileNameEdit", "sidebar", "buttonBox"};
  for (const auto& row : kRows) {
    for (const char* onto : kOnto) {
      SCOPED_TRACE(row.dropped.join(' ').toStdString() + " on " + onto);
      FileDialogModel model(row.style);
      model.multiple = row.multiple;
      model.startPath = QDir::tempPath().toStdString();
      Run(
          model,
          [&](QDialog& dialog) {
            auto* widget = dialog.findChild<QWidget*>(QLatin1String(onto));
            ASSERT_TRUE(widget);
            if (auto* const area = qobject_cast<QAbstractScrollArea*>(widget)) {
              widget = area->viewport();
            }
            EXPECT_TRUE(DropFiles(*widget, row.dropped));
            EXPECT_TRUE(Name(dialog)->hasFocus());
            QTest::keyClick(Name(dialog), Qt::Key_Return);
            if (!model.HasEnded()) dialog.reject();
          },
          kGuard);
      EXPECT_EQ(model.chosen, row.chosen);
    }
  }
}

TEST_F(QtFolders, AFolderThatIsDroppedIsGoneTo) {
  FileDialogModel model(kOpen);
  Run(model, [this](QDialog& dialog) {
    EXPECT_TRUE(DropFiles(*Files(dialog)->viewport(), {folder_.path()}));
    EXPECT_EQ(Names(dialog, 4).size(), 4);
    QTest::keyClick(&dialog, Qt::Key_Escape);
  });
  DirectoryDialogModel directory("");
  Run(directory, [this](QDialog& dialog) {
    EXPECT_TRUE(DropFiles(dialog, {Path("sub")}));
    dialog.findChild<QDialogButtonBox*>()->buttons().front()->setFocus();
    Name(dialog)->setFocus();
    QTest::keyClick(Name(dialog), Qt::Key_Return);
    if (!dialog.isHidden()) dialog.reject();
  });
  EXPECT_EQ(directory.path, Path("sub").toStdString());
}

TEST_F(QtFolders, FilesThatAreDroppedOnAnEditBoxAreLinesOfItsText) {
  ui::TextBoxModel model(true, false);
  model.text = "one\r\ntwo";
  Run(model, [this](QDialog& dialog) {
    auto* const text = dialog.findChild<QPlainTextEdit*>(QStringLiteral("text"));
    EXPECT_TRUE(DropFiles(*text->viewport(), {Path("a b.txt"), Path("c.md")}));
    QMimeData words;
    words.setText(QStringLiteral("words "));
    EXPECT_TRUE(Drop(*text->viewport(), words)) << "text stays what it was";
    QTest::keyClick(text, Qt::Key_Escape);
  });
  const std::string paths = (Path("a b.txt") + QLatin1Char('\n') + Path("c.md")).toStdString();
  EXPECT_EQ(model.text.find("words"), 0U) << model.text;
  EXPECT_NE(model.text.find(paths.substr(0, paths.find('\n'))), std::string::npos) << model.text;
  EXPECT_NE(model.text.find(Path("c.md").toStdString()), std::string::npos) << model.text;
  EXPECT_EQ(model.text.find("file:"), std::string::npos) << model.text;
  ui::TextBoxModel shown(false, false);
  shown.text = "kept";
  Run(shown, [this](QDialog& dialog) {
    auto* const text = dialog.findChild<QPlainTextEdit*>(QStringLiteral("text"));
    EXPECT_FALSE(DropFiles(*text->viewport(), {Path("c.md")}));
    QTest::keyClick(text, Qt::Key_Escape);
  });
}

TEST_F(QtFolders, FilesThatAreDroppedOnAnEditFieldAreItsText) {
  const struct {
    const char* before;
    bool deselects;
    bool onField;
    QString after;
  } kRows[] = {
      {"", false, true, Path("a.txt")},
      {"old", false, true, Path("a.txt")},  // what is selected goes, as when one types
      {"old", true, true, Path("a.txt") + QStringLiteral("old")},
      {"old", true, false, QStringLiteral("old") + Path("a.txt")},
  };
  for (const auto& row : kRows) {
    ui::EditFieldModel model("File:");
    model.text = row.before;
    Run(model, [&](QDialog& dialog) {
      auto* const field = dialog.findChild<QLineEdit*>(QStringLiteral("field"));
      if (row.deselects) QTest::keyClick(field, Qt::Key_End);
      EXPECT_TRUE(DropFiles(row.onField ? static_cast<QWidget&>(*field) : dialog, {Path("a.txt")}));
      EXPECT_TRUE(field->hasFocus());
      QTest::keyClick(field, Qt::Key_Return);
    });
    EXPECT_EQ(model.EndButton(), "ok");
    EXPECT_EQ(model.text, row.after.toStdString());
  }
}

// Texts are dropped where texts go, and what lies on other machines is none of ours.
TEST_F(QtFolders, WhatIsNoFileIsNotTaken) {
  ui::EditFieldModel model("File:");
  Run(model, [](QDialog& dialog) {
    QMimeData text;
    text.setText(QStringLiteral("words"));
    EXPECT_FALSE(Drop(*dialog.findChild<QPushButton*>(), text));
    QMimeData page;
    page.setUrls({QUrl(QStringLiteral("https://localhost/a.txt"))});
    EXPECT_FALSE(Drop(dialog, page));
    QTest::keyClick(&dialog, Qt::Key_Escape);
  });
}

// Environments of other desktops than this test's: only the folders that are there, each once.
class QtPlaces : public QtFolders {
 protected:
  void SetUp() override {
    QtFolders::SetUp();
    for (const char* name : {"HOME", "XDG_CONFIG_HOME"}) before_.emplace_back(name, qgetenv(name));
    qputenv("HOME", folder_.path().toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", (folder_.path() + "/config").toLocal8Bit());
    QDir(folder_.path()).mkpath(QStringLiteral("config/gtk-3.0"));
  }
  void TearDown() override {
    for (const auto& [name, value] : before_) {
      value.isNull() ? qunsetenv(name) : qputenv(name, value);
    }
    QtFolders::TearDown();
  }
  void Write(const char* name, const QByteArray& text) const {
    QFile file(Path(name));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text);
  }

 private:
  std::vector<std::pair<const char*, QByteArray>> before_;
};

TEST_F(QtPlaces, AreTheUsualFoldersAndTheMarkedOnes) {
  for (const char* name : {"Desktop", "Loads", "marked one"}) {
    QDir(folder_.path()).mkdir(QLatin1String(name));
  }
  Write("config/user-dirs.dirs", "XDG_DOWNLOAD_DIR=\"$HOME/Loads\"\n");
  const QByteArray url = "file://" + folder_.path().toUtf8();
  Write("config/gtk-3.0/bookmarks", url + "/marked%20one A name\n" + url + "/Loads\n" + url +
                                        "/gone\nsftp://host/x\n\nnonsense\n");
  const auto at = [this](const char* name) { return QUrl::fromLocalFile(Path(name)); };
  EXPECT_EQ(ui::PlacesOfDesktop(), (QList<QUrl>{QUrl("file:"), QUrl::fromLocalFile(folder_.path()),
                                                at("Desktop"), at("Loads"), at("marked one")}));
}

TEST_F(QtPlaces, AreBesideTheFilesOfADialog) {
  QDir(folder_.path()).mkdir(QStringLiteral("Desktop"));
  FileDialogModel model(kOpen);
  Run(model, [this](QDialog& dialog) {
    EXPECT_TRUE(static_cast<QFileDialog&>(dialog).sidebarUrls().contains(
        QUrl::fromLocalFile(Path("Desktop"))));
    const auto& places = *dialog.findChild<QListView*>(QStringLiteral("sidebar"));
    EXPECT_GT(places.viewport()->width(),
              places.iconSize().width() + places.fontMetrics().horizontalAdvance("Computer"));
    QTest::keyClick(&dialog, Qt::Key_Escape);
  });
}

}  // namespace
