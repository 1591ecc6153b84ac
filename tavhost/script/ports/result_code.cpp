#include "tavhost/script/ports/result_code.h"

#include <cstdlib>
#include <string>
#include <string_view>

#include "host/notation/kel_value.h"
#include "host/notation/kel_value_set.h"
#include "host/script/script_result.h"
#include "tavhost/notation/scope.h"
#include "tavhost/notation/value.h"

namespace script {

constexpr std::string_view kCode = "ecode";

// What a command has set as its code; `textBefore` is the length of the text that it found.
std::optional<int> CodeOf(TavScriptResult& result, std::size_t textBefore) {
  const kel::Value* code = nullptr;
  if (result.GetValueSet()) {
    code = kel::Scope::Of(*result.GetValueSet()).ReadOwn(kCode);
  } else if (result.GetObject()) {
    const kel::Value& object = kel::Value::Of(*result.GetObject());
    if (object.Kind() == TavKelRecord) code = object.AsRecord().Find(kCode);
  } else {
    const std::string_view text = result.GetText().View().substr(textBefore);
    const std::string name = " " + std::string(kCode) + ":";
    const auto found = text.find(name);
    if (found == std::string_view::npos) return std::nullopt;
    return std::atoi(text.data() + found + name.size());
  }
  if (!code || code->Kind() != TavKelInteger) return std::nullopt;
  return code->Integer();
}

}  // namespace script
