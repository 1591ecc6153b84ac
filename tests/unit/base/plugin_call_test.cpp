#include "tavhost/base/plugin_call.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using plugin_call::Scope;

std::string Text(std::size_t size = 200) {
  char room[200];
  return std::string(plugin_call::Describe(room, size));
}

class PluginCall : public testing::Test {
 protected:
  void TearDown() override { plugin_call::SetPlaceTeller(nullptr); }
};

TEST_F(PluginCall, NoneIsEmpty) {
  EXPECT_EQ(Scope::Current(), nullptr);
  EXPECT_EQ(Text(), "");
}

TEST_F(PluginCall, NamesTheInnermost) {
  const Scope outer("a.so", "EXECUTE");
  {
    const Scope inner("b/c.so", "FOO");
    EXPECT_EQ(Text(), "plug-in \"b/c.so\", command FOO");
  }
  EXPECT_EQ(Text(), "plug-in \"a.so\", command EXECUTE");
}

TEST_F(PluginCall, NamesThePlace) {
  const Scope call("a.so", "FOO");
  plugin_call::SetPlaceTeller([]() noexcept { return plugin_call::Place{"x.tav", 12}; });
  EXPECT_EQ(Text(), "plug-in \"a.so\", command FOO at x.tav:12");
  plugin_call::SetPlaceTeller([]() noexcept { return plugin_call::Place(); });
  EXPECT_EQ(Text(), "plug-in \"a.so\", command FOO");
}

TEST_F(PluginCall, ThePlaceStandsByItself) {
  EXPECT_EQ(plugin_call::PlaceText(), "");
  plugin_call::SetPlaceTeller([]() noexcept {
    return plugin_call::Place{"a\n\x01.tav", 4294967295};
  });
  EXPECT_EQ(plugin_call::PlaceText(), "a\\n\\x01.tav:4294967295");
  EXPECT_EQ(plugin_call::CurrentPlace().line, 4294967295u);
  plugin_call::SetPlaceTeller([]() noexcept { return plugin_call::Place(); });
  EXPECT_EQ(plugin_call::PlaceText(), "");
}

TEST_F(PluginCall, WithoutACommandThereIsNoPlace) {
  const Scope call("a.so", nullptr);
  plugin_call::SetPlaceTeller([]() noexcept { return plugin_call::Place{"x.tav", 12}; });
  EXPECT_EQ(Text(), "plug-in \"a.so\"");
}

TEST_F(PluginCall, AsMuchAsFits) {
  const Scope call("a.so", "FOO");
  const std::string whole = Text();
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    EXPECT_EQ(Text(size), whole.substr(0, size));
  }
}

}  // namespace
