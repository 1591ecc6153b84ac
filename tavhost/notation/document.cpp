#include "tavhost/notation/document.h"

#include <exception>

#include "tavhost/notation/text_parser.h"

namespace kel {

std::shared_ptr<const Document> Document::Parse(const SV::String& text, ParseError& error,
                                                std::size_t tableBytes) noexcept {
  try {
    const auto document = std::make_shared<Document>(Key(), text, tableBytes);
    if (TextParser(*document, error).Run()) return document;
  } catch (const std::exception&) {
    error.line = error.column = 1;
    try {
      error.message = "the text is too large for the memory there is";
    } catch (const std::exception&) {  // a place without words is all that can be given
    }
  }
  return nullptr;
}

}  // namespace kel
