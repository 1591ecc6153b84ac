#include "tavhost/notation/value.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <utility>

#include "host/notation/kel_value.h"
#include "tavhost/base/event_loop.h"
#include "tavhost/base/stop.h"
#include "tavhost/notation/allocation_hook.h"
#include "tavhost/notation/freeing.h"
#include "tests/unit/notation/parsing.h"

using kel::Value;

namespace {

TEST(Value, CopiesShareAndWritersGetTheirOwn) {
  Value list = Value::List();
  list.MutableList().items.push_back(Value(1));
  const Value copy = list;
  EXPECT_EQ(&copy.AsList(), &list.AsList());
  list.MutableList().items.push_back(Value(2));
  EXPECT_EQ(copy.AsList().items.size(), 1u);
  EXPECT_EQ(list.AsList().items.size(), 2u);

  Value record = Value::Record();
  record.MutableRecord().At("a") = Value(1);
  Value other = record;
  other.MutableRecord().At("a") = Value(2);
  EXPECT_EQ(record.AsRecord().Find("a")->Integer(), 1);
  EXPECT_EQ(other.AsRecord().Find("a")->Integer(), 2);
}

// A stop is not held up by what takes long to free, wide or nested; that is freed as events are
// handled.
TEST(Value, WhatTakesLongToFreeBehindAStopIsLeftForLater) {
  constexpr int kMoreThanALook = 10000;
  const Value inner = Value::List();
  const auto freeWide = [&inner] {
    Value list = Value::List();
    list.MutableList().items.assign(kMoreThanALook, inner);
  };
  const auto freeNested = [&inner] {
    Value nested = inner;
    for (int level = 0; level < kMoreThanALook; ++level) {
      Value record = Value::Record();
      record.MutableRecord().At("a") = std::move(nested);
      nested = Value::List();
      nested.MutableList().items.push_back(std::move(record));
    }
  };
  kel::LetFreeingWait();
  freeWide();
  freeNested();
  EXPECT_EQ(inner.AsList().sharers, 1u);
  stop::Request(stop::Reason::kUser);
  freeWide();
  EXPECT_EQ(inner.AsList().sharers, 1u) << "a little while is nothing";
  // The clock's own steps make the while a little longer.
  std::this_thread::sleep_for(std::chrono::milliseconds(150));
  freeNested();
  EXPECT_EQ(inner.AsList().sharers, 2u);
  freeWide();
  EXPECT_GT(inner.AsList().sharers, 2u);
  stop::Clear();
  for (int round = 0; event_loop::HasPostedWork() && round < 1000; ++round) {
    event_loop::RunPostedWork();
  }
  EXPECT_EQ(inner.AsList().sharers, 1u);
}

TEST(Value, MovingLeavesNone) {
  Value text(SV::String("text"));
  Value taken = std::move(text);
  EXPECT_TRUE(text.IsNone());  // NOLINT: the point of the test
  EXPECT_EQ(taken.Text(), "text");
  taken = Value(4);
  EXPECT_EQ(taken.Integer(), 4);
  Value& self = taken;
  taken = self;
  EXPECT_EQ(taken.Integer(), 4);
}

TEST(Value, DepthCostsNoStack) {
  Value deep;
  for (int depth = 0; depth < 1'000'000; ++depth) {
    Value outer = depth % 2 ? Value::List() : Value::Record();
    if (outer.Kind() == TavKelList) {
      outer.MutableList().items.push_back(std::move(deep));
    } else {
      outer.MutableRecord().At("d") = std::move(deep);
    }
    deep = std::move(outer);
  }
  SV::String text;
  kel::AppendKel(text, deep);
  EXPECT_GT(text.Len(), 2'000'000);
}

TEST(Record, FieldsKeepTheirOrderAndAreFound) {
  for (const int count : {0, 1, 7, 8, 9, 15, 16, 17, 1000}) {
    Value record = Value::Record();
    for (int i = 0; i < count; ++i) {
      record.MutableRecord().At(parsing::Str("f" + std::to_string(i))) = Value(i);
    }
    for (int round = 0; round < 2; ++round) {  // the second time in a copy
      EXPECT_EQ(record.AsRecord().Find("none"), nullptr);
      for (int i = 0; i < count; ++i) {
        const std::string name = "f" + std::to_string(i);
        EXPECT_EQ(record.AsRecord().fields[static_cast<std::size_t>(i)].name.View(), name);
        ASSERT_NE(record.AsRecord().Find(name), nullptr);
        EXPECT_EQ(record.AsRecord().Find(name)->Integer(), i);
      }
      const Value shared = record;
      record.MutableRecord().At("f0") = Value(0);
      if (count == 0) break;
    }
    EXPECT_EQ(record.AsRecord().fields.size(), static_cast<std::size_t>(std::max(count, 1)));
  }
}

TEST(Record, StaysRightWhenFieldsAreTakenOut) {
  Value record = Value::Record();
  for (int i = 0; i < 100; ++i) {
    record.MutableRecord().At(parsing::Str("f" + std::to_string(i))) = Value(i);
  }
  EXPECT_EQ(record.AsRecord().Find("f50")->Integer(), 50);
  auto& fields = record.MutableRecord().fields;
  fields.erase(fields.begin() + 10);
  EXPECT_EQ(record.AsRecord().Find("f10"), nullptr);
  EXPECT_EQ(record.AsRecord().Find("f50")->Integer(), 50);
  record.MutableRecord().At("f10") = Value(-1);
  EXPECT_EQ(record.AsRecord().Find("f10")->Integer(), -1);
  EXPECT_EQ(record.AsRecord().fields.size(), 100u);
}

TEST(KelValue, Kinds) {
  const TavKelValue integer(5L);
  EXPECT_EQ(integer.GetType(), TavKelInteger);
  EXPECT_EQ(integer.GetText(false), "5");
  const TavKelValue wide(static_cast<long>(0x1'0000'0007LL));
  EXPECT_EQ(wide.GetText(false), "7") << "32 bits";
  const TavKelValue string(new SV::String("a\"b"));
  EXPECT_EQ(string.GetType(), TavKelString);
  EXPECT_EQ(string.GetText(false), "a\"b");
  EXPECT_EQ(string.GetText(true), "\"a\\\"b\"");
  const TavKelValue nothing(static_cast<SV::String*>(nullptr));
  EXPECT_EQ(nothing.GetText(false), "");
}

TEST(KelValue, HeapStringSharesItsBuffer) {
  const SV::String text("a text of some length");
  const TavKelValue value(new SV::String(text));
  EXPECT_EQ(value.GetText(false).GetStr(), text.GetStr());
}

TEST(KelValue, ListsAndRecordsTakeOwnership) {
  TavKelValue list(TavKelList);
  EXPECT_EQ(list.GetType(), TavKelList);
  list.Append(new TavKelValue(new SV::String("x")));
  list.Append(nullptr);
  list.Append(new TavKelValue(2L));
  EXPECT_EQ(list.GetText(false), "\"x\", 2");
  list.MoveValue("name", new TavKelValue(3L));
  EXPECT_EQ(list.GetText(false), "\"x\", 2") << "a list has no fields";

  TavKelValue record(TavKelRecord);
  record.MoveValue("a", new TavKelValue(1L));
  record.MoveValue("b c", new TavKelValue(new SV::String("t")));
  record.MoveValue("a", new TavKelValue(2L));
  record.MoveValue("n", nullptr);
  record.Append(new TavKelValue(2L));
  EXPECT_EQ(record.GetText(false), "a: 2, \"b c\": \"t\"");
}

TEST(KelValue, NoMemoryGivesNull) {
  kel::FailNextAllocation();
  EXPECT_EQ(new TavKelValue(1L), nullptr);
  const std::unique_ptr<TavKelValue> next(new TavKelValue(1L));
  EXPECT_NE(next, nullptr) << "only once";
}

}  // namespace
