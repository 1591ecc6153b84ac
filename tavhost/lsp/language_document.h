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

// A text that is open in an editor, and the names that it gives. Offsets count bytes of its UTF-8.
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

  // The name around an offset; it may hold the dashes of a command's parameters. Empty when there
  // is none. A part of Text().
  std::string_view WordAt(std::size_t offset) const;
  // The function in whose text the offset lies; empty at the top level.
  std::string FunctionAt(std::size_t offset) const;
  // What a name means at an offset: a variable of the function there, else one of the top level,
  // else a function. In front of a parenthesis functions come first. Null when the text gives no
  // such name.
  const check::Symbol* Find(std::string_view name, std::size_t offset) const;

  static std::size_t OffsetIn(std::string_view text, EditorPlace place);
  static EditorPlace PlaceIn(std::string_view text, std::size_t offset);

 private:
  std::string uri_;
  std::string name_;
  std::string text_;
  std::vector<check::Symbol> symbols_;
};

// Between `file:///a%20b` and `/a b`. Other kinds of addresses, such as that of a text that has
// never been saved, stay as they are.
std::string PathOfUri(std::string_view uri);
std::string UriOfPath(std::string_view path);

}  // namespace lsp
