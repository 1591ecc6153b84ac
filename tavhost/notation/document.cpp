#include "tavhost/notation/document.h"

#include <exception>
#include <tl/expected.hpp>
#include <utility>

#include "tavhost/notation/text_parser.h"

namespace kel {

base::Result<std::shared_ptr<const Document>> Document::Parse(const SV::String& text,
                                                              std::size_t tableBytes) noexcept {
  base::Error error;
  try {
    const auto document = std::make_shared<Document>(Key(), text, tableBytes);
    base::Result<void> parsed = TextParser(*document).Run();
    if (parsed) return document;
    error = std::move(parsed.error());
  } catch (const std::exception&) {
    error.line = error.column = 1;
    try {
      error.message = "the text is too large for the memory there is";
    } catch (const std::exception&) {  // a place without words is all that can be given
    }
  }
  return tl::unexpected<base::Error>(std::move(error));
}

}  // namespace kel
