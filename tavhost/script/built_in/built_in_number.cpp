#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>

#include "tavhost/notation/kel_text.h"
#include "tavhost/notation/scan.h"
#include "tavhost/script/built_in/built_in_support.h"
#include "tavhost/script/built_in/built_in_text.h"
#include "tavhost/script/operations.h"
#include "tavhost/script/quoted.h"

namespace script {

using kel::Value;

namespace {

constexpr std::string_view kDigits = "0123456789";

// How many bytes at the begin of a text are among these.
std::size_t CountOf(std::string_view wanted, std::string_view text, base::WorkMeter& meter) {
  std::size_t count = 0;
  while (count < text.size()) {
    const std::string_view piece = text.substr(count, meter.kPiece);
    const std::size_t run = std::min(piece.find_first_not_of(wanted), piece.size());
    count += run;
    meter.DidBytes(run);
    if (run < piece.size()) break;
  }
  return count;
}

std::string_view TakeRun(std::string_view wanted, std::string_view& text, base::WorkMeter& meter) {
  const std::string_view run = text.substr(0, CountOf(wanted, text, meter));
  text.remove_prefix(run.size());
  return run;
}

// The digits that decide a decimal number. Two doubles that are neighbours, and what lies between
// them, differ within the first 770; of what comes behind only matters whether it is anything.
struct Significant {
  static constexpr std::size_t kMost = 800;

  std::string digits;           // without zeros before them
  std::int64_t scale = 0;       // the number is 0.DIGITS times ten to this
  bool isAnythingLeft = false;  // behind the digits something but zeros follows

  // Takes what stands before the point, or behind it.
  void Take(std::string_view run, bool isFraction, base::WorkMeter& meter) {
    if (digits.empty()) {
      const std::size_t zeros = TakeRun("0", run, meter).size();
      if (isFraction) scale -= static_cast<std::int64_t>(zeros);
    }
    if (!isFraction) scale += static_cast<std::int64_t>(run.size());
    const std::size_t taken = std::min(run.size(), kMost - digits.size());
    digits += run.substr(0, taken);
    run.remove_prefix(taken);
    isAnythingLeft = isAnythingLeft || CountOf("0", run, meter) < run.size();
  }
};

// The exponent behind a number's digits, such as `e-05`, added to `scale`. False when that is none.
bool AddExponent(std::string_view text, std::int64_t& scale, base::WorkMeter& meter) {
  constexpr std::size_t kMostDigits = 15;  // far beyond what any length of digits makes up for
  if (text.empty()) return true;
  if (text[0] != 'e' && text[0] != 'E') return false;
  text.remove_prefix(1);
  const bool isNegative = text.starts_with('-');
  if (isNegative || text.starts_with('+')) text.remove_prefix(1);
  const std::string_view zeros = TakeRun("0", text, meter);
  const std::string_view digits = TakeRun(kDigits, text, meter);
  if (!text.empty() || (zeros.empty() && digits.empty())) return false;
  std::int64_t exponent = 0;
  for (const char digit : digits.substr(0, kMostDigits)) exponent = exponent * 10 + (digit - '0');
  scale += isNegative ? -exponent : exponent;
  return true;
}

// A decimal number of any length as a short one that reads as the same double; what is no number
// stays none.
std::string ShortReal(std::string_view text, base::WorkMeter& meter) {
  const bool isNegative = text.starts_with('-');
  if (isNegative) text.remove_prefix(1);
  Significant number;
  const std::string_view whole = TakeRun(kDigits, text, meter);
  const bool hasPoint = text.starts_with('.');
  if (hasPoint) text.remove_prefix(1);
  const std::string_view fraction = hasPoint ? TakeRun(kDigits, text, meter) : std::string_view();
  number.Take(whole, false, meter);
  number.Take(fraction, true, meter);
  const bool isNumber = !whole.empty() || !fraction.empty();
  if (!isNumber || !AddExponent(text, number.scale, meter)) return "?";
  std::string result = isNegative ? "-0." : "0.";
  if (number.digits.empty()) return result + '0';
  result += number.digits;
  if (number.isAnythingLeft) result += '1';
  return result + 'e' + std::to_string(number.scale);
}

// An integer's text without the zeros before it, and cut where it is too long for one anyway.
std::string ShortInteger(std::string_view text, base::WorkMeter& meter) {
  constexpr std::size_t kMostDigits = 32;
  std::string result;
  if (text.starts_with('-')) {
    text.remove_prefix(1);
    result = '-';
  }
  if (!TakeRun("0", text, meter).empty()) result += '0';
  return result.append(text.substr(0, kMostDigits));
}

[[noreturn]] void FailText(const char* function, std::string_view text, const char* wanted) {
  std::string message(function);
  message.append(": ").append(kel::Literal(ShownPart(text)).View()).append(ShownEnd(text));
  throw ScriptError(message + " is not " + wanted);
}

}  // namespace

// A real is cut towards zero; a text must be an integer's digits, blanks around them allowed.
Value ToInteger(Engine& engine, Value* arguments, std::uint32_t) {
  const Value& x = arguments[0];
  if (x.Kind() == TavKelInteger) return x;
  if (x.Kind() == TavKelReal) {
    if (std::fabs(x.Real()) > 1e15) throw ScriptError("int: the real is too large for an integer");
    return IntegerValue(static_cast<std::int64_t>(x.Real()));
  }
  if (!x.IsText()) FailArgument("int", 1, "a number or a string", x);
  const std::string digits = ShortInteger(Trimmed(x.Text().View(), engine), engine);
  const char* const end = digits.data() + digits.size();
  const kel::ScannedNumber number = kel::ScanNumber(digits.data(), end);
  if (number.error || number.isReal || number.end != end) {
    FailText("int", x.Text().View(), "an integer");
  }
  return Value(number.integer);
}

Value ToReal(Engine& engine, Value* arguments, std::uint32_t) {
  const Value& x = arguments[0];
  if (!x.IsText()) {
    if (x.Kind() != TavKelInteger && x.Kind() != TavKelReal) {
      FailArgument("real", 1, "a number or a string", x);
    }
    return Value(NumberArgument("real", arguments, 0));
  }
  std::string_view digits = Trimmed(x.Text().View(), engine);
  std::string shortened;
  if (digits.size() > engine.kPiece) digits = shortened = ShortReal(digits, engine);
  double number = 0;
  const auto [end, code] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (code != std::errc() || end != digits.data() + digits.size() || !std::isfinite(number)) {
    FailText("real", x.Text().View(), "a number");
  }
  return Value(number);
}

}  // namespace script
