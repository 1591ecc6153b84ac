#include "tavhost/script/ports/command_index.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/notation/kel_parser.h"
#include "host/script/message_port_command_handler_array.h"
#include "host/script/script_result.h"
#include "tavhost/base/nearest_name.h"
#include "tavhost/script/ports/message.h"

namespace {

std::string calledAs;

void First(const char* name, TavKelParser&, TavScriptResult& result) {
  calledAs = name;
  result.GetText() += " ecode:0";
}
void Second(const char*, TavKelParser&, TavScriptResult&) { calledAs = "second handler"; }

constexpr TavMessagePortCommand kTable[] = {
    {"ALPHA", First}, {"BETA", First}, {"ALPHA", Second}, {nullptr, nullptr}};

TEST(HandlerArray, CallsTheHandlerWithTheNameItWasCalledBy) {
  TavMessagePortCommandHandlerArray array(kTable);
  TavKelParser parser{SV::String("BETA")};
  ASSERT_EQ(parser.Parse(), 0);
  TavScriptResult result;
  EXPECT_TRUE(array.Handle("BETA", parser, result));
  EXPECT_EQ(calledAs, "BETA");
  EXPECT_EQ(result.GetText(), " ecode:0");
  EXPECT_TRUE(array.Handle("ALPHA", parser, result));
  EXPECT_EQ(calledAs, "ALPHA");  // the first of two rows
}

TEST(HandlerArray, FindsByTheTextThatStandsAtAnAddressNow) {
  TavMessagePortCommandHandlerArray array(kTable);
  char name[] = "BETA";
  EXPECT_TRUE(array.IsCommandExisting(name, false));
  name[3] = 'X';
  EXPECT_FALSE(array.IsCommandExisting(name, false));
  name[3] = 'A';
  EXPECT_TRUE(array.IsCommandExisting(name, false));
}

TEST(HandlerArray, RefusesOtherNames) {
  TavMessagePortCommandHandlerArray array(kTable);
  TavKelParser parser{SV::String("X")};
  TavScriptResult result;
  for (const char* name : {"alpha", "ALPH", "ALPHAA", "", "GAMMA"}) {
    EXPECT_FALSE(array.Handle(name, parser, result)) << name;
    EXPECT_FALSE(array.IsCommandExisting(name, false)) << name;
  }
  EXPECT_TRUE(array.IsCommandExisting("BETA", false));
}

TEST(HandlerArray, ListsTheTableInItsOrder) {
  TavMessagePortCommandHandlerArray array(kTable);
  EXPECT_EQ(array.GetAllCommands(','), "ALPHA,BETA,ALPHA");
  const SV::String withNul = array.GetAllCommands('\0');
  EXPECT_EQ(withNul.Len(), 16);
}

TEST(HandlerArray, AnswersMessagesAsText) {
  TavMessagePortCommandHandlerArray array(kTable);
  TavKelParser parser{SV::String("ALPHA")};
  ASSERT_EQ(parser.Parse(), 0);
  TavMessage message;
  EXPECT_TRUE(array.Handle("ALPHA", parser, &message));
  EXPECT_EQ(message.Reply(), " ecode:0");
  EXPECT_TRUE(array.Handle("ALPHA", parser, static_cast<TavMessage*>(nullptr)));
}

TEST(CommandIndex, FindsEachOfManyNames) {
  std::vector<std::string> names;
  for (int i = 0; i < 2000; ++i) names.push_back("COMMAND_" + std::to_string(i));
  std::vector<TavMessagePortCommand> table;
  for (const auto& name : names) table.push_back({name.c_str(), First});
  table.push_back({nullptr, nullptr});
  const script::CommandIndex index(table.data());
  for (std::size_t i = 0; i < names.size(); ++i) {
    EXPECT_EQ(index.Find(names[i].c_str()), &table[i]);
  }
  EXPECT_EQ(index.Find("COMMAND_2000"), nullptr);
}

TEST(NearestName, FindsSlips) {
  const std::vector<std::string_view> names{"FREAD", "FWRITE", "FILE_COPY", "BEEP"};
  EXPECT_EQ(base::NearestName("FWRIT", names), "FWRITE");
  EXPECT_EQ(base::NearestName("fread", names), "FREAD");
  EXPECT_EQ(base::NearestName("FILE_CPOY", names), "FILE_COPY");
  EXPECT_EQ(base::NearestName("QUERYBOX", names), "");
  EXPECT_EQ(base::NearestName("", names), "");
}

}  // namespace
