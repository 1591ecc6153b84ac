#include "commands/support/results.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "host/base/string.h"
#include "host/notation/kel_parser.h"
#include "host/notation/kel_value.h"
#include "host/notation/kel_value_set.h"
#include "host/script/script_result.h"
#include "tavhost/notation/allocation_hook.h"
#include "tavhost/notation/scope.h"
#include "tavhost/notation/value.h"

namespace {

const kel::Value* Variable(TavKelValueSet& set, const char* name) {
  return kel::Scope::Of(set).ReadOwn(name);
}

const kel::Value* Field(const TavKelValue& object, const char* name) {
  return kel::Value::Of(object).AsRecord().Find(name);
}

std::size_t CountOf(TavKelValueSet& set) {
  std::size_t count = 0;
  kel::Scope::Of(set).ForEach([&](std::string_view, const kel::Value&) { ++count; });
  return count;
}

std::string TextOf(TavScriptResult& result) { return std::string(result.GetText().View()); }

TEST(Results, GoIntoTheValueSetFirst) {
  TavKelValueSet variables;
  TavKelValue object(TavKelRecord);
  TavScriptResult result(&variables, &object);
  results::SetInteger(result, "ecode", 7);
  results::SetString(result, "text", "x");
  ASSERT_NE(Variable(variables, "ecode"), nullptr);
  EXPECT_EQ(Variable(variables, "ecode")->Kind(), TavKelInteger);
  EXPECT_EQ(Variable(variables, "ecode")->Integer(), 7);
  EXPECT_EQ(Variable(variables, "text")->Kind(), TavKelString);
  EXPECT_TRUE(kel::Value::Of(object).AsRecord().fields.empty());
  EXPECT_EQ(TextOf(result), "");
}

TEST(Results, GoIntoTheObjectSecond) {
  TavKelValue object(TavKelRecord);
  TavScriptResult result(&object);
  results::SetInteger(result, "ecode", -1L);
  results::SetString(result, "text", SV::String("x"));
  ASSERT_NE(Field(object, "ecode"), nullptr);
  EXPECT_EQ(Field(object, "ecode")->Kind(), TavKelInteger);
  EXPECT_EQ(Field(object, "ecode")->Integer(), -1);
  EXPECT_EQ(Field(object, "text")->Text(), "x");
  EXPECT_EQ(TextOf(result), "");
}

TEST(Results, GoIntoTheTextLast) {
  TavScriptResult result;
  results::SetInteger(result, "ecode", 0);
  EXPECT_EQ(TextOf(result), " ecode:0");
}

TEST(Results, AppendToTheTextThatIsThere) {
  TavScriptResult result;
  result.GetText() = "before";
  results::SetInteger(result, "a", -1);
  results::SetInteger(result, "b", 2147483647L);
  results::SetInteger(result, "c", std::numeric_limits<int>::min());
  results::SetString(result, "d", "");
  EXPECT_EQ(TextOf(result), "before a:-1 b:2147483647 c:-2147483648 d:\"\"");
}

TEST(Results, KeepIntegersIn32Bits) {
  if constexpr (sizeof(long) > 4) {
    const long wide = static_cast<long>(0x1FFFFFFFFll);
    TavKelValueSet variables;
    TavScriptResult toVariables(&variables);
    results::SetInteger(toVariables, "n", wide);
    EXPECT_EQ(Variable(variables, "n")->Integer(), -1);
    TavScriptResult toText;
    results::SetInteger(toText, "n", wide);
    EXPECT_EQ(TextOf(toText), " n:-1");
  }
}

TEST(Results, QuoteStringsInTextSoThatTheyReadBack) {
  const char bytes[] = "say \"hi\" \\ C:\\x\r\n\tz\0end";
  const SV::String text(bytes, sizeof bytes - 1);
  TavScriptResult result;
  results::SetString(result, "text", text);
  EXPECT_EQ(TextOf(result), " text:\"say \\\"hi\\\" \\\\ C:\\\\x\\r\\n\\tz\\0end\"");
  SV::String element("X");
  element += result.GetText();
  TavKelParser parser(element);
  ASSERT_EQ(parser.Parse(), 0);
  EXPECT_EQ(parser.GetStrValue("text"), text);
}

TEST(Results, TakeNamesThatTheScriptChose) {
  TavKelValueSet variables;
  TavScriptResult result(&variables);
  char name[] = "a";
  for (; *name <= 'c'; ++*name) results::SetIntegerOf(result, SV::String(name), *name);
  EXPECT_EQ(CountOf(variables), 3u);
  EXPECT_EQ(Variable(variables, "a")->Integer(), 'a');
  EXPECT_EQ(Variable(variables, "b")->Integer(), 'b');
  EXPECT_EQ(Variable(variables, "c")->Integer(), 'c');
}

TEST(Results, ShareTheDataOfACountedString) {
  const SV::String text("some text that is long enough to be worth sharing");
  TavKelValueSet variables;
  TavScriptResult result(&variables);
  results::SetString(result, "text", text);
  EXPECT_EQ(Variable(variables, "text")->Text().GetStr(), text.GetStr());
}

TEST(Results, TakeAPlainStringUpToItsFirstNul) {
  TavKelValueSet variables;
  TavScriptResult result(&variables);
  results::SetString(result, "text", "ab\0cd");
  EXPECT_EQ(Variable(variables, "text")->Text(), "ab");
  TavScriptResult toText;
  results::SetString(toText, "text", "ab\0cd");
  EXPECT_EQ(TextOf(toText), " text:\"ab\"");
}

TEST(Results, WrapContainersInTextOnly) {
  const auto list = [] {
    auto* value = new TavKelValue(TavKelList);
    value->Append(new TavKelValue(1L));
    value->Append(new TavKelValue(new SV::String("a b")));
    return value;
  };
  TavScriptResult toText;
  results::SetValue(toText, "l", list());
  auto* record = new TavKelValue(TavKelRecord);
  record->MoveValue("x", new TavKelValue(2L));
  results::SetValue(toText, "r", record);
  results::SetValue(toText, "i", new TavKelValue(-3L));
  results::SetValue(toText, "s", new TavKelValue(new SV::String("raw")));
  const std::string text = TextOf(toText);
  EXPECT_TRUE(text.starts_with(" l:(1, ")) << text;
  EXPECT_NE(text.find(") r:("), std::string::npos) << text;
  EXPECT_TRUE(text.ends_with(") i:-3 s:raw")) << text;

  TavKelValueSet variables;
  TavScriptResult toVariables(&variables);
  results::SetValue(toVariables, "l", list());
  EXPECT_EQ(Variable(variables, "l")->Kind(), TavKelList);
}

TEST(Results, PassOnAValueThatCouldNotBeAllocated) {
  TavKelValueSet variables;
  TavScriptResult toVariables(&variables);
  TavKelValue object(TavKelRecord);
  TavScriptResult toObject(&object);
  for (TavScriptResult* result : {&toVariables, &toObject}) {
    kel::FailNextAllocation();
    results::SetInteger(*result, "a", 1);
    kel::FailNextAllocation();
    results::SetInteger(*result, "b", 1L);
    kel::FailNextAllocation();
    results::SetString(*result, "c", "x");
    kel::FailNextAllocation();
    results::SetString(*result, "d", SV::String("x"));
    results::SetValue(*result, "e", nullptr);
    EXPECT_FALSE(result->HasError());
    EXPECT_EQ(TextOf(*result), "");
  }
  EXPECT_EQ(CountOf(variables), 0u);
  EXPECT_TRUE(kel::Value::Of(object).AsRecord().fields.empty());
}

}  // namespace
