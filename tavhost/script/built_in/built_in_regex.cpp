// The most states of the automaton that a pattern becomes. The library recurses over them, so that
// this bounds the stack that it takes. Has to stand before the library's header.
#define _GLIBCXX_REGEX_STATE_LIMIT 5000

#include <algorithm>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <list>
#include <regex>
#include <string>
#include <string_view>
#include <vector>

#include "tavhost/notation/scan.h"
#include "tavhost/script/built_in/built_in_support.h"
#include "tavhost/script/built_in/built_in_system.h"
#include "tavhost/script/operations.h"

// Regular expressions: the standard library's, in the mode that follows all ways through a pattern
// at once instead of one after the other. No pattern can take exponential time or a stack as deep
// as the text; the price are back references, which that mode does not have. The library comes
// with the compiler on both platforms, so that patterns mean the same on both and a start pays
// nothing for them.
namespace script {

using kel::Value;

namespace {

constexpr std::size_t kLongestPattern = 1000;                       // characters
constexpr std::size_t kDeepestPattern = 100;                        // brackets inside one another
constexpr std::uint32_t kMostRepeats = _GLIBCXX_REGEX_STATE_LIMIT;  // each takes a state at least
constexpr std::size_t kLongestText = 1'000'000;  // characters; longer texts go line by line
constexpr std::size_t kKept = 16;                // compiled patterns
constexpr std::size_t kBytesACharacter = 4;      // at most

// A byte that belongs to no character stands as a code of its own, from here on.
constexpr wchar_t kStrayByte = 0xDC00;

// A text as the library reads it, and where in it each of its units begins.
struct WideText {
  std::wstring units;
  std::vector<std::uint32_t> offsets;  // one more than units
};

// How many bytes the character at the start of the text takes, and its code; 0 when what stands
// there is not well-formed UTF-8.
std::size_t ReadCharacter(std::string_view text, char32_t& code) {
  const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char first = byte(0);
  const std::size_t length = first < 0x80 ? 1 : first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (length == 1) {
    code = first;
    return 1;
  }
  if (first < 0xC2 || first > 0xF4 || text.size() < length) return 0;
  code = first & (0xFFu >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
    code = code << 6 | (byte(i) & 0x3Fu);
  }
  const bool isShort = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
  const bool isSurrogate = code >= 0xD800 && code < 0xE000;
  return isShort || isSurrogate || code > 0x10FFFF ? 0 : length;
}

WideText Widen(std::string_view text) {
  WideText wide;
  wide.units.reserve(text.size());
  wide.offsets.reserve(text.size() + 1);
  for (std::size_t at = 0; at < text.size();) {
    char32_t code = 0;
    const auto offset = static_cast<std::uint32_t>(at);
    const std::size_t length = ReadCharacter(text.substr(at), code);
    if (length == 0) {
      wide.units += static_cast<wchar_t>(kStrayByte + static_cast<unsigned char>(text[at]));
    } else if (sizeof(wchar_t) == 2 && code >= 0x10000) {
      wide.units += static_cast<wchar_t>(0xD800 + ((code - 0x10000) >> 10));
      wide.units += static_cast<wchar_t>(0xDC00 + ((code - 0x10000) & 0x3FF));
      wide.offsets.push_back(offset);
    } else {
      wide.units += static_cast<wchar_t>(code);
    }
    wide.offsets.push_back(offset);
    at += std::max<std::size_t>(1, length);
  }
  wide.offsets.push_back(static_cast<std::uint32_t>(text.size()));
  return wide;
}

const char* Reason(std::regex_constants::error_type code) {
  using namespace std::regex_constants;
  if (code == error_collate) return "an unknown character in [. .]";
  if (code == error_ctype) return "an unknown class in [: :]";
  if (code == error_escape) return "an unknown escape";
  if (code == error_backref || code == error_complexity)
    return "references back to a group are not possible";
  if (code == error_brack) return "a \"[\" is not closed";
  if (code == error_paren) return "brackets do not match, or nothing is repeated";
  if (code == error_brace) return "a \"{\" is not closed";
  if (code == error_badbrace) return "the numbers in \"{ }\" make no sense";
  if (code == error_range) return "a range from a larger to a smaller character";
  if (code == error_badrepeat) return "there is nothing to repeat";
  if (code == error_space) return "it is too large";
  return "it cannot be understood";
}

struct Pattern {
  std::string text;
  bool ignoresCase = false;
  std::wregex regex;
  wchar_t first = 0;  // what every match begins with; 0 when that is not known
};

// Counts escaped parentheses too: all it has to do is to keep the library's recursion in bounds.
bool IsTooDeep(std::string_view pattern) {
  std::size_t depth = 0;
  for (const char c : pattern) {
    if (c == '(' && ++depth > kDeepestPattern) return true;
    if (c == ')' && depth > 0) --depth;
  }
  return false;
}

// Whether a count in braces is larger than any pattern can be. The library would not notice: it
// reads a count that its integers cannot hold as another one.
bool RepeatsTooOften(std::string_view pattern) {
  bool inClass = false;
  bool inBraces = false;
  std::uint32_t count = 0;
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    const char c = pattern[i];
    if (c == '\\') ++i;
    if (c == '[') inClass = true;
    if (c == ']') inClass = false;
    if (c == '{' && !inClass) inBraces = true;
    if (c == '}') inBraces = false;
    count = inBraces && kel::IsDigit(c) ? count * 10 + static_cast<std::uint32_t>(c - '0') : 0;
    if (count > kMostRepeats) return true;
  }
  return false;
}

// The character that every match begins with, so that a search can skip to its next occurrence; 0
// when the pattern does not begin with a plain character that has to be there.
wchar_t FirstOf(const std::wstring& pattern) {
  if (pattern.empty() || pattern.find(L'|') != std::wstring::npos) return 0;
  if (std::wstring_view(L"\\^$.[]()*+?{}").find(pattern[0]) != std::wstring_view::npos) return 0;
  const bool isOptional =
      pattern.size() > 1 && std::wstring_view(L"*?{").find(pattern[1]) != std::wstring_view::npos;
  return isOptional ? L'\0' : pattern[0];
}

// The pattern, compiled when it is not among those used last. The reference is good until the next
// call. `function` is named in errors.
const Pattern& Compiled(const char* function, std::string_view text, bool ignoresCase) {
  static std::list<Pattern> kept;  // the last used one in front
  for (auto at = kept.begin(); at != kept.end(); ++at) {
    if (at->text != text || at->ignoresCase != ignoresCase) continue;
    kept.splice(kept.begin(), kept, at);
    return kept.front();
  }
  const auto fail = [function](const char* why) {
    throw ScriptError(std::string(function) + ": wrong pattern: " + why);
  };
  if (text.size() > kLongestPattern * kBytesACharacter) fail("it is too large");
  const WideText wide = Widen(text);
  if (wide.units.size() > kLongestPattern || IsTooDeep(text) || RepeatsTooOften(text)) {
    fail("it is too large");
  }
  auto flags = std::regex_constants::ECMAScript | std::regex_constants::__polynomial;
  if (ignoresCase) flags |= std::regex_constants::icase;
  Pattern pattern;
  try {
    pattern.regex.assign(wide.units, flags);
  } catch (const std::regex_error& error) {
    fail(Reason(error.code()));
  }
  pattern.text = text;
  pattern.ignoresCase = ignoresCase;
  if (!ignoresCase) pattern.first = FirstOf(wide.units);
  kept.push_front(std::move(pattern));
  if (kept.size() > kKept) kept.pop_back();
  return kept.front();
}

bool IgnoresCase(const char* function, const Value* arguments, std::uint32_t count,
                 std::uint32_t place) {
  if (count <= place) return false;
  const std::string_view flags = TextArgument(function, arguments, place).View();
  if (flags.empty() || flags == "i") return !flags.empty();
  throw ScriptError(std::string(function) + ": the only option is \"i\", not \"" +
                    std::string(flags) + '"');
}

// Where in a text the library stands. A try at one place can go through the whole text, so each
// step is told to the engine; what it throws leaves the library's own things in order.
class Cursor {
 public:
  using iterator_category = std::random_access_iterator_tag;
  using value_type = wchar_t;
  using difference_type = std::ptrdiff_t;
  using pointer = const wchar_t*;
  using reference = const wchar_t&;

