#include "tavhost/ui/answer.h"

#include <gtest/gtest.h>

#include <tl/expected.hpp>

namespace {

using ui::Answer;

std::vector<Answer> Parse(std::string_view text) {
  const base::Result<std::vector<Answer>> answers = ui::ParseAnswers("a.kel", text);
  EXPECT_TRUE(answers) << answers.error().Text();
  return answers.value_or(std::vector<Answer>());
}

std::string ErrorOf(std::string_view text) {
  const base::Result<std::vector<Answer>> answers = ui::ParseAnswers("a.kel", text);
  EXPECT_FALSE(answers) << text;
  return answers ? "" : answers.error().Text();
}

TEST(Answers, ReadEveryWindowAndParameter) {
  const std::vector<Answer> answers = Parse(
      "# a comment\n"
      "MESSAGE_BOX title:\"Demo\" button:yes\n"
      "LIST_BOX select:(\"a\", \"b\\n\") check:\"x\" uncheck:(\"y\",)\n"
      "FILE_DIALOG path:\"/tmp/x\"; TREE_LIST_BOX select:(7, 12) deselect:3 button:\"my button\"\n"
      "EDIT_BROWSER cells:{ CELL row:1 column:2 text:\"t\" }\n"
      "EDIT_FIELD result:-2\n"
      "CANCEL_PROGRESS after:3\n");
  ASSERT_EQ(answers.size(), 7u);
  EXPECT_EQ(answers[0].element, "MESSAGE_BOX");
  EXPECT_EQ(answers[0].line, 2u);
  EXPECT_EQ(answers[0].title, "Demo");
  EXPECT_EQ(answers[0].button, "yes");
  EXPECT_EQ(answers[1].select, (std::vector<std::string>{"a", "b\n"}));
  EXPECT_EQ(answers[1].check, std::vector<std::string>{"x"});
  EXPECT_EQ(answers[1].uncheck, std::vector<std::string>{"y"});
  EXPECT_EQ(answers[2].path, std::vector<std::string>{"/tmp/x"});
  EXPECT_EQ(answers[3].line, 4u);
  EXPECT_EQ(answers[3].select, (std::vector<std::string>{"7", "12"}));
  EXPECT_EQ(answers[3].deselect, std::vector<std::string>{"3"});
  EXPECT_EQ(answers[3].button, "my button");
  ASSERT_EQ(answers[4].cells.size(), 1u);
  EXPECT_EQ(answers[4].cells[0].column, 2);
  EXPECT_EQ(answers[5].result, -2);
  EXPECT_EQ(answers[6].after, 3);
}

TEST(Answers, NameThePlaceOfAMistake) {
  EXPECT_EQ(ErrorOf("\n  FOO button:ok"), "a.kel:2:3: error: there is no window FOO");
  EXPECT_EQ(ErrorOf("MESSAGE_BOX text:\"x\""),
            "a.kel:1:13: error: MESSAGE_BOX takes no parameter text");
  EXPECT_EQ(ErrorOf("MESSAGE_BOX colour:\"x\""),
            "a.kel:1:13: error: MESSAGE_BOX takes no parameter colour");
  EXPECT_EQ(ErrorOf("MESSAGE_BOX button:3"), "a.kel:1:13: error: button must be a string");
  EXPECT_EQ(ErrorOf("MESSAGE_BOX result:\"1\""), "a.kel:1:13: error: result must be an integer");
  EXPECT_EQ(ErrorOf("LIST_BOX select:(1.5,)"),
            "a.kel:1:10: error: select must be a string or a list of strings");
  EXPECT_EQ(ErrorOf("MESSAGE_BOX \"text\""), "a.kel:1:1: error: MESSAGE_BOX takes no main value");
  EXPECT_EQ(ErrorOf("MESSAGE_BOX button:ok result:1"),
            "a.kel:1:1: error: either button or result, not both");
  EXPECT_EQ(ErrorOf("EDIT_BROWSER cells:{ CELL row:1 }"),
            "a.kel:1:22: error: a cell is CELL row:1 column:1 text:\"…\"");
  EXPECT_EQ(ErrorOf("MESSAGE_BOX title:\"open").substr(0, 8), "a.kel:1:");
}

TEST(Answers, AWrittenLineReadsBackTheSame) {
  const char* const lines[] = {
      "MESSAGE_BOX title:\"a \\\"b\\\"\\n\" button:yes",
      "LIST_BOX select:(\"a\", \"b\") check:(\"x\") uncheck:(\"y\", \"z\") button:ok",
      "LIST_BOX select:() button:cancel",
      "LIST_BOX select:\"one\" button:ok",
      "EDIT_BOX text:\"\\0\\xff\" result:7",
      "TREE_LIST_BOX select:(7, -12) deselect:3 button:\"my button\"",
      "EDIT_BROWSER cells:{ CELL row:1 column:2 text:\"t\"; CELL row:2 column:1 text:\"\" } "
      "button:ok",
      "CANCEL_PROGRESS after:3",
  };
  for (const char* line : lines) {
    const std::vector<Answer> answers = Parse(line);
    ASSERT_EQ(answers.size(), 1u);
    const std::string written = ui::AnswerLine(answers[0]);
    EXPECT_EQ(ui::AnswerLine(Parse(written)[0]), written);
    const bool isAsWritten = std::string_view(line).find("\\x") == std::string_view::npos;
    EXPECT_TRUE(!isAsWritten || written == line) << written;
  }
}

TEST(Answers, WhatIsNoIdOfAnItemIsWrittenAsAString) {
  for (const char* line : {"TREE_LIST_BOX select:\"my button\"", "TREE_LIST_BOX select:\"\"",
                           "TREE_LIST_BOX select:\"007\"", "TREE_LIST_BOX select:\"2147483648\"",
                           "TREE_LIST_BOX select:(\"a, b\", 7) deselect:\"-0\""}) {
    const std::vector<Answer> answers = Parse(line);
    ASSERT_EQ(answers.size(), 1u);
    EXPECT_EQ(ui::AnswerLine(answers[0]), line);
  }
  EXPECT_EQ(ui::AnswerLine(Parse("TREE_LIST_BOX select:\"7\"")[0]), "TREE_LIST_BOX select:7");
}

}  // namespace
