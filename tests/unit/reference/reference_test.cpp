#include "tavhost/reference/reference.h"

#include <gtest/gtest.h>

#include <array>
#include <nlohmann/json.hpp>

#include "tavhost/reference/reference_json.h"

namespace reference {
namespace {

std::vector<std::string> ProblemsOf(std::string_view text) {
  const std::array<Source, 1> sources = {{{"part", text}}};
  std::vector<std::string> problems;
  Catalogue::Read(sources, problems);
  return problems;
}

std::string WithCommand(std::string_view inside) {
  return "FAMILY \"Part\" text:\"Text.\"\nDO {\n SUMMARY \"Does.\"\n EXAMPLE \"\n    DO\n  \"\n" +
         std::string(inside) + "\n}\n";
}

TEST(Reference, EmbeddedFilesReadWithoutProblems) {
  std::vector<std::string> problems;
  const Catalogue catalogue = Catalogue::Read(EmbeddedSources(), problems);
  EXPECT_EQ(problems, std::vector<std::string>());
  std::size_t count = 0;
  for (const Family& family : catalogue.Families()) count += family.commands.size();
  EXPECT_EQ(count, 76u);
}

TEST(Reference, FamiliesStandInTheOrderOfTheirFiles) {
  std::vector<std::string> names;
  for (const Family& family : Catalogue::Get().Families()) names.push_back(family.name);
  EXPECT_EQ(names, (std::vector<std::string>{"dialogs", "files", "tree_list_box", "progress_output",
                                             "browsers", "environment", "http"}));
}

TEST(Reference, DescribesACommand) {
  const Command* command = Catalogue::Get().Find("LISTBOX");
  ASSERT_NE(command, nullptr);
  EXPECT_EQ(command->family, "dialogs");
  EXPECT_FALSE(command->main);
  const Parameter* entries = command->FindParameter("entries");
  ASSERT_NE(entries, nullptr);
  EXPECT_EQ(entries->type, Type::kString);
  EXPECT_EQ(entries->check, Check::kRequired);
  EXPECT_TRUE(entries->required);
  const Parameter* separator = command->FindParameter("toksep");
  ASSERT_NE(separator, nullptr);
  EXPECT_EQ(separator->defaultValue, Literal(" "));
  const Parameter* extra = command->FindParameter("extra");
  ASSERT_NE(extra, nullptr);
  ASSERT_EQ(extra->elements.size(), 1u);
  EXPECT_EQ(extra->elements[0].name, "CHECKBOX");
  EXPECT_EQ(extra->elements[0].parameters.size(), 2u);
  EXPECT_NE(command->FindResult("selection"), nullptr);
  EXPECT_EQ(command->FindResult("result-var"), nullptr);  // the script names that variable
  EXPECT_EQ(command->window, "LIST_BOX");
}

TEST(Reference, ExampleLosesItsIndentationOnly) {
  const Command* command = Catalogue::Get().Find("PERCWIN_CREATE");
  ASSERT_NE(command, nullptr);
  EXPECT_TRUE(command->example.script.starts_with("PERCWIN_CREATE title:\"Sorting\""));
  EXPECT_NE(command->example.script.find("\n  PERCWIN_SET"), std::string::npos);
  EXPECT_TRUE(command->example.script.ends_with("print i\n"));
}

TEST(Reference, NumberedParametersMatchTheirNumbers) {
  const Command* command = Catalogue::Get().Find("FILE_DIALOG");
  ASSERT_NE(command, nullptr);
  ASSERT_NE(command->FindParameter("filter12"), nullptr);
  EXPECT_EQ(command->FindParameter("filter12")->name, "filter#");
  EXPECT_EQ(command->FindParameter("filter")->name, "filter");
  EXPECT_EQ(command->FindParameter("filter0"), nullptr);
  EXPECT_EQ(command->FindParameter("filter#"), nullptr);
  EXPECT_EQ(command->FindParameter("filterx"), nullptr);
}

TEST(Reference, FindsTheNearestName) {
  const Catalogue& catalogue = Catalogue::Get();
  EXPECT_EQ(catalogue.Find("FILE_EXITS"), nullptr);
  ASSERT_NE(catalogue.Nearest("FILE_EXITS"), nullptr);
  EXPECT_EQ(catalogue.Nearest("FILE_EXITS")->name.substr(0, 10), "FILE_EXIST");
  EXPECT_EQ(catalogue.Nearest("XYZZY"), nullptr);
}

TEST(Reference, TellsWhatIsWrong) {
  EXPECT_EQ(ProblemsOf(WithCommand("")), std::vector<std::string>());
  EXPECT_EQ(ProblemsOf(WithCommand(" SUMARY \"x\"")),
            std::vector<std::string>{"part.kel: DO: unknown element SUMARY"});
  EXPECT_EQ(ProblemsOf(WithCommand(" PARAMETER \"a\" type:strin text:\"A.\"")),
            std::vector<std::string>{"part.kel: DO: unknown type strin"});
  EXPECT_EQ(ProblemsOf(WithCommand(" PARAMETER \"a\" text:\"A.\"")),
            std::vector<std::string>{"part.kel: DO: a has no type"});
  EXPECT_EQ(ProblemsOf(WithCommand(" PARAMETER \"a\" type:string unless:(\"b\") text:\"A.\"")),
            std::vector<std::string>{"part.kel: DO: there is no parameter b"});
  EXPECT_EQ(ProblemsOf(WithCommand(" SEE (\"UNDO\")")),
            std::vector<std::string>{"part.kel: DO: related command UNDO is not known"});
  EXPECT_EQ(ProblemsOf("DO { SUMMARY \"Does.\" }"),
            (std::vector<std::string>{"part.kel: DO: EXAMPLE is missing",
                                      "part.kel: FAMILY with title and text expected"}));
  ASSERT_EQ(ProblemsOf("DO {").size(), 1u);
  EXPECT_TRUE(ProblemsOf("DO {")[0].starts_with("part.kel: line 1, column "));
}

TEST(Reference, JsonHoldsEveryCommand) {
  const auto json = ToJson(Catalogue::Get());
  std::size_t count = 0;
  for (const auto& family : json["families"]) count += family["commands"].size();
  EXPECT_EQ(count, 76u);
  const auto command = ToJson(*Catalogue::Get().Find("GRAPHREP_TOOL"));
  EXPECT_EQ(command["parameters"][4]["name"], "subindex");
  EXPECT_EQ(command["parameters"][4]["default"], 4711);
  EXPECT_EQ(command["results"][0]["values"]["1"], "graphrep is missing");
}

}  // namespace
}  // namespace reference