  struct Work {
    Engine* engine;
    std::size_t step;  // of each character, which takes the longer the more states a pattern has
  };

  Cursor() = default;
  Cursor(const wchar_t* at, const Work* work) : at_(at), work_(work) {}

  const wchar_t* At() const { return at_; }
  reference operator*() const { return *at_; }
  pointer operator->() const { return at_; }
  reference operator[](difference_type i) const { return at_[i]; }
  Cursor& operator++() {
    work_->engine->Did(work_->step);
    ++at_;
    return *this;
  }
  Cursor operator++(int) {
    Cursor before = *this;
    ++*this;
    return before;
  }
  Cursor& operator--() {
    --at_;
    return *this;
  }
  Cursor operator--(int) {
    Cursor before = *this;
    --*this;
    return before;
  }
  Cursor& operator+=(difference_type n) {
    at_ += n;
    return *this;
  }
  Cursor& operator-=(difference_type n) { return *this += -n; }
  Cursor operator+(difference_type n) const { return {at_ + n, work_}; }
  Cursor operator-(difference_type n) const { return {at_ - n, work_}; }
  difference_type operator-(const Cursor& other) const { return at_ - other.at_; }
  bool operator==(const Cursor& other) const { return at_ == other.at_; }
  auto operator<=>(const Cursor& other) const { return at_ <=> other.at_; }

