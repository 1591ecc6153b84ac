#include <QHeaderView>
#include <QLabel>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTableView>
#include <map>
#include <optional>
#include <utility>

#include "tavhost/qt/message_window_view.h"
#include "tavhost/qt/percentage_window_view.h"
#include "tavhost/qt/table_print.h"
#include "tavhost/qt/text_direction.h"
#include "tavhost/ui/models/browser_model.h"
#include "tavhost/ui/models/edit_field_model.h"
#include "tavhost/ui/models/image_dialog_model.h"
#include "tavhost/ui/models/list_box_model.h"
#include "tavhost/ui/models/message_box_model.h"
#include "tavhost/ui/models/message_window_model.h"
#include "tavhost/ui/models/percentage_window_model.h"
#include "tavhost/ui/models/text_box_model.h"
#include "tavhost/ui/models/tree_list_box_model.h"
#include "tavhost/ui/table/table_arrangement.h"
#include "tavhost/ui/table/table_model.h"
#include "tests/qt/qt_fixture.h"

namespace {

constexpr char kHebrew[] = "שלום (abc) עולם.";
constexpr char kEnglish[] = "Hello (שלום) all…";

// Texts and desktops that read from right to left.
class QtRightToLeft : public QtTest {
 protected:
  struct Window {
    const char* name;
    std::unique_ptr<ui::ModalModel> model;
    std::shared_ptr<ui::TableModel> table = nullptr;
  };
  static std::vector<Window> All(const std::string& text) {
    std::vector<Window> windows;
    auto message = std::make_unique<ui::MessageBoxModel>(ui::MessageKind::kQuery, 0x80 | 0x1000,
                                                         text + "\nabc.\n" + text);
    windows.push_back({"message", std::move(message)});
    auto field = std::make_unique<ui::EditFieldModel>(text);
    field->text = text;
    windows.push_back({"field", std::move(field)});
    auto list = std::make_unique<ui::ListBoxModel>(true);
    list->boxText = text;
    list->okText = text;
    for (int i = 0; i < 30; ++i) list->Insert(i % 3 ? text : "abc.");
    list->AddCheckBox(text, true);
    list->AddCheckBox("abc.", true);
    windows.push_back({"list", std::move(list)});
    ui::TreeListBoxModel::Options options;
    options.multiple = true;
    options.checkBoxes = true;
    options.searchable = true;
    options.columns = 2;
    auto tree = std::make_unique<ui::TreeListBoxModel>(options);
    tree->headline = text;
    tree->Add(1, -1, text + "\t" + text, true);
    tree->Add(2, 1, text + "\t" + text, false);
    tree->Add(3, 1, "abc.\tabc.", false);
    tree->Expand(tree->Find(1), true);
    tree->AddButton({text, "more", 1, false});
    windows.push_back({"tree", std::move(tree)});
    auto box = std::make_unique<ui::TextBoxModel>(true, false);
    box->text = text + "\nabc.\n\n" + text;
    windows.push_back({"text", std::move(box)});
    auto images = std::make_unique<ui::ImageDialogModel>();
    images->entries.push_back({text, "none"});
    images->entries.push_back({"abc.", "none"});
    images->selected = text;
    windows.push_back({"images", std::move(images)});
    for (const bool edits : {false, true}) {
      auto table = std::make_shared<ui::TableModel>(true);
      const auto owner =
          std::make_shared<std::string>("h;" + text + ";abc.\n1;" + text + ";12.5\n2;abc.;abc.");
      EXPECT_TRUE(table->Read(*owner, owner, ';', '\n'));
      table->header = text;
      table->subtitle = text;
      std::unique_ptr<ui::ModalModel> model;
      if (edits) {
        model = std::make_unique<ui::EditBrowserModel>(*table);
      } else {
        model = std::make_unique<ui::BrowserModel>(*table, false);
      }
      windows.push_back({edits ? "edit browser" : "browser", std::move(model), table});
    }
    return windows;
  }

  // The windows are laid out so while it lives.
  struct Laid {
    explicit Laid(Qt::LayoutDirection direction) {
      Toolkit();
      QGuiApplication::setLayoutDirection(direction);
    }
    ~Laid() { QGuiApplication::setLayoutDirection(Qt::LeftToRight); }
  };

