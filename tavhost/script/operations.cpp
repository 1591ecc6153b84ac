#include "tavhost/script/operations.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "tavhost/notation/kel_text.h"
#include "tavhost/notation/kind_word.h"
#include "tavhost/script/script_error.h"

namespace script {

using kel::Value;

namespace {

bool IsNumber(const Value& value) {
  return value.Kind() == TavKelInteger || value.Kind() == TavKelReal;
}

double AsReal(const Value& value) {
  return value.Kind() == TavKelInteger ? value.Integer() : value.Real();
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
  } else if (op >= Operator::kDivide && op <= Operator::kModulo) {
    between = " by ";
  } else if (op >= Operator::kEqual) {
    between = " with ";
  } else if (op == Operator::kMultiply) {
    between = " by ";
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

bool IsContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

// What is known of the text whose code points were counted last. Scripts go through a text position
// by position, and counting from its start each time would take time without end. It shares the
// text's buffer, so that nobody can change that text in its place unseen. Short texts are simply
// counted anew.
struct LastText {
  SV::String text;
  std::int32_t codePoints = -1;
  std::int32_t codePoint = 0;  // a place in it ...
  std::size_t byte = 0;        // ... and where that begins
};
LastText lastText;
constexpr long kShortText = 64;

void Remember(const SV::String& text) {
  if (lastText.text.GetStr() == text.GetStr() && lastText.text.Len() == text.Len()) return;
  lastText = {text};
}

// Bytes at the start of a text that continue no character (such a text is no UTF-8) count as one
// code point together.
std::int32_t CountCodePoints(std::string_view text) {
  const auto starts =
      std::count_if(text.begin(), text.end(), [](char byte) { return !IsContinuation(byte); });
  const bool beginsAmiss = !text.empty() && IsContinuation(text.front());
  return static_cast<std::int32_t>(starts) + beginsAmiss;
}

bool ScalarsAreEqual(const Value& left, const Value& right) {
  if (IsNumber(left) && IsNumber(right)) return AsReal(left) == AsReal(right);
  if (left.Kind() != right.Kind()) return false;
  if (left.IsText()) return left.Text() == right.Text();
  if (left.Kind() == TavKelBody) return Shown(left) == Shown(right);
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

Value Arithmetic(Operator op, const Value& left, const Value& right) {
  if (left.Kind() == TavKelInteger && right.Kind() == TavKelInteger) {
    return IntegerArithmetic(op, left.Integer(), right.Integer());
  }
  if (IsNumber(left) && IsNumber(right)) return RealArithmetic(op, AsReal(left), AsReal(right));
  if (op == Operator::kAdd && (left.IsText() || right.IsText())) {
    SV::String text;
    AppendShown(text, left);
    AppendShown(text, right);
    return Value(std::move(text));
  }
  FailKinds(op, left, right);
}

Value Negated(const Value& value) {
  if (value.Kind() == TavKelInteger) return IntegerValue(-std::int64_t{value.Integer()});
  if (value.Kind() == TavKelReal) return Value(-value.Real());
  throw ScriptError(std::string("cannot negate ") + KindWord(value), Part::kLeft);
}

// Pairs that are still to be compared lie on a stack: the depth of a value costs no C++ stack.
bool AreEqual(const Value& left, const Value& right) {
  std::vector<std::pair<const Value*, const Value*>> open{{&left, &right}};
  while (!open.empty()) {
    const auto [a, b] = open.back();
    open.pop_back();
    if (a->Kind() == TavKelList && b->Kind() == TavKelList) {
      const auto& x = a->AsList().items;
      const auto& y = b->AsList().items;
      if (&x == &y) continue;
      if (x.size() != y.size()) return false;
      for (std::size_t i = 0; i < x.size(); ++i) open.emplace_back(&x[i], &y[i]);
    } else if (a->Kind() == TavKelRecord && b->Kind() == TavKelRecord) {
      const kel::RecordData& x = a->AsRecord();
      const kel::RecordData& y = b->AsRecord();
      if (&x == &y) continue;
      if (x.fields.size() != y.fields.size()) return false;
      for (const kel::Field& field : x.fields) {
        const Value* other = y.Find(field.name.View());
        if (!other) return false;
        open.emplace_back(&field.value, other);
      }
    } else if (!ScalarsAreEqual(*a, *b)) {
      return false;
    }
  }
  return true;
}

bool Compare(Operator op, const Value& left, const Value& right) {
  if (op == Operator::kEqual) return AreEqual(left, right);
  if (op == Operator::kNotEqual) return !AreEqual(left, right);
  if (IsNumber(left) && IsNumber(right)) return Holds(op, AsReal(left), AsReal(right));
  if (left.IsText() && right.IsText()) return Holds(op, left.Text().View(), right.Text().View());
  FailKinds(op, left, right);
}

void AppendShown(SV::String& out, const Value& value) {
  if (value.IsText()) {
    out += value.Text();
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
    kel::AppendKel(out, value);
  } else {
    kel::AppendText(out, value, false);
  }
}

SV::String Shown(const Value& value) {
  if (value.IsText()) return value.Text();
  SV::String text;
  AppendShown(text, value);
  return text;
}

std::int32_t CodePoints(const SV::String& text) {
  if (text.Len() <= kShortText) return CountCodePoints(text.View());
  Remember(text);
  if (lastText.codePoints < 0) lastText.codePoints = CountCodePoints(text.View());
  return lastText.codePoints;
}

std::size_t CodePointLength(std::string_view text, std::size_t at) {
  std::size_t end = at + 1;
  while (end < text.size() && IsContinuation(text[end])) ++end;
  return end - at;
}

std::size_t ByteOf(const SV::String& text, std::int32_t codePoint) {
  const std::string_view bytes = text.View();
  const bool isLong = text.Len() > kShortText;
  if (isLong) {
    if (CodePoints(text) == text.Len()) return static_cast<std::size_t>(codePoint);
    if (codePoint < lastText.codePoint) lastText.codePoint = 0, lastText.byte = 0;
  }
  std::int32_t at = isLong ? lastText.codePoint : 0;
  std::size_t byte = isLong ? lastText.byte : 0;
  for (; at < codePoint && byte < bytes.size(); ++at) byte += CodePointLength(bytes, byte);
  if (isLong) {
    lastText.codePoint = at;
    lastText.byte = byte;
  }
  return byte;
}

void ForgetText() { lastText = {}; }

Value Index(const Value& whole, const Value& index) {
  if (whole.Kind() == TavKelList && index.Kind() == TavKelInteger) {
    const auto& items = whole.AsList().items;
    return items[ListPlace(items, index.Integer())];
  }
  if (whole.Kind() == TavKelRecord && index.IsText()) return FieldOf(whole, index.Text());
  if (!whole.IsText() || index.Kind() != TavKelInteger) FailIndexKind(whole, index);
  const std::int32_t count = CodePoints(whole.Text());
  const std::int64_t place =
      index.Integer() < 0 ? std::int64_t{index.Integer()} + count : index.Integer();
  if (place < 0 || place >= count) {
    throw ScriptError("index " + std::to_string(index.Integer()) + " is outside the text of " +
                      std::to_string(count));
  }
  const std::string_view text = whole.Text().View();
  const std::size_t begin = ByteOf(whole.Text(), static_cast<std::int32_t>(place));
  return Value(SV::String(text.data() + begin, static_cast<long>(CodePointLength(text, begin))));
}

Value FieldOf(const Value& whole, const SV::String& name) {
  if (whole.Kind() != TavKelRecord) {
    throw ScriptError(std::string(KindWord(whole)) + " has no fields", Part::kLeft);
  }
  if (const Value* field = whole.AsRecord().Find(name.View())) return *field;
  throw ScriptError("the record has no field \"" + std::string(name.View()) + '"');
}

Value& PlaceIn(Value& whole, const Value& key) {
  if (whole.Kind() == TavKelList && key.Kind() == TavKelInteger) {
    const std::size_t place = ListPlace(whole.AsList().items, key.Integer());
    return whole.MutableList().items[place];
  }
  if (whole.Kind() == TavKelRecord && key.IsText()) return whole.MutableRecord().At(key.Text());
  if (whole.IsText()) throw ScriptError("the characters of a string cannot be changed");
  FailIndexKind(whole, key);
}

}  // namespace script
