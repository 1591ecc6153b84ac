#include "tavhost/app/command_line.h"

#include <gtest/gtest.h>

namespace app {
namespace {

CommandLine Parse(const std::vector<std::string>& arguments) {
  const auto parsed = ParseCommandLine(arguments);
  EXPECT_TRUE(std::holds_alternative<CommandLine>(parsed));
  return std::get<CommandLine>(parsed);
}

TEST(CommandLineTest, NothingIsTheWorkbench) { EXPECT_EQ(Parse({}).subcommand, Subcommand::kIde); }

TEST(CommandLineTest, OptionsMayStandOnBothSidesOfTheSubcommand) {
  const CommandLine line =
      Parse({"--quiet", "--ui=headless", "run", "--db", "a", "--timeout=0.5", "s.tav", "--db"});
  EXPECT_EQ(line.subcommand, Subcommand::kRun);
  EXPECT_TRUE(line.options.quiet);
  EXPECT_EQ(line.options.userInterface, "headless");
  EXPECT_EQ(line.options.databaseFolder, "a");
  EXPECT_EQ(line.options.timeoutSeconds, 0.5);
  EXPECT_EQ(line.operands, (std::vector<std::string>{"s.tav", "--db"}));
}

TEST(CommandLineTest, AValueMayBeEmptyOrLookLikeAnOption) {
  EXPECT_EQ(Parse({"run", "-e", "", "s"}).scriptText, "");
  EXPECT_EQ(Parse({"run", "--printer", "--quiet", "s"}).options.printer, "--quiet");
  EXPECT_FALSE(Parse({"run", "s"}).options.answers.has_value());
}

TEST(CommandLineTest, ScriptTexts) {
  EXPECT_EQ(Parse({"run", "-e", "a", "-eb", "c"}).scriptText, "a\nb");
  EXPECT_EQ(Parse({"run", "-e", ""}).scriptText, "");
  EXPECT_FALSE(Parse({"run", "s"}).scriptText.has_value());
}

TEST(CommandLineTest, OneDashIsAnOperand) {
  EXPECT_EQ(Parse({"run", "-", "x"}).operands, (std::vector<std::string>{"-", "x"}));
  EXPECT_EQ(Parse({"run", "--trace", "-", "s"}).options.traceFile, "-");
}

TEST(CommandLineTest, OptionsBehindOperandsWhereNoScriptFollows) {
  const CommandLine line = Parse({"check", "a", "--json", "b", "--", "--c"});
  EXPECT_TRUE(line.json);
  EXPECT_EQ(line.operands, (std::vector<std::string>{"a", "b", "--c"}));
}

TEST(CommandLineTest, ScreenSizesToTheirLimits) {
  EXPECT_EQ(Parse({"run", "--screen", "1x32767", "s"}).options.screen, SV::Size(1, 32767));
}

TEST(CommandLineTest, AddressesAreSpeltAlikeAndTakenOnce) {
  const CommandLine line = Parse({"serve", "--address", "127.0.0.2", "--address=::1", "--address",
                                  "127.0.0.2", "--address=0:0:0:0:0:0:0:1"});
  EXPECT_EQ(line.addresses, (std::vector<std::string>{"127.0.0.2", "::1"}));
  EXPECT_TRUE(Parse({"serve"}).addresses.empty());
}

TEST(CommandLineTest, CrashesAreAllowedWhereSaid) {
  EXPECT_TRUE(Parse({"serve", "--allow-crash"}).allowCrash);
  EXPECT_FALSE(Parse({"serve"}).allowCrash);
}

TEST(CommandLineTest, RepliesAreLimited) {
  EXPECT_EQ(Parse({"serve"}).replyLimit, std::size_t{64} << 20);
  EXPECT_EQ(Parse({"serve", "--reply-limit", "1"}).replyLimit, std::size_t{1} << 20);
  EXPECT_EQ(Parse({"serve", "--socket", "s", "--token-file=t"}).socket, "s");
  EXPECT_EQ(Parse({"serve", "--socket", "s", "--token-file=t"}).tokenFile, "t");
  EXPECT_EQ(Parse({"serve", "--request-timeout", "1.5"}).requestSeconds, 1.5);
  EXPECT_EQ(Parse({"serve"}).port, std::nullopt);
  EXPECT_EQ(Parse({"serve", "--reply-limit=1024"}).replyLimit, std::size_t{1} << 30);
}

}  // namespace
}  // namespace app
