#include "tavhost/http/http_header.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <system_error>

#include "tavhost/base/ascii.h"

namespace http {

namespace {

constexpr std::string_view kBlank = " \t\r\n";

std::string_view Trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(kBlank);
  if (first == text.npos) return {};
  return text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

std::string_view TakeLine(std::string_view& text) {
  const std::string_view line = text.substr(0, text.find('\n'));
  text.remove_prefix(std::min(line.size() + 1, text.size()));
  return line;
}

bool ContinuesALine(std::string_view line) {
  return line.starts_with(' ') || line.starts_with('\t');
}

struct FieldLine {
  std::string_view name;
  std::string value;
  // Parts of the value stood on lines of their own, or a blank before the colon: both are no longer
  // allowed, and what others make of them differs.
  bool isDoubtful = false;

  bool Has(std::string_view wanted) const { return ascii::EqualIgnoringCase(name, wanted); }
};

// Calls `use(field)` for each field until it returns false.
template <typename Use>
void ForEachField(std::string_view header, Use use) {
  while (!header.empty()) {
    const std::string_view line = TakeLine(header);
    const auto colon = line.find(':');
    if (colon == line.npos) continue;
    FieldLine field;
    field.name = Trimmed(line.substr(0, colon));
    field.value = Trimmed(line.substr(colon + 1));
    field.isDoubtful = field.name.size() != colon;
    while (ContinuesALine(header)) {
      field.isDoubtful = true;
      field.value.append(" ").append(Trimmed(TakeLine(header)));
    }
    if (!use(field)) return;
  }
}

// No file is as long as what 63 bits cannot tell, nor can a library count it.
bool ParseLength(std::string_view digits, std::uint64_t& length) {
  constexpr std::uint64_t kMost = std::numeric_limits<std::int64_t>::max();
  const char* const end = digits.data() + digits.size();
  const auto parsed = std::from_chars(digits.data(), end, length);
  return parsed.ec == std::errc() && parsed.ptr == end && length <= kMost;
}

bool HasBody(std::string_view verb, int status) {
  return verb != "HEAD" && status >= 200 && status != 204 && status != 304;
}

// The status of `HTTP/1.1 200 OK`, 0 when there is none.
int StatusOf(std::string_view line) {
  line.remove_prefix(std::min(line.find(' '), line.size()));
  line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
  int status = 0;
  std::from_chars(line.data(), line.data() + std::min<std::size_t>(line.size(), 3), status);
  return status;
}

}  // namespace

std::string FirstField(std::string_view header, std::string_view name) {
  std::string found;
  ForEachField(header, [&](FieldLine& field) {
    if (!field.Has(name)) return true;
    found = std::move(field.value);
    return false;
  });
  return found;
}

std::string JoinedFields(std::string_view header, std::string_view name) {
  std::string joined;
  ForEachField(header, [&](const FieldLine& field) {
    if (!field.Has(name)) return true;
    if (!joined.empty()) joined += ", ";
    joined += field.value;
    return true;
  });
  return joined;
}

std::optional<Framing> FramingOf(std::string_view header, std::string_view verb, int status) {
  std::string length;
  std::string coding;
  bool isClear = true;
  const auto take = [&isClear](std::string& known, FieldLine& field, bool mayRepeat) {
    isClear = isClear && !field.isDoubtful && !field.value.empty() &&
              (known.empty() || (mayRepeat && known == field.value));
    known = std::move(field.value);
  };
  ForEachField(header, [&](FieldLine& field) {
    if (field.Has("Content-Length")) {
      take(length, field, true);
    } else if (field.Has("Transfer-Encoding")) {
      take(coding, field, false);
    }
    return isClear;
  });
  if (!isClear || (!length.empty() && !coding.empty())) return std::nullopt;
  // No other coding was asked for.
  if (!coding.empty() && !ascii::EqualIgnoringCase(coding, "chunked")) return std::nullopt;
  Framing framing;
  if (!length.empty() && !ParseLength(length, framing.length)) return std::nullopt;
  if (HasBody(verb, status)) {
    framing.end = !length.empty()   ? BodyEnd::kLength
                  : !coding.empty() ? BodyEnd::kChunks
                                    : BodyEnd::kClose;
  }
  return framing;
}

bool HeaderLines::Append(std::string_view line) {
  length_ += line.size();
  if (length_ > kHeaderLimit) return false;
  if (isComplete_) return true;  // the trailer's
  if (header_.empty()) status_ = StatusOf(line);
  header_ += line;
  return line == "\r\n" || line == "\n" ? End() : true;
}

bool HeaderLines::End() {
  constexpr int kSwitchingProtocols = 101;  // nobody asked for another
  if (status_ == kSwitchingProtocols) return false;
  if (status_ < 200) {
    header_.clear();
  } else {
    isComplete_ = true;
  }
  return true;
}

}  // namespace http
