#include <algorithm>
#include <chrono>
#include <cmath>
#include <optional>
#include <string>
#include <string_view>

#include "tavhost/base/ascii.h"
#include "tavhost/base/local_time.h"
#include "tavhost/notation/scan.h"
#include "tavhost/script/built_in/built_in_support.h"
#include "tavhost/script/built_in/built_in_system.h"
#include "tavhost/script/operations.h"

// Dates and times. An instant is a number of milliseconds since 1970 UTC, as `now()` gives it; the
// calendar is the Gregorian one, also before it began.
namespace script {

using kel::Value;

namespace {

constexpr std::int64_t kDay = 86400;  // seconds
constexpr double kLimit = 8.64e15;    // milliseconds: some 270,000 years both ways
constexpr std::string_view kMonths[] = {"January",   "February", "March",    "April",
                                        "May",       "June",     "July",     "August",
                                        "September", "October",  "November", "December"};
constexpr std::string_view kWeekdays[] = {"Monday", "Tuesday",  "Wednesday", "Thursday",
                                          "Friday", "Saturday", "Sunday"};
constexpr std::size_t kShort = 3;  // letters of a name's short form

// A date and time on some clock.
struct Civil {
  std::int64_t year = 1970;
  std::int64_t month = 1;
  std::int64_t day = 1;
  std::int64_t hour = 0;
  std::int64_t minute = 0;
  std::int64_t second = 0;
  std::int64_t millisecond = 0;
};

std::int64_t FloorDivide(std::int64_t a, std::int64_t b) {
  return a / b - (a % b != 0 && (a % b < 0) != (b < 0));
}

// Days since 1970 of the first day of a month, which may lie outside 1 to 12.
std::int64_t DaysTo(std::int64_t year, std::int64_t month) {
  year += FloorDivide(month - 1, 12);
  month -= FloorDivide(month - 1, 12) * 12;
  const std::chrono::year_month_day first{std::chrono::year(static_cast<int>(year)),
                                          std::chrono::month(static_cast<unsigned>(month)),
                                          std::chrono::day(1)};
  return std::chrono::sys_days(first).time_since_epoch().count();
}

// Fields outside their ranges run over into the next larger one.
std::int64_t SecondsOf(const Civil& civil) {
  return (DaysTo(civil.year, civil.month) + civil.day - 1) * kDay + civil.hour * 3600 +
         civil.minute * 60 + civil.second;
}

Civil CivilOf(std::int64_t seconds) {
  const std::int64_t days = FloorDivide(seconds, kDay);
  const std::int64_t rest = seconds - days * kDay;
  const std::chrono::year_month_day date{
      std::chrono::sys_days(std::chrono::days(static_cast<int>(days)))};
  Civil civil;
  civil.year = static_cast<int>(date.year());
  civil.month = static_cast<unsigned>(date.month());
  civil.day = static_cast<unsigned>(date.day());
  civil.hour = rest / 3600;
  civil.minute = rest / 60 % 60;
  civil.second = rest % 60;
  return civil;
}

// 0 for Monday.
std::int64_t WeekdayOf(const Civil& civil) {
  const std::int64_t days = DaysTo(civil.year, civil.month) + civil.day - 1;
  return ((days + 3) % 7 + 7) % 7;
}

std::int64_t DayOfYear(const Civil& civil) {
  return DaysTo(civil.year, civil.month) - DaysTo(civil.year, 1) + civil.day;
}

// The instant at which the user's clock shows `local`, both in seconds since 1970. A time that the
// clock shows twice, when it is put back, means the first of the two; one that it skips, when it is
// put forward, is counted on from the time before, as if the clock had not been changed yet. Looks
// at the offsets a day before and a day after, between which a clock is changed at most once.
std::int64_t ToUtc(std::int64_t local) {
  const std::int32_t before = base::LocalOffsetAt(local - kDay);
  const std::int64_t first = local - before;
  if (base::LocalOffsetAt(first) == before) return first;
  const std::int32_t after = base::LocalOffsetAt(local + kDay);
  const std::int64_t second = local - after;
  return base::LocalOffsetAt(second) == after ? second : first;
}

bool IsLocal(const char* function, const Value* arguments, std::uint32_t count,
             std::uint32_t place) {
  if (count <= place) return true;
  const std::string_view zone = TextArgument(function, arguments, place).View();
  if (zone == "utc") return false;
  if (zone == "local") return true;
  throw ScriptError(std::string(function) + ": the zone is \"local\" or \"utc\", not \"" +
                    std::string(zone) + '"');
}

double InstantArgument(const char* function, const Value* arguments) {
  const double instant = NumberArgument(function, arguments, 0);
  if (!(std::fabs(instant) <= kLimit)) {
    throw ScriptError(std::string(function) + ": the time is out of range");
  }
  return instant;
}

Civil CivilAt(double instant, bool isLocal, std::int32_t& offset) {
  const auto milliseconds = static_cast<std::int64_t>(std::floor(instant));
  const std::int64_t seconds = FloorDivide(milliseconds, 1000);
  offset = isLocal ? base::LocalOffsetAt(seconds) : 0;
  Civil civil = CivilOf(seconds + offset);
  civil.millisecond = milliseconds - seconds * 1000;
  return civil;
}

Value InstantOf(const char* function, const Civil& civil, std::optional<std::int64_t> offset,
                bool isLocal) {
  const std::int64_t seconds = SecondsOf(civil);
  const std::int64_t utc = offset ? seconds - *offset : isLocal ? ToUtc(seconds) : seconds;
  const double instant = static_cast<double>(utc) * 1000.0 + static_cast<double>(civil.millisecond);
  if (std::fabs(instant) > kLimit) {
    throw ScriptError(std::string(function) + ": the time is out of range");
  }
  return Value(instant);
}

void AppendNumber(std::string& text, std::int64_t number, std::size_t width) {
  std::string digits = std::to_string(number < 0 ? -number : number);
  if (number < 0) text += '-';
  if (digits.size() < width) text.append(width - digits.size(), '0');
  text += digits;
}

void AppendOffset(std::string& text, std::int32_t offset) {
  text += offset < 0 ? '-' : '+';
  const std::int32_t minutes = std::abs(offset) / 60;
  AppendNumber(text, minutes / 60, 2);
  AppendNumber(text, minutes % 60, 2);
}

[[noreturn]] void FailCode(const char* function, char code) {
  throw ScriptError(std::string(function) + ": unknown code \"%" + std::string(1, code) + '"');
}

void AppendTime(std::string& text, std::string_view format, const Civil& civil, std::int32_t offset,
                base::WorkMeter& meter) {
  for (std::size_t i = 0; i < format.size(); ++i) {
    meter.Did(1);
    if (format[i] != '%' || i + 1 == format.size()) {
      text += format[i];
      continue;
    }
    const std::string_view month = kMonths[civil.month - 1];
    const std::string_view weekday = kWeekdays[WeekdayOf(civil)];
    switch (format[++i]) {
      case 'Y':
        AppendNumber(text, civil.year, 4);
        break;
      case 'm':
        AppendNumber(text, civil.month, 2);
        break;
      case 'd':
        AppendNumber(text, civil.day, 2);
        break;
      case 'H':
        AppendNumber(text, civil.hour, 2);
        break;
      case 'I':
        AppendNumber(text, (civil.hour + 11) % 12 + 1, 2);
        break;
      case 'M':
        AppendNumber(text, civil.minute, 2);
        break;
      case 'S':
        AppendNumber(text, civil.second, 2);
        break;
      case 'f':
        AppendNumber(text, civil.millisecond, 3);
        break;
      case 'j':
        AppendNumber(text, DayOfYear(civil), 3);
        break;
      case 'u':
        AppendNumber(text, WeekdayOf(civil) + 1, 1);
        break;
      case 'p':
        text += civil.hour < 12 ? "AM" : "PM";
        break;
      case 'b':
        text += month.substr(0, kShort);
        break;
      case 'B':
        text += month;
        break;
      case 'a':
        text += weekday.substr(0, kShort);
        break;
      case 'A':
        text += weekday;
        break;
      case 'z':
        AppendOffset(text, offset);
        break;
      case 'F':
        AppendTime(text, "%Y-%m-%d", civil, offset, meter);
        break;
      case 'T':
        AppendTime(text, "%H:%M:%S", civil, offset, meter);
        break;
      case '%':
        text += '%';
        break;
      default:
        FailCode("time_text", format[i]);
    }
  }
}

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

// Reads a text by a format.
class TimeReader {
 public:
  TimeReader(std::string_view text, base::WorkMeter& meter) : rest_(text), meter_(meter) {}

