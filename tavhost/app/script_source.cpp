#include "tavhost/app/script_source.h"

#include "tavhost/app/standard_streams.h"
#include "tavhost/base/report.h"
#include "tavhost/base/string_of.h"

namespace app {

std::optional<ScriptSource> ReadScript(const std::string& path) {
  const bool fromInput = path == "-";
  std::string error;
  const auto text = fromInput ? ReadStandardInput(error) : ReadWholeFile(path, error);
  const std::string name = fromInput ? "<stdin>" : path;
  if (text && text->size() > static_cast<std::size_t>(SV::String::kMaxLength)) {
    error = "a script is at most 2 GiB long";
  } else if (text) {
    return ScriptSource{name, base::StringOf(*text)};
  }
  report::Line("tavhost: cannot read " + name + ": " + error);
  return std::nullopt;
}

}  // namespace app
