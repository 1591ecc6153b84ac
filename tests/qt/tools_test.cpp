#include <QComboBox>
#include <QDialogButtonBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPrintDialog>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QToolButton>

#include "tavhost/qt/drawing_view.h"
#include "tavhost/qt/result_tool_view.h"
#include "tavhost/ui/models/drawing_model.h"
#include "tavhost/ui/models/result_tool_model.h"
#include "tavhost/ui/table/table_model.h"
#include "tests/qt/events.h"
#include "tests/qt/qt_fixture.h"

namespace {

using ui::DrawingModel;
using ui::DrawingShape;
using ui::ResultToolModel;
using ui::TableModel;

class QtTools : public QtTest {
 protected:
  void SetUp() override { Toolkit(); }

  static std::unique_ptr<TableModel> Table(const char* text) {
    auto table = std::make_unique<TableModel>(false);
    EXPECT_TRUE(table->Read(text, nullptr, ';', '\n'));
    return table;
  }
  static QToolButton& Button(QWidget& view, const char* name) {
    return *view.findChild<QToolButton*>(QLatin1String(name));
  }
  static std::string FirstTitle(QWidget& view) {
    const QTableView& table = *view.findChild<QTableView*>(QStringLiteral("table"));
    return table.model()->headerData(0, Qt::Horizontal).toString().toStdString();
  }
  static std::string Label(QWidget& view, const char* name) {
    return view.findChild<QLabel*>(QLatin1String(name))->text().toStdString();
  }
  static DrawingShape Box(double x, double y, double w, double h) {
    DrawingShape shape;
    shape.kind = DrawingShape::Kind::kRectangle;
    shape.points = {{x, y}, {x + w, y + h}};
    shape.hasFill = true;
    shape.fill = {255, 0, 0, 255};
    shape.hasPen = false;
    return shape;
  }
};

TEST_F(QtTools, ResultsAreLeafedThrough) {
  ResultToolModel model;
  const auto a = Table("first\n1");
  const auto b = Table("second\n1");
  for (int i = 0; i < ResultToolModel::kButtonCount; ++i) {
    model.ShowButton(static_cast<ResultToolModel::Button>(i), true);
  }
  ui::ResultToolView view(model);
  view.show();
  EXPECT_FALSE(Button(view, "save").isEnabled());
  model.Add(*a);
  model.Add(*b);
  EXPECT_EQ(FirstTitle(view), "second");
  EXPECT_EQ(Label(view, "place"), "2 of 2");
  EXPECT_FALSE(Button(view, "next").isEnabled());
  Button(view, "previous").click();
  EXPECT_EQ(FirstTitle(view), "first");
  EXPECT_FALSE(Button(view, "previous").isEnabled());
  Button(view, "next").click();
  EXPECT_EQ(FirstTitle(view), "second");
}

TEST_F(QtTools, OnlyTheChosenButtonsAreSeen) {
  ResultToolModel model;
  model.ShowButton(ResultToolModel::kSave, true);
  ui::ResultToolView view(model);
  view.show();
  EXPECT_TRUE(Button(view, "save").isVisible());
  for (const char* name : {"previous", "next", "close", "print", "show search"}) {
    EXPECT_FALSE(Button(view, name).isVisible()) << name;
  }
  model.ShowButton(ResultToolModel::kPrint, true);
  EXPECT_TRUE(Button(view, "print").isVisible());
}

TEST_F(QtTools, AClosedResultIsNotTouchedAgain) {
  ResultToolModel model;
  auto a = Table("first\n1");
  auto b = Table("second\n1");
  model.ShowButton(ResultToolModel::kClose, true);
  ui::ResultToolView view(model);
  view.show();
  model.Add(*a);
  model.Add(*b);
  model.closeResult = [&](std::size_t index) {
    model.Remove(index);
    (index == 1 ? b : a).reset();
  };
  Button(view, "close").click();
  EXPECT_EQ(FirstTitle(view), "first");
  Button(view, "close").click();
  HandleEvents();
  EXPECT_EQ(view.findChild<QTableView*>(QStringLiteral("table"))->model()->columnCount(), 0);
}

TEST_F(QtTools, WidthsThatComeAfterTheTableAreShown) {
  ResultToolModel model;
  const auto table = Table("a;b\n1;2");
  ui::ResultToolView view(model);
  view.show();
  model.Add(*table);
  table->SetWidth(0, 321);
  HandleEvents();
  QTableView& grid = *view.findChild<QTableView*>(QStringLiteral("table"));
  EXPECT_EQ(grid.columnWidth(0), 321);
  grid.setColumnWidth(0, 50);
  table->SetAlignment(1, ui::TableAlignment::kRight);
  HandleEvents();
  EXPECT_EQ(grid.columnWidth(0), 50) << "the user's width stays";
}

TEST_F(QtTools, ADrawingIsDrawnInPointsAndZooms) {
  DrawingModel model;
  ui::Drawing drawing;
  drawing.shapes = {Box(36, 36, 72, 72)};
  ui::DrawingView view(model);
  view.resize(400, 400);
  view.show();
  model.Show(drawing);
  const auto redWidth = [&] {
    const QImage image = view.viewport()->grab().toImage();
    int most = 0;
    for (int y = 0; y < image.height(); ++y) {
      int red = 0;
      for (int x = 0; x < image.width(); ++x) red += image.pixelColor(x, y) == Qt::red;
      most = std::max(most, red);
    }
    return most / view.devicePixelRatio();
  };
  const double inch = view.logicalDpiX();
  EXPECT_NEAR(redWidth(), inch, 2);
  view.SetZoom(2, QPointF());
  EXPECT_NEAR(redWidth(), 2 * inch, 2);
  QTest::keyClick(&view, Qt::Key_0);
  EXPECT_GT(redWidth(), 300);
  EXPECT_LE(redWidth(), 400);
}

TEST_F(QtTools, AMistakeIsShownInPlaceOfTheDrawing) {
  DrawingModel model;
  ui::DrawingView view(model);
  view.show();
  const QImage before = view.viewport()->grab().toImage();
  model.ShowError("1:1: there is no drawing element X");
  EXPECT_NE(view.viewport()->grab().toImage(), before);
  EXPECT_EQ(view.accessibleDescription().toStdString(), "1:1: there is no drawing element X");
}

TEST_F(QtTools, FilesAreLookedAtEveryInterval) {
  DrawingModel model;
  int looks = 0;
  model.refresh = [&] { ++looks; };
  ui::DrawingView view(model);
  view.show();
  constexpr int kSeveralIntervals = 60;  // that nothing looks can only be seen for a time
  QTest::qWait(kSeveralIntervals);
  EXPECT_EQ(looks, 0);
  model.SetInterval(10);
  EXPECT_TRUE(QTest::qWaitFor([&] { return looks >= 3; }, kPatience));
  view.hide();
  looks = 0;
  QTest::qWait(kSeveralIntervals);
  EXPECT_EQ(looks, 0) << "nobody sees it";
}

TEST_F(QtTools, DrawingsPrintAsVectors) {
  DrawingModel model;
  ui::Drawing drawing;
  drawing.shapes = {Box(0, 0, 2000, 100)};
  DrawingShape text;
  text.kind = DrawingShape::Kind::kText;
  text.text = "Pump";
  text.points = {{10, 50}};
  drawing.shapes.push_back(text);
  model.Show(drawing);
  ui::DrawingView view(model);
  view.show();
  QTemporaryDir folder;
  const QString file = folder.filePath(QStringLiteral("d.pdf"));
  // Its user chooses a file in place of a printer.
  QTimer::singleShot(0, qApp, [&file] {
    auto* const dialog = qobject_cast<QPrintDialog*>(QApplication::activeModalWidget());
    ASSERT_NE(dialog, nullptr);
    auto& printers = *dialog->findChild<QComboBox*>(QStringLiteral("printers"));
    printers.setCurrentIndex(printers.count() - 1);
    dialog->findChild<QLineEdit*>(QStringLiteral("filename"))->setText(file);
    QTest::mouseClick(dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok),
                      Qt::LeftButton);
  });
  QTest::keyClick(&view, Qt::Key_P, Qt::ControlModifier);
  QFile in(file);
  ASSERT_TRUE(in.open(QIODevice::ReadOnly));
  const QByteArray pdf = in.readAll();
  EXPECT_TRUE(pdf.contains("/Type /Font"));
  EXPECT_FALSE(pdf.contains("/Subtype /Image"));
}

}  // namespace
