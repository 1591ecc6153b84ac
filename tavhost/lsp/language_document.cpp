#include "tavhost/lsp/language_document.h"

#include <algorithm>
#include <utility>

#include "tavhost/base/percent.h"
#include "tavhost/base/string_of.h"
#include "tavhost/notation/scan.h"

namespace lsp {

namespace {

constexpr std::string_view kFile = "file://";

bool IsContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

// UTF-16 units of the character that a byte begins.
std::int64_t UnitsOf(char first) { return static_cast<unsigned char>(first) >= 0xF0 ? 2 : 1; }

bool IsWordByte(char c) { return kel::IsNameByte(c) || c == '-'; }

}  // namespace

std::string PathOfUri(std::string_view uri) {
  if (!uri.starts_with(kFile)) return std::string(uri);
  std::string path = base::PercentDecoded(uri.substr(kFile.size()));
  // The slash before a drive (`/c:/folder`) belongs to the address, not to the path.
  if (path.size() > 2 && path[0] == '/' && path[2] == ':') path.erase(0, 1);
  return path;
}

std::string UriOfPath(std::string_view path) {
  constexpr char kHex[] = "0123456789ABCDEF";
  std::string uri(kFile);
  if (path.size() > 1 && path[1] == ':') uri += '/';
  for (const char c : path) {
    const bool isPlain =
        kel::IsNameByte(c) || std::string_view("/-.~:").find(c) != std::string_view::npos;
    if (isPlain) {
      uri += c;
    } else if (c == '\\') {
      uri += '/';
    } else {
      const auto byte = static_cast<unsigned char>(c);
      uri += {'%', kHex[byte >> 4], kHex[byte & 15]};
    }
  }
  return uri;
}

LanguageDocument::LanguageDocument(std::string uri)
    : uri_(std::move(uri)), name_(PathOfUri(uri_)) {}

// While a text is typed it often cannot be parsed: the names of its last good state stay.
void LanguageDocument::SetText(std::string text) {
  text_ = std::move(text);
  const SV::String copy = base::StringOf(text_);
  if (auto symbols = check::FindSymbols(copy, name_)) symbols_ = std::move(*symbols);
}

std::size_t LanguageDocument::OffsetIn(std::string_view text, EditorPlace place) {
  std::size_t at = 0;
  for (std::int64_t line = 0; line < place.line; ++line) {
    const std::size_t feed = text.find('\n', at);
    if (feed == std::string_view::npos) return text.size();
    at = feed + 1;
  }
  std::int64_t left = place.character;
  while (left > 0 && at < text.size() && text[at] != '\n' && text[at] != '\r') {
    left -= UnitsOf(text[at]);
    for (++at; at < text.size() && IsContinuation(text[at]); ++at) {
    }
  }
  return at;
}

EditorPlace LanguageDocument::PlaceIn(std::string_view text, std::size_t offset) {
  const std::string_view before = text.substr(0, std::min(offset, text.size()));
  EditorPlace place;
  place.line = std::count(before.begin(), before.end(), '\n');
  const std::size_t feed = before.rfind('\n');
  for (std::size_t i = feed == std::string_view::npos ? 0 : feed + 1; i < before.size(); ++i) {
    if (!IsContinuation(before[i])) place.character += UnitsOf(before[i]);
  }
  return place;
}

EditorPlace LanguageDocument::PlaceOf(std::uint32_t line, std::uint32_t column) const {
  EditorPlace place{std::int64_t{line} - 1, 0};
  std::size_t at = OffsetOf(place);
  for (std::uint32_t i = 1; i < column && at < text_.size() && text_[at] != '\n'; ++i) {
    place.character += UnitsOf(text_[at]);
    for (++at; at < text_.size() && IsContinuation(text_[at]); ++at) {
    }
  }
  return place;
}

std::string_view LanguageDocument::WordAt(std::size_t offset) const {
  offset = std::min(offset, text_.size());
  std::size_t begin = offset;
  std::size_t end = offset;
  while (begin > 0 && IsWordByte(text_[begin - 1])) --begin;
  while (end < text_.size() && IsWordByte(text_[end])) ++end;
  return std::string_view(text_).substr(begin, end - begin);
}

std::string LanguageDocument::FunctionAt(std::size_t offset) const {
  for (const check::Symbol& symbol : symbols_) {
    const bool isHere = symbol.kind == check::SymbolKind::kFunction && symbol.file == name_;
    if (isHere && offset >= symbol.begin && offset < symbol.end) return symbol.name;
  }
  return {};
}

const check::Symbol* LanguageDocument::Find(std::string_view name, std::size_t offset) const {
  const std::size_t behind = static_cast<std::size_t>(name.data() - text_.data()) + name.size();
  const bool isInText = name.data() >= text_.data() && behind <= text_.size();
  const bool isCall = isInText && behind < text_.size() && text_[behind] == '(';
  const std::string function = FunctionAt(offset);
  const check::Symbol* outer = nullptr;
  const check::Symbol* called = nullptr;
  for (const check::Symbol& symbol : symbols_) {
    if (symbol.name != name) continue;
    if (symbol.kind == check::SymbolKind::kFunction) {
      called = &symbol;
    } else if (symbol.function == function) {
      if (!isCall) return &symbol;
    } else if (symbol.function.empty()) {
      outer = &symbol;
    }
  }
  if (isCall || !outer) return called ? called : outer;
  return outer;
}

}  // namespace lsp
