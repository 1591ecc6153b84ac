#include "tavhost/script/syntax/source.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <limits>
#include <new>

#include "tavhost/base/utf8.h"
#include "tavhost/script/quoted.h"

namespace script {

namespace {

using utf8::IsContinuation;

std::uint32_t CodePoints(std::string_view text) {
  return static_cast<std::uint32_t>(
      std::count_if(text.begin(), text.end(), [](char byte) { return !IsContinuation(byte); }));
}

// A piece of a text without what is left of a character at its begin.
std::string_view FromCharacter(std::string_view piece) {
  while (!piece.empty() && IsContinuation(piece.front())) piece.remove_prefix(1);
  return piece;
}

}  // namespace

const Source::File* Source::Add(SV::String text, std::string name) {
  std::uint64_t begin = 0;
  if (!files_.empty()) {
    // One offset more than the text has bytes: its end is a place too, where mistakes can be.
    begin = std::uint64_t{files_.back()->begin} + files_.back()->text.View().size() + 1;
  }
  if (begin + text.View().size() >= std::numeric_limits<std::uint32_t>::max()) return nullptr;
  auto file = std::make_unique<File>();
  file->text = std::move(text);
  file->name = std::move(name);
  file->begin = static_cast<std::uint32_t>(begin);
  files_.push_back(std::move(file));
  return files_.back().get();
}

const Source::File& Source::FileOf(std::uint32_t offset) const {
  const auto behind =
      std::upper_bound(files_.begin(), files_.end(), offset,
                       [](std::uint32_t at, const auto& file) { return at < file->begin; });
  return behind == files_.begin() ? *files_.front() : **std::prev(behind);
}

std::uint32_t Source::OffsetOf(std::string_view part) const {
  for (const auto& file : files_) {
    const std::string_view text = file->text.View();
    const std::less_equal<const char*> isBefore;
    if (isBefore(text.data(), part.data()) && isBefore(part.data(), text.data() + text.size())) {
      return file->begin + static_cast<std::uint32_t>(part.data() - text.data());
    }
  }
  return 0;
}

std::string_view Source::TextFrom(std::uint32_t offset) const {
  const File& file = FileOf(offset);
  const std::string_view text = file.text.View();
  return text.substr(std::min<std::size_t>(offset - file.begin, text.size()));
}

// Neither allocates nor locks: a signal handler may ask for a place.
Source::Place Source::Cursor::PlaceOf(std::uint32_t offset) {
  const File& file = source_.FileOf(offset);
  const std::string_view text = file.text.View();
  const std::size_t at = std::min<std::size_t>(offset - file.begin, text.size());
  if (&file != file_ || at < at_) {
    file_ = &file;
    at_ = 0;
    place_ = {};
  }
  const std::string_view between = text.substr(at_, at - at_);
  const std::size_t lastFeed = between.rfind('\n');
  std::string_view head = between;
  if (lastFeed != std::string_view::npos) {
    place_.line += static_cast<std::uint32_t>(std::count(between.begin(), between.end(), '\n'));
    place_.lineBegin = at_ + lastFeed + 1;
    place_.column = 1;
    head = between.substr(lastFeed + 1);
  }
  place_.column += CodePoints(head);
  at_ = at;
  return place_;
}

std::uint32_t Source::OffsetOf(std::int32_t line, std::int32_t column, std::uint32_t otherwise,
                               std::string_view name) const {
  const File* file = files_.front().get();
  for (const auto& other : files_) {
    if (!name.empty() && other->name == name) file = other.get();
  }
  const std::string_view text = file->text.View();
  if (line < 1 || column < 1) return otherwise;
  std::size_t at = 0;
  for (; line > 1; --line) {
    const std::size_t feed = text.find('\n', at);
    if (feed == std::string_view::npos) return otherwise;
    at = feed + 1;
  }
  for (; column > 1 && at < text.size() && text[at] != '\n'; --column) {
    for (++at; at < text.size() && IsContinuation(text[at]); ++at) {
    }
  }
  return column > 1 ? otherwise : file->begin + static_cast<std::uint32_t>(at);
}

Diagnostic Source::Describe(std::uint32_t offset, const Place& place,
                            const std::string& message) const {
  Diagnostic result;
  result.file = FileOf(offset).name;
  result.line = place.line;
  result.column = place.column;
  result.message = message;
  result.text = result.file + ':' + std::to_string(place.line) + ':' +
                std::to_string(place.column) + ": error: " + message + '\n' +
                ShownLine(offset, place);
  return result;
}

// The line and, below it, a caret at the place.
std::string Source::ShownLine(std::uint32_t offset, const Place& place) const {
  constexpr std::size_t kLongest = kLongestShown;
  constexpr std::string_view kCut = "...";
  const File& file = FileOf(offset);
  const std::string_view text = file.text.View();
  const std::size_t at = std::min<std::size_t>(offset - file.begin, text.size());
  std::string_view line = text.substr(place.lineBegin, at - place.lineBegin + kLongest);
  line = line.substr(0, line.find('\n', at - place.lineBegin));
  if (line.ends_with('\r')) line.remove_suffix(1);
  std::size_t before = std::min(at - place.lineBegin, line.size());
  const bool isLong = line.size() > kLongest;
  const bool isCutBefore = isLong && before > kLongest / 2;
  if (isCutBefore) {
    const std::string_view piece = FromCharacter(line.substr(before - kLongest / 2));
    before -= line.size() - piece.size();
    line = piece;
  }
  const bool isCutBehind = isLong && line.size() > kLongest;
  if (isCutBehind) line = utf8::PieceOf(line, kLongest);
  std::string shown;
  if (isCutBefore) shown += kCut;
  shown += line;
  if (isCutBehind) shown += kCut;
  shown += '\n';
  if (isCutBefore) shown.append(kCut.size(), ' ');
  // Tabs stay tabs, so that the caret stands right whatever their width.
  for (const char byte : line.substr(0, before)) {
    if (!IsContinuation(byte)) shown += byte == '\t' ? '\t' : ' ';
  }
  return shown + "^\n";
}

Diagnostic Source::DescribeInAnyCase(std::uint32_t offset, const std::string& message) const {
  try {
    return Describe(offset, message);
  } catch (const std::bad_alloc&) {
    const Place place = PlaceOf(offset);
    return DescribeNoMemory(place.line, place.column);
  }
}

Diagnostic DescribeNoMemory(std::uint32_t line, std::uint32_t column) noexcept {
  Diagnostic result;
  result.line = line;
  result.column = column;
  result.message = "out of memory";  // both are short enough to lie in the strings themselves
  result.text = "out of memory\n";
  return result;
}

Diagnostic Describe(const SyntaxError& mistake, const SV::String& text, const std::string& name) {
  Diagnostic result = mistake.described
                          ? *mistake.described
                          : Source(text, name).Describe(mistake.offset, mistake.message);
  result.incomplete = mistake.incomplete;
  return result;
}

}  // namespace script