 private:
  const wchar_t* at_ = nullptr;
  const Work* work_ = nullptr;  // of the search
};

// The matches of a pattern in a text, from left to right.
class Search {
 public:
  Search(const char* function, Engine& engine, const Value* arguments, bool ignoresCase)
      : engine_(engine),
        text_(TextArgument(function, arguments, 0).View()),
        pattern_(Compiled(function, TextArgument(function, arguments, 1).View(), ignoresCase)),
        work_{&engine, 4 + pattern_.text.size()} {
    const bool mayFit = text_.size() <= kLongestText * kBytesACharacter;
    if (mayFit) wide_ = Widen(text_);
    engine.DidBytes(mayFit ? 8 * text_.size() : 0);
    if (!mayFit || wide_.units.size() > kLongestText) {
      throw ScriptError(std::string(function) + ": the text is longer than " +
                        std::to_string(kLongestText) + " characters; take it line by line");
    }
  }

  // Finds the next match behind the last one, false when there is none. Behind an empty match the
  // search goes on one character further, or it would find the same one again.
  bool Next() {
    const std::wstring& units = wide_.units;
    for (; next_ <= units.size(); ++next_) {
      if (pattern_.first) {
        next_ = units.find(pattern_.first, next_);
        if (next_ == std::wstring::npos) return false;
      }
      auto flags = std::regex_constants::match_continuous;
      if (next_ > 0) flags |= std::regex_constants::match_prev_avail;
      engine_.Did(8);
      const Cursor begin(units.data(), &work_);
      const Cursor end = begin + static_cast<std::ptrdiff_t>(units.size());
      const Cursor from = begin + static_cast<std::ptrdiff_t>(next_);
      if (!std::regex_search(from, end, match_, pattern_.regex, flags)) continue;
      begin_ = Offset(match_[0].first);
      end_ = Offset(match_[0].second);
      const auto length = static_cast<std::size_t>(match_[0].length());
      next_ += length > 0 ? length : 1;
      return true;
    }
    return false;
  }

  std::string_view Text() const { return text_; }
  std::uint32_t Begin() const { return begin_; }  // of the match, in bytes
  std::uint32_t End() const { return end_; }
  std::size_t GroupCount() const { return match_.size(); }
  // The whole match is the first; a group that took no part is empty.
  std::string_view Group(std::size_t i) const {
    if (i >= match_.size() || !match_[i].matched) return {};
    const std::uint32_t begin = Offset(match_[i].first);
    return text_.substr(begin, Offset(match_[i].second) - begin);
  }

