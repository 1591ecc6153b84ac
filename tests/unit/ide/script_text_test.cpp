#include "tavhost/ide/script_text.h"

#include <gtest/gtest.h>

namespace ide {
namespace {

TEST(ScriptTextTest, FilesComeBackByteByByte) {
  for (const std::string& bytes : {std::string("a\nb\n"), std::string("a\r\nb\r\n"),
                                   std::string("\xEF\xBB\xBF"
                                               "a\r\n"),
                                   std::string("a\rb\n"), std::string("a\r\nb\n"), std::string(),
                                   std::string("\r"), std::string("\0x\n", 3)}) {
    FileForm form;
    const std::string text = TextOf(bytes, form);
    EXPECT_EQ(BytesOf(text, form), bytes);
  }
}

TEST(ScriptTextTest, LineEndsAreToldApart) {
  FileForm form;
  EXPECT_EQ(TextOf("a\r\nb", form), "a\nb");
  EXPECT_EQ(form.lineEnds, LineEnds::kWindows);
  EXPECT_EQ(TextOf("a\nb", form), "a\nb");
  EXPECT_EQ(form.lineEnds, LineEnds::kUnix);
  EXPECT_EQ(TextOf("a\r\nb\n", form), "a\r\nb\n");
  EXPECT_EQ(form.lineEnds, LineEnds::kMixed);
  EXPECT_EQ(TextOf("\xEF\xBB\xBFx", form), "x");
  EXPECT_TRUE(form.byteOrderMark);
}

TEST(ScriptTextTest, ANewLineIsIndentedAsWhatIsOpen) {
  EXPECT_EQ(IndentBehind(u"  a = 1", u"    "), u"  ");
  EXPECT_EQ(IndentBehind(u"  if a {", u"    "), u"      ");
  EXPECT_EQ(IndentBehind(u"x = (", u"    "), u"    ");
  EXPECT_EQ(IndentBehind(u"x = \"{\" # {", u"    "), u"");
  EXPECT_EQ(IndentBehind(u"if a { b }", u"    "), u"");
  EXPECT_EQ(IndentBehind(u"} else {", u"    "), u"    ");
}

TEST(ScriptTextTest, PlacesAreFoundInErrors) {
  auto place = PlaceIn("dir/a.tav:12:3: error: no");
  ASSERT_TRUE(place);
  EXPECT_EQ(place->file, "dir/a.tav");
  EXPECT_EQ(place->line, 12u);
  EXPECT_EQ(place->column, 3u);
  EXPECT_EQ(place->length, std::string("dir/a.tav:12:3").size());
  place = PlaceIn("C:\\a.tav:1:2: error: no");
  ASSERT_TRUE(place);
  EXPECT_EQ(place->file, "C:\\a.tav");
  EXPECT_FALSE(PlaceIn("a: 1:2"));
  EXPECT_FALSE(PlaceIn("a:0:1: x"));
  EXPECT_FALSE(PlaceIn(":1:2: x"));
  EXPECT_FALSE(PlaceIn("a:1:2"));
  EXPECT_FALSE(PlaceIn("at 12:30:00"));
}

TEST(ScriptTextTest, SearchPrefersNames) {
  const std::string text = "Reads a whole file. file binary";
  EXPECT_EQ(SearchScore("tree", "FREAD", text), 0);
  EXPECT_GT(SearchScore("fread", "FREAD", text), SearchScore("fr", "FREAD", text));
  EXPECT_GT(SearchScore("fr", "FREAD", text), SearchScore("read", "FREAD", text));
  EXPECT_GT(SearchScore("exist", "FILE_EXIST", ""), SearchScore("xist", "FILE_EXIST", ""));
  EXPECT_GT(SearchScore("read", "FREAD", text), SearchScore("whole", "FREAD", text));
  EXPECT_GT(SearchScore("read whole", "FREAD", text), 0);
  EXPECT_EQ(SearchScore("read tree", "FREAD", text), 0);
  EXPECT_GT(SearchScore("  ", "FREAD", text), 0);
}

TEST(ScriptTextTest, ElapsedTimeIsShort) {
  EXPECT_EQ(ElapsedText(0), "0.0 s");
  EXPECT_EQ(ElapsedText(9999), "9.9 s");
  EXPECT_EQ(ElapsedText(10000), "0:10");
  EXPECT_EQ(ElapsedText(3599999), "59:59");
  EXPECT_EQ(ElapsedText(3723000), "1:02:03");
}

}  // namespace
}  // namespace ide
