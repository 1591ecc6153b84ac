#include "tavhost/script/source.h"

#include <algorithm>

namespace script {

namespace {

bool IsContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

}  // namespace

Source::Place Source::PlaceOf(std::uint32_t offset) const {
  const std::string_view text = Text();
  const std::size_t at = std::min<std::size_t>(offset, text.size());
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

std::uint32_t Source::OffsetOf(std::int32_t line, std::int32_t column,
                               std::uint32_t otherwise) const {
  const std::string_view text = Text();
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
  return column > 1 ? otherwise : static_cast<std::uint32_t>(at);
}

Diagnostic Source::Describe(std::uint32_t offset, const std::string& message) const {
  const Place place = PlaceOf(offset);
  Diagnostic result;
  result.file = name_;
  result.line = place.line;
  result.column = place.column;
  result.message = message;
  result.text = name_ + ':' + std::to_string(place.line) + ':' + std::to_string(place.column) +
                ": error: " + message + '\n';
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

}  // namespace script
