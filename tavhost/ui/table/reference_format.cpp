#include "tavhost/ui/table/reference_format.h"

#include <vector>

namespace ui {

namespace {

struct Piece {
  char kind;         // n, t, v, or 0 for text
  std::string text;  // that stands for itself
};

std::vector<Piece> Split(std::string_view pattern) {
  std::vector<Piece> pieces;
  const auto addByte = [&pieces](char byte) {
    if (pieces.empty() || pieces.back().kind != 0) pieces.push_back({0, {}});
    pieces.back().text += byte;
  };
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    const char next = pattern[i] == '%' && i + 1 < pattern.size() ? pattern[i + 1] : '\0';
    if (next == 'n' || next == 't' || next == 'v') {
      pieces.push_back({next, {}});
      ++i;
    } else {
      addByte(pattern[i]);
      if (next == '%') ++i;
    }
  }
  return pieces;
}

// Each placeholder ends at the first place where the text that follows it in the pattern stands; a
// text that ends the pattern must end the field. Nothing is tried a second time. Of two
// placeholders side by side the first takes one character.
bool Match(const std::vector<Piece>& pieces, std::string_view field, Reference& reference) {
  std::size_t at = 0;
  for (std::size_t i = 0; i < pieces.size(); ++i) {
    const Piece& piece = pieces[i];
    const bool isLast = i + 1 == pieces.size();
    if (piece.kind == 0) {
      if (field.compare(at, piece.text.size(), piece.text) != 0) return false;
      at += piece.text.size();
      continue;
    }
    if (at == field.size()) return false;
    std::size_t end = field.size();
    if (!isLast && pieces[i + 1].kind != 0) {
      end = at + 1;
      while (end < field.size() && (static_cast<unsigned char>(field[end]) & 0xC0) == 0x80) ++end;
    } else if (!isLast) {
      const std::string& behind = pieces[i + 1].text;
      const bool endsPattern = i + 2 == pieces.size();
      end = endsPattern && field.size() >= behind.size() ? field.size() - behind.size()
                                                         : field.find(behind, at + 1);
      if (end == std::string_view::npos || end <= at) return false;
    }
    std::string& value = piece.kind == 'n'   ? reference.name
                         : piece.kind == 't' ? reference.type
                                             : reference.version;
    value = field.substr(at, end - at);
    at = end;
  }
  return at == field.size();
}

}  // namespace

std::optional<Reference> MatchReference(std::string_view pattern, std::string_view field) {
  const std::vector<Piece> pieces = Split(pattern);
  bool refers = false;
  for (const Piece& piece : pieces) refers |= piece.kind != 0;
  Reference reference;
  if (!refers || !Match(pieces, field, reference)) return std::nullopt;
  return reference;
}

}  // namespace ui
