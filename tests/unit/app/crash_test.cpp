#include "tavhost/app/crash.h"

#include <gtest/gtest.h>

#include <string>

#include "tavhost/loader/running_command.h"

namespace {

using loader::RunningScope;

TEST(CrashLine, NamesWhatRuns) {
  EXPECT_EQ(app::CrashLine("signal 11", true), "tavhost: crashed: signal 11\n");
  {
    const RunningScope loading("/p/a.so", nullptr);
    EXPECT_EQ(app::CrashLine("signal 11", true),
              "tavhost: plug-in \"/p/a.so\" crashed: signal 11\n");
    {
      const RunningScope command("/p/b.so", "CUT");
      EXPECT_EQ(app::CrashLine("signal 6", true),
                "tavhost: plug-in \"/p/b.so\" crashed in CUT: signal 6\n");
      EXPECT_EQ(app::CrashLine("signal 6", false), "tavhost: crashed: signal 6\n");
    }
    EXPECT_EQ(app::CrashLine("x", true), "tavhost: plug-in \"/p/a.so\" crashed: x\n");
  }
  EXPECT_EQ(app::CrashLine("x", true), "tavhost: crashed: x\n");
}

TEST(CrashLine, IsALineHoweverLongTheNamesAre) {
  const std::string longName(5000, 'n');
  const RunningScope command(longName.c_str(), longName.c_str());
  const std::string_view line = app::CrashLine("signal 11 (SIGSEGV)", true);
  EXPECT_LE(line.size(), 4096u);
  EXPECT_TRUE(line.ends_with(": signal 11 (SIGSEGV)\n"));
}

}  // namespace
