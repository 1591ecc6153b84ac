#include "tavhost/base/json_writer.h"

#include <charconv>
#include <cstdio>
#include <utility>

#include "tavhost/base/utf16.h"
#include "tavhost/base/utf8.h"

namespace base {

namespace {

// What is written between two looks whether it must end, and of long texts at once.
constexpr std::size_t kPiece = std::size_t{64} << 10;

bool NeedsJsonEscape(char byte) {
  return static_cast<unsigned char>(byte) < 0x20 || byte == '"' || byte == '\\';
}

std::string_view JsonEscapeOf(char byte, char (&room)[8]) {
  switch (byte) {
    case '"':
      return "\\\"";
    case '\\':
      return "\\\\";
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '\t':
      return "\\t";
    default:
      std::snprintf(room, sizeof room, "\\u%04x", static_cast<unsigned>(byte));
      return room;
  }
}

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
  std::size_t plain = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (!NeedsJsonEscape(text[at])) continue;
    char room[8];
    Put(text.substr(plain, at - plain));
    Put(JsonEscapeOf(text[at], room));
    plain = at + 1;
  }
  Put(text.substr(plain));
}

}  // namespace base
