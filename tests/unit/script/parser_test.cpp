#include "language_test.h"

using script_test::Mistake;
using script_test::Output;
using script_test::Repeated;
using script_test::RunScript;

namespace {

struct Case {
  const char* text;
  const char* mistake;
};

class Mistakes : public testing::TestWithParam<Case> {};

TEST_P(Mistakes, AreReportedAtTheirPlace) {
  EXPECT_EQ(Mistake(GetParam().text), GetParam().mistake) << GetParam().text;
}

INSTANTIATE_TEST_SUITE_P(
    Statements, Mistakes,
    testing::Values(Case{"", ""}, Case{"\n;;\n", ""}, Case{"# only a comment", ""},
                    Case{"\xEF\xBB\xBFx = 1\r\nprint x\r\n", ""},
                    Case{"x = ", "1:5: expected an expression, found the end of the text"},
                    Case{"x = \ny", "1:5: expected an expression, found the end of the line"},
                    Case{"x == 1", "1:4: expected an expression, found \"=\""},
                    Case{"x = 1 2", "1:7: expected the end of the statement, found \"2\""},
                    Case{"x.y", "1:4: expected \"=\", found the end of the text"},
                    Case{"x[1", "1:4: expected \"]\", found the end of the text"},
                    Case{"}", "1:1: this \"}\" closes nothing"},
                    Case{"if 1 { print 1", "1:15: expected \"}\", found the end of the text"},
                    Case{"if 1 print 1", "1:6: expected \"{\", found \"print\""},
                    Case{"if { }", "1:4: expected an expression, found \"{\""},
                    Case{"else { }", "1:1: this \"else\" follows no \"if\""},
                    Case{"catch { }", "1:1: this \"catch\" follows no \"try\""},
                    Case{"try { }", "1:8: expected \"catch\", found the end of the text"},
                    Case{"break", "1:1: \"break\" stands outside a loop"},
                    Case{"continue", "1:1: \"continue\" stands outside a loop"},
                    Case{"while 1 { func f() { } }", "1:11: functions stand at the top level"},
                    Case{"func f() { break }", "1:12: \"break\" stands outside a loop"},
                    Case{"return 1", "1:1: \"return\" stands outside a function"},
                    Case{"func f(a, a) { }", "1:11: the parameter \"a\" stands here twice"},
                    Case{"func f(a,) { }", "1:10: expected a parameter's name, found \")\""},
                    Case{"func f() { }\nfunc f() { }", "2:6: the function \"f\" stands here twice"},
                    Case{"func len(x) { }", "1:6: \"len\" is a built-in function"},
                    Case{"func f(a) { }\nf(1, 2)", "2:1: \"f\" takes 1 argument, not 2"},
                    Case{"func f(a) { global a }", "1:20: the parameter \"a\" cannot be global"},
                    Case{"for x { }", "1:7: expected \"in\" or \"from\", found \"{\""},
                    Case{"for x from 1 { }", "1:14: expected \"to\", found \"{\""},
                    Case{"for 1 in x { }", "1:5: expected a variable's name, found \"1\""},
                    Case{"true = 1", "1:1: \"true\" cannot be the name of a variable"},
                    Case{"for not in x { }", "1:5: \"not\" cannot be the name of a variable"},
                    Case{"throw", "1:6: expected an expression, found the end of the text"},
                    Case{"global", "1:7: expected a variable's name, found the end of the text"},
                    Case{"@", "1:1: expected a statement, found \"@\""},
                    Case{"\x01", "1:1: expected a statement, found a control character"},
                    Case{"\xC3\xA4 = 1", "1:1: expected a statement, found \"\xC3\xA4\""},
                    Case{"send CMD", "1:6: expected a port's name as a string, found \"CMD\""},
                    Case{"send \"P\"", "1:9: expected a command, found the end of the text"},
                    Case{"func f(a) { }\nx = f(1)[0]\nf(1)[0]", "3:1: this value is not used"}));

INSTANTIATE_TEST_SUITE_P(
    Expressions, Mistakes,
    testing::Values(
        Case{"x = (1", "1:7: expected \",\" or \")\", found the end of the text"},
        Case{"x = (,)", "1:6: expected an expression, found \",\""},
        Case{"x = (a: 1, 2)", "1:12: expected a field's name and \":\", found \"2\""},
        Case{"x = (a: 1, a: 2)", "1:12: the field \"a\" stands here twice"},
        Case{"x = 1 + not 2", "1:9: expected an expression, found \"not\""},
        Case{"x = \"abc", "1:5: the string that begins here is not closed, expected \"\\\"\""},
        Case{"x = 2147483648",
             "1:5: integer out of range; integers lie between -2147483648 and 2147483647"},
        Case{"x = -2147483648", ""},
        Case{"x = -2147483649",
             "1:5: integer out of range; integers lie between -2147483648 and 2147483647"},
        Case{"x = 1x", "1:5: malformed number"},
        Case{"x = a.5", "1:7: expected a field's name, found \"5\""},
        Case{"x = f(1,)", "1:9: expected an expression, found \")\""},
        Case{"x = len()", "1:5: \"len\" takes 1 argument, not 0"},
        Case{"x = range(1, 2, 3, 4)", "1:5: \"range\" takes 1 to 3 arguments, not 4"},
        Case{"x = format()", "1:5: \"format\" takes at least 1 argument, not 0"},
        Case{"push(1, 2)", "1:6: what \"push\" changes must be a variable"},
        Case{"x = (:1)", "1:7: expected \")\" of the empty record, found \"1\""},
        Case{"x += 1; x -= 1; x[0] *= 2; x.a /= 2; x //=\\\n3; x%=4", ""},
        Case{"x += ", "1:6: expected an expression, found the end of the text"},
        Case{"x + = 1",
             "1:3: expected a value, a parameter, a modifier or the end of the command, found "
             "\"+\""},
        Case{"true += 1", "1:1: \"true\" cannot be the name of a variable"},
        Case{"x[0] + 1", "1:6: expected \"=\", found \"+\""},
        Case{"x <= 1",
             "1:3: expected a value, a parameter, a modifier or the end of the command, found "
             "\"<\""},
        Case{"x = a = b", "1:7: expected the end of the statement, found \"=\""},
        Case{"x = a ! b", "1:7: expected the end of the statement, found \"!\""}));

INSTANTIATE_TEST_SUITE_P(
    Commands, Mistakes,
    testing::Values(
        Case{"INFOBOX \"x\" title:\"T\" yes-no if:1 to:\"x\" id:-3 r:1.5 w:word", ""},
        Case{"INFOBOX (1 + 2) a:(1, 2) b:() c:(x: 1) d:{ A 1; B { C } \n }", ""},
        Case{"INFOBOX hide->d", ""}, Case{"INFOBOX hide -> d", ""},
        Case{"INFOBOX \"a\" \\\n title:\"b\"", ""},
        Case{"INFOBOX title:\"a\" \"b\"", "1:19: expected a parameter or a modifier, found \"\"\""},
        Case{"X e:{ CHECKBOX \"a\" CHECKBOX \"b\" }",
             "1:29: expected a parameter or a modifier, found \"\"\"; CHECKBOX begins behind \";\" "
             "or in a line of its own"},
        Case{"INFOBOX \"a\" yes-no \"b\"",
             "1:20: expected a parameter or a modifier, found \"\"\""},
        Case{"INFOBOX \"a\" \"b\"",
             "1:13: expected a parameter, a modifier or the end of the command, found \"\"\""},
        Case{"INFOBOX a:1 a:2", "1:13: \"a\" stands here twice"},
        Case{"INFOBOX a: }", "1:12: expected a value, found \"}\""},
        Case{"INFOBOX a:", "1:11: expected a value, found the end of the text"},
        Case{"INFOBOX a :1", "1:11: expected a parameter or a modifier, found \":\""},
        Case{"INFOBOX a:{ B", "1:14: expected \"}\", found the end of the text"},
        Case{"INFOBOX a:{ B -> c }",
             "1:15: expected a value, a parameter, a modifier or the end of the command, found "
             "\"-\""},
        Case{"INFOBOX -> d e", "1:14: expected the end of the statement, found \"e\""},
        Case{"INFOBOX a:2147483648",
             "1:11: integer out of range; integers lie between -2147483648 and 2147483647"},
        Case{"INFOBOX a:\"\\q\"",
             "1:12: unknown escape; expected one of \\\" \\\\ \\n \\r \\t \\0 \\xHH"}));

// Another text of the script could bring the function: only calling it tells.
TEST(Parser, LeavesUnknownFunctionsToTheRun) {
  EXPECT_EQ(Mistake("lenn(1)"), "");
  EXPECT_EQ(script_test::Place(script_test::RunScript("lenn(1)").outcome.error),
            "1:1: unknown function \"lenn\"; did you mean \"len\"?");
}

TEST(Parser, ReportsWhatCouldGoOn) {
  const auto isIncomplete = [](const char* text) {
    return script_test::RunScript(text).outcome.error.incomplete;
  };
  EXPECT_TRUE(isIncomplete("if 1 {"));
  EXPECT_TRUE(isIncomplete("x = (1,"));
  EXPECT_TRUE(isIncomplete("x = \"abc"));
  EXPECT_TRUE(isIncomplete("func f("));
  EXPECT_FALSE(isIncomplete("x = )"));
  EXPECT_FALSE(isIncomplete("if 1 { } }"));
}

constexpr std::size_t kLimit = 1000;

class Nesting : public testing::TestWithParam<std::pair<const char*, const char*>> {};

TEST_P(Nesting, HoldsItsLimit) {
  const auto [open, close] = GetParam();
  const auto nested = [&](std::size_t depth) {
    return "x = (1)\nfunc f(a) { return a }\n" + Repeated(open, depth) + Repeated(close, depth);
  };
  EXPECT_EQ(Mistake(nested(kLimit - 1)), "");
  EXPECT_EQ(Mistake(nested(kLimit)), "");
  EXPECT_NE(Mistake(nested(kLimit + 1)).find("nested deeper than 1000 levels"), std::string::npos);
  EXPECT_NE(Mistake(Repeated(open, 200'000)), "");
}

INSTANTIATE_TEST_SUITE_P(Blocks, Nesting,
                         testing::Values(std::pair{"if 1 {", "}"}, std::pair{"while 0 {", "}"},
                                         std::pair{"for x in () {", "}"},
                                         std::pair{"try {", "} catch { }"}));

class ExpressionNesting : public testing::TestWithParam<std::pair<const char*, const char*>> {};

TEST_P(ExpressionNesting, HoldsItsLimit) {
  const auto [open, close] = GetParam();
  const auto nested = [&](std::size_t depth) {
    return "func f(a) { return a }\nl = (0,)\nx = " + Repeated(open, depth) + "0" +
           Repeated(close, depth);
  };
  EXPECT_EQ(Mistake(nested(kLimit - 1)), "");
  EXPECT_EQ(Mistake(nested(kLimit)), "");
  EXPECT_NE(Mistake(nested(kLimit + 1)).find("nested deeper than 1000 levels"), std::string::npos);
  EXPECT_NE(Mistake("x = " + Repeated(open, 1'000'000)), "");
  EXPECT_EQ(RunScript(nested(kLimit)).outcome.exitType, TavScriptExitEnd);
}

INSTANTIATE_TEST_SUITE_P(Brackets, ExpressionNesting,
                         testing::Values(std::pair{"(", ")"}, std::pair{"(1,", ")"},
                                         std::pair{"(a: ", ")"}, std::pair{"f(", ")"},
                                         std::pair{"l[", "]"}, std::pair{"abs(", ")"},
                                         std::pair{"-(", ")"}, std::pair{"1 + 0 * (", ")"},
                                         std::pair{"0 or 1 and 0 < 1 + 0 * - (", ")"}));

TEST(Parser, NestsBodiesUpToTheLimit) {
  const auto nested = [](std::size_t depth) {
    return "CMD " + Repeated("b:{ A ", depth) + Repeated("}", depth);
  };
  EXPECT_EQ(Mistake(nested(kLimit)), "");
  EXPECT_NE(Mistake(nested(kLimit + 1)), "");
  EXPECT_NE(Mistake(nested(1'000'000)), "");
}

TEST(Parser, TakesLongRunsWithoutNesting) {
  EXPECT_EQ(Output("x = 0" + Repeated(" + 1", 100'000) + "\nprint x"), "100000\n");
  EXPECT_EQ(Output("print " + Repeated("not ", 100'001) + "0"), "1\n");
  EXPECT_EQ(Output("print " + Repeated("- ", 100'000) + "7"), "7\n");
  EXPECT_EQ(Output("print 1" + Repeated(" and 1", 100'000)), "1\n");
  EXPECT_EQ(Output("l = (" + Repeated("1,", 100'000) + ")\nprint len(l)"), "100000\n");
  EXPECT_EQ(Output("if 0 { }" + Repeated(" else if 0 { }", 20'000) + " else { print 3 }"), "3\n");
  EXPECT_EQ(Output(Repeated("x = 1\n", 100'000) + "print x"), "1\n");
  for (const char* link : {"[0]", ".a", "[0].a"}) {
    const std::string path = Repeated(link, 120'000);
    EXPECT_NE(Output("l = 5\nprint l" + path).find("an integer has no"), std::string::npos) << link;
    EXPECT_NE(Output("l = 5\nl" + path + " = 1").find("too many values"), std::string::npos)
        << link;
    EXPECT_NE(Output("l = 5\npush(l" + path + ", 1)").find("too many values"), std::string::npos);
    EXPECT_NE(Output("func f() { return 5 }\nx = f()" + path + "\n").find("an integer has no"),
              std::string::npos);
  }
  const std::string tooMany = Output("l = 5\n\nl" + Repeated("[0]", 120'000) + " = 1");
  EXPECT_NE(tooMany.find(":3:1: error: too many values"), std::string::npos) << tooMany;
  EXPECT_EQ(Mistake("CMD " +
                    [] {
                      std::string all;
                      for (int i = 0; i < 50'000; ++i) all += " p" + std::to_string(i) + ":1";
                      return all;
                    }()),
            "");
}

TEST(Parser, RefusesLongNames) {
  const std::string longest(65'535, 'x');
  EXPECT_EQ(Mistake(longest + " = 1\nprint " + longest), "");
  EXPECT_EQ(Mistake(longest + " = 1\n" + longest + "x = 2"),
            "2:1: this name is longer than 65535 bytes");
  EXPECT_EQ(Mistake("\n " + longest + "x"), "2:2: this name is longer than 65535 bytes");
}

TEST(Parser, RefusesTooManyVariables) {
  std::string text;
  for (int i = 0; i < 40'000; ++i) text += "v" + std::to_string(i) + " = 1\n";
  EXPECT_NE(Mistake(text).find("too many variables"), std::string::npos);
  EXPECT_NE(Mistake("print 1" + Repeated(", 1", 70'000)).find("too many values"),
            std::string::npos);
}

}  // namespace
