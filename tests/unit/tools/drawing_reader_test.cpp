#include "tavhost/tools/drawing_reader.h"
#include "tavhost/ui/models/drawing_model.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>

namespace {

using ui::DrawingShape;
using Kind = DrawingShape::Kind;

drawing_reader::Result Read(const char* text) { return drawing_reader::Read(text, "."); }

std::string ErrorOf(const char* text) {
  const drawing_reader::Result result = Read(text);
  EXPECT_TRUE(result.drawing.shapes.empty());
  return result.error;
}

DrawingShape Only(const char* text) {
  const drawing_reader::Result result = Read(text);
  EXPECT_EQ(result.error, "");
  EXPECT_EQ(result.drawing.shapes.size(), 1u);
  return result.drawing.shapes.empty() ? DrawingShape() : result.drawing.shapes[0];
}

class DrawingFiles : public testing::Test {
 protected:
  void SetUp() override {
    folder_ = std::filesystem::temp_directory_path() /
              ("drawing" + std::to_string(std::hash<std::string>()(
                               testing::UnitTest::GetInstance()->current_test_info()->name())));
    std::filesystem::create_directories(folder_ / "sub");
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  void Write(const char* name, const std::string& text) {
    std::FILE* const file = std::fopen((folder_ / name).string().c_str(), "wb");
    ASSERT_TRUE(file);
    std::fwrite(text.data(), 1, text.size(), file);
    std::fclose(file);
  }
  drawing_reader::Result Read(const char* text) const {
    return drawing_reader::Read(text, folder_.string());
  }

  std::filesystem::path folder_;
};

TEST(DrawingReader, AnEmptyTextIsAnEmptyDrawing) {
  EXPECT_EQ(ErrorOf(""), "");
  EXPECT_EQ(ErrorOf("# nothing"), "");
}

TEST(DrawingReader, ReadsEachShape) {
  const DrawingShape line = Only("LINE x1:1 y1:2 x2:3.5 y2:-4");
  EXPECT_EQ(line.kind, Kind::kLine);
  EXPECT_EQ(line.points, (std::vector<ui::DrawingPoint>{{1, 2}, {3.5, -4}}));
  const DrawingShape box = Only("RECTANGLE x:10 y:20 w:30 h:40 radius:5");
  EXPECT_EQ(box.kind, Kind::kRectangle);
  EXPECT_EQ(box.points, (std::vector<ui::DrawingPoint>{{10, 20}, {40, 60}}));
  EXPECT_EQ(box.radius, 5);
  EXPECT_EQ(Only("ELLIPSE x:0 y:0 w:1 h:2").kind, Kind::kEllipse);
  EXPECT_EQ(Only("POLYGON points:(0, 0, 1, 0, 1.5, 2)").points.size(), 3u);
  EXPECT_EQ(Only("POLYGON points:(0, 0, 1, 0) open").kind, Kind::kPolyline);
  const DrawingShape text = Only("TEXT \"a\\nb\" x:1 y:2 size:9.5 font:\"Serif\" bold align:right");
  EXPECT_EQ(text.kind, Kind::kText);
  EXPECT_EQ(text.text, "a\nb");
  EXPECT_EQ(text.textSize, 9.5);
  EXPECT_EQ(text.font, "Serif");
  EXPECT_TRUE(text.bold);
  EXPECT_FALSE(text.italic);
  EXPECT_EQ(text.align, DrawingShape::Align::kRight);
  EXPECT_EQ(Only("IMAGE \"a.png\" x:0 y:0 w:1 h:1").kind, Kind::kImage);
}

TEST(DrawingReader, PenAndFillHoldForWhatFollows) {
  const auto shapes = Read(
                          "LINE x1:0 y1:0 x2:1 y2:1\n"
                          "PEN color:\"#336699\" width:2 style:dashed; FILL color:red\n"
                          "ELLIPSE x:0 y:0 w:1 h:1\n"
                          "PEN width:3\nFILL none\nELLIPSE x:0 y:0 w:1 h:1\n"
                          "PEN none\nELLIPSE x:0 y:0 w:1 h:1\nFILL\nELLIPSE x:0 y:0 w:1 h:1")
                          .drawing.shapes;
  ASSERT_EQ(shapes.size(), 5u);
  EXPECT_EQ(shapes[0].pen, ui::DrawingColor());
  EXPECT_EQ(shapes[0].penWidth, 1);
  EXPECT_FALSE(shapes[0].hasFill);
  EXPECT_EQ(shapes[1].pen, (ui::DrawingColor{0x33, 0x66, 0x99, 255}));
  EXPECT_EQ(shapes[1].dash, ui::DrawingDash::kDashed);
  EXPECT_TRUE(shapes[1].hasFill);
  EXPECT_EQ(shapes[2].pen, shapes[1].pen);
  EXPECT_EQ(shapes[2].penWidth, 3);
  EXPECT_FALSE(shapes[2].hasFill);
  EXPECT_FALSE(shapes[3].hasPen);
  EXPECT_TRUE(shapes[4].hasFill);
  EXPECT_EQ(shapes[4].fill, shapes[1].fill);
}

TEST(DrawingReader, KnowsColors) {
  const auto fill = [](const std::string& color) {
    return Only(("FILL color:\"" + color + "\"; ELLIPSE x:0 y:0 w:1 h:1").c_str()).fill;
  };
  EXPECT_EQ(fill("#1af"), (ui::DrawingColor{0x11, 0xAA, 0xFF, 255}));
  EXPECT_EQ(fill("#01020304"), (ui::DrawingColor{1, 2, 3, 4}));
  EXPECT_EQ(fill("white"), (ui::DrawingColor{255, 255, 255, 255}));
  for (const char* bad : {"", "#", "#12", "#12345", "#gggggg", "nocolor"}) {
    EXPECT_NE(ErrorOf(("FILL color:\"" + std::string(bad) + "\"").c_str()), "") << bad;
  }
}

TEST(DrawingReader, GroupsScaleTurnAndMoveAndKeepTheirPens) {
  const auto shapes = Read(
                          "GROUP x:100 y:50 scale:2 rotate:90 content:{\n"
                          "  PEN color:red\n"
                          "  GROUP x:1 content:{ LINE x1:0 y1:0 x2:1 y2:0 }\n"
                          "}\nGROUP { LINE x1:0 y1:0 x2:1 y2:0 }")
                          .drawing.shapes;
  ASSERT_EQ(shapes.size(), 2u);
  const ui::DrawingPoint end = shapes[0].transform.Apply(shapes[0].points[1]);
  EXPECT_NEAR(end.x, 100, 1e-9);
  EXPECT_NEAR(end.y, 54, 1e-9);
  EXPECT_EQ(shapes[0].pen.red, 220);
  EXPECT_EQ(shapes[1].pen, ui::DrawingColor());
  EXPECT_EQ(shapes[1].transform.Apply({3, 4}), (ui::DrawingPoint{3, 4}));
}

TEST(DrawingReader, SaysWhatIsWrongAndWhere) {
  EXPECT_EQ(ErrorOf("LINE x1:0 y1:0 x2:1 y2:1\n  CIRCLE x:1"),
            "2:3: there is no drawing element CIRCLE");
  EXPECT_EQ(ErrorOf("ELLIPSE x:0 y:0 w:1"), "1:1: ELLIPSE needs h");
  EXPECT_EQ(ErrorOf("ELLIPSE x:0 y:0 w:1 h:\"1\""), "1:1: h must be a number");
  EXPECT_EQ(ErrorOf("ELLIPSE x:0 y:0 w:-1 h:1"), "1:1: w, h and radius must not be negative");
  EXPECT_EQ(ErrorOf("ELLIPSE x:0 y:0 w:1 h:1 radius:1"), "1:25: ELLIPSE takes no radius");
  EXPECT_EQ(ErrorOf("LINE 5 x1:0 y1:0 x2:1 y2:1"), "1:1: LINE takes no main value");
  EXPECT_EQ(ErrorOf("TEXT x:1 y:1"), "1:1: TEXT needs a string");
  EXPECT_EQ(ErrorOf("TEXT \"a\" x:1 y:1 size:0"), "1:1: size must be above 0");
  EXPECT_EQ(ErrorOf("TEXT \"a\" x:1 y:1 align:middle"),
            "1:1: align must be one of left, centre, right");
  EXPECT_EQ(ErrorOf("PEN width:-1"), "1:1: width must not be negative");
  EXPECT_EQ(ErrorOf("PEN style:wavy"), "1:1: style must be one of solid, dashed, dotted");
  for (const char* points : {"(1, 2)", "(1, 2, 3)", "(1, 2, 3, \"x\")", "5"}) {
    EXPECT_EQ(ErrorOf(("POLYGON points:" + std::string(points)).c_str()),
              "1:1: points must be a list of numbers: (x, y, x, y, …)");
  }
  EXPECT_EQ(ErrorOf("POLYGON"), "1:1: points must be a list of numbers: (x, y, x, y, …)");
  EXPECT_EQ(ErrorOf("GROUP x:1"), "1:1: GROUP needs content:{ … }");
  EXPECT_EQ(ErrorOf("TEXT \"ä\" x:1 y:1; BAD"), "1:19: there is no drawing element BAD");
  EXPECT_EQ(ErrorOf("LINE (").substr(0, 2), "1:");
  EXPECT_EQ(ErrorOf("FILE \"no such file\""), "1:1: the file no such file cannot be read");
}

TEST(DrawingReader, GroupsNestOnlySoDeep) {
  const auto nested = [](int depth) {
    std::string text;
    for (int i = 0; i < depth; ++i) text += "GROUP { ";
    text += "ELLIPSE x:0 y:0 w:1 h:1";
    for (int i = 0; i < depth; ++i) text += " }";
    return Read(text.c_str()).error;
  };
  EXPECT_EQ(nested(drawing_reader::kMaxGroupDepth), "");
  EXPECT_NE(nested(drawing_reader::kMaxGroupDepth + 1).find("too many groups"), std::string::npos);
}

TEST_F(DrawingFiles, AreReadFromTheirOwnFolders) {
  Write("a.kel", "FILE \"sub/b.kel\"\nPEN color:red");
  Write("sub/b.kel", "FILE \"c.kel\"");
  Write("sub/c.kel", "ELLIPSE x:0 y:0 w:1 h:1");
  const drawing_reader::Result result = Read("FILE \"a.kel\"; ELLIPSE x:1 y:1 w:1 h:1");
  EXPECT_EQ(result.error, "");
  ASSERT_EQ(result.drawing.shapes.size(), 2u);
  EXPECT_EQ(result.drawing.shapes[1].pen.red, 220) << "a pen in a file holds behind it";
  EXPECT_EQ(result.files.size(), 3u);
}

TEST_F(DrawingFiles, AMistakeInOneNamesIt) {
  Write("a.kel", "\nBAD");
  EXPECT_EQ(Read("FILE \"a.kel\"").error, "a.kel:2:1: there is no drawing element BAD");
}

TEST_F(DrawingFiles, ACircleOfThemEnds) {
  Write("a.kel", "FILE \"a.kel\"");
  EXPECT_NE(Read("FILE \"a.kel\"").error.find("too many files"), std::string::npos);
}

TEST_F(DrawingFiles, ChangesAreSeen) {
  Write("a.kel", "ELLIPSE x:0 y:0 w:1 h:1");
  const auto files = Read("FILE \"a.kel\"").files;
  EXPECT_FALSE(drawing_reader::HaveChanged(files));
  Write("a.kel", "ELLIPSE x:0 y:0 w:1 h:2");
  EXPECT_TRUE(drawing_reader::HaveChanged(files));
  const auto missing = Read("FILE \"b.kel\"").files;
  EXPECT_FALSE(drawing_reader::HaveChanged(missing));
  Write("b.kel", "");
  EXPECT_TRUE(drawing_reader::HaveChanged(missing));
}

}  // namespace
