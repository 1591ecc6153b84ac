#include "tavhost/base/json_writer.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

using base::JsonWriter;

TEST(JsonWriter, CommasComeByThemselves) {
  JsonWriter json;
  json.BeginObject();
  json.Key("a").Integer(-1);
  json.Key("b").BeginArray();
  json.Bool(true);
  json.Null();
  json.BeginArray();
  json.EndArray();
  json.Raw("{\"x\":1}");
  json.EndArray();
  json.Key("c").BeginObject();
  json.EndObject();
  json.Key("d").String("e");
  json.EndObject();
  EXPECT_EQ(json.Take(), R"({"a":-1,"b":[true,null,[],{"x":1}],"c":{},"d":"e"})");
}

TEST(JsonWriter, EveryByteReadsBack) {
  std::string text;
  for (int byte = 0; byte < 0x80; ++byte) text += static_cast<char>(byte);
  text += "\xC3\xA9\xF0\x9F\x99\x82";
  JsonWriter json;
  json.String(text);
  const std::string written = json.Take().value();
  EXPECT_EQ(nlohmann::json::parse(written).get<std::string>(), text);
  EXPECT_NE(written.find("\\u0008\\t\\n\\u000b\\u000c\\r"), std::string::npos) << written;
}

TEST(JsonWriter, WhatIsNoUtf8IsReplaced) {
  JsonWriter json;
  json.String("a\xFF\xC3z");
  EXPECT_EQ(json.Take(), "\"a\xEF\xBF\xBD\xEF\xBF\xBDz\"");
}

TEST(JsonWriter, BeyondTheLimitThereIsNothing) {
  for (const std::size_t limit : {9, 10}) {
    JsonWriter json(limit);
    json.String("12345678");  // 10 bytes with its quotes
    EXPECT_EQ(json.Take().has_value(), limit == 10) << limit;
    EXPECT_EQ(json.IsGivenUp(), limit == 9) << limit;
  }
}

TEST(JsonWriter, ItEndsInTheMiddleOfALongText) {
  int asked = 0;
  JsonWriter json(std::string::npos, [&asked] { return ++asked == 3; });
  json.String(std::string(std::size_t{1} << 20, 'x'));
  EXPECT_TRUE(json.IsGivenUp());
  EXPECT_EQ(json.Take(), std::nullopt);
  EXPECT_EQ(asked, 3);
}
