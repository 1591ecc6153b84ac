#include "tavhost/ide/script_text.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <vector>

#include "tavhost/base/ascii.h"
#include "tavhost/ide/script_tokens.h"

namespace ide {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::vector<std::string> Words(std::string_view query) {
  std::vector<std::string> words;
  std::string word;
  for (const char c : ascii::ToLower(query) + ' ') {
    if (c != ' ' && c != '\t') {
      word += c;
    } else if (!word.empty()) {
      words.push_back(std::move(word));
      word.clear();
    }
  }
  return words;
}

// A number between two colons; moves behind it.
bool TakeNumber(std::string_view text, std::size_t& at, unsigned& number) {
  const char* const begin = text.data() + at;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(begin, end, number);
  if (error != std::errc() || rest == end || *rest != ':' || number == 0) return false;
  at = static_cast<std::size_t>(rest - text.data());
  return true;
}

}  // namespace

std::string TextOf(std::string_view bytes, FileForm& form) {
  form = {};
  if (bytes.starts_with(kByteOrderMark)) {
    form.byteOrderMark = true;
    bytes.remove_prefix(kByteOrderMark.size());
  }
  std::size_t pairs = 0;
  std::size_t others = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (bytes[i] == '\r' && i + 1 < bytes.size() && bytes[i + 1] == '\n') {
      ++pairs;
      ++i;
    } else if (bytes[i] == '\r' || bytes[i] == '\n') {
      ++others;
    }
  }
  const bool hasReturn = bytes.find('\r') != std::string_view::npos;
  if (!hasReturn) return std::string(bytes);
  form.lineEnds = others == 0 && pairs > 0 ? LineEnds::kWindows : LineEnds::kMixed;
  if (form.lineEnds == LineEnds::kMixed) return std::string(bytes);
  std::string text(bytes);
  std::erase(text, '\r');
  return text;
}

std::string BytesOf(std::string_view text, const FileForm& form) {
  std::string bytes(form.byteOrderMark ? kByteOrderMark : std::string_view());
  if (form.lineEnds != LineEnds::kWindows) return bytes.append(text);
  for (const char c : text) {
    if (c == '\n') bytes += '\r';
    bytes += c;
  }
  return bytes;
}

std::u16string IndentBehind(std::u16string_view line, std::u16string_view step) {
  const std::size_t blanks = std::min(line.find_first_not_of(u" \t"), line.size());
  std::u16string indent(line.substr(0, blanks));
  std::vector<Token> tokens;
  TokenizeLine(line, 0, tokens);
  int open = 0;
  for (const Token& token : tokens) {
    if (token.kind != TokenKind::kBracket) continue;
    const char16_t bracket = line[token.begin];
    const bool opens = bracket == u'(' || bracket == u'[' || bracket == u'{';
    open = opens ? open + 1 : std::max(0, open - 1);
  }
  if (open > 0) indent += step;
  return indent;
}

bool IsBlank(std::u16string_view line) {
  return line.find_first_not_of(u" \t") == std::u16string_view::npos;
}

std::optional<Place> PlaceIn(std::string_view line) {
  // The first `:LINE:COLUMN: ` ends the file's name, which may hold colons itself.
  for (std::size_t colon = line.find(':'); colon != std::string_view::npos;
       colon = line.find(':', colon + 1)) {
    Place place;
    std::size_t at = colon + 1;
    if (colon == 0 || !TakeNumber(line, at, place.line)) continue;
    ++at;
    if (!TakeNumber(line, at, place.column)) continue;
    place.file = line.substr(0, colon);
    place.length = at;
    return place;
  }
  return std::nullopt;
}

int SearchScore(std::string_view query, std::string_view name, std::string_view text) {
  const std::string lowerName = ascii::ToLower(name);
  const std::string lowerText = ascii::ToLower(text);
  int score = 1;
  for (const std::string& word : Words(query)) {
    const std::size_t inName = lowerName.find(word);
    if (lowerName == word) {
      score += 1000;
    } else if (inName == 0) {
      score += 100;
    } else if (inName != std::string::npos) {
      score += lowerName[inName - 1] == '_' ? 60 : 40;
    } else if (lowerText.find(word) != std::string::npos) {
      score += 5;
    } else {
      return 0;
    }
  }
  return score;
}

std::string ElapsedText(std::int64_t milliseconds) {
  char text[48];
  const long long seconds = milliseconds / 1000;
  if (seconds < 10) {
    std::snprintf(text, sizeof text, "%lld.%lld s", seconds,
                  static_cast<long long>(milliseconds % 1000 / 100));
  } else if (seconds < 3600) {
    std::snprintf(text, sizeof text, "%lld:%02lld", seconds / 60, seconds % 60);
  } else {
    std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", seconds / 3600, seconds / 60 % 60,
                  seconds % 60);
  }
  return text;
}

}  // namespace ide
