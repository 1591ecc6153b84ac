#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>

#include "tavhost/ui/models/text_box_model.h"
#include "tests/qt/qt_fixture.h"

namespace {

// Words in texts of many lines.
class QtFind : public QtTest {
 protected:
  static std::string Lines(int count) {
    constexpr const char* kEnds[] = {"\n", "\r\n", "\r"};
    std::string text;
    for (int i = 0; i < count; ++i) text += "line " + std::to_string(i) + kEnds[i % 3];
    return text;
  }
  static QString Count(QDialog& dialog) {
    return dialog.findChild<QLabel*>(QStringLiteral("findCount"))->text();
  }
  static void Type(QDialog& dialog, const char* text) {
    QTest::keyClicks(dialog.findChild<QLineEdit*>(QStringLiteral("find")), QLatin1String(text));
  }
};

TEST_F(QtFind, ALongTextIsLookedThroughInPieces) {
  ui::TextBoxModel box(true, false);
  box.text = Lines(200'000);
  Run(box, [](QDialog& dialog) {
    QTest::keyClick(&dialog, Qt::Key_F, Qt::ControlModifier);
    Type(dialog, "nowhere");
    EXPECT_EQ(Count(dialog), QStringLiteral("…")) << "the window is free while it is looked for";
    EXPECT_TRUE(
        QTest::qWaitFor([&] { return Count(dialog) == QLatin1String("not found"); }, kPatience))
        << Count(dialog).toStdString();
    auto& field = *dialog.findChild<QLineEdit*>(QStringLiteral("find"));
    field.selectAll();
    Type(dialog, "line 199999");
    auto& edit = *dialog.findChild<QPlainTextEdit*>(QStringLiteral("text"));
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return edit.textCursor().selectedText() == QLatin1String("line 199999"); },
        kPatience));
    EXPECT_TRUE(
        QTest::qWaitFor([&] { return Count(dialog) == QLatin1String("1 of 1"); }, kPatience))
        << Count(dialog).toStdString();
    EXPECT_TRUE(QTest::qWaitFor([&] { return edit.extraSelections().size() == 1; }, kPatience))
        << "it is in view, and marked";
    dialog.reject();
  });
}

// What is far from the view is not marked before it comes there.
TEST_F(QtFind, MarksFollowTheView) {
  ui::TextBoxModel box(false, false);
  box.text = Lines(3000);
  Run(box, [](QDialog& dialog) {
    QTest::keyClick(&dialog, Qt::Key_F, Qt::ControlModifier);
    Type(dialog, "line");
    EXPECT_TRUE(
        QTest::qWaitFor([&] { return Count(dialog) == QLatin1String("1 of 3000"); }, kPatience))
        << Count(dialog).toStdString();
    auto& edit = *dialog.findChild<QPlainTextEdit*>(QStringLiteral("text"));
    const auto isMarked = [&edit](int line) {
      const auto marks = edit.extraSelections();
      return std::any_of(marks.begin(), marks.end(),
                         [line](const auto& mark) { return mark.cursor.blockNumber() == line; });
    };
    EXPECT_TRUE(isMarked(0));
    EXPECT_FALSE(isMarked(2999));
    QTest::keyClick(&edit, Qt::Key_End, Qt::ControlModifier);
    EXPECT_TRUE(QTest::qWaitFor([&] { return isMarked(2999); }, kPatience));
    EXPECT_FALSE(isMarked(0));
    dialog.reject();
  });
}

}  // namespace
