// What a strict XML parser says of the XML made from KEL.
#include <expat.h>
#include <gtest/gtest.h>

#include <string>

#include "host/notation/kel_converter.h"
#include "tests/unit/notation/parsing.h"
#include "tests/unit/notation/random_kel.h"

using parsing::Str;

namespace {

// Empty when well-formed, else the parser's words.
std::string Fault(const SV::String& xml) {
  XML_Parser parser = XML_ParserCreate(nullptr);
  std::string fault;
  if (XML_Parse(parser, xml.GetStr(), static_cast<int>(xml.Len()), 1) == XML_STATUS_ERROR) {
    fault = XML_ErrorString(XML_GetErrorCode(parser));
  }
  XML_ParserFree(parser);
  return fault;
}

TEST(KelToXmlStrict, RandomDocumentsAreWellFormed) {
  SCOPED_TRACE(random_kel::SeedText());
  random_kel::Maker maker(random_kel::Seed());
  for (int round = 0; round < 3000; ++round) {
    std::string text;
    for (std::uint32_t n = maker.Below(4); n > 0; --n) text += maker.Element(3) + "\n";
    TavKelConverter converter(Str(text));
    ASSERT_EQ(converter.Parse(), 0) << text;
    const SV::String root = maker.Below(2) ? Str(maker.Bytes()) : SV::String();
    const SV::String xml = converter.ToXML(maker.Below(2) != 0, root);
    ASSERT_EQ(Fault(xml), "") << text << "\n" << xml.GetStr();
  }
}

TEST(KelToXmlStrict, EveryCharacterOfARootTag) {
  TavKelConverter converter(SV::String("A"));
  ASSERT_EQ(converter.Parse(), 0);
  for (std::uint32_t code = 1; code < 0x11000; ++code) {
    if (code >= 0xD800 && code < 0xE000) continue;
    std::string tag = "a";
    if (code < 0x80) {
      tag += static_cast<char>(code);
    } else if (code < 0x800) {
      tag += {static_cast<char>(0xC0 | (code >> 6)), static_cast<char>(0x80 | (code & 63))};
    } else if (code < 0x10000) {
      tag += {static_cast<char>(0xE0 | (code >> 12)), static_cast<char>(0x80 | ((code >> 6) & 63)),
              static_cast<char>(0x80 | (code & 63))};
    } else {
      tag += {static_cast<char>(0xF0), static_cast<char>(0x80 | ((code >> 12) & 63)),
              static_cast<char>(0x80 | ((code >> 6) & 63)), static_cast<char>(0x80 | (code & 63))};
    }
    ASSERT_EQ(Fault(converter.ToXML(false, Str(tag))), "") << code;
    ASSERT_EQ(Fault(converter.ToXML(false, Str(tag.substr(1)))), "") << code;
  }
}

}  // namespace