  static int Left(const QWidget& widget) { return widget.mapToGlobal(QPoint(0, 0)).x(); }

  static std::map<std::string, QImage> Pictures(const std::string& text) {
    QApplication::setCursorFlashTime(0);
    std::map<std::string, QImage> pictures;
    for (Window& window : All(text)) {
      Run(
          *window.model,
          [&](QDialog& dialog) {
            pictures[window.name] = dialog.grab().toImage();
            dialog.reject();
          },
          0);
    }
    ui::PercentageWindowModel work(text, true, true);
    work.message = work.message2 = text;
    pictures["percentage"] = ui::PercentageWindowView(work, nullptr).grab().toImage();
    ui::MessageWindowModel message(text);
    pictures["message window"] = ui::MessageWindowView(message, nullptr).grab().toImage();
    return pictures;
  }
};

// Marks that make neighbours read in that direction, and cannot be seen.
std::string Marked(const char* text, Qt::LayoutDirection direction) {
  const char* const mark = direction == Qt::RightToLeft ? "\u200F" : "\u200E";
  return std::string(mark) + text + mark;
}

TEST_F(QtRightToLeft, TheDirectionOfATextIsThatOfItsFirstLetter) {
  const auto direction = [](const char* text) { return ui::DirectionOf(QString::fromUtf8(text)); };
  EXPECT_EQ(direction("abc"), Qt::LeftToRight);
  EXPECT_EQ(direction("12. (שלום abc)"), Qt::RightToLeft);
  EXPECT_EQ(direction("مرحبا"), Qt::RightToLeft);
  EXPECT_EQ(direction("𐤀 abc"), Qt::RightToLeft) << "of two units";
  EXPECT_EQ(direction("漢字"), Qt::LeftToRight);
  EXPECT_EQ(direction("12 + 3…"), std::nullopt);
  EXPECT_EQ(direction(""), std::nullopt);
}

TEST_F(QtRightToLeft, TheDirectionOfTheDesktopIsThatOfItsFirstLanguage) {
  const auto direction = [](const QStringList& languages) {
    return ui::DirectionOfDesktop(languages);
  };
  EXPECT_EQ(direction({"he-IL", "en-US"}), Qt::RightToLeft);
  EXPECT_EQ(direction({"ar"}), Qt::RightToLeft);
  EXPECT_EQ(direction({"en-US", "he-IL"}), Qt::LeftToRight);
  EXPECT_EQ(direction({"nothing", "fa-IR"}), Qt::RightToLeft);
  EXPECT_EQ(direction({"C"}), Qt::LeftToRight);
  EXPECT_EQ(direction({}), Qt::LeftToRight);
}

// Each window looks as if its texts had marks of their direction.
TEST_F(QtRightToLeft, TextsReadInTheirOwnDirectionInEveryWindow) {
  const std::pair<const char*, Qt::LayoutDirection> texts[] = {{kHebrew, Qt::RightToLeft},
                                                               {kEnglish, Qt::LeftToRight}};
  for (const auto layout : {Qt::LeftToRight, Qt::RightToLeft}) {
    const Laid laid(layout);
    for (const auto& [text, direction] : texts) {
      const auto plain = Pictures(text);
      const auto marked = Pictures(Marked(text, direction));
      for (const auto& [name, picture] : plain) {
        EXPECT_EQ(picture, marked.at(name)) << name << " " << text << " " << layout;
      }
    }
  }
}

TEST_F(QtRightToLeft, WindowsAreLaidOutAsTheDesktopReads) {
  for (const auto layout : {Qt::LeftToRight, Qt::RightToLeft}) {
    const Laid laid(layout);
    const bool turned = layout == Qt::RightToLeft;
    for (Window& window : All(kEnglish)) {
      Run(
          *window.model,
          [&](QDialog& dialog) {
            const QPushButton* const ok = dialog.findChild<QPushButton*>(QStringLiteral("ok"));
            const QPushButton* const cancel =
                dialog.findChild<QPushButton*>(QStringLiteral("cancel"));
            if (ok && cancel) {
              EXPECT_EQ(Left(*ok) > Left(*cancel), turned) << window.name;
            }
            dialog.reject();
          },
          0);
    }
  }
}

TEST_F(QtRightToLeft, TheTitleOfTheHandlesStandsAboveThem) {
  for (const auto layout : {Qt::LeftToRight, Qt::RightToLeft}) {
    const Laid laid(layout);
    const auto table = std::make_shared<ui::TableModel>(true);
    const auto owner = std::make_shared<std::string>("handle;a\n1;2");
    ASSERT_TRUE(table->Read(*owner, owner, ';', '\n'));
    ui::BrowserModel model(*table, false);
    Run(
        model,
        [](QDialog& dialog) {
          const auto* const view = dialog.findChild<QTableView*>();
          const auto* const corner = view->findChild<QLabel*>();
          EXPECT_EQ(corner->text(), QStringLiteral("handle"));
          EXPECT_EQ(corner->x(), view->verticalHeader()->x());
          EXPECT_EQ(corner->width(), view->verticalHeader()->width());
          dialog.reject();
        },
        0);
  }
}

TEST_F(QtRightToLeft, ATextThatWrapsStandsWhereItsLanguageBegins) {
  for (const char* const text : {kHebrew, kEnglish}) {
    ui::TextBoxModel model(true, false);
    model.text = text;
    Run(model, [text](QDialog& dialog) {
      auto& edit = *dialog.findChild<QPlainTextEdit*>();
      const auto isRight = [&edit] {
        QTextCursor begin(edit.document());
        return edit.cursorRect(begin).x() > edit.viewport()->width() / 2;
      };
      EXPECT_EQ(isRight(), text == kHebrew);
      // Also after it was written anew.
      QTest::keyClick(&edit, Qt::Key_A, Qt::ControlModifier);
      QTest::keyClick(&edit, Qt::Key_Delete);
      EXPECT_FALSE(isRight());
      edit.insertPlainText(QString::fromUtf8(text == kHebrew ? kEnglish : kHebrew));
      EXPECT_EQ(isRight(), text != kHebrew);
      dialog.reject();
    });
  }
}

TEST_F(QtRightToLeft, TheNumberOnABarCanBeReadWherever) {
  const auto darkPixels = [](int percentage) {
    ui::PercentageWindowModel model("", false, false);
    model.SetPercentage(percentage);
    ui::PercentageWindowView window(model, nullptr);
    window.show();
    const QImage picture = window.findChild<QProgressBar*>()->grab().toImage();
    const int middle = picture.width() / 2;
    int dark = 0;
    for (int x = middle - 20; x < middle + 20; ++x) {
      for (int y = 4; y < picture.height() - 4; ++y)
        dark += picture.pixelColor(x, y).lightness() < 128;
    }
    return dark;
  };
  const int read = darkPixels(20);
  EXPECT_GT(read, 10);
  const Laid laid(Qt::RightToLeft);
  EXPECT_EQ(darkPixels(20), read);
}

TEST_F(QtRightToLeft, TablesArePrintedAsTheDesktopReads) {
  const auto printed = [](const std::string& text) {
    const auto owner =
        std::make_shared<std::string>(text + ";b\n" + text + ";2\n" + text + "\n3;4");
    ui::TableModel table(false);
    EXPECT_TRUE(table.Read(*owner, owner, ';', '\n'));
    table.header = text;
    QImage paper(500, 700, QImage::Format_RGB32);
    paper.fill(Qt::white);
    EXPECT_EQ(ui::PrintTable(ui::TableArrangement(table), QString(), paper, [] {}), 1);
    return paper;
  };
  const auto inkAt = [](const QImage& image, int left, int width) {
    int ink = 0;
    for (int x = left; x < left + width; ++x) {
      for (int y = 0; y < image.height() / 2; ++y) ink += image.pixelColor(x, y).lightness() < 128;
    }
    return ink;
  };
  constexpr int kEdge = 150;
  for (const auto layout : {Qt::LeftToRight, Qt::RightToLeft}) {
    const Laid laid(layout);
    for (const char* const text : {kHebrew, kEnglish}) {
      const auto direction = text == kHebrew ? Qt::RightToLeft : Qt::LeftToRight;
      const QImage image = printed(text);
      EXPECT_EQ(image, printed(Marked(text, direction))) << text << layout;
      const int left = inkAt(image, 0, kEdge);
      const int right = inkAt(image, image.width() - kEdge, kEdge);
      EXPECT_EQ(right > left, layout == Qt::RightToLeft) << text;
    }
  }
}

}  // namespace