  bool Read(std::string_view format) {
    for (std::size_t i = 0; i < format.size(); ++i) {
      meter_.Did(1);
      if (IsBlank(format[i])) {
        for (; !rest_.empty() && IsBlank(rest_.front()); rest_.remove_prefix(1)) meter_.Did(1);
      } else if (format[i] != '%' || i + 1 == format.size()) {
        if (!Skip(format[i])) return false;
      } else if (!ReadCode(format[++i])) {
        return false;
      }
    }
    return true;
  }

  bool IsWhole() const {
    const std::int64_t days = DaysTo(civil.year, civil.month + 1) - DaysTo(civil.year, civil.month);
    return rest_.empty() && civil.month >= 1 && civil.month <= 12 && civil.day >= 1 &&
           civil.day <= days && civil.hour <= 23 && civil.minute <= 59 && civil.second <= 59;
  }

  Civil civil;
  std::optional<std::int64_t> offset;

 private:
  bool ReadCode(char code) {
    switch (code) {
      case 'Y':
        return Number(civil.year, 4);
      case 'm':
        return Number(civil.month, 2) && civil.month >= 1 && civil.month <= 12;
      case 'd':
        return Number(civil.day, 2);
      case 'H':
        return Number(civil.hour, 2);
      case 'I':
        if (!Number(civil.hour, 2) || civil.hour < 1 || civil.hour > 12) return false;
        civil.hour = civil.hour % 12 + half_;
        return true;
      case 'M':
        return Number(civil.minute, 2);
      case 'S':
        return Number(civil.second, 2);
      case 'f':
        return Fraction();
      case 'p':
        return HalfOfDay();
      case 'b':
      case 'B':
        return Month();
      case 'z':
        return Offset();
      case 'F':
        return Read("%Y-%m-%d");
      case 'T':
        return Read("%H:%M:%S");
      case '%':
        return Skip('%');
      default:
        FailCode("time_parse", code);
    }
  }

