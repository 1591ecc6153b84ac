#include "tavhost/script/built_in/built_in.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "tavhost/base/string_of.h"
#include "tavhost/script/built_in/built_in_support.h"
#include "tavhost/script/built_in/built_in_system.h"
#include "tavhost/script/built_in/built_in_text.h"
#include "tavhost/script/code_points.h"
#include "tavhost/script/engine.h"
#include "tavhost/script/operations.h"

// The table of built-in functions, and those that work on numbers, lists and records.
//
// How to add one: write it below or in one of built_in_*.cpp, enter it in the table at its place in
// the alphabet, describe it in docs/language.md, test it in tests/scripts/language/.
namespace script {

using kel::Value;

namespace {

Value Length(Engine& engine, Value* arguments, std::uint32_t) {
  const Value& x = arguments[0];
  if (x.IsText()) return Value(CodePoints(x.Text(), engine));
  if (x.Kind() == TavKelList)
    return IntegerValue(static_cast<std::int64_t>(x.AsList().items.size()));
  if (x.Kind() == TavKelRecord) {
    return IntegerValue(static_cast<std::int64_t>(x.AsRecord().fields.size()));
  }
  FailArgument("len", 1, "a string, a list or a record", x);
}

// From `from` up to but without `to`. Negative places count from the end; what lies outside the
// text or list counts as its nearer end.
Value Slice(Engine& engine, Value* arguments, std::uint32_t count) {
  const Value& x = arguments[0];
  if (!x.IsText() && x.Kind() != TavKelList) FailArgument("slice", 1, "a string or a list", x);
  const std::int64_t length = x.IsText() ? CodePoints(x.Text(), engine)
                                         : static_cast<std::int64_t>(x.AsList().items.size());
  const auto bound = [length](std::int64_t place) {
    return std::clamp<std::int64_t>(place < 0 ? place + length : place, 0, length);
  };
  const std::int64_t from = bound(IntegerArgument("slice", arguments, 1));
  const std::int64_t to =
      std::max(from, count > 2 ? bound(IntegerArgument("slice", arguments, 2)) : length);
  if (x.IsText()) {
    const std::size_t begin = ByteOf(x.Text(), static_cast<std::int32_t>(from), engine);
    const std::size_t end = ByteOf(x.Text(), static_cast<std::int32_t>(to), engine);
    engine.ChargeBytes(end - begin);
    return Value(x.Text().Copy(static_cast<long>(begin), static_cast<long>(end - begin)));
  }
  const auto& items = x.AsList().items;
  Value part = Value::List();
  auto& taken = part.MutableList().items;
  taken.reserve(static_cast<std::size_t>(to - from));
  for (auto item = items.begin() + from; item != items.begin() + to; ++item) {
    taken.push_back(*item);
    engine.Did(1);
  }
  return part;
}

Value Contains(Engine& engine, Value* arguments, std::uint32_t) {
  const Value& whole = arguments[0];
  const Value& part = arguments[1];
  if (whole.Kind() == TavKelList) {
    const auto& items = whole.AsList().items;
    return Truth(std::any_of(items.begin(), items.end(), [&](const Value& item) {
      engine.Did(1);
      return AreEqual(item, part, engine);
    }));
  }
  if (!part.IsText()) FailArgument("contains", 2, "a string", part);
  if (whole.Kind() == TavKelRecord) return Truth(whole.AsRecord().Find(part.Text().View()));
  if (!whole.IsText()) FailArgument("contains", 1, "a string, a list or a record", whole);
  const std::size_t place = FindPart(whole.Text().View(), part.Text().View(), engine);
  return Truth(place != std::string_view::npos);
}

Value Keys(Engine& engine, Value* arguments, std::uint32_t) {
  if (arguments[0].Kind() != TavKelRecord) FailArgument("keys", 1, "a record", arguments[0]);
  Value keys = Value::List();
  for (const kel::Field& field : arguments[0].AsRecord().fields) {
    keys.MutableList().items.push_back(Value(field.name));
    engine.Did(1);
  }
  return keys;
}

Value Has(Engine&, Value* arguments, std::uint32_t) {
  if (arguments[0].Kind() != TavKelRecord) FailArgument("has", 1, "a record", arguments[0]);
  return Truth(arguments[0].AsRecord().Find(TextArgument("has", arguments, 1).View()));
}

Value Range(Engine& engine, Value* arguments, std::uint32_t count) {
  const std::int64_t from = count > 1 ? IntegerArgument("range", arguments, 0) : 0;
  const std::int64_t to = IntegerArgument("range", arguments, count > 1 ? 1 : 0);
  const std::int64_t step = count > 2 ? IntegerArgument("range", arguments, 2) : 1;
  if (step == 0) throw ScriptError("range: the step is 0");
  Value list = Value::List();
  auto& items = list.MutableList().items;
  const std::int64_t length =
      step > 0 ? (to - from + step - 1) / step : (from - to - step - 1) / -step;
  if (length > 0) items.reserve(static_cast<std::size_t>(length));
  for (std::int64_t i = 0; i < length; ++i) {
    items.emplace_back(static_cast<std::int32_t>(from + i * step));
    engine.Did(1);
  }
  return list;
}

// Never called, the table only needs an entry: `push` changes a variable, which a function cannot,
// and is therefore an instruction.
Value Push(Engine&, Value*, std::uint32_t) { return Value(std::int32_t{0}); }

Value Absolute(Engine&, Value* arguments, std::uint32_t) {
  const Value& x = arguments[0];
  if (x.Kind() == TavKelInteger) return IntegerValue(std::abs(std::int64_t{x.Integer()}));
  return Value(std::fabs(NumberArgument("abs", arguments, 0)));
}

// Of the arguments, or of the one list that is given.
Value Extreme(const char* name, Operator better, Engine& engine, Value* arguments,
              std::uint32_t count) {
  const Value* values = arguments;
  std::size_t length = count;
  if (count == 1) {
    if (arguments[0].Kind() != TavKelList) FailArgument(name, 1, "a list", arguments[0]);
    values = arguments[0].AsList().items.data();
    length = arguments[0].AsList().items.size();
    if (length == 0) throw ScriptError(std::string(name) + ": the list is empty");
  }
  const Value* best = values;
  for (const Value* other = values + 1; other < values + length; ++other) {
    if (Compare(better, *other, *best, engine)) best = other;
    engine.Did(1);
  }
  // A value without an order is an error even when there is nothing to compare it with.
  if (length == 1) Compare(better, *best, *best, engine);
  return *best;
}

Value Minimum(Engine& engine, Value* arguments, std::uint32_t count) {
  return Extreme("min", Operator::kLess, engine, arguments, count);
}
Value Maximum(Engine& engine, Value* arguments, std::uint32_t count) {
  return Extreme("max", Operator::kGreater, engine, arguments, count);
}

Value Rounded(const char* name, Value* arguments, double (*round)(double)) {
  if (arguments[0].Kind() == TavKelInteger) return arguments[0];
  const double rounded = round(NumberArgument(name, arguments, 0));
  // Far outside, where not even 64 bits may hold it: any number out of range gives the same error.
  if (std::fabs(rounded) > 1e15) return IntegerValue(std::numeric_limits<std::int64_t>::max());
  return IntegerValue(static_cast<std::int64_t>(rounded));
}

Value Floor(Engine&, Value* arguments, std::uint32_t) {
  return Rounded("floor", arguments, [](double x) { return std::floor(x); });
}
Value Ceiling(Engine&, Value* arguments, std::uint32_t) {
  return Rounded("ceil", arguments, [](double x) { return std::ceil(x); });
}
Value Round(Engine&, Value* arguments, std::uint32_t) {
  return Rounded("round", arguments, [](double x) { return std::round(x); });
}

Value Now(Engine&, Value*, std::uint32_t) {
  const auto since = std::chrono::system_clock::now().time_since_epoch();
  return Value(
      static_cast<double>(std::chrono::duration_cast<std::chrono::milliseconds>(since).count()));
}

Value Type(Engine&, Value* arguments, std::uint32_t) {
  const std::string_view word = KindWord(arguments[0]);  // with its article
  const std::string_view name = word.substr(word.find(' ') + 1);
  return Value(base::StringOf(name));
}

}  // namespace

const BuiltIn kBuiltIns[] = {
    {"abs", 1, 1, false, Absolute},
    {"ceil", 1, 1, false, Ceiling},
    {"contains", 2, 2, false, Contains},
    {"ends", 2, 2, false, Ends},
    {"env", 0, 1, false, Environment},
    {"find", 2, 2, false, Find},
    {"floor", 1, 1, false, Floor},
    {"format", 1, kAnyNumber, false, Format},
    {"has", 2, 2, false, Has},
    {"int", 1, 1, false, ToInteger},
    {"join", 2, 2, false, Join},
    {"kel_parse", 1, 1, false, KelParse},
    {"kel_text", 1, 1, false, KelText},
    {"keys", 1, 1, false, Keys},
    {"len", 1, 1, false, Length},
    {"lower", 1, 1, false, Lower},
    {"max", 1, kAnyNumber, false, Maximum},
    {"min", 1, kAnyNumber, false, Minimum},
    {"now", 0, 0, false, Now},
    {"push", 2, 2, true, Push},
    {"range", 1, 3, false, Range},
    {"re_all", 2, 3, false, RegexAll},
    {"re_match", 2, 3, false, RegexMatch},
    {"re_replace", 3, 4, false, RegexReplace},
    {"re_split", 2, 3, false, RegexSplit},
    {"read_line", 0, 1, false, ReadLine},
    {"read_lines", 0, 0, false, ReadLines},
    {"real", 1, 1, false, ToReal},
    {"replace", 3, 3, false, Replace},
    {"round", 1, 1, false, Round},
    {"slice", 2, 3, false, Slice},
    {"split", 2, 2, false, Split},
    {"starts", 2, 2, false, Starts},
    {"str", 1, 1, false, ToText},
    {"time_make", 1, 2, false, TimeMake},
    {"time_parse", 2, 3, false, TimeParse},
    {"time_parts", 1, 2, false, TimeParts},
    {"time_text", 2, 3, false, TimeText},
    {"trim", 1, 1, false, Trim},
    {"type", 1, 1, false, Type},
    {"upper", 1, 1, false, Upper},
};
const std::uint32_t kBuiltInCount = std::size(kBuiltIns);

const BuiltIn* FindBuiltIn(std::string_view name) {
  const BuiltIn* const end = kBuiltIns + kBuiltInCount;
  const BuiltIn* found = std::lower_bound(
      kBuiltIns, end, name, [](const BuiltIn& b, std::string_view n) { return b.name < n; });
  return found != end && found->name == name ? found : nullptr;
}

}  // namespace script
