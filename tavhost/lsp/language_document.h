#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tavhost/analysis/symbols.h"

namespace lsp {

// A place as editors count: lines from 0, UTF-16 units from 0.
struct EditorPlace {
  std::int64_t line = 0;
  std::int64_t character = 0;
};

// An open text and what is known of it.
class LanguageDocument {
 public:
  LanguageDocument() = default;
  explicit LanguageDocument(std::string uri);

  void SetText(std::string text);

  const std::string& Uri() const { return uri_; }
  const std::string& Name() const { return name_; }  // the file's, for messages and `include`
  const std::string& Text() const { return text_; }
  // Of the last state of the text that could be parsed.
  const std::vector<check::Symbol>& Symbols() const { return symbols_; }

  // Places outside the text are taken as the nearest inside.
  std::size_t OffsetOf(EditorPlace place) const { return OffsetIn(text_, place); }
  EditorPlace PlaceOf(std::size_t offset) const { return PlaceIn(text_, offset); }
  // `column` counts code points from 1, `line` from 1.
  EditorPlace PlaceOf(std::uint32_t line, std::uint32_t column) const;

  // The name around an offset, with what belongs to it in commands; empty when there is none.
  std::string_view WordAt(std::size_t offset) const;
  // The function in whose text the offset lies; empty at the top level.
  std::string FunctionAt(std::size_t offset) const;
  // What a name means at an offset; null when the text gives no such name.
  const check::Symbol* Find(std::string_view name, std::size_t offset) const;

  static std::size_t OffsetIn(std::string_view text, EditorPlace place);
  static EditorPlace PlaceIn(std::string_view text, std::size_t offset);

 private:
  std::string uri_;
  std::string name_;
  std::string text_;
  std::vector<check::Symbol> symbols_;
};

// `file:///a%20b` and `/a b`. Other kinds of addresses stay as they are.
std::string PathOfUri(std::string_view uri);
std::string UriOfPath(std::string_view path);

}  // namespace lsp
