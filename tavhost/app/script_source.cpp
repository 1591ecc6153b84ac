#include "tavhost/app/script_source.h"

#include <tl/expected.hpp>

#include "tavhost/app/standard_streams.h"
#include "tavhost/base/file_text.h"
#include "tavhost/base/report.h"
#include "tavhost/base/string_of.h"

namespace app {

std::optional<ScriptSource> ReadScript(const std::string& path) {
  const bool fromInput = path == "-";
  const base::Result<std::string> text = fromInput ? ReadStandardInput() : base::ReadFileText(path);
  const std::string name = fromInput ? "<stdin>" : path;
  const bool fits = text && text->size() <= static_cast<std::size_t>(SV::String::kMaxLength);
  if (fits) return ScriptSource{name, base::StringOf(*text)};
  report::Line("tavhost: cannot read " + name + ": " +
               (text ? "a script is at most 2 GiB long" : text.error().message));
  return std::nullopt;
}

}  // namespace app
