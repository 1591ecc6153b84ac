#include "tavhost/script/built_in/built_in_text.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "tavhost/base/letter_case.h"
#include "tavhost/base/string_of.h"
#include "tavhost/base/utf8.h"
#include "tavhost/notation/kel_text.h"
#include "tavhost/script/built_in/built_in_support.h"
#include "tavhost/script/code_points.h"
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

std::string_view Trimmed(std::string_view text, base::WorkMeter& meter) {
  constexpr std::string_view kBlanks = " \t\r\n\f\v";
  while (!text.empty()) {
    const std::string_view piece = text.substr(0, meter.kPiece);
    const std::size_t begin = piece.find_first_not_of(kBlanks);
    meter.DidBytes(8 * std::min(begin, piece.size()));
    text.remove_prefix(std::min(begin, piece.size()));
    if (begin != std::string_view::npos) break;
  }
  while (!text.empty()) {
    const std::size_t from = text.size() - std::min(text.size(), meter.kPiece);
    const std::size_t last = text.substr(from).find_last_not_of(kBlanks);
    const std::size_t kept = last == std::string_view::npos ? from : from + last + 1;
    meter.DidBytes(8 * (text.size() - kept));
    text = text.substr(0, kept);
    if (last != std::string_view::npos) break;
  }
  return text;
}

std::size_t FindPart(std::string_view text, std::string_view part, base::WorkMeter& meter) {
  constexpr std::size_t kNone = std::string_view::npos;
  constexpr std::size_t kShortPart = 4096;
  if (part.empty()) return 0;
  if (part.size() > text.size()) return kNone;
  const std::size_t places = text.size() - part.size() + 1;
  if (part.size() <= kShortPart) {
    for (std::size_t at = 0; at < places; at += meter.kPiece) {
      const std::string_view window = text.substr(at, meter.kPiece + part.size() - 1);
      const std::size_t found = window.find(part);
      meter.DidBytes(std::min(found, window.size()));
      if (found != kNone) return at + found;
    }
    return kNone;
  }
  // Comparing a long part takes long in itself.
  for (std::size_t at = 0; at < places;) {
    const std::size_t window = std::min(places - at, meter.kPiece);
    const std::size_t begin = text.substr(at, window).find(part.front());
    meter.DidBytes(std::min(begin, window));
    if (begin == kNone) {
      at += window;
      continue;
    }
    at += begin;
    std::size_t same = 0;
    while (same < part.size()) {
      const std::size_t length = std::min(part.size() - same, kShortPart);
      if (text.compare(at + same, length, part, same, length) != 0) break;
      same += length;
      meter.DidBytes(length);
    }
    if (same == part.size()) return at;
    ++at;
  }
  return kNone;
}

namespace {

// A text changed piece by piece.
Value Changed(const SV::String& text, SV::String (*change)(const SV::String&), Engine& engine) {
  std::string_view rest = text.View();
  if (rest.size() <= engine.kPiece) return Value(change(text));
  SV::String changed;
  while (!rest.empty()) {
    const std::string_view piece = utf8::PieceOf(rest, engine.kPiece);
    changed += change(base::StringOf(piece));
    engine.DidBytes(4 * piece.size());
    rest.remove_prefix(piece.size());
  }
  return Value(std::move(changed));
}

}  // namespace

// Found by bytes, told in code points.
Value Find(Engine& engine, Value* arguments, std::uint32_t) {
  const std::string_view text = TextArgument("find", arguments, 0).View();
  const std::size_t place = FindPart(text, TextArgument("find", arguments, 1).View(), engine);
  if (place == std::string_view::npos) return Value(std::int32_t{-1});
  return Value(CountCodePoints(text.substr(0, place), engine));
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
  if (separator.empty()) {
    for (std::size_t at = 0, length = 0; at < rest.size(); at += length) {
      length = CodePointLength(rest, at);
      items.emplace_back(base::StringOf(rest.substr(at, length)));
      engine.Did(1);
    }
  } else if (!rest.empty()) {
    for (std::size_t end = FindPart(rest, separator, engine); end != std::string_view::npos;
         end = FindPart(rest, separator, engine)) {
      items.emplace_back(base::StringOf(rest.substr(0, end)));
      rest.remove_prefix(end + separator.size());
      engine.Did(1);
    }
    items.emplace_back(base::StringOf(rest));
  }
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
    AppendShown(text, item, engine);
    engine.Did(1);
  }
  return Value(std::move(text));
}

Value Replace(Engine& engine, Value* arguments, std::uint32_t) {
  std::string_view rest = TextArgument("replace", arguments, 0).View();
  const std::string_view old = TextArgument("replace", arguments, 1).View();
  const SV::String& fresh = TextArgument("replace", arguments, 2);
  if (old.empty()) return arguments[0];
  std::size_t place = FindPart(rest, old, engine);
  if (place == std::string_view::npos) return arguments[0];
  SV::String text;
  for (; place != std::string_view::npos; place = FindPart(rest, old, engine)) {
    text.Append(rest.data(), static_cast<long>(place));
    text.Append(fresh.GetStr(), fresh.Len());
    rest.remove_prefix(place + old.size());
    engine.Did(1);
    engine.ChargeBytes(fresh.View().size());
  }
  text.Append(rest.data(), static_cast<long>(rest.size()));
  return Value(std::move(text));
}

Value Upper(Engine& engine, Value* arguments, std::uint32_t) {
  return Changed(TextArgument("upper", arguments, 0), base::ToUpperCase, engine);
}

Value Lower(Engine& engine, Value* arguments, std::uint32_t) {
  return Changed(TextArgument("lower", arguments, 0), base::ToLowerCase, engine);
}

Value Trim(Engine& engine, Value* arguments, std::uint32_t) {
  const SV::String& text = TextArgument("trim", arguments, 0);
  const std::string_view inside = Trimmed(text.View(), engine);
  if (inside.size() == text.View().size()) return arguments[0];
  return Value(base::StringOf(inside));
}

Value ToText(Engine& engine, Value* arguments, std::uint32_t) {
  return Value(Shown(arguments[0], engine));
}

Value KelText(Engine& engine, Value* arguments, std::uint32_t) {
  SV::String text;
  kel::AppendKel(text, arguments[0], &engine);
  return Value(std::move(text));
}

}  // namespace script
