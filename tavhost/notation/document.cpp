#include "tavhost/notation/document.h"

#include <exception>
#include <tl/expected.hpp>
#include <utility>

#include "tavhost/base/memory_reserve.h"
#include "tavhost/base/stop.h"
#include "tavhost/notation/text_parser.h"

namespace kel {

base::Result<std::shared_ptr<const Document>> Document::Parse(const SV::String& text,
                                                              std::size_t tableBytes,
                                                              base::WorkMeter* meter) {
  base::Error error;
  try {
    const auto document = std::make_shared<Document>(Key(), text, tableBytes);
    base::Result<void> parsed = TextParser(*document, meter).Run();
    if (parsed) return document;
    error = std::move(parsed.error());
  } catch (const stop::Stopped&) {
    throw;
  } catch (const std::exception&) {
    const memory_reserve::Use reserve;
    error.line = error.column = 1;
    try {
      error.message = kNoMemory;
    } catch (const std::exception&) {  // a place without words is all that can be given
    }
  }
  return tl::unexpected<base::Error>(std::move(error));
}

}  // namespace kel