  bool Skip(char c) {
    if (rest_.empty() || rest_.front() != c) return false;
    rest_.remove_prefix(1);
    return true;
  }

  // Up to `most` digits, at least one.
  bool Number(std::int64_t& number, std::size_t most) {
    std::size_t length = 0;
    std::int64_t read = 0;
    while (length < most && length < rest_.size() && kel::IsDigit(rest_[length])) {
      read = read * 10 + (rest_[length++] - '0');
    }
    if (length == 0) return false;
    number = read;
    rest_.remove_prefix(length);
    return true;
  }

  bool Fraction() {
    std::int64_t unit = 100;
    std::size_t length = 0;
    civil.millisecond = 0;
    for (; length < rest_.size() && kel::IsDigit(rest_[length]); ++length, unit /= 10) {
      meter_.Did(1);
      civil.millisecond += (rest_[length] - '0') * unit;
    }
    rest_.remove_prefix(length);
    return length > 0;
  }

  bool HalfOfDay() {
    if (rest_.size() < 2 || ascii::ToLower(rest_[1]) != 'm') return false;
    const char half = ascii::ToLower(rest_[0]);
    if (half != 'a' && half != 'p') return false;
    half_ = half == 'p' ? 12 : 0;
    if (civil.hour < 12) civil.hour += half_;
    rest_.remove_prefix(2);
    return true;
  }

  // The long name or its first three letters, in any case.
  bool Month() {
    for (std::size_t i = 0; i < std::size(kMonths); ++i) {
      for (const std::string_view name : {kMonths[i], kMonths[i].substr(0, kShort)}) {
        const auto same = [](char a, char b) { return ascii::EqualIgnoringCase(a, b); };
        if (rest_.size() < name.size() ||
            !std::equal(name.begin(), name.end(), rest_.begin(), same)) {
          continue;
        }
        civil.month = static_cast<std::int64_t>(i) + 1;
        rest_.remove_prefix(name.size());
        return true;
      }
    }
    return false;
  }

