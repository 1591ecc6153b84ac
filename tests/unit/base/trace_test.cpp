#include "tavhost/base/trace.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace {

class Trace : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(trace::Open(path_)); }
  void TearDown() override {
    trace::Close();
    std::filesystem::remove(path_);
  }

  std::string Lines() const {
    std::ostringstream text;
    text << std::ifstream(path_, std::ios::binary).rdbuf();
    return text.str();
  }

  const std::string path_ = (std::filesystem::path(testing::TempDir()) / "trace_test.txt").string();
};

void Operation(int number) {
  trace::Call call("Operation", number);
  call.Write();
}

void Outer() {
  trace::Call call("Outer");
  call.Write();
  Operation(1);
}

struct Thing {
  Thing() {
    trace::Call call("Thing::Thing");
    call.Created("Thing", this);
  }
  ~Thing() {
    trace::Call call(this, "~Thing");
    call.Write();
  }
  void Set(const SV::String& text) {
    trace::Call call(this, "Set", text);
    call.Write();
  }
};

TEST_F(Trace, WritesWhatAPluginCalls) {
  const trace::PluginScope plugin;
  Operation(-5);
  EXPECT_EQ(Lines(), "Operation(-5)\n");
}

TEST_F(Trace, IsSilentAboutTheHostItself) {
  Operation(1);
  { const trace::PluginScope plugin; }
  Operation(2);
  EXPECT_EQ(Lines(), "");
}

TEST_F(Trace, IsSilentInsideAnOperation) {
  const trace::PluginScope plugin;
  Outer();
  Operation(2);
  EXPECT_EQ(Lines(), "Outer()\nOperation(2)\n");
}

TEST_F(Trace, WritesAPluginCalledInsideAnOperation) {
  const trace::PluginScope plugin;
  {
    trace::Call call("Execute");
    call.Write();
    Operation(1);
    {
      const trace::PluginScope inner;
      Operation(2);
    }
    Operation(3);
  }
  Operation(4);
  EXPECT_EQ(Lines(), "Execute()\nOperation(2)\nOperation(4)\n");
}

TEST_F(Trace, WritesMarkedOperationsEvenNested) {
  const auto push = [] {
    trace::Call call(trace::kEvenNested, "Push", trace::Window(nullptr));
    call.Write();
    Operation(1);
  };
  push();
  const trace::PluginScope plugin;
  {
    trace::Call call("Box");
    push();
    Operation(2);
    call.Write();
  }
  Operation(3);
  EXPECT_EQ(Lines(), "Push(null)\nBox()\nOperation(3)\n");
}

TEST_F(Trace, NumbersObjectsOfAClass) {
  const trace::PluginScope plugin;
  Thing first;
  {
    Thing second;
    second.Set("a \"b\"\n");
  }
  first.Set("");
  const std::string lines = Lines();
  const int number = std::stoi(lines.substr(lines.find('#') + 1));
  const std::string one = "Thing#" + std::to_string(number);
  const std::string two = "Thing#" + std::to_string(number + 1);
  EXPECT_EQ(lines, "Thing::Thing() -> " + one + "\nThing::Thing() -> " + two + "\n" + two +
                       "::Set(\"a \\\"b\\\"\\n\")\n" + two + "::~Thing()\n" + one +
                       "::Set(\"\")\n");
}

TEST_F(Trace, WritesADestructorOnceUnderTheOwnClass) {
  struct Derived : Thing {};
  const trace::PluginScope plugin;
  {
    Derived derived;
    trace::NameFixed("Derived", &derived);
  }
  EXPECT_TRUE(Lines().ends_with("\nDerived::~Derived()\n")) << Lines();
  const int object = 0;
  {
    trace::Call call(&object, "~Thing");
    call.Write();
  }
  EXPECT_TRUE(Lines().ends_with("\nDerived::~Derived()\n")) << Lines();
}

TEST_F(Trace, WritesResultsWhenTheOperationReturns) {
  const trace::PluginScope plugin;
  {
    trace::Call call("Answer", true, 2.5, 4294967295u);
    EXPECT_EQ(Lines(), "");
    EXPECT_FALSE(call.Result(false));
  }
  EXPECT_EQ(Lines(), "Answer(true, 2.5, 4294967295) -> false\n");
}

TEST_F(Trace, WritesEveryKindOfArgument) {
  enum Colour { kRed = 1, kGreen = 2 };
  const int known = 0;
  const int unknown = 0;
  trace::NameFixed("top", &known);
  const trace::PluginScope plugin;
  {
    trace::Call call("F", kGreen, SV::Size(200, 250), SV::Point(-1, 0), trace::Window(&known),
                     trace::Window(&unknown), static_cast<const char*>(nullptr), "x",
                     SV::String("\0\x7f\x1b\\\xc3\xa4", 6), 1e300);
    call.Write();
  }
  trace::Forget(&known);
  EXPECT_EQ(Lines(),
            "F(2, (200, 250), (-1, 0), top, ?, null, \"x\", \"\\0\\x7F\\x1B\\\\\xc3\xa4\", "
            "1e+300)\n");
}

TEST_F(Trace, WritesAnOperationThatEndsEarly) {
  const trace::PluginScope plugin;
  const auto stops = [] {
    trace::Call call("Stops");
    throw std::runtime_error("stop");
  };
  EXPECT_THROW(stops(), std::runtime_error);
  Operation(1);
  EXPECT_EQ(Lines(), "Stops()\nOperation(1)\n");
}

TEST_F(Trace, FlushesEveryLine) {
  const trace::PluginScope plugin;
  Operation(1);
  EXPECT_EQ(Lines(), "Operation(1)\n");
  Operation(2);
  EXPECT_EQ(Lines(), "Operation(1)\nOperation(2)\n");
}

TEST_F(Trace, WritesToStandardError) {
  ASSERT_TRUE(trace::Open("-"));
  testing::internal::CaptureStderr();
  {
    const trace::PluginScope plugin;
    Operation(7);
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Operation(7)\n");
}

TEST_F(Trace, RefusesAFileThatCannotBeMade) {
  EXPECT_FALSE(trace::Open(path_ + "/no/such/folder/trace.txt"));
  EXPECT_FALSE(trace::IsOpen());
  const trace::PluginScope plugin;
  Operation(1);
}

}  // namespace
