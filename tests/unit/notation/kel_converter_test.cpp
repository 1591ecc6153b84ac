#include "host/notation/kel_converter.h"

#include <gtest/gtest.h>

#include <string>

#include "tavhost/notation/xml_name.h"
#include "tests/unit/notation/parsing.h"

using parsing::Str;

namespace {

std::string Xml(std::string_view kelText, std::string_view rootTag = {}, bool withHeader = false) {
  TavKelConverter converter(Str(kelText));
  if (converter.Parse() != 0) return "no KEL";
  return std::string(converter.ToXML(withHeader, Str(rootTag)).View());
}

TEST(KelToXml, PlainParametersAreAttributes) {
  EXPECT_EQ(Xml("A"), "<A/>");
  EXPECT_EQ(Xml("A 5"), "<A value=\"5\"/>");
  EXPECT_EQ(Xml("A \"t\" i:-1 r:1.50 w:word s:\"x y\" mod"),
            "<A value=\"t\" i=\"-1\" r=\"1.5\" w=\"word\" s=\"x y\" mod=\"mod\"/>");
}

TEST(KelToXml, OthersAreChildren) {
  EXPECT_EQ(Xml("A l:(1, \"x\", word, 2.5)"),
            "<A><l><item>1</item><item>x</item><item>word</item><item>2.5</item></l></A>");
  EXPECT_EQ(Xml("A r:(a: 1, b: (c: \"d\"))"), "<A><r><a>1</a><b><c>d</c></b></r></A>");
  EXPECT_EQ(Xml("A b:{X 1; Y z:2} c"), "<A c=\"c\"><b><X value=\"1\"/><Y z=\"2\"/></b></A>");
  EXPECT_EQ(Xml("A l:((1), {X}, ())"),
            "<A><l><item><item>1</item></item><item><X/></item><item/></l></A>");
  EXPECT_EQ(Xml("A l:() b:{}"), "<A><l/><b/></A>");
  EXPECT_EQ(Xml("A x:1 l:(2) y:3"), "<A x=\"1\" y=\"3\"><l><item>2</item></l></A>");
}

TEST(KelToXml, MainValueThatIsNoAttribute) {
  EXPECT_EQ(Xml("A (1, 2) x:3"), "<A x=\"3\"><value><item>1</item><item>2</item></value></A>");
  EXPECT_EQ(Xml("A (a: 1)"), "<A><value><a>1</a></value></A>");
  EXPECT_EQ(Xml("A {X}"), "<A><value><X/></value></A>");
}

TEST(KelToXml, ParameterNamedValue) {
  EXPECT_EQ(Xml("A value:1"), "<A value=\"1\"/>");
  EXPECT_EQ(Xml("A 2 value:1"), "<A value=\"2\"><value>1</value></A>");
  EXPECT_EQ(Xml("A 2 value"), "<A value=\"2\"><value>value</value></A>");
  EXPECT_EQ(Xml("A (2) value:1"), "<A><value><item>2</item></value><value>1</value></A>");
  EXPECT_EQ(Xml("A 2 value:(1)"), "<A value=\"2\"><value><item>1</item></value></A>");
}

TEST(KelToXml, HeaderAndRoot) {
  EXPECT_EQ(Xml("A", "", true), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<A/>");
  EXPECT_EQ(Xml("A", "root"), "<root><A/></root>");
  EXPECT_EQ(Xml("A; B", "root", true),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<root><A/><B/></root>");
  EXPECT_EQ(Xml("A; B"), "<kel><A/><B/></kel>");
  EXPECT_EQ(Xml(""), "<kel/>");
  EXPECT_EQ(Xml("", "root"), "<root/>");
}

TEST(KelToXml, RootTagsBecomeNames) {
  EXPECT_EQ(Xml("A", "my root<>"), "<my_root__><A/></my_root__>");
  EXPECT_EQ(kel::XmlName("1a-.b:c"), "_a-.b_c");
  EXPECT_EQ(kel::XmlName("-x"), "_x");
  EXPECT_EQ(kel::XmlName("Gr\xC3\xB6\xC3\x9F"
                         "e"),
            "Gr\xC3\xB6\xC3\x9F"
            "e");
  EXPECT_EQ(kel::XmlName("a\xFF\xF0\x9F\x98\x80"), "a__");
  EXPECT_EQ(kel::XmlName(std::string_view("\0", 1)), "_");
  EXPECT_EQ(kel::XmlName(""), "_");
}

TEST(KelToXml, KeysBecomeNames) {
  EXPECT_EQ(Xml("A r:(\"a b\": (\"1\": 2), \"\": 3)"), "<A><r><a_b><_>2</_></a_b><_>3</_></r></A>");
}

TEST(KelToXml, EscapesWhatXmlGivesAMeaning) {
  EXPECT_EQ(Xml(R"(A "<&>\"'\n\r\t")"), "<A value=\"&lt;&amp;&gt;&quot;'&#10;&#13;&#9;\"/>");
  EXPECT_EQ(Xml(R"(A l:("<&>\"'\n\r\t"))"), "<A><l><item>&lt;&amp;&gt;\"'\n&#13;\t</item></l></A>");
}

TEST(KelToXml, WhatXmlForbidsIsReplaced) {
  const std::string replacement = "\xEF\xBF\xBD";
  EXPECT_EQ(Xml("A \"a\\0b\\x01\\x1f\""),
            "<A value=\"a" + replacement + "b" + replacement + replacement + "\"/>");
  EXPECT_EQ(Xml("A \"\xEF\xBF\xBE\xEF\xBF\xBF\""),
            "<A value=\"" + replacement + replacement + "\"/>");
  EXPECT_EQ(Xml("A \"\xC3\""), "<A value=\"" + replacement + "\"/>");
  EXPECT_EQ(Xml("A \"\xE2\x82x\""), "<A value=\"" + replacement + "x\"/>");
  EXPECT_EQ(Xml("A \"\xED\xA0\x80\""),
            "<A value=\"" + replacement + replacement + replacement + "\"/>");
  EXPECT_EQ(Xml("A \"\xC0\xAF\""), "<A value=\"" + replacement + replacement + "\"/>");
  EXPECT_EQ(Xml("A \"\xF0\x9F\x98\x80\xC3\xA4\x7F\""),
            "<A value=\"\xF0\x9F\x98\x80\xC3\xA4\x7F\"/>");
}

TEST(KelToXml, LongTextsWithSpecialsAtEveryPlace) {
  for (std::size_t length = 0; length < 50; ++length) {
    const std::string plain(length, 'p');
    EXPECT_EQ(Xml("A \"" + plain + "&" + plain + "\" x"),
              "<A value=\"" + plain + "&amp;" + plain + "\" x=\"x\"/>");
    EXPECT_EQ(Xml("A \"" + plain + "\\n" + plain + "<\""),
              "<A value=\"" + plain + "&#10;" + plain + "&lt;\"/>");
  }
  const std::string quotes(100'000, '&');  // grows to five times its size
  const std::string xml = Xml("A \"" + quotes + "\"");
  EXPECT_EQ(xml.size(), quotes.size() * 5 + std::string("<A value=\"\"/>").size());
}

TEST(KelToXml, DepthCostsNoStack) {
  std::string text = "A ";
  std::string expected = "<A><value>";
  for (int depth = 0; depth < 999; ++depth) {
    text += '(';
    expected += "<item>";
  }
  text += "()";
  expected += "";
  for (int depth = 0; depth < 999; ++depth) text += ')';
  const std::string xml = Xml(text);
  EXPECT_EQ(xml.substr(0, 28), expected.substr(0, 28));
  EXPECT_NE(xml.find("<item/>"), std::string::npos);
}

TEST(KelToXml, WithoutParseThereIsNoXml) {
  TavKelConverter converter(SV::String("A"));
  EXPECT_EQ(converter.ToXML(false, "").Len(), 0);
}

}  // namespace
