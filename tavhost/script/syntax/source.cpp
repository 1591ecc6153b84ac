#include "tavhost/script/syntax/source.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <limits>
#include <new>

namespace script {

namespace {

bool IsContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

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

Source::Place Source::PlaceOf(std::uint32_t offset) const {
  const File& file = FileOf(offset);
  const std::string_view text = file.text.View();
  const std::size_t at = std::min<std::size_t>(offset - file.begin, text.size());
  const std::string_view before = text.substr(0, at);
  const std::size_t lastFeed = before.rfind('\n');
  const std::size_t lineStart = lastFeed == std::string_view::npos ? 0 : lastFeed + 1;
  Place place;
  place.line = static_cast<std::uint32_t>(std::count(before.begin(), before.end(), '\n')) + 1;
  const std::string_view head = before.substr(lineStart);
  place.column =
      1 + static_cast<std::uint32_t>(std::count_if(
              head.begin(), head.end(), [](char byte) { return !IsContinuation(byte); }));
  place.lineText = text.substr(lineStart, text.find('\n', at) - lineStart);
  if (place.lineText.ends_with('\r')) place.lineText.remove_suffix(1);
  return place;
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

Diagnostic Source::Describe(std::uint32_t offset, const std::string& message) const {
  const Place place = PlaceOf(offset);
  Diagnostic result;
  result.file = FileOf(offset).name;
  result.line = place.line;
  result.column = place.column;
  result.message = message;
  result.text = result.file + ':' + std::to_string(place.line) + ':' +
                std::to_string(place.column) + ": error: " + message + '\n';
  result.text.append(place.lineText);
  result.text += '\n';
  // Tabs stay tabs, so that the caret stands right whatever their width.
  std::uint32_t left = place.column - 1;
  for (std::size_t i = 0; i < place.lineText.size() && left > 0; ++i) {
    if (IsContinuation(place.lineText[i])) continue;
    result.text += place.lineText[i] == '\t' ? '\t' : ' ';
    --left;
  }
  result.text += "^\n";
  return result;
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
