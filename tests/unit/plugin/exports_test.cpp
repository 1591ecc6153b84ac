#include "plugin/exports.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/base/string.h"
#include "host/notation/kel_parser.h"
#include "host/notation/kel_value_set.h"
#include "host/notation/message_port.h"
#include "host/script/script_result.h"
#include "host/system/version.h"
#include "plugin/command_table.h"
#include "tavhost/script/ports/message.h"
#include "tests/support/fake_toolkit.h"
#include "tests/support/traced.h"

namespace {

constexpr const char* kConstructor =
    "TavMessagePortCommandHandlerArray::TavMessagePortCommandHandlerArray(";

std::string AllNames(char separator) {
  std::string names;
  for (int i = 0; i < plugin::kCommandCount; ++i) {
    if (i > 0) names += separator;
    names += plugin::kCommandTable[i].name;
  }
  return names;
}

TEST(Exports, TellTypeAndExecutionTypeOnEveryCall) {
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(TavPluginFctGetType(), 102);
    EXPECT_EQ(TavPluginFctTavScriptGetExecutionType(), 44);
  }
}

TEST(Exports, TellTheHostsVersionAndPortName) {
  EXPECT_EQ(TavPluginFctGetVersion(), Tav_GetVersionIdentifier());
  EXPECT_EQ(TavPluginFctTavScriptGetMessagePortName(), TavMessagePort::TavScript());
}

TEST(Exports, AskTheHostForItsVersion) {
  const Traced traced;
  const trace::PluginScope scope;
  TavPluginFctGetVersion();
  EXPECT_EQ(traced.Count("Tav_GetVersionIdentifier()"), 1);
}

TEST(Exports, BuildNoHandlerArrayToSayWhoTheyAre) {
  const Traced traced;
  const trace::PluginScope scope;
  TavPluginFctGetVersion();
  TavPluginFctGetType();
  TavPluginFctTavScriptGetExecutionType();
  TavPluginFctTavScriptGetMessagePortName();
  EXPECT_EQ(traced.Count("TavMessagePortCommandHandlerArray"), 0);
}

TEST(Exports, BuildAndDestroyAHandlerArrayOnEveryCall) {
  const FakeToolkit toolkit;
  const Traced traced;
  const trace::PluginScope scope;
  constexpr int kRounds = 3;
  for (int i = 0; i < kRounds; ++i) {
    TavKelParser parser("GET_DISPLAY_SIZE");
    parser.Parse();
    TavScriptResult result;
    TavPluginFctTavScriptHandleRequestDirect("GET_DISPLAY_SIZE", parser, result);
    TavMessage message;
    TavPluginFctTavScriptHandleRequestMsg("GET_DISPLAY_SIZE", parser, &message);
    TavPluginFctTavScriptIsCommandExisting("SLEEP");
    SV::String names;
    TavPluginFctTavScriptGetAllCommands(names, ' ');
  }
  EXPECT_EQ(traced.Count(kConstructor), 4 * kRounds);
  int destroyed = 0;
  for (const std::string& line : traced.Lines()) {
    destroyed += line.ends_with("::~TavMessagePortCommandHandlerArray()") ? 1 : 0;
  }
  EXPECT_EQ(destroyed, 4 * kRounds);
}

TEST(Exports, AskForExistenceWithFalse) {
  const Traced traced;
  const trace::PluginScope scope;
  EXPECT_TRUE(TavPluginFctTavScriptIsCommandExisting("SLEEP"));
  bool asked = false;
  for (const std::string& line : traced.Lines()) {
    asked = asked || line.ends_with("::IsCommandExisting(\"SLEEP\", false) -> true");
  }
  EXPECT_TRUE(asked);
}

TEST(Exports, KnowExactlyTheCommandsOfTheTable) {
  for (int i = 0; i < plugin::kCommandCount; ++i) {
    EXPECT_TRUE(TavPluginFctTavScriptIsCommandExisting(plugin::kCommandTable[i].name));
  }
  for (const char* other : {"", "NO_SUCH_COMMAND", "SLEE", "SLEEPS", "MESSAGEBOX", " SLEEP"}) {
    EXPECT_FALSE(TavPluginFctTavScriptIsCommandExisting(other)) << other;
  }
}

TEST(Exports, ListAllCommandsInTableOrderWithAnySeparator) {
  for (const char separator : {' ', ',', '*', '\n', '\0', '\xff'}) {
    SV::String names("what stood there");
    TavPluginFctTavScriptGetAllCommands(names, separator);
    EXPECT_EQ(names.View(), AllNames(separator));
  }
}

TEST(Exports, HandOnWhatHandleSays) {
  TavKelParser parser("X");
  parser.Parse();
  TavScriptResult result;
  EXPECT_FALSE(TavPluginFctTavScriptHandleRequestDirect("NO_SUCH_COMMAND", parser, result));
  TavMessage message;
  EXPECT_FALSE(TavPluginFctTavScriptHandleRequestMsg("NO_SUCH_COMMAND", parser, &message));
  EXPECT_EQ(result.GetText().Len(), 0);
  EXPECT_EQ(message.Reply().Len(), 0);
}

TEST(Exports, AnswerAMessageWithText) {
  const FakeToolkit toolkit;
  TavKelParser parser("GET_DISPLAY_SIZE");
  parser.Parse();
  TavMessage message;
  EXPECT_TRUE(TavPluginFctTavScriptHandleRequestMsg("GET_DISPLAY_SIZE", parser, &message));
  EXPECT_EQ(message.Reply(), " w:800 h:600");
}

}  // namespace
