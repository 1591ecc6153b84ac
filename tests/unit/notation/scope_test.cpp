#include "tavhost/notation/scope.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

using kel::Layout;
using kel::Scope;
using kel::Value;

std::int32_t IntegerIn(const Scope& scope, const char* name) {
  const Value* value = scope.ReadOwn(name);
  return value ? value->Integer() : -1;
}

TEST(Scope, RepeatedNamesFollowTheirValuesToSlotsAndBack) {
  const SV::String name("count");
  Layout layout;
  layout.Add("other");
  layout.Add("count");
  Value slots[2];
  Scope scope;
  scope.SetRepeated(name, Value(1));
  EXPECT_EQ(IntegerIn(scope, "count"), 1);
  scope.Attach(layout, slots);
  EXPECT_EQ(slots[1].Integer(), 1);
  scope.SetRepeated(name, Value(2));
  scope.SetRepeated(name, Value(3));
  EXPECT_EQ(slots[1].Integer(), 3);
  scope.Detach();
  scope.SetRepeated(name, Value(4));
  EXPECT_EQ(slots[1].Kind(), Value::kNone);
  EXPECT_EQ(IntegerIn(scope, "count"), 4);
  scope.Clear();
  scope.SetRepeated(name, Value(5));
  EXPECT_EQ(IntegerIn(scope, "count"), 5);
}

TEST(Scope, RepeatedNamesKeepScopesApart) {
  const SV::String name("count");
  Scope outer;
  outer.SetRepeated(name, Value(1));
  for (std::int32_t round = 0; round < 3; ++round) {
    Scope inner(&outer);  // at the same address each time
    EXPECT_EQ(inner.ReadOwn("count"), nullptr);
    inner.SetRepeated(name, Value(10 + round));
    EXPECT_EQ(IntegerIn(inner, "count"), 10 + round);
  }
  EXPECT_EQ(IntegerIn(outer, "count"), 1);
}

TEST(Scope, RepeatedNamesFollowCalls) {
  const SV::String name("count");
  Layout layout;
  layout.Add("count");
  const Layout without;
  Value slots[1];
  Scope outer;
  Scope call;
  call.Begin(outer, layout, slots);
  call.SetRepeated(name, Value(1));
  EXPECT_EQ(slots[0].Integer(), 1);
  call.End();
  call.Begin(outer, without, nullptr);
  call.SetRepeated(name, Value(2));
  EXPECT_EQ(slots[0].Integer(), 1);
  call.End();
  call.Begin(outer, without, nullptr);
  EXPECT_EQ(call.ReadOwn("count"), nullptr);
  call.SetRepeated(name, Value(3));
  EXPECT_EQ(IntegerIn(call, "count"), 3);
  call.End();
}

TEST(Scope, RepeatedGlobalNamesAreSetOutermost) {
  const SV::String name("count");
  Layout layout;
  layout.Add("count");
  layout.MarkGlobal(0);
  Value slots[1];
  Scope outer;
  Scope call;
  call.Begin(outer, layout, slots);
  for (std::int32_t round = 1; round <= 3; ++round) {
    call.SetRepeated(name, Value(round));
    EXPECT_EQ(IntegerIn(outer, "count"), round);
    EXPECT_TRUE(slots[0].IsNone());
    outer.Clear();
  }
  call.End();
}

TEST(Scope, AStringChangedAfterwardsIsAnotherName) {
  SV::String name("count");
  Scope scope;
  scope.SetRepeated(name, Value(1));
  name.ToUpper();
  scope.SetRepeated(name, Value(2));
  EXPECT_EQ(IntegerIn(scope, "count"), 1);
  EXPECT_EQ(IntegerIn(scope, "COUNT"), 2);
}

// While slots stand for names, the names' places among the others are kept for Detach, and unseen.
TEST(Scope, NamesWithoutAValueAreNowhere) {
  Layout layout;
  layout.Add("set");
  layout.Add("unset");
  layout.Add("before");
  Value slots[3];
  Scope scope;
  const auto names = [&scope] {
    std::set<std::string> all;
    scope.ForEach([&all](std::string_view name, const Value&) { all.emplace(name); });
    return all;
  };
  scope.Set("before", Value(1));
  scope.Set("other", Value(2));
  scope.Attach(layout, slots);
  EXPECT_EQ(slots[2].Integer(), 1);
  EXPECT_EQ(scope.ReadOwn("unset"), nullptr);
  EXPECT_EQ(names(), (std::set<std::string>{"before", "other"}));
  scope.Set("set", Value(3));
  slots[2] = Value();
  EXPECT_EQ(names(), (std::set<std::string>{"set", "other"}));
  scope.Detach();
  EXPECT_EQ(names(), (std::set<std::string>{"set", "other"}));
  EXPECT_EQ(IntegerIn(scope, "set"), 3);
  EXPECT_EQ(scope.ReadOwn("unset"), nullptr);
  EXPECT_EQ(scope.ReadOwn("before"), nullptr);
  scope.Attach(layout, slots);
  scope.Clear();
  EXPECT_EQ(names(), std::set<std::string>());
  scope.Set("set", Value(4));
  scope.Detach();
  EXPECT_EQ(names(), std::set<std::string>{"set"});
}

}  // namespace
