#include "tavhost/service/json.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <limits>
#include <utility>

namespace {

using kel::Value;
using script::service::ErrorJson;
using script::service::ReplyJson;
using script::service::StatusJson;

constexpr std::size_t kNoLimit = std::string::npos;

std::string Literal(const std::string& text) {
  const std::string begin = R"({"variables":{},"output":"","error":)";
  const std::string json = ErrorJson(text);
  const std::string end = R"(,"exit":null,"errorAt":null})";
  EXPECT_TRUE(json.starts_with(begin) && json.ends_with(end)) << json;
  return json.substr(begin.size(), json.size() - begin.size() - end.size());
}

TEST(ServiceJson, EveryByteBelowBlankIsEscaped) {
  for (char byte = 0; byte < ' '; ++byte) {
    char number[8];
    std::snprintf(number, sizeof number, "\\u%04x", static_cast<unsigned>(byte));
    const std::string escape = byte == '\n'   ? "\\n"
                               : byte == '\r' ? "\\r"
                               : byte == '\t' ? "\\t"
                                              : number;
    EXPECT_EQ(Literal(std::string("a") + byte + "b"), "\"a" + escape + "b\"");
  }
}

TEST(ServiceJson, AllElseStaysAsItIs) {
  EXPECT_EQ(Literal(""), R"("")");
  EXPECT_EQ(Literal("\"\\/\x7F"), "\"\\\"\\\\/\x7F\"");
  EXPECT_EQ(Literal("\\b\b\\f\f"), R"("\\b\u0008\\f\u000c")");
  EXPECT_EQ(Literal("gr\xC3\xBCn \xF0\x9F\x98\x80"), "\"gr\xC3\xBCn \xF0\x9F\x98\x80\"");
  EXPECT_EQ(Literal("a\xFFz \xE2\x82(x"), "\"a\xEF\xBF\xBDz \xEF\xBF\xBD(x\"") << "no UTF-8";
}

TEST(ServiceJson, FieldsKeepTheirOrderAndNumbersTheirDigits) {
  Value record = Value::Record();
  const auto set = [&record](const char* name, Value value) {
    record.MutableRecord().At(SV::String(name)) = std::move(value);
  };
  set("z", Value(1.0));
  set("a", Value(0.1));
  set("m", Value(1e300));
  set("n", Value(std::numeric_limits<double>::infinity()));
  set("i", Value(std::int32_t{-7}));
  Value list = Value::List();
  list.MutableList().items.emplace_back(SV::String("x"));
  list.MutableList().items.emplace_back();
  set("l", std::move(list));
  EXPECT_EQ(ReplyJson(record, "out\n", {}, {kNoLimit}),
            R"({"variables":{"z":1,"a":0.1,"m":1e+300,"n":null,"i":-7,"l":["x",null]},)"
            R"("output":"out\n","error":null,"exit":null,"errorAt":null})");
}

// Long texts are written piece by piece: characters and bytes that are none lie across the borders.
TEST(ServiceJson, PiecesOfLongTextsFit) {
  const std::string part = "a\xC3\xBC\xE2\x82\xAC\xF0\x9F\x98\x80\xFF\b\"";
  const std::string written = "a\xC3\xBC\xE2\x82\xAC\xF0\x9F\x98\x80\xEF\xBF\xBD\\u0008\\\"";
  std::string text;
  std::string wanted = "\"";
  for (int i = 0; i < 20'000; ++i) {
    text += part;
    wanted += written;
  }
  EXPECT_TRUE(Literal(text) == wanted + '"');
  EXPECT_TRUE(Literal("x" + text) == "\"x" + wanted.substr(1) + '"');
}

TEST(ServiceJson, RepliesEndAtTheirLimit) {
  Value record = Value::Record();
  record.MutableRecord().At(SV::String("a")) = Value(std::int32_t{1});
  const std::optional<std::string> whole = ReplyJson(record, "out", {}, {kNoLimit});
  ASSERT_TRUE(whole);
  EXPECT_EQ(ReplyJson(record, "out", {}, {whole->size()}), whole);
  EXPECT_EQ(ReplyJson(record, "out", {}, {whole->size() - 1}), std::nullopt);
  EXPECT_EQ(ReplyJson(record, "out", {}, {0}), std::nullopt);
  Value nested = Value::List();
  for (int i = 0; i < 100; ++i) {
    Value outer = Value::List();
    outer.MutableList().items = {nested, nested};
    nested = outer;
  }
  EXPECT_EQ(ReplyJson(nested, "", {}, {100'000}), std::nullopt);
  EXPECT_EQ(script::service::QuestionJson("out", "{}", 40), std::nullopt);
  EXPECT_EQ(
      script::service::QuestionJson("out", "{}", kNoLimit),
      R"({"variables":{},"output":"out","error":null,"exit":null,"errorAt":null,"question":{}})");
}

TEST(ServiceJson, TellsHowAScriptEnded) {
  script::service::Ending ending;
  ending.exit = 300;
  ending.error = "wrong";
  ending.at = {"a\"b.tav", 2, 7, "SLEEP"};
  EXPECT_EQ(ReplyJson(Value::Record(), "", ending, {kNoLimit}),
            R"({"variables":{},"output":"","error":"wrong","exit":300,"errorAt":)"
            R"({"file":"a\"b.tav","line":2,"column":7,"command":"SLEEP"}})");
}

TEST(ServiceJson, Status) {
  script::service::Status status;
  const std::string begin =
      R"({"variables":{},"output":"","error":null,"exit":null,"errorAt":null,)";
  EXPECT_EQ(StatusJson(status), begin + R"("running":null,"waiting":[]})");
  status.running = {"7", "/script", 1.5};
  status.since = "2026-01-31T12:00:00Z";
  status.question = {"abc", 0.25};
  status.waiting = {{"8", "/command", 0}, {"9", "/script", 0.0015}};
  EXPECT_EQ(StatusJson(status),
            begin +
                R"("running":{"id":"7","path":"/script","seconds":1.500,)"
                R"("since":"2026-01-31T12:00:00Z","question":{"id":"abc","secondsLeft":0.250}},)"
                R"("waiting":[{"id":"8","path":"/command","seconds":0.000},)"
                R"({"id":"9","path":"/script","seconds":0.002}]})");
}

}  // namespace
