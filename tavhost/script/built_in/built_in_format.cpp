#include <charconv>
#include <stdexcept>
#include <string>
#include <string_view>

#include "tavhost/base/string_of.h"
#include "tavhost/script/built_in/built_in_support.h"
#include "tavhost/script/built_in/built_in_text.h"
#include "tavhost/script/code_points.h"
#include "tavhost/script/operations.h"

// format(text, ...): `{}` stands for the next argument, `{2}` for the third one. Behind a colon
// may follow `<`, `>` or `^` for the side, `0` to fill with zeros, a width in characters, and `.`
// with the number of decimals (of a text: its greatest length). `{{` and `}}` are braces.
namespace script {

using kel::Value;

namespace {

constexpr std::uint32_t kMaxWidth = 10'000;  // of fields and decimals: a slip, not a wish, beyond

// What stands between two braces. Without a side, numbers stand at the right and all else at the
// left; a negative precision means that none was given.
struct Field {
  std::uint32_t argument = 0;  // counts from 0
  char side = '\0';
  bool zeros = false;
  std::uint32_t width = 0;
  int precision = -1;
};

[[noreturn]] void FailField(std::string_view field) {
  throw ScriptError("format: malformed field \"{" + std::string(field) + "}\"");
}

bool ReadNumber(std::string_view& text, std::uint32_t& number) {
  const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (code != std::errc()) return false;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return true;
}

// `text` stands between the braces; `next` is the argument of fields without a number, which each
// of them moves on.
Field ParseField(const std::string_view text, std::uint32_t& next) {
  Field field;
  std::string_view rest = text;
  if (!ReadNumber(rest, field.argument)) field.argument = next++;
  if (rest.empty()) return field;
  if (rest.front() != ':') FailField(text);
  rest.remove_prefix(1);
  if (!rest.empty() && (rest.front() == '<' || rest.front() == '>' || rest.front() == '^')) {
    field.side = rest.front();
    rest.remove_prefix(1);
  }
  if (!rest.empty() && rest.front() == '0') {
    field.zeros = true;
    rest.remove_prefix(1);
  }
  ReadNumber(rest, field.width);
  if (!rest.empty() && rest.front() == '.') {
    rest.remove_prefix(1);
    std::uint32_t precision = 0;
    if (!ReadNumber(rest, precision) || precision > kMaxWidth) FailField(text);
    field.precision = static_cast<int>(precision);
  }
  if (!rest.empty() || field.width > kMaxWidth) FailField(text);
  return field;
}

std::string Fixed(double number, int precision) {
  // The largest real has 309 digits before the point; sign and point come on top.
  std::string digits(static_cast<std::size_t>(precision) + 330, '\0');
  const auto [end, code] = std::to_chars(digits.data(), digits.data() + digits.size(), number,
                                         std::chars_format::fixed, precision);
  digits.resize(static_cast<std::size_t>(end - digits.data()));
  return digits;
}

std::string FieldText(const Field& field, const Value& value, Engine& engine) {
  const bool isNumber = value.Kind() == TavKelInteger || value.Kind() == TavKelReal;
  if (isNumber && field.precision >= 0) {
    return Fixed(value.Kind() == TavKelInteger ? value.Integer() : value.Real(), field.precision);
  }
  const SV::String shown = Shown(value, engine);
  if (field.precision < 0) return std::string(shown.View());
  return std::string(shown.View().substr(0, ByteOf(shown, field.precision, engine)));
}

void AppendField(std::string& out, const Field& field, const Value& value, Engine& engine) {
  const bool isNumber = value.Kind() == TavKelInteger || value.Kind() == TavKelReal;
  std::string text = FieldText(field, value, engine);
  const auto length = static_cast<std::uint32_t>(CountCodePoints(text, engine));
  const std::uint32_t missing = field.width > length ? field.width - length : 0;
  if (field.zeros && isNumber) {
    text.insert(text.starts_with('-') ? 1 : 0, missing, '0');
    out += text;
    return;
  }
  const char side = field.side ? field.side : isNumber ? '>' : '<';
  const std::uint32_t before = side == '>' ? missing : side == '^' ? missing / 2 : 0;
  out.append(before, ' ');
  out += text;
  out.append(missing - before, ' ');
}

}  // namespace

Value Format(Engine& engine, Value* arguments, std::uint32_t count) {
  std::string_view rest = TextArgument("format", arguments, 0).View();
  std::string out;
  std::uint32_t next = 0;
  while (!rest.empty()) {
    const std::size_t brace = rest.find_first_of("{}");
    out.append(rest.substr(0, brace));
    if (brace == std::string_view::npos) break;
    const bool isDouble = rest.size() > brace + 1 && rest[brace + 1] == rest[brace];
    if (isDouble) {
      out += rest[brace];
      rest.remove_prefix(brace + 2);
      continue;
    }
    const std::size_t end = rest.find('}', brace);
    if (rest[brace] == '}' || end == std::string_view::npos) {
      throw ScriptError("format: a brace that belongs to no field must be doubled");
    }
    const Field field = ParseField(rest.substr(brace + 1, end - brace - 1), next);
    if (field.argument + 1 >= count) {
      throw ScriptError("format: there is no value for field " + std::to_string(field.argument));
    }
    AppendField(out, field, arguments[field.argument + 1], engine);
    rest.remove_prefix(end + 1);
    engine.Did(8);
    if (out.size() > std::size_t{SV::String::kMaxLength}) throw std::length_error("too long");
  }
  return Value(base::StringOf(out));
}

}  // namespace script
