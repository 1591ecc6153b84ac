#include "tavhost/analysis/completion.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace check {
namespace {

using Words = std::vector<std::string>;

Words Complete(std::string_view before) { return CompleteScript(before, {"total", "names"}); }

bool Has(const Words& words, const std::string& word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

TEST(CompletionTest, CommandsKeywordsAndNamesBeginAStatement) {
  EXPECT_EQ(Complete("GET_DISP"), Words{"GET_DISPLAY_SIZE"});
  EXPECT_EQ(Complete("x = 1; GET_DISP"), Words{"GET_DISPLAY_SIZE"});
  EXPECT_EQ(Complete("if a { GET_DISP"), Words{"GET_DISPLAY_SIZE"});
  EXPECT_EQ(Complete("pri"), Words{"print"});
  EXPECT_EQ(Complete("tot"), Words{"total"});
  EXPECT_FALSE(Has(Complete(""), "INTERNAL_TAVSCRIPT_FINISHED"));
  EXPECT_TRUE(Complete("xyzzy").empty());
}

TEST(CompletionTest, ParametersFollowACommand) {
  EXPECT_EQ(Complete("SLEEP "), Words{"ms:"});
  EXPECT_EQ(Complete("SLEEP m"), Words{"ms:"});
  EXPECT_EQ(Complete("QUERYBOX \"a { b\" yes-no-"), Words{"yes-no-cancel"});
  EXPECT_EQ(Complete("x = 1\nSET_PRINTER \\\n na"), Words{"name:"});
  EXPECT_TRUE(Has(Complete("FREAD file:\"x\" "), "binary"));
  EXPECT_TRUE(Complete("SLEEP ms:").empty());  // a value, not a parameter
}

TEST(CompletionTest, ElementsStandInABody) {
  EXPECT_TRUE(Has(Complete("LISTBOX entries:\"a\" extra:{ CHECK"), "CHECKBOX"));
  EXPECT_FALSE(Has(Complete("LISTBOX entries:\"a\" extra:{ GET_DISP"), "GET_DISPLAY_SIZE"));
  // Behind the body the command goes on.
  EXPECT_TRUE(Has(Complete("LISTBOX extra:{ CHECKBOX \"x\" } ti"), "title:"));
}

TEST(CompletionTest, FunctionsAndVariablesStandInExpressions) {
  EXPECT_EQ(Complete("x = len"), Words{"len"});
  EXPECT_EQ(Complete("SLEEP ms:(tot"), Words{"total"});
  EXPECT_EQ(Complete("print nam"), Words{"names"});
  EXPECT_TRUE(Complete("SLEEP ms:(GET_DISP").empty());
}

TEST(CompletionTest, NothingStandsInTextsAndComments) {
  EXPECT_TRUE(Complete("print \"GET_").empty());
  EXPECT_TRUE(Complete("print \"a\\\" GET_").empty());
  EXPECT_TRUE(Complete("# GET_").empty());
  EXPECT_EQ(Complete("# a comment\nGET_DISP"), Words{"GET_DISPLAY_SIZE"});
}

TEST(CompletionTest, TheWordIsTheNameAtTheEnd) {
  EXPECT_EQ(WordToComplete("QUERYBOX \"x\" yes-n"), "yes-n");
  EXPECT_EQ(WordToComplete("SLEEP ms:"), "");
  EXPECT_EQ(WordToComplete(""), "");
}

}  // namespace
}  // namespace check
