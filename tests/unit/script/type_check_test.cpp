#include "host/script/type_check.h"

#include <gtest/gtest.h>

#include "host/notation/kel_parser.h"
#include "host/notation/kel_value.h"
#include "host/notation/kel_value_set.h"
#include "host/script/script_result.h"

namespace {

std::string ErrorOf(const char* text, const char* name, TavKelValueType type, bool optional) {
  TavKelParser parser{SV::String(text)};
  EXPECT_EQ(parser.Parse(), 0) << text;
  TavScriptResult result;
  const bool invalid = Tav_IsInvalidKelParamType(parser, name, type, result, optional);
  EXPECT_EQ(invalid, result.HasError());
  return result.GetError().GetStr();
}

TEST(TypeCheck, PassesWhatFits) {
  EXPECT_EQ(ErrorOf("CMD title:\"x\"", "title", TavKelString, false), "");
  EXPECT_EQ(ErrorOf("CMD 5", "", TavKelInteger, false), "");
  EXPECT_EQ(ErrorOf("CMD x:5", "x", TavKelReal, false), "");
  EXPECT_EQ(ErrorOf("CMD", "x", TavKelString, true), "");
  EXPECT_EQ(ErrorOf("CMD", "", TavKelString, true), "");
}

TEST(TypeCheck, NamesWhatIsMissing) {
  EXPECT_EQ(ErrorOf("CMD", "x", TavKelString, false), "CMD: parameter \"x\" is missing");
  EXPECT_EQ(ErrorOf("CMD x:\"\"", "", TavKelString, false), "CMD: the main value is missing");
}

TEST(TypeCheck, NamesBothKinds) {
  EXPECT_EQ(ErrorOf("CMD x:1", "x", TavKelString, false),
            "CMD: parameter \"x\" must be a string, not an integer");
  EXPECT_EQ(ErrorOf("CMD 1", "", TavKelString, true),
            "CMD: the main value must be a string, not an integer");
  EXPECT_EQ(ErrorOf("CMD x:1.5", "x", TavKelInteger, true),
            "CMD: parameter \"x\" must be an integer, not a real");
  EXPECT_EQ(ErrorOf("CMD x", "x", TavKelReal, true),
            "CMD: parameter \"x\" must be a real, not a modifier");
  EXPECT_EQ(ErrorOf("CMD x:word", "x", TavKelString, true),
            "CMD: parameter \"x\" must be a string, not a word");
  EXPECT_EQ(ErrorOf("CMD x:{ A }", "x", TavKelString, true),
            "CMD: parameter \"x\" must be a string, not a body");
  EXPECT_EQ(ErrorOf("CMD x:(1, 2)", "x", TavKelString, true),
            "CMD: parameter \"x\" must be a string, not a list");
  EXPECT_EQ(ErrorOf("CMD x:(a: 2)", "x", TavKelString, true),
            "CMD: parameter \"x\" must be a string, not a record");
  EXPECT_EQ(ErrorOf("CMD x:\"1\"", "x", TavKelInteger, true),
            "CMD: parameter \"x\" must be an integer, not a string");
}

TEST(TypeCheck, SwitchedOffPassesAllSilently) {
  Tav_EnableGlobalTypeChecking(false);
  EXPECT_EQ(ErrorOf("CMD x:1", "x", TavKelString, false), "");
  EXPECT_EQ(ErrorOf("CMD", "x", TavKelString, false), "");
  Tav_EnableGlobalTypeChecking(true);
  EXPECT_NE(ErrorOf("CMD", "x", TavKelString, false), "");
}

TEST(ScriptResult, KeepsTheFirstErrorAndAppendsItToText) {
  TavScriptResult result;
  result.GetText() += " ecode:0";
  result.SetError("say \"no\"\n");
  result.SetError("later");
  EXPECT_EQ(result.GetText(), " ecode:0 error:\"say \\\"no\\\"\\n\"");
  EXPECT_EQ(result.GetError(), "say \"no\"\n");
}

TEST(ScriptResult, WritesNoErrorTextInTheOtherModes) {
  TavKelValueSet set;
  TavScriptResult intoSet(&set);
  intoSet.SetError("x");
  EXPECT_EQ(intoSet.GetText(), "");
  EXPECT_TRUE(intoSet.HasError());
  TavKelValue object(TavKelRecord);
  TavScriptResult intoObject(&object);
  intoObject.SetError("x");
  EXPECT_EQ(intoObject.GetText(), "");
  EXPECT_EQ(intoObject.GetObject(), &object);
}

}  // namespace