  // `Z`, `+02:00`, `+0200` or `+02`.
  bool Offset() {
    if (Skip('Z') || Skip('z')) {
      offset = 0;
      return true;
    }
    const bool isWest = !rest_.empty() && rest_.front() == '-';
    if (!Skip(isWest ? '-' : '+')) return false;
    std::int64_t hours = 0;
    std::int64_t minutes = 0;
    if (!Number(hours, 2)) return false;
    if ((Skip(':') || (!rest_.empty() && kel::IsDigit(rest_.front()))) && !Number(minutes, 2)) {
      return false;
    }
    offset = (hours * 60 + minutes) * (isWest ? -60 : 60);
    return hours <= 24 && minutes <= 59;
  }

  std::string_view rest_;
  base::WorkMeter& meter_;
  std::int64_t half_ = 0;  // hours to add in the afternoon: 12 once PM was read
};

}  // namespace

// time_text(instant, format [, zone])
Value TimeText(Engine& engine, Value* arguments, std::uint32_t count) {
  const double instant = InstantArgument("time_text", arguments);
  const std::string_view format = TextArgument("time_text", arguments, 1).View();
  std::int32_t offset = 0;
  const Civil civil = CivilAt(instant, IsLocal("time_text", arguments, count, 2), offset);
  std::string text;
  AppendTime(text, format, civil, offset, engine);
  return TextValue(text);
}

// time_parse(text, format [, zone]); a zone in the text itself counts first.
Value TimeParse(Engine& engine, Value* arguments, std::uint32_t count) {
  const std::string_view text = TextArgument("time_parse", arguments, 0).View();
  const std::string_view format = TextArgument("time_parse", arguments, 1).View();
  const bool isLocal = IsLocal("time_parse", arguments, count, 2);
  TimeReader reader(text, engine);
  if (!reader.Read(format) || !reader.IsWhole()) {
    throw ScriptError("time_parse: \"" + std::string(text) + "\" is no time of the form \"" +
                      std::string(format) + '"');
  }
  return InstantOf("time_parse", reader.civil, reader.offset, isLocal);
}

// time_parts(instant [, zone])
Value TimeParts(Engine&, Value* arguments, std::uint32_t count) {
  const double instant = InstantArgument("time_parts", arguments);
  std::int32_t offset = 0;
  const Civil civil = CivilAt(instant, IsLocal("time_parts", arguments, count, 1), offset);
  Value parts = Value::Record();
  const auto add = [&parts](const char* name, std::int64_t number) {
    parts.MutableRecord().At(SV::String(name)) = Value(static_cast<std::int32_t>(number));
  };
  add("year", civil.year);
  add("month", civil.month);
  add("day", civil.day);
  add("hour", civil.hour);
  add("minute", civil.minute);
  add("second", civil.second);
  add("ms", civil.millisecond);
  add("weekday", WeekdayOf(civil) + 1);
  add("yearday", DayOfYear(civil));
  add("offset", offset / 60);
  return parts;
}

// time_make(parts [, zone]); what is missing is the first of its kind.
Value TimeMake(Engine&, Value* arguments, std::uint32_t count) {
  if (arguments[0].Kind() != TavKelRecord) {
    FailArgument("time_make", 1, "a record", arguments[0]);
  }
  const bool isLocal = IsLocal("time_make", arguments, count, 1);
  const auto field = [arguments](const char* name, std::int64_t otherwise) {
    const Value* value = arguments[0].AsRecord().Find(name);
    if (!value) return otherwise;
    if (value->Kind() != TavKelInteger) {
      throw ScriptError(std::string("time_make: the field \"") + name + "\" must be an integer");
    }
    return std::int64_t{value->Integer()};
  };
  Civil civil;
  civil.year = field("year", civil.year);
  civil.month = field("month", civil.month);
  civil.day = field("day", civil.day);
  civil.hour = field("hour", 0);
  civil.minute = field("minute", 0);
  civil.second = field("second", 0);
  civil.millisecond = field("ms", 0);
  constexpr std::int64_t kYears = 30000;  // within what the calendar's arithmetic can count
  if (std::abs(civil.year + civil.month / 12) > kYears) {
    throw ScriptError("time_make: the time is out of range");
  }
  return InstantOf("time_make", civil, std::nullopt, isLocal);
}

}  // namespace script
