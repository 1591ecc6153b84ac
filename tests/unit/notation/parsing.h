#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <tl/expected.hpp>

#include "host/base/string.h"
#include "tavhost/notation/document.h"
#include "tavhost/notation/kel_text.h"

// Short ways for tests to parse and to look at what came out.
namespace parsing {

inline SV::String Str(std::string_view text) {
  return SV::String(text.data(), static_cast<long>(text.size()));
}

inline std::shared_ptr<const kel::Document> Parse(std::string_view text) {
  return kel::Document::Parse(Str(text)).value_or(nullptr);
}

// "LINE:COLUMN: MESSAGE", or "parsed".
inline std::string ErrorOf(std::string_view text) {
  const auto document = kel::Document::Parse(Str(text));
  if (document) return "parsed";
  const base::Error& error = document.error();
  return std::to_string(error.line) + ":" + std::to_string(error.column) + ": " + error.message;
}

// The elements of a text written again, joined by " | "; or the error.
inline std::string Reparsed(std::string_view text) {
  const auto document = Parse(text);
  if (!document) return ErrorOf(text);
  SV::String out;
  for (std::uint32_t i = 0; i < document->Count(); ++i) {
    if (i > 0) out += SV::String(" | ");
    kel::AppendKel(out, document->Elements()[i]);
  }
  return std::string(out.View());
}

}  // namespace parsing
