#include "tavhost/script/built_in/built_in_text.h"

#include <charconv>
#include <cmath>
#include <string>
#include <string_view>

#include "tavhost/base/letter_case.h"
#include "tavhost/base/string_of.h"
#include "tavhost/notation/kel_text.h"
#include "tavhost/notation/scan.h"
#include "tavhost/script/built_in/built_in_support.h"
#include "tavhost/script/operations.h"

namespace script {

using kel::Value;

void FailArgument(const char* function, std::uint32_t number, const char* wanted,
                  const Value& given) {
  throw ScriptError(std::string(function) + ": argument " + std::to_string(number) + " must be " +
                    wanted + ", not " + KindWord(given));
}

const SV::String& TextArgument(const char* function, const Value* arguments, std::uint32_t place) {
  if (!arguments[place].IsText()) FailArgument(function, place + 1, "a string", arguments[place]);
  return arguments[place].Text();
}

std::int32_t IntegerArgument(const char* function, const Value* arguments, std::uint32_t place) {
  if (arguments[place].Kind() != TavKelInteger) {
    FailArgument(function, place + 1, "an integer", arguments[place]);
  }
  return arguments[place].Integer();
}

double NumberArgument(const char* function, const Value* arguments, std::uint32_t place) {
  const Value& value = arguments[place];
  if (value.Kind() == TavKelInteger) return value.Integer();
  if (value.Kind() != TavKelReal) FailArgument(function, place + 1, "a number", value);
  return value.Real();
}

namespace {

std::string_view Trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n\f\v";
  const std::size_t begin = text.find_first_not_of(kBlanks);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

}  // namespace

// Found by bytes, told in code points.
Value Find(Engine& engine, Value* arguments, std::uint32_t) {
  const std::string_view text = TextArgument("find", arguments, 0).View();
  const std::size_t place = text.find(TextArgument("find", arguments, 1).View());
  if (place == std::string_view::npos) {
    ChargeBytes(engine, text.size());
    return Value(std::int32_t{-1});
  }
  ChargeBytes(engine, place);
  return Value(CodePoints(arguments[0].Text().Copy(0, static_cast<long>(place))));
}

Value Starts(Engine&, Value* arguments, std::uint32_t) {
  return Truth(TextArgument("starts", arguments, 0)
                   .View()
                   .starts_with(TextArgument("starts", arguments, 1).View()));
}

Value Ends(Engine&, Value* arguments, std::uint32_t) {
  return Truth(TextArgument("ends", arguments, 0)
                   .View()
                   .ends_with(TextArgument("ends", arguments, 1).View()));
}

// No pieces in an empty text; an empty separator gives the code points.
Value Split(Engine& engine, Value* arguments, std::uint32_t) {
  std::string_view rest = TextArgument("split", arguments, 0).View();
  const std::string_view separator = TextArgument("split", arguments, 1).View();
  Value list = Value::List();
  auto& items = list.MutableList().items;
  ChargeBytes(engine, rest.size());
  if (separator.empty()) {
    for (std::size_t at = 0, length = 0; at < rest.size(); at += length) {
      length = CodePointLength(rest, at);
      items.emplace_back(base::StringOf(rest.substr(at, length)));
    }
  } else if (!rest.empty()) {
    for (std::size_t end = rest.find(separator); end != std::string_view::npos;
         end = rest.find(separator)) {
      items.emplace_back(base::StringOf(rest.substr(0, end)));
      rest.remove_prefix(end + separator.size());
    }
    items.emplace_back(base::StringOf(rest));
  }
  engine.Charge(items.size());
  return list;
}

Value Join(Engine& engine, Value* arguments, std::uint32_t) {
  if (arguments[0].Kind() != TavKelList) FailArgument("join", 1, "a list", arguments[0]);
  const SV::String separator = TextArgument("join", arguments, 1);
  SV::String text;
  bool isFirst = true;
  for (const Value& item : arguments[0].AsList().items) {
    if (!isFirst) text.Append(separator.GetStr(), separator.Len());
    isFirst = false;
    AppendShown(text, item);
  }
  ChargeBytes(engine, text.View().size() + arguments[0].AsList().items.size());
  return Value(std::move(text));
}

Value Replace(Engine& engine, Value* arguments, std::uint32_t) {
  std::string_view rest = TextArgument("replace", arguments, 0).View();
  const std::string_view old = TextArgument("replace", arguments, 1).View();
  const SV::String& fresh = TextArgument("replace", arguments, 2);
  std::size_t place = old.empty() ? std::string_view::npos : rest.find(old);
  if (place == std::string_view::npos) return arguments[0];
  SV::String text;
  for (; place != std::string_view::npos; place = rest.find(old)) {
    text.Append(rest.data(), static_cast<long>(place));
    text.Append(fresh.GetStr(), fresh.Len());
    rest.remove_prefix(place + old.size());
  }
  text.Append(rest.data(), static_cast<long>(rest.size()));
  ChargeBytes(engine, arguments[0].Text().View().size() + text.View().size());
  return Value(std::move(text));
}

Value Upper(Engine& engine, Value* arguments, std::uint32_t) {
  ChargeBytes(engine, TextArgument("upper", arguments, 0).View().size() * 4);
  return Value(base::ToUpperCase(arguments[0].Text()));
}

Value Lower(Engine& engine, Value* arguments, std::uint32_t) {
  ChargeBytes(engine, TextArgument("lower", arguments, 0).View().size() * 4);
  return Value(base::ToLowerCase(arguments[0].Text()));
}

Value Trim(Engine&, Value* arguments, std::uint32_t) {
  const SV::String& text = TextArgument("trim", arguments, 0);
  const std::string_view inside = Trimmed(text.View());
  if (inside.size() == text.View().size()) return arguments[0];
  return Value(base::StringOf(inside));
}

// A real is cut towards zero; a text must be an integer's digits, blanks around them allowed.
Value ToInteger(Engine&, Value* arguments, std::uint32_t) {
  const Value& x = arguments[0];
  if (x.Kind() == TavKelInteger) return x;
  if (x.Kind() == TavKelReal) {
    if (std::fabs(x.Real()) > 1e15) throw ScriptError("int: the real is too large for an integer");
    return IntegerValue(static_cast<std::int64_t>(x.Real()));
  }
  if (!x.IsText()) FailArgument("int", 1, "a number or a string", x);
  const std::string_view digits = Trimmed(x.Text().View());
  const char* const end = digits.data() + digits.size();
  const kel::ScannedNumber number = kel::ScanNumber(digits.data(), end);
  if (number.error || number.isReal || number.end != end) {
    throw ScriptError("int: " + std::string(kel::Literal(x.Text().View()).View()) +
                      " is not an integer");
  }
  return Value(number.integer);
}

Value ToReal(Engine&, Value* arguments, std::uint32_t) {
  const Value& x = arguments[0];
  if (!x.IsText()) {
    if (x.Kind() != TavKelInteger && x.Kind() != TavKelReal) {
      FailArgument("real", 1, "a number or a string", x);
    }
    return Value(NumberArgument("real", arguments, 0));
  }
  const std::string_view digits = Trimmed(x.Text().View());
  double number = 0;
  const auto [end, code] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (code != std::errc() || end != digits.data() + digits.size() || !std::isfinite(number)) {
    throw ScriptError("real: " + std::string(kel::Literal(x.Text().View()).View()) +
                      " is not a number");
  }
  return Value(number);
}

Value ToText(Engine&, Value* arguments, std::uint32_t) { return Value(Shown(arguments[0])); }

Value KelText(Engine&, Value* arguments, std::uint32_t) {
  SV::String text;
  kel::AppendKel(text, arguments[0]);
  return Value(std::move(text));
}

}  // namespace script
