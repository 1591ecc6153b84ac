#include "tavhost/base/json_writer.h"

#include <charconv>
#include <nlohmann/json.hpp>
#include <utility>

#include "tavhost/base/utf16.h"
#include "tavhost/base/utf8.h"

namespace base {

namespace {

// What is written between two looks whether it must end, and of long texts at once.
constexpr std::size_t kPiece = std::size_t{64} << 10;

}  // namespace

JsonWriter::JsonWriter(std::size_t limit, std::function<bool()> mustEnd)
    : limit_(limit), mustEnd_(std::move(mustEnd)), nextLook_(mustEnd_ ? 0 : std::string::npos) {}

std::optional<std::string> JsonWriter::Take() {
  if (isGivenUp_) return std::nullopt;
  return std::move(json_);
}

JsonWriter& JsonWriter::Key(std::string_view name) {
  PutComma();
  PutQuoted(name);
  Put(":");
  isFirst_ = true;
  return *this;
}

void JsonWriter::String(std::string_view text) {
  PutComma();
  PutQuoted(text);
}

void JsonWriter::Integer(long long number) {
  char digits[24];
  const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
  Raw({digits, static_cast<std::size_t>(end - digits)});
}

void JsonWriter::Bool(bool value) { Raw(value ? "true" : "false"); }

void JsonWriter::Null() { Raw("null"); }

void JsonWriter::Raw(std::string_view json) {
  PutComma();
  Put(json);
}

void JsonWriter::Begin(std::string_view bracket) {
  Raw(bracket);
  isFirst_ = true;
}

void JsonWriter::End(std::string_view bracket) {
  Put(bracket);
  isFirst_ = false;
}

void JsonWriter::Put(std::string_view text) {
  if (json_.size() >= nextLook_) {
    isGivenUp_ = isGivenUp_ || mustEnd_();
    nextLook_ = json_.size() + kPiece;
  }
  isGivenUp_ = isGivenUp_ || text.size() > limit_ - json_.size();
  if (!isGivenUp_) json_ += text;
}

void JsonWriter::PutComma() {
  if (!std::exchange(isFirst_, false)) Put(",");
}

void JsonWriter::PutQuoted(std::string_view text) {
  Put("\"");
  while (!text.empty() && !isGivenUp_) {
    const std::string_view piece = utf8::PieceOf(text, kPiece);
    std::string room;
    PutEscaped(utf16::WellFormed(piece, room));
    text.remove_prefix(piece.size());
  }
  Put("\"");
}

void JsonWriter::PutEscaped(std::string_view text) {
  const std::string literal = nlohmann::json(text).dump();
  const std::string_view inside(literal.data() + 1, literal.size() - 2);
  // Backspace and form feed have always been written by their numbers.
  if (text.find('\b') == text.npos && text.find('\f') == text.npos) return Put(inside);
  std::size_t begin = 0;
  for (std::size_t at = inside.find('\\'); at != inside.npos; at = inside.find('\\', at + 2)) {
    const char escape = inside[at + 1];
    if (escape != 'b' && escape != 'f') continue;
    Put(inside.substr(begin, at - begin));
    Put(escape == 'b' ? "\\u0008" : "\\u000c");
    begin = at + 2;
  }
  Put(inside.substr(begin));
}

}  // namespace base