 private:
  std::uint32_t Offset(const Cursor& at) const {
    return wide_.offsets[static_cast<std::size_t>(at.At() - wide_.units.data())];
  }

  Engine& engine_;
  std::string_view text_;
  const Pattern& pattern_;
  const Cursor::Work work_;
  WideText wide_;
  std::match_results<Cursor> match_;
  std::size_t next_ = 0;
  std::uint32_t begin_ = 0;
  std::uint32_t end_ = 0;
};

Value Groups(const Search& search) {
  Value groups = Value::List();
  for (std::size_t i = 0; i < search.GroupCount(); ++i) {
    groups.MutableList().items.push_back(TextValue(search.Group(i)));
  }
  return groups;
}

// `$1` to `$99` stand for groups, `$0` and `$&` for the whole match, `$$` for `$`.
void AppendReplacement(std::string& out, std::string_view text, const Search& search) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const std::size_t plain = std::min(text.find('$', i), text.size());
    out += text.substr(i, plain - i);
    i = plain;
    if (i == text.size()) return;
    const char next = i + 1 < text.size() ? text[i + 1] : '\0';
    if (!(next == '$' || next == '&' || kel::IsDigit(next))) {
      out += '$';
      continue;
    }
    ++i;
    if (next == '$') {
      out += '$';
    } else if (next == '&') {
      out += search.Group(0);
    } else {
      std::size_t group = static_cast<std::size_t>(next - '0');
      if (i + 1 < text.size() && kel::IsDigit(text[i + 1])) {
        const std::size_t longer = group * 10 + static_cast<std::size_t>(text[i + 1] - '0');
        if (longer < search.GroupCount()) {
          group = longer;
          ++i;
        }
      }
      out += search.Group(group);
    }
  }
}

}  // namespace

// re_match(text, pattern [, "i"]): the first match and its groups, or an empty list.
Value RegexMatch(Engine& engine, Value* arguments, std::uint32_t count) {
  Search search("re_match", engine, arguments, IgnoresCase("re_match", arguments, count, 2));
  return search.Next() ? Groups(search) : Value::List();
}

// re_all(text, pattern [, "i"]): such a list for each match.
Value RegexAll(Engine& engine, Value* arguments, std::uint32_t count) {
  Search search("re_all", engine, arguments, IgnoresCase("re_all", arguments, count, 2));
  Value all = Value::List();
  while (search.Next()) all.MutableList().items.push_back(Groups(search));
  return all;
}

// re_replace(text, pattern, new [, "i"]): every match replaced.
Value RegexReplace(Engine& engine, Value* arguments, std::uint32_t count) {
  const std::string_view replacement = TextArgument("re_replace", arguments, 2).View();
  Search search("re_replace", engine, arguments, IgnoresCase("re_replace", arguments, count, 3));
  std::string out;
  std::size_t copied = 0;
  while (search.Next()) {
    out += search.Text().substr(copied, search.Begin() - copied);
    AppendReplacement(out, replacement, search);
    engine.ChargeBytes(replacement.size());
    copied = search.End();
    if (out.size() > static_cast<std::size_t>(SV::String::kMaxLength) / 2) {
      throw ScriptError("re_replace: the text becomes too long");
    }
  }
  out += search.Text().substr(copied);
  return TextValue(out);
}

// re_split(text, pattern [, "i"]): what lies between the matches; an empty match parts nothing.
Value RegexSplit(Engine& engine, Value* arguments, std::uint32_t count) {
  Search search("re_split", engine, arguments, IgnoresCase("re_split", arguments, count, 2));
  Value pieces = Value::List();
  if (search.Text().empty()) return pieces;
  std::size_t copied = 0;
  while (search.Next()) {
    if (search.Begin() == search.End()) continue;
    pieces.MutableList().items.push_back(
        TextValue(search.Text().substr(copied, search.Begin() - copied)));
    copied = search.End();
  }
  pieces.MutableList().items.push_back(TextValue(search.Text().substr(copied)));
  return pieces;
}

}  // namespace script
