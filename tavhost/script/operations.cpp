#include "tavhost/script/operations.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "tavhost/notation/kel_text.h"
#include "tavhost/notation/kind_word.h"
#include "tavhost/script/code_points.h"
#include "tavhost/script/quoted.h"
#include "tavhost/script/script_error.h"

namespace script {

using kel::Value;

namespace {

bool IsNumber(const Value& value) {
  return value.Kind() == TavKelInteger || value.Kind() == TavKelReal;
}

const char* Verb(Operator op) {
  switch (op) {
    case Operator::kAdd:
      return "add";
    case Operator::kSubtract:
      return "subtract";
    case Operator::kMultiply:
      return "multiply";
    case Operator::kDivide:
    case Operator::kFloorDivide:
    case Operator::kModulo:
      return "divide";
    default:
      return "compare";
  }
}

[[noreturn]] void FailKinds(Operator op, const Value& left, const Value& right) {
  const char* between = " and ";
  const Value* first = &left;
  const Value* second = &right;
  if (op == Operator::kSubtract) {
    between = " from ";
    std::swap(first, second);
  } else if (op == Operator::kMultiply || (op >= Operator::kDivide && op <= Operator::kModulo)) {
    between = " by ";
  } else if (op >= Operator::kEqual) {
    between = " with ";
  }
  throw ScriptError(std::string("cannot ") + Verb(op) + ' ' + KindWord(*first) + between +
                    KindWord(*second));
}

Value IntegerArithmetic(Operator op, std::int64_t left, std::int64_t right) {
  switch (op) {
    case Operator::kAdd:
      return IntegerValue(left + right);
    case Operator::kSubtract:
      return IntegerValue(left - right);
    case Operator::kMultiply:
      return IntegerValue(left * right);
    default:
      break;
  }
  if (right == 0) throw ScriptError("division by zero");
  if (op == Operator::kDivide) {
    return Value(static_cast<double>(left) / static_cast<double>(right));
  }
  std::int64_t quotient = left / right;
  std::int64_t rest = left % right;
  if (rest != 0 && (rest < 0) != (right < 0)) {
    --quotient;
    rest += right;
  }
  return IntegerValue(op == Operator::kModulo ? rest : quotient);
}

Value RealArithmetic(Operator op, double left, double right) {
  switch (op) {
    case Operator::kAdd:
      return RealValue(left + right);
    case Operator::kSubtract:
      return RealValue(left - right);
    case Operator::kMultiply:
      return RealValue(left * right);
    default:
      break;
  }
  if (right == 0) throw ScriptError("division by zero");
  if (op == Operator::kDivide) return RealValue(left / right);
  if (op == Operator::kFloorDivide) return RealValue(std::floor(left / right));
  double rest = std::fmod(left, right);
  if (rest != 0 && (rest < 0) != (right < 0)) rest += right;
  return RealValue(rest);
}

template <typename T>
bool Holds(Operator op, const T& left, const T& right) {
  switch (op) {
    case Operator::kLess:
      return left < right;
    case Operator::kLessEqual:
      return left <= right;
    case Operator::kGreater:
      return left > right;
    default:
      return left >= right;
  }
}

bool ScalarsAreEqual(const Value& left, const Value& right, base::WorkMeter& meter) {
  if (IsNumber(left) && IsNumber(right)) return AsReal(left) == AsReal(right);
  if (left.Kind() != right.Kind()) return false;
  if (left.IsText()) {
    meter.ChargeBytes(std::min(left.Text().View().size(), right.Text().View().size()));
    return left.Text() == right.Text();
  }
  if (left.Kind() == TavKelBody) return Shown(left, meter) == Shown(right, meter);
  return left.IsNone();
}

// The index as a position; negative ones count from the end.
std::size_t ListPlace(const std::vector<Value>& items, std::int32_t index) {
  const auto count = static_cast<std::int64_t>(items.size());
  const std::int64_t place = index < 0 ? index + count : index;
  if (place < 0 || place >= count) {
    throw ScriptError("index " + std::to_string(index) + " is outside the list of " +
                      std::to_string(count));
  }
  return static_cast<std::size_t>(place);
}

[[noreturn]] void FailIndexKind(const Value& whole, const Value& index) {
  if (whole.Kind() == TavKelList && whole.AsList().items.empty() && index.IsText()) {
    throw ScriptError(
        "the index of a list must be an integer, not a string; the empty record is (:)",
        Part::kRight);
  }
  if (whole.Kind() == TavKelList || whole.IsText() || whole.Kind() == TavKelRecord) {
    throw ScriptError(std::string("the index of ") + KindWord(whole) + " must be " +
                          (whole.Kind() == TavKelRecord ? "a string" : "an integer") + ", not " +
                          KindWord(index),
                      Part::kRight);
  }
  throw ScriptError(std::string(KindWord(whole)) + " has no elements", Part::kLeft);
}

}  // namespace

const char* KindWord(const Value& value) {
  const char* const word = kel::KindWord(value.Kind());
  return word ? word : "no value";
}

bool IsTrue(const Value& value) {
  switch (value.Kind()) {
    case TavKelInteger:
      return value.Integer() != 0;
    case TavKelReal:
      return value.Real() != 0;
    case TavKelString:
    case TavKelWord:
      return value.Text().Len() > 0;
    case TavKelList:
      return !value.AsList().items.empty();
    case TavKelRecord:
      return !value.AsRecord().fields.empty();
    default:
      return true;
  }
}

Value IntegerValue(std::int64_t number) {
  if (number < std::numeric_limits<std::int32_t>::min() ||
      number > std::numeric_limits<std::int32_t>::max()) {
    throw ScriptError("integer out of range; integers lie between -2147483648 and 2147483647");
  }
  return Value(static_cast<std::int32_t>(number));
}

Value RealValue(double number) {
  if (!std::isfinite(number)) throw ScriptError("real out of range");
  return Value(number);
}

namespace {

// A list may be added to itself.
void AppendItems(Value& list, const Value& added, base::WorkMeter& meter) {
  if (added.AsList().items.empty()) return;
  if (list.AsList().sharers > 1) meter.Charge(list.AsList().items.size());
  const std::size_t count = added.AsList().items.size();
  auto& items = list.MutableList().items;
  if (items.size() + count > kMostItems) throw ScriptError("the list is too long");
  if (items.capacity() < items.size() + count) {
    items.reserve(std::max(items.size() + count, items.size() * 2));
  }
  for (std::size_t i = 0; i < count; ++i) items.push_back(added.AsList().items[i]);
  meter.Did(count);
}

}  // namespace

Value Arithmetic(Operator op, const Value& left, const Value& right, base::WorkMeter& meter) {
  if (left.Kind() == TavKelInteger && right.Kind() == TavKelInteger) {
    return IntegerArithmetic(op, left.Integer(), right.Integer());
  }
  if (IsNumber(left) && IsNumber(right)) return RealArithmetic(op, AsReal(left), AsReal(right));
  if (op == Operator::kAdd && (left.IsText() || right.IsText())) {
    SV::String text;
    AppendShown(text, left, meter);
    AppendShown(text, right, meter);
    return Value(std::move(text));
  }
  if (op == Operator::kAdd && left.Kind() == TavKelList && right.Kind() == TavKelList) {
    Value list = left;
    AppendItems(list, right, meter);
    return list;
  }
  FailKinds(op, left, right);
}

void Update(Value& place, Operator op, const Value& operand, base::WorkMeter& meter) {
  if (op == Operator::kAdd && place.IsText()) {
    // Put together first, so that an error meanwhile leaves the text as it was.
    const SV::String text = Shown(operand, meter);
    place.MutableText().Append(text.GetStr(), text.Len());
    meter.ChargeBytes(text.View().size());
  } else if (op == Operator::kAdd && place.Kind() == TavKelList && operand.Kind() == TavKelList) {
    AppendItems(place, operand, meter);
  } else {
    place = Arithmetic(op, place, operand, meter);
  }
}

Value Negated(const Value& value) {
  if (value.Kind() == TavKelInteger) return IntegerValue(-std::int64_t{value.Integer()});
  if (value.Kind() == TavKelReal) return Value(-value.Real());
  throw ScriptError(std::string("cannot negate ") + KindWord(value), Part::kLeft);
}

// Lists and records that are being compared lie on a stack: the depth of a value costs no C++
// stack. What both sides share is equal without a look. Two values that hold their parts many times
// over, each in storage of its own, can take any time all the same.
bool AreEqual(const Value& left, const Value& right, base::WorkMeter& meter) {
  struct Pair {
    const Value* left;
    const Value* right;
    std::size_t next = 0;
  };
  std::vector<Pair> open;
  // False: they differ. What has parts is opened, unless that tells already.
  const auto begin = [&](const Value& a, const Value& b) {
    if (a.Kind() == TavKelList && b.Kind() == TavKelList) {
      const auto& x = a.AsList().items;
      const auto& y = b.AsList().items;
      if (x.size() != y.size()) return false;
      if (&x != &y && !x.empty()) open.push_back({&a, &b});
      return true;
    }
    if (a.Kind() == TavKelRecord && b.Kind() == TavKelRecord) {
      const auto& x = a.AsRecord().fields;
      const auto& y = b.AsRecord().fields;
      if (x.size() != y.size()) return false;
      if (&x != &y && !x.empty()) open.push_back({&a, &b});
      return true;
    }
    return ScalarsAreEqual(a, b, meter);
  };
  if (!begin(left, right)) return false;
  while (!open.empty()) {
    meter.Did(1);
    const std::size_t at = open.back().next++;
    const Value& a = *open.back().left;
    const Value& b = *open.back().right;
    const bool isList = a.Kind() == TavKelList;
    if (at + 1 == (isList ? a.AsList().items.size() : a.AsRecord().fields.size())) open.pop_back();
    if (isList) {
      if (!begin(a.AsList().items[at], b.AsList().items[at])) return false;
    } else {
      const kel::Field& field = a.AsRecord().fields[at];
      const Value* const other = b.AsRecord().Find(field.name.View());
      if (!other || !begin(field.value, *other)) return false;
    }
  }
  return true;
}

bool Compare(Operator op, const Value& left, const Value& right, base::WorkMeter& meter) {
  if (op == Operator::kEqual) return AreEqual(left, right, meter);
  if (op == Operator::kNotEqual) return !AreEqual(left, right, meter);
  if (IsNumber(left) && IsNumber(right)) return Holds(op, AsReal(left), AsReal(right));
  if (left.IsText() && right.IsText()) {
    meter.ChargeBytes(std::min(left.Text().View().size(), right.Text().View().size()));
    return Holds(op, left.Text().View(), right.Text().View());
  }
  FailKinds(op, left, right);
}

void AppendShown(SV::String& out, const Value& value, base::WorkMeter& meter) {
  if (value.IsText()) {
    out += value.Text();
    meter.ChargeBytes(value.Text().View().size());
  } else if (value.Kind() == TavKelInteger) {
    char digits[16];
    char* at = digits + sizeof digits;
    const bool negative = value.Integer() < 0;
    auto left = static_cast<std::uint32_t>(value.Integer());
    if (negative) left = 0u - left;
    do {
      *--at = static_cast<char>('0' + left % 10);
      left /= 10;
    } while (left > 0);
    if (negative) *--at = '-';
    out.Append(at, static_cast<long>(digits + sizeof digits - at));
  } else if (value.Kind() == TavKelList || value.Kind() == TavKelRecord) {
    kel::AppendKel(out, value, &meter);
  } else {
    kel::AppendText(out, value, false, &meter);
  }
}

SV::String Shown(const Value& value, base::WorkMeter& meter) {
  if (value.IsText()) return value.Text();
  SV::String text;
  AppendShown(text, value, meter);
  return text;
}

Value Index(const Value& whole, const Value& index, base::WorkMeter& meter) {
  if (whole.Kind() == TavKelList && index.Kind() == TavKelInteger) {
    const auto& items = whole.AsList().items;
    return items[ListPlace(items, index.Integer())];
  }
  if (whole.Kind() == TavKelRecord && index.IsText()) return FieldOf(whole, index.Text());
  if (!whole.IsText() || index.Kind() != TavKelInteger) FailIndexKind(whole, index);
  const std::int32_t count = CodePoints(whole.Text(), meter);
  const std::int64_t place =
      index.Integer() < 0 ? std::int64_t{index.Integer()} + count : index.Integer();
  if (place < 0 || place >= count) {
    throw ScriptError("index " + std::to_string(index.Integer()) + " is outside the text of " +
                      std::to_string(count));
  }
  const std::string_view text = whole.Text().View();
  const std::size_t begin = ByteOf(whole.Text(), static_cast<std::int32_t>(place), meter);
  const std::size_t length = CodePointLength(text, begin);
  meter.ChargeBytes(length);
  return Value(SV::String(text.data() + begin, static_cast<long>(length)));
}

Value FieldOf(const Value& whole, const SV::String& name) {
  if (whole.Kind() != TavKelRecord) {
    throw ScriptError(std::string(KindWord(whole)) + " has no fields", Part::kLeft);
  }
  if (const Value* field = whole.AsRecord().Find(name.View())) return *field;
  throw ScriptError("the record has no field " + Quoted(name.View()));
}

// A list or record that others share is copied.
Value& PlaceIn(Value& whole, const Value& key, base::WorkMeter& meter) {
  if (whole.Kind() == TavKelList && key.Kind() == TavKelInteger) {
    const std::size_t place = ListPlace(whole.AsList().items, key.Integer());
    if (whole.AsList().sharers > 1) meter.Charge(whole.AsList().items.size());
    return whole.MutableList().items[place];
  }
  if (whole.Kind() == TavKelRecord && key.IsText()) {
    if (whole.AsRecord().sharers > 1) meter.Charge(whole.AsRecord().fields.size());
    return whole.MutableRecord().At(key.Text());
  }
  if (whole.IsText()) throw ScriptError("the characters of a string cannot be changed");
  FailIndexKind(whole, key);
}

Value& KnownPlaceIn(Value& whole, const Value& key, base::WorkMeter& meter) {
  if (whole.Kind() == TavKelRecord && key.IsText() && !whole.AsRecord().Find(key.Text().View())) {
    throw ScriptError("the record has no field " + Quoted(key.Text().View()));
  }
  return PlaceIn(whole, key, meter);
}

}  // namespace script
